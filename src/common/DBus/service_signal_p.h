// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef DBUS_SERVICE_SIGNAL_P_H
#define DBUS_SERVICE_SIGNAL_P_H

#include "DBus/service_name_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

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
    // A lost connection delivers nothing. QtDBus would ask it who owns the service's name, which
    // aborts the process. A connection that is lost from here until QtDBus asks still does.
    if (!bus.isConnected()) {
        return;
    }
    bus.connect(serviceName, signal.path, signal.interface, signal.name, signal.signature, receiver,
                member);
    if (!bus.isConnected()) {
        // libdbus has noticed that while QtDBus waited for the owner, and has not told QtDBus: the
        // calls that wait for a reply would wait for ever. It does when a message is sent, although
        // this one goes nowhere.
        bus.send(QDBusMessage::createSignal(signal.path, signal.interface, signal.name));
    }
}

} // namespace Ostrel

#endif
