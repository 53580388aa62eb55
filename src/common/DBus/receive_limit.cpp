// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/receive_limit_p.h"

#include <QtCore/QLibrary>

#include <limits>

namespace Ostrel
{

void liftReceiveLimit(const QDBusConnection &bus)
{
    // QtDBus has loaded the library, and its connection is one of libdbus'; neither Qt nor this
    // library passes the setting on.
    using SetLimit = void (*)(void *connection, long bytes);
    static const auto setLimit = reinterpret_cast<SetLimit>(
        QLibrary::resolve(QStringLiteral("dbus-1"), 3, "dbus_connection_set_max_received_size"));

    void *connection = bus.internalPointer();
    if (setLimit != nullptr && connection != nullptr) {
        setLimit(connection, std::numeric_limits<long>::max());
    }
}

} // namespace Ostrel
