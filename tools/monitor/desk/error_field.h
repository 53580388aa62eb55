// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_ERROR_FIELD_H
#define MONITOR_DESK_ERROR_FIELD_H

#include <QtWidgets/QComboBox>

// The name of an error: one that the library has a code for, or any other.
class ErrorField : public QComboBox
{
    Q_OBJECT

public:
    explicit ErrorField(QWidget *parent = nullptr);

    // The name on the bus. A name without a dot is one of the service's errors.
    QString busName() const;
};

#endif
