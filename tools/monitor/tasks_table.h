// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TASKS_TABLE_H
#define MONITOR_TASKS_TABLE_H

#include "table_model.h"

#include <QtCore/QDateTime>
#include <QtCore/QHash>

namespace Ostrel
{
class TasksModel;
}
class StartTimes;

// The tasks of one type.
class TasksTable : public TableModel
{
    Q_OBJECT

public:
    enum Column {
        TaskColumn,
        StateColumn,
        SinceColumn,
        StartColumn,
        ProcessColumn,
    };

    TasksTable(Ostrel::TasksModel *model, const QString &type, const StartTimes &times);

    Details details(int row) const override;
    QString name(int row) const override;

    bool isActive(int row) const;

protected:
    QVariant value(int row, int column) const override;
    QString text(int column, const QVariant &value) const override;
    void rowsSeen(int first, int last) override;
    void rowsLeave(int first, int last) override;

private:
    struct Since
    {
        QString state;
        QDateTime time;
    };

    QString state(int row) const;

    QString m_type;
    const StartTimes &m_times;
    QHash<QString, Since> m_since;
};

#endif
