// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "calls_without_timeout.h"

#include <dbus/dbus.h>

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>

namespace
{

std::atomic<int> serviceTimeout{DBUS_TIMEOUT_INFINITE};

int timeoutOf(DBusMessage *message)
{
    const bool isToBus = dbus_message_has_destination(message, DBUS_SERVICE_DBUS) != 0;
    return isToBus ? DBUS_TIMEOUT_INFINITE : serviceTimeout.load();
}

// Nor does a function of a test have a timeout, which would be the one of QtTest.
[[maybe_unused]] const int functionTimeout = ::setenv("QTEST_FUNCTION_TIMEOUT", "2147483647", 1);

} // namespace

void setServiceTimeout(int timeout)
{
    serviceTimeout = timeout;
}

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
                timeout == DBUS_TIMEOUT_USE_DEFAULT ? timeoutOf(message) : timeout);
}
