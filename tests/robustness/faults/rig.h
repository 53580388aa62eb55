// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_RIG_H
#define TESTS_FAULTS_RIG_H

#include "peer.h"
#include "warnings.h"

#include <Ostrel/Error>

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusConnection>

#include <functional>
#include <memory>
#include <optional>

// The bus, the service on it, which is a peer that does whatever it is told to, and what a caller
// of the library saw.
class Rig
{
public:
    enum Bus {
        NoBus,
        WithBus,
        // One that passes on no answer to a call that was not made to its sender.
        WithStrictBus
    };

    // replyTimeout: after how many milliseconds the bus itself answers a call that nobody answers.
    // type: what the bus is to the client, which connects when it begins. libdbus learns the
    // addresses of all buses then.
    explicit Rig(Bus bus, std::optional<int> replyTimeout = std::nullopt,
                 QDBusConnection::BusType type = QDBusConnection::SessionBus);

    // The client's.
    QDBusConnection connection() const;
    bool isOnSystemBus() const { return m_type == QDBusConnection::SystemBus; }

    PrivateBus &bus() { return *m_bus; }
    void endBus();
    Peer &service() { return *m_service; }
    bool hasService() const { return m_service.has_value(); }
    // Both return when the client's connection knows.
    void startService();
    void killService();
    // For one that was told to end.
    void buryService();
    // The same for what else changes the owner of the service's name.
    enum Owner {
        Nobody,
        Somebody
    };
    void waitForOwner(Owner owner, const std::function<void()> &change) const;

    // Forgets what was seen and arranged. The service is there afterwards, if the bus is.
    void begin();

    // What the caller sees, in its order. A text of many x is shortened.
    void add(const QString &event);
    // Adds an event if a callback has run within the call that was just made.
    void noteEarlyCallbacks();
    void setCode(int code) { m_code = code; }
    const QStringList &events() const { return m_events; }
    int code() const { return m_code; }

    // What the library logged since the last question. Qt has something to say when it learns late
    // that a service has another owner; that is left out.
    QStringList takeWarnings();

    // Every callback keeps one.
    std::shared_ptr<void> token() const { return m_token; }
    int liveCallbacks() const { return int(m_token.use_count()) - 1; }

    // Returns when all that the bus has delivered by now has been handled.
    void settle() const { settleWith("org.freedesktop.DBus"); }
    // Returns when the service has answered all that it was asked by now, too.
    void settleWithService() const;

    // What the operations are called with.
    QString argument;
    QString taskType;
    // Of a debugged start and of a task, in place of usual parameters.
    QVariantMap parameters;
    // An invoker is made in front of what happens to it, and not behind that.
    bool invokerIsFirst = false;

private:
    void settleWith(const QString &whom) const;

    const QDBusConnection::BusType m_type;
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_service;
    // Those of all rigs, because whoever collects last gets everything.
    std::shared_ptr<const Warnings> m_warnings;
    int m_warningsTaken = 0;
    QStringList m_events;
    int m_code = 0;
    std::shared_ptr<void> m_token = std::make_shared<int>();
};

// The code, and the message unless it is null.
QString textOf(const Ostrel::Error &error);

// The same with a run of many x written as x*N.
QString shortened(const QString &text);

#endif
