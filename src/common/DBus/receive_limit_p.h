// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_RECEIVE_LIMIT_P_H
#define OSTREL_DBUS_RECEIVE_LIMIT_P_H

#include <QtDBus/QDBusConnection>

namespace Ostrel
{

// Lets the connection read messages however many bytes and file descriptors wait to be handled. The
// build option OSTREL_LIFT_RECEIVE_LIMIT turns this off.
//
// libdbus stops reading when more than 63 MiB or 4,096 descriptors wait: after one large reply, or
// after many signals while no event loop ran. It is ready to go on when enough has been handled.
// But that happens in another thread than the one in which QtDBus reads, and QtDBus does not
// notice: nothing would ever arrive again.
void liftReceiveLimit(const QDBusConnection &bus);

} // namespace Ostrel

#endif
