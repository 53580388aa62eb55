// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "applications_table.h"

#include "instances.h"
#include "start_times.h"

#include <Ostrel/ApplicationsModel>

using Ostrel::ApplicationsModel;

namespace
{

QStringList applicationTitles()
{
    return {ApplicationsTable::tr("Application"), ApplicationsTable::tr("Instance"),
            ApplicationsTable::tr("State"),       ApplicationsTable::tr("Since"),
            ApplicationsTable::tr("Start took"),  ApplicationsTable::tr("Process"),
            ApplicationsTable::tr("Kind")};
}

} // namespace

ApplicationsTable::ApplicationsTable(Ostrel::Control &control, const StartTimes &times)
    : TableModel(new ApplicationsModel(&control), applicationTitles())
    , m_control(control)
    , m_times(times)
{
    follow();
    connect(&times, &StartTimes::changed, this,
            [this](const QString &taskType, const QString &name) {
                if (taskType.isEmpty()) {
                    refreshRow(rowOf(name));
                }
            });
}

QVariant ApplicationsTable::value(int row, int column) const
{
    switch (column) {
    case ApplicationColumn:
        return name(row);
    case InstanceColumn:
        return instance(row);
    case StateColumn:
        return sourceData(row, ApplicationsModel::StateRole);
    case SinceColumn:
        return sourceData(row, ApplicationsModel::SinceRole);
    case StartColumn:
        return startTime(row);
    case ProcessColumn:
        return sourceData(row, ApplicationsModel::PidRole);
    case KindColumn:
        return sourceData(row, ApplicationsModel::KindRole);
    default:
        return {};
    }
}

QString ApplicationsTable::text(int column, const QVariant &value) const
{
    if (column == StateColumn) {
        return stateText(value.toUInt());
    }
    if (column == StartColumn) {
        return durationText(value);
    }
    return TableModel::text(column, value);
}

QVariant ApplicationsTable::startTime(int row) const
{
    const auto time = m_times.ofInstance(instance(row));
    return time ? QVariant(*time) : QVariant();
}

Details ApplicationsTable::details(int row) const
{
    return columnDetails(row) + propertyDetails(sourceData(row, ApplicationsModel::PropertiesRole));
}

QString ApplicationsTable::instance(int row) const
{
    return m_instances.value(sourceData(row, ApplicationsModel::PidRole).toInt());
}

QString ApplicationsTable::name(int row) const
{
    return sourceData(row, ApplicationsModel::AppIdRole).toString();
}

int ApplicationsTable::rowOf(const QString &instance) const
{
    for (int row = 0; row < rowCount(); ++row) {
        if (this->instance(row) == instance) {
            return row;
        }
    }
    return -1;
}

void ApplicationsTable::rowsSeen(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const int process = sourceData(row, ApplicationsModel::PidRole).toInt();
        m_instances.insert(process,
                           instanceOf(m_control, process,
                                      sourceData(row, ApplicationsModel::PropertiesRole).toMap()));
    }
}

void ApplicationsTable::rowsLeave(int first, int last)
{
    for (int row = first; row <= last; ++row) {
        m_instances.remove(sourceData(row, ApplicationsModel::PidRole).toInt());
    }
}

int ApplicationsTable::usualLength(int column) const
{
    constexpr int instance = 27;
    return column == InstanceColumn ? instance : TableModel::usualLength(column);
}
