// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef DBUS_SERVICE_SIGNAL_P_H
#define DBUS_SERVICE_SIGNAL_P_H

#include "DBus/service_name_p.h"

#include <QtDBus/QDBusConnection>

namespace Ostrel
{

// A signal of the service, as it is on the bus.
struct ServiceSignal
{
    QString path;
    QString interface;
    QString name;
    QString signature;
};

// Connects a signal of the service to a receiver's member. Signals of the same name with another
// signature are dropped: QtDBus would read them as what the member takes, and crash.
inline void connectServiceSignal(QDBusConnection bus, const ServiceSignal &signal,
                                 QObject *receiver, const char *member)
{
    // Nothing comes from a connection that is lost, and QtDBus would abort the process over asking
    // it who owns the service's name.
    if (bus.isConnected()) {
        bus.connect(serviceName, signal.path, signal.interface, signal.name, signal.signature,
                    receiver, member);
    }
}

} // namespace Ostrel

#endif
