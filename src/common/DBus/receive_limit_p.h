// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_RECEIVE_LIMIT_P_H
#define OSTREL_DBUS_RECEIVE_LIMIT_P_H

#include <QtDBus/QDBusConnection>

namespace Ostrel
{

// Lets the connection take in messages whatever waits to be handled already.
//
// libdbus stops to read when that is more than 63 MiB: one large answer, or the signals of a while
// in which the program did not listen. It goes on when enough has been handled, but that happens in
// another thread than QtDBus reads in, where QtDBus cannot go on: nothing would ever arrive again.
void liftReceiveLimit(const QDBusConnection &bus);

} // namespace Ostrel

#endif
