// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/receive_limit_p.h"

#include <QtCore/QLibrary>

#include <dlfcn.h>
#include <limits>

namespace Ostrel
{

namespace
{

using SetLimit = void (*)(void *connection, long bytes);

// QtDBus has loaded libdbus, and its connection is one of libdbus'; neither Qt nor this library
// passes the setting on.
SetLimit findSetLimit()
{
    const char *const name = "dbus_connection_set_max_received_size";
    if (void *found = dlsym(RTLD_DEFAULT, name)) {
        return reinterpret_cast<SetLimit>(found);
    }
    // A QtDBus that is not linked with it. This takes a hundred times as long.
    return reinterpret_cast<SetLimit>(QLibrary::resolve(QStringLiteral("dbus-1"), 3, name));
}

} // namespace

void liftReceiveLimit(const QDBusConnection &bus)
{
    static const SetLimit setLimit = findSetLimit();

    void *connection = bus.internalPointer();
    if (setLimit != nullptr && connection != nullptr) {
        setLimit(connection, std::numeric_limits<long>::max());
    }
}

} // namespace Ostrel
