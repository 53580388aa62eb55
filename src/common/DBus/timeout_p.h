// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TIMEOUT_P_H
#define OSTREL_DBUS_TIMEOUT_P_H

#include <QtDBus/QDBusAbstractInterface>

namespace Ostrel
{

// Sets how long later calls wait for a reply: from 1 millisecond, or -1 for the default of the bus
// library. Another value is refused with a warning.
void setCallTimeout(QDBusAbstractInterface &proxy, int milliseconds);

} // namespace Ostrel

#endif
