// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_advice.h"

#include "DBus/names_p.h"

QString adviceOnMissingBus(QDBusConnection::BusType bus)
{
    return bus == QDBusConnection::SystemBus
        ? QStringLiteral("no system message bus can be reached; a device starts it with the "
                         "system, at the address in DBUS_SYSTEM_BUS_ADDRESS if that is set")
        : QStringLiteral("no message bus can be reached at DBUS_SESSION_BUS_ADDRESS; "
                         "'dbus-run-session -- bash' opens a shell with a bus of its own");
}

QString adviceOnMissingService(QDBusConnection::BusType bus)
{
    return QStringLiteral("no service owns the name " OSTREL_SERVICE_NAME " on the %1 bus; "
                          "at a desk, start its stand-in: ostrel-simulator --%1 &")
        .arg(bus == QDBusConnection::SystemBus ? QStringLiteral("system")
                                               : QStringLiteral("session"));
}
