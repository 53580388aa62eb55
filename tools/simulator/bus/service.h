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

// The tree of objects below the service path. It logs each call, refuses what no interface has, and
// lets a fault or the interface reply. It also serves the properties.
class Service : public QDBusVirtualObject
{
    Q_OBJECT

public:
    // Handles one call in place of the interface.
    using Fault = std::function<void(const QDBusMessage &call, Interface &interface)>;

    // The fault of a call that comes before the arranged ones; null if there is none.
    using Director = std::function<Fault(const QDBusMessage &call, const Method &method)>;

    // The messages go to this connection, and no others are handled.
    void setConnection(const QDBusConnection &connection) { m_connection = connection; }

    void add(std::unique_ptr<Interface> interface);

    // Makes an interface known whose objects are added later, so that its methods can have faults.
    void expect(const InterfaceDescription &description);

    // Whether a simulated interface, added or expected, has this method.
    bool knows(const Method &method) const;

    // The simulated interfaces, each with its path, which is empty if there may be several objects.
    struct Known
    {
        InterfaceDescription description;
        QString path;
    };
    QVector<Known> known() const;

    // Adds a fault for this many calls, after the faults that the method has already.
    void arrange(const Method &method, const Fault &fault, uint calls);

    void setDirector(const Director &director) { m_director = director; }

    // Sends the reply to a call, if the caller wants one.
    void send(const QDBusMessage &call, const QDBusMessage &answer);

    // Sends a signal, in order with the other messages.
    bool sendSignal(const QDBusMessage &signal);

    CallLog &log() { return m_log; }

    // Drops the faults, the log and the state that calls have made.
    void reset();

    // Drops the state that calls have made, as the end of the process would.
    void dropState();

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    QString introspect(const QString &path) const override;

Q_SIGNALS:
    // A call has been logged, and its reply is about to be sent.
    void called();

    // Everything that calls have made has been dropped.
    void wasReset();

    // A signal has been sent, and the event loop runs again.
    void signalSent(const QDBusMessage &signal);

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

    Fault takeFault(const QDBusMessage &call, const Method &method);

    QDBusConnection m_connection{QString()};
    std::vector<std::unique_ptr<Interface>> m_interfaces;
    std::vector<InterfaceDescription> m_expected;
    QHash<Method, QQueue<Arranged>> m_faults;
    Director m_director;
    CallLog m_log;
};

#endif
