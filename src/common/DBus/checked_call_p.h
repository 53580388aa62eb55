// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_CHECKED_CALL_P_H
#define OSTREL_DBUS_CHECKED_CALL_P_H

#include "DBus/outgoing_message_p.h"

#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusPendingCall>

namespace Ostrel
{

// Calls a method. If an argument cannot be sent or the connection is lost, returns a failed call.
//
// Blocking calls use this as well, and wait for it to finish. QDBusAbstractInterface::call() writes
// the connection's last error without a lock: two threads in it corrupt the heap.
template <typename... Arguments>
QDBusPendingCall checkedCall(QDBusAbstractInterface &proxy, const QString &method,
                             Arguments... arguments)
{
    OutgoingMessage message(proxy.connection(), proxy.path());
    (message.add(arguments), ...);
    const QDBusError refusal = message.refusal();
    return refusal.isValid() ? QDBusPendingCall::fromError(refusal)
                             : proxy.asyncCall(method, arguments...);
}

} // namespace Ostrel

#endif
