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

// The bus, a peer as the service on it, and what a caller of the library saw.
class Rig
{
public:
    enum Bus {
        NoBus,
        WithBus,
        // The bus passes on no answer to a call that was made to another peer.
        WithStrictBus
    };

    // type: which bus of the client this is. The client connects in begin(), because libdbus then
    // learns the addresses of all buses.
    explicit Rig(Bus bus, QDBusConnection::BusType type = QDBusConnection::SessionBus);

    // The connection of the client.
    QDBusConnection connection() const;
    bool isOnSystemBus() const { return m_type == QDBusConnection::SystemBus; }

    PrivateBus &bus() { return *m_bus; }
    void endBus();
    Peer &service() { return *m_service; }
    bool hasService() const { return m_service.has_value(); }
    // Both return when the client's connection knows.
    void startService();
    void killService();
    // For a service that was told to end.
    void buryService();
    // The same for other changes of the owner of the service's name.
    enum Owner {
        Nobody,
        Somebody
    };
    void waitForOwner(Owner owner, const std::function<void()> &change) const;

    // Forgets all events and arrangements. Starts the service, if there is a bus.
    void begin();

    // Adds what the caller sees. Long runs of x are shortened.
    void add(const QString &event);
    // Adds an event if a callback has run within the call that was just made.
    void noteEarlyCallbacks();
    void setCode(int code) { m_code = code; }
    const QStringList &events() const { return m_events; }
    int code() const { return m_code; }

    // Returns what the library has logged since the last call, without Qt's own warning of a late
    // change of the service's owner.
    QStringList takeWarnings();

    // Every callback holds one.
    std::shared_ptr<void> token() const { return m_token; }
    int liveCallbacks() const { return int(m_token.use_count()) - 1; }

    // Returns when everything that the bus has delivered until now has been handled.
    void settle() const { settleWith("org.freedesktop.DBus"); }
    // Returns when the service has also answered everything that it was asked until now.
    void settleWithService() const;

    // The argument of the operations.
    QString argument;
    QString taskType;
    // The parameters of a debugged start and of a task, instead of the usual ones.
    QVariantMap parameters;
    // Create the invoker before the fault happens, not after it.
    bool invokerIsFirst = false;

private:
    void settleWith(const QString &whom) const;

    const QDBusConnection::BusType m_type;
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_service;
    // Shared by all rigs, because the last collector gets everything.
    std::shared_ptr<const Warnings> m_warnings;
    int m_warningsTaken = 0;
    QStringList m_events;
    int m_code = 0;
    std::shared_ptr<void> m_token = std::make_shared<int>();
};

// The code, and the message unless it is null.
QString textOf(const Ostrel::Error &error);

// The same with long runs of x written as x*N.
QString shortened(const QString &text);

#endif
