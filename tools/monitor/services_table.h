// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_SERVICES_TABLE_H
#define MONITOR_SERVICES_TABLE_H

#include "table_model.h"

namespace Ostrel
{
class Control;
}

// The running services of applications.
class ServicesTable : public TableModel
{
    Q_OBJECT

public:
    enum Column {
        ServiceColumn,
        ApplicationColumn,
        StateColumn,
        SinceColumn,
        ProcessColumn,
    };

    explicit ServicesTable(Ostrel::Control &control);

    Details details(int row) const override;
    QString name(int row) const override;
    int usualLength(int column) const override;

protected:
    QVariant value(int row, int column) const override;
    QString text(int column, const QVariant &value) const override;
};

#endif
