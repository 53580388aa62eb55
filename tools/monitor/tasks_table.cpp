// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks_table.h"

#include "start_times.h"

#include <Ostrel/TasksModel>

using Ostrel::TasksModel;

namespace
{

QStringList taskTitles()
{
    return {TasksTable::tr("Task"), TasksTable::tr("State"), TasksTable::tr("Since"),
            TasksTable::tr("Start took"), TasksTable::tr("Process")};
}

} // namespace

TasksTable::TasksTable(Ostrel::TasksModel *model, const QString &type, const StartTimes &times)
    : TableModel(model, taskTitles())
    , m_type(type)
    , m_times(times)
{
    follow();
    connect(&times, &StartTimes::changed, this,
            [this](const QString &taskType, const QString &name) {
                for (int row = 0; taskType == m_type && row < rowCount(); ++row) {
                    refreshRow(this->name(row) == name ? row : -1);
                }
            });
}

QString TasksTable::name(int row) const
{
    return sourceData(row, TasksModel::NameRole).toString();
}

bool TasksTable::isActive(int row) const
{
    return sourceData(row, TasksModel::ActiveRole).toBool();
}

QString TasksTable::state(int row) const
{
    return isActive(row) ? tr("running") : tr("can be started");
}

QVariant TasksTable::value(int row, int column) const
{
    switch (column) {
    case TaskColumn:
        return name(row);
    case StateColumn:
        return state(row);
    case SinceColumn:
        return m_since.value(name(row)).time;
    case StartColumn: {
        const auto time = m_times.ofTask(m_type, name(row));
        return time && isActive(row) ? QVariant(*time) : QVariant();
    }
    case ProcessColumn:
        return isActive(row) ? sourceData(row, TasksModel::PidRole) : QVariant();
    default:
        return {};
    }
}

QString TasksTable::text(int column, const QVariant &value) const
{
    return column == StartColumn ? durationText(value) : TableModel::text(column, value);
}

Details TasksTable::details(int row) const
{
    return columnDetails(row)
        + propertyDetails(sourceData(row, TasksModel::AvailablePropertiesRole))
        + propertyDetails(sourceData(row, TasksModel::ActivePropertiesRole));
}

void TasksTable::rowsSeen(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        Since &since = m_since[name(row)];
        if (since.state != state(row)) {
            since = {state(row), QDateTime::currentDateTimeUtc()};
        }
    }
}

void TasksTable::rowsLeave(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        m_since.remove(name(row));
    }
}
