// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <dbus/dbus.h>

#include <dlfcn.h>

// A call without a timeout of its own has the one of libdbus, 25 seconds. A busy machine may need
// longer, so the calls of a test have none.
//
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) dbus_bool_t dbus_connection_send_with_reply(
    DBusConnection *connection, DBusMessage *message, DBusPendingCall **pending, int timeout)
{
    static const auto real = reinterpret_cast<decltype(&dbus_connection_send_with_reply)>(
        dlsym(RTLD_NEXT, "dbus_connection_send_with_reply"));
    return real(connection, message, pending,
                timeout == DBUS_TIMEOUT_USE_DEFAULT ? DBUS_TIMEOUT_INFINITE : timeout);
}
