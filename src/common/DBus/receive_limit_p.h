// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_RECEIVE_LIMIT_P_H
#define OSTREL_DBUS_RECEIVE_LIMIT_P_H

#include <QtDBus/QDBusConnection>

namespace Ostrel
{

// Lets the connection read messages however much waits to be handled already, in bytes and in file
// descriptors. The build option OSTREL_LIFT_RECEIVE_LIMIT turns this off.
//
// libdbus stops reading when more than 63 MiB or 4,096 descriptors wait: one large reply, or the
// signals of a while in which the program did not listen. It goes on when enough has been handled,
// but that happens in another thread than the one in which QtDBus reads, and QtDBus does not
// notice: nothing would ever arrive again.
void liftReceiveLimit(const QDBusConnection &bus);

} // namespace Ostrel

#endif
