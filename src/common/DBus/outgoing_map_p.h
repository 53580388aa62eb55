// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_OUTGOING_MAP_P_H
#define OSTREL_DBUS_OUTGOING_MAP_P_H

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusError>

namespace Ostrel
{

// Makes a caller's map fit to be sent as "a{sv}". Every call that sends one goes through here,
// because QtDBus aborts the process at a value that it cannot marshal, and the bus drops the
// connection over a message that is too deep.
//
// JSON values, at any depth, are replaced by what they are on the bus; nothing else is changed,
// filtered or completed. If there is a value that cannot be sent, the result is the error that
// stands for the call, which is then not to be made.
QDBusError makeSendable(QVariantMap &map);

} // namespace Ostrel

#endif
