// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_APPLICATIONS_TABLE_H
#define MONITOR_APPLICATIONS_TABLE_H

#include "table_model.h"

#include <QtCore/QHash>

namespace Ostrel
{
class Control;
}
class StartTimes;

// The running applications.
class ApplicationsTable : public TableModel
{
    Q_OBJECT

public:
    enum Column {
        ApplicationColumn,
        InstanceColumn,
        StateColumn,
        SinceColumn,
        StartColumn,
        ProcessColumn,
        KindColumn,
    };

    ApplicationsTable(Ostrel::Control &control, const StartTimes &times);

    Details details(int row) const override;
    QString instance(int row) const override;
    QString name(int row) const override;
    int usualLength(int column) const override;

    // The row of an instance, or -1.
    int rowOf(const QString &instance) const;

protected:
    QVariant value(int row, int column) const override;
    QString text(int column, const QVariant &value) const override;
    void rowsSeen(int first, int last) override;
    void rowsLeave(int first, int last) override;

private:
    QVariant startTime(int row) const;

    const Ostrel::Control &m_control;
    const StartTimes &m_times;
    // By process: to find it out means to read a file.
    QHash<int, QString> m_instances;
};

#endif
