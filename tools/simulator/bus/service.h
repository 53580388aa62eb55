// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SERVICE_H
#define SIMULATOR_SERVICE_H

#include "bus/call_log.h"
#include "bus/interface.h"

#include <QtCore/QHash>
#include <QtCore/QQueue>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusVirtualObject>

#include <functional>
#include <memory>
#include <vector>

// The tree of objects below the service path: takes each call as it stands on the bus, refuses what
// no interface has, logs it, and lets an arranged fault or the interface answer it. Properties are
// read here as well.
class Service : public QDBusVirtualObject
{
    Q_OBJECT

public:
    // What becomes of one call instead of the usual answer.
    using Fault = std::function<void(const QDBusMessage &call, Interface &interface)>;

    explicit Service(const QDBusConnection &connection);

    void add(std::unique_ptr<Interface> interface);

    // Announces an interface of objects that are added later. Faults of its methods can be arranged
    // from now on.
    void expect(const InterfaceDescription &description);

    // True when a simulated interface, there already or expected, has this method.
    bool knows(const Method &method) const;

    // Adds a fault for so many calls, behind those that the method's next calls will meet already.
    void arrange(const Method &method, const Fault &fault, uint calls);

    // Sends what the interface, or a fault, made of a call.
    void send(const QDBusMessage &call, const QDBusMessage &answer);

    // Sends a signal. What is sent before and after it arrives before and after it.
    bool sendSignal(const QDBusMessage &signal) { return m_connection.send(signal); }

    CallLog &log() { return m_log; }

    // Forgets faults, log and everything that calls have left behind.
    void reset();

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

Q_SIGNALS:
    // A call has been logged, and is about to be answered.
    void called();

private:
    struct Arranged
    {
        Fault fault;
        uint calls = 0;
    };

    Interface *find(const QDBusMessage &call) const;
    QDBusMessage refuseTarget(const QDBusMessage &call) const;
    static QDBusMessage refuseMethod(const QDBusMessage &call,
                                     const InterfaceDescription &description);
    bool hasObject(const QString &path) const;
    QVector<const Interface *> interfacesAt(const QString &path) const;

    QDBusConnection m_connection;
    std::vector<std::unique_ptr<Interface>> m_interfaces;
    std::vector<InterfaceDescription> m_expected;
    QHash<Method, QQueue<Arranged>> m_faults;
    CallLog m_log;
};

#endif
