// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_p.h"

#include "DBus/guarded_reader_p.h"
#include "DBus/types_members_p.h"

namespace Ostrel
{

QDBusArgument &operator<<(QDBusArgument &argument, const TaskState &task)
{
    argument.beginStructure();
    argument << task.name << task.state << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, TaskState &task)
{
    readStructure(argument, membersOf(task));
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const AvailableTask &task)
{
    argument.beginStructure();
    argument << task.name << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, AvailableTask &task)
{
    readStructure(argument, membersOf(task));
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const ActiveTask &task)
{
    argument.beginStructure();
    argument << task.name << task.pid << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ActiveTask &task)
{
    readStructure(argument, membersOf(task));
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<TaskState> &tasks)
{
    readStructures(argument, tasks, [](auto &record) { return membersOf(record); });
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<AvailableTask> &tasks)
{
    readStructures(argument, tasks, [](auto &record) { return membersOf(record); });
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<ActiveTask> &tasks)
{
    readStructures(argument, tasks, [](auto &record) { return membersOf(record); });
    return argument;
}

} // namespace Ostrel
