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

// Connects a signal of the service to a receiver's member. Signals with another signature are
// dropped: QtDBus would read them as the types of the member, and crash.
inline void connectServiceSignal(QDBusConnection bus, const ServiceSignal &signal,
                                 QObject *receiver, const char *member)
{
    // On a lost connection, QtDBus would ask who owns the service's name, which aborts the process.
    // It still does if the connection is lost between this check and that call.
    if (!bus.isConnected()) {
        return;
    }
    bus.connect(serviceName, signal.path, signal.interface, signal.name, signal.signature, receiver,
                member);
    if (!bus.isConnected()) {
        // libdbus noticed this while QtDBus waited for the owner, but has not reported it to
        // QtDBus: pending calls would wait for ever. Sending a message makes libdbus report it. The
        // message itself goes nowhere.
        bus.send(QDBusMessage::createSignal(signal.path, signal.interface, signal.name));
    }
}

} // namespace Ostrel

#endif
