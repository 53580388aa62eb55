// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_MEMBERS_P_H
#define OSTREL_DBUS_TYPES_MEMBERS_P_H

#include "DBus/types.h"

#include <tuple>

namespace Ostrel
{

// The members of the records, in the order of the wire.

inline auto membersOf(RunningApplication &application)
{
    return std::tie(application.appId, application.pid, application.state, application.kind,
                    application.properties);
}

inline auto membersOf(RunningService &service)
{
    return std::tie(service.appId, service.name, service.pid, service.state, service.properties);
}

inline auto membersOf(TaskState &task)
{
    return std::tie(task.name, task.state, task.properties);
}

inline auto membersOf(AvailableTask &task)
{
    return std::tie(task.name, task.properties);
}

inline auto membersOf(ActiveTask &task)
{
    return std::tie(task.name, task.pid, task.properties);
}

} // namespace Ostrel

#endif
