// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/task_records.h"

#include <QtDBus/QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const OfferedTask &task)
{
    argument.beginStructure();
    argument << task.name << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, OfferedTask &task)
{
    argument.beginStructure();
    argument >> task.name >> task.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const StartedTask &task)
{
    argument.beginStructure();
    argument << task.name << task.pid << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, StartedTask &task)
{
    argument.beginStructure();
    argument >> task.name >> task.pid >> task.properties;
    argument.endStructure();
    return argument;
}

void registerTaskRecords()
{
    qDBusRegisterMetaType<OfferedTask>();
    qDBusRegisterMetaType<QVector<OfferedTask>>();
    qDBusRegisterMetaType<StartedTask>();
    qDBusRegisterMetaType<QVector<StartedTask>>();
}
