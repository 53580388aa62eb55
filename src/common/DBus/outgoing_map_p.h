// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_OUTGOING_MAP_P_H
#define OSTREL_DBUS_OUTGOING_MAP_P_H

#include "DBus/message_size_p.h"

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusPendingCall>

namespace Ostrel
{

// The path of an object, or its end where the rest is short.
struct PathEnd
{
    QString text;
};

// What may still go into a message. Everything that a caller hands over for one goes through here,
// because QtDBus aborts the process at a value that it cannot marshal, and the bus drops the
// connection over a message that is too deep or too large.
class MessageRoom
{
public:
    // A number is part of what is kept for the head.
    static QDBusError take(int /*number*/) { return {}; }

    // An identifier or another text.
    QDBusError take(const QString &text);

    // Makes a map fit to be sent as "a{sv}". JSON values, at any depth, are replaced by what they
    // are on the bus; nothing else is changed, filtered or completed.
    QDBusError take(QVariantMap &map);

    // The service answers with the path, and a connection of its own that has taken in 63 MiB at
    // once may never take in anything again. The head of a message, where the path stands, has room
    // for no more than that either.
    QDBusError take(const PathEnd &end);

private:
    QDBusError take(const QString &text, qint64 room);

    // The head of a message is short, but for a path.
    qint64 m_left = MessageSize::maximumMessage - 4096;
};

// Makes arguments fit to be sent together. If one of them cannot be sent, the result is the error
// that stands for the call.
template <typename... Arguments> QDBusError makeSendable(Arguments &&...arguments)
{
    MessageRoom room;
    QDBusError error;
    (void)((error = room.take(arguments), !error.isValid()) && ...);
    return error;
}

// The same for a call on a connection. On a lost one QtDBus may wait for ever, as it does when the
// process ends and its thread is gone before the static objects of the caller are.
template <typename... Arguments>
QDBusError refusalOf(const QDBusConnection &bus, Arguments &&...arguments)
{
    QDBusError error = makeSendable(arguments...);
    if (!error.isValid() && !bus.isConnected()) {
        error =
            QDBusError(QDBusError::Disconnected, QStringLiteral("Not connected to D-Bus server"));
    }
    return error;
}

// Calls a method, unless an argument cannot be sent or the connection is lost: the call has failed
// then, as if the service had refused it.
//
// Blocking calls are made this way as well, and waited for: QDBusAbstractInterface::call() writes
// the connection's last error without a lock, so that two threads in it corrupt the heap.
template <typename... Arguments>
QDBusPendingCall checkedCall(QDBusAbstractInterface &proxy, const QString &method,
                             Arguments... arguments)
{
    const QDBusError refusal = refusalOf(proxy.connection(), PathEnd{proxy.path()}, arguments...);
    return refusal.isValid() ? QDBusPendingCall::fromError(refusal)
                             : proxy.asyncCall(method, arguments...);
}

} // namespace Ostrel

#endif
