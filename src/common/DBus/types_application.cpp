// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_p.h"

#include "DBus/guarded_reader_p.h"
#include "DBus/types_members_p.h"

namespace Ostrel
{

QDBusArgument &operator<<(QDBusArgument &argument, const RunningApplication &application)
{
    argument.beginStructure();
    argument << application.appId << application.pid << quint32(application.state)
             << quint32(application.kind) << application.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RunningApplication &application)
{
    readStructure(argument, membersOf(application));
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const RunningService &service)
{
    argument.beginStructure();
    argument << service.appId << service.name << service.pid << quint32(service.state)
             << service.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RunningService &service)
{
    readStructure(argument, membersOf(service));
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument,
                                QVector<RunningApplication> &applications)
{
    readStructures(argument, applications, [](auto &record) { return membersOf(record); });
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<RunningService> &services)
{
    readStructures(argument, services, [](auto &record) { return membersOf(record); });
    return argument;
}

} // namespace Ostrel
