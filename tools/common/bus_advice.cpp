// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_advice.h"

QString adviceOnMissingBus(QDBusConnection::BusType bus)
{
    return bus == QDBusConnection::SystemBus
        ? QStringLiteral("no system message bus can be reached; a device starts it with the "
                         "system, at the address in DBUS_SYSTEM_BUS_ADDRESS if that is set")
        : QStringLiteral("no message bus can be reached at DBUS_SESSION_BUS_ADDRESS; "
                         "'dbus-run-session -- bash' opens a shell with a bus of its own");
}
