// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_NAME_FIELD_H
#define MONITOR_NAME_FIELD_H

#include <QtWidgets/QComboBox>

// Takes the name of an application, and offers those that are known.
class NameField : public QComboBox
{
    Q_OBJECT

public:
    explicit NameField(QWidget *parent = nullptr);

    QString name() const { return currentText().trimmed(); }

    void remember(const QString &name);
    QStringList names() const;

Q_SIGNALS:
    // The user has entered a name.
    void entered();
};

#endif
