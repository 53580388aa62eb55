// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/presence.h"

#include "bus_advice.h"
#include "print.h"

#include "DBus/names_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

#include <cstdio>

namespace
{

// What the user can do about the error before it.
void printHint(const QString &hint)
{
    QTextStream(stderr) << "hint: " << hint << '\n';
}

} // namespace

Presence::Presence(Service &service, const Options &options, const QString &rootFs)
    : m_service(service)
    , m_options(options)
    , m_rootFs(rootFs)
{
}

bool Presence::enter()
{
    QDBusConnection bus = connectToBus();
    if (!isReachable(bus)) {
        return false;
    }
    // A blocking call on a bus that goes away before the first pass would never end.
    QCoreApplication::processEvents();
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(onDisconnected()));
    m_service.setConnection(bus);
    // The name comes last, when everything is in place.
    if (!bus.registerVirtualObject(QStringLiteral(OSTREL_SERVICE_PATH), &m_service,
                                   QDBusConnection::SubPath)) {
        print(stderr, QStringLiteral("cannot serve the path " OSTREL_SERVICE_PATH));
        return false;
    }
    return own(bus);
}

void Presence::leave()
{
    {
        QDBusConnection bus(m_connectionName);
        bus.disconnect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                       QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                       this, SLOT(onDisconnected()));
        // The connection itself ends only when nothing refers to it any more.
        bus.interface()->unregisterService(QStringLiteral(OSTREL_SERVICE_NAME));
        bus.unregisterObject(QStringLiteral(OSTREL_SERVICE_PATH), QDBusConnection::UnregisterTree);
    }
    m_service.setConnection(QDBusConnection(QString()));
    QDBusConnection::disconnectFromBus(m_connectionName);
}

void Presence::flush() const
{
    constexpr int patience = 10'000;
    const QDBusMessage ping = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    QDBusConnection(m_connectionName).call(ping, QDBus::Block, patience);
}

void Presence::onDisconnected()
{
    print(stderr, QStringLiteral("the bus went away"));
    Q_EMIT lost();
}

QDBusConnection Presence::connectToBus()
{
    m_connectionName = QStringLiteral("ostrel-simulator %1").arg(++m_connections);
    switch (m_options.bus) {
    case Options::Bus::System:
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, m_connectionName);
    case Options::Bus::Address:
        // The programs that it runs find the service on their session bus.
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_options.address.toLocal8Bit());
        return QDBusConnection::connectToBus(m_options.address, m_connectionName);
    case Options::Bus::Session:
        break;
    }
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName);
}

bool Presence::isReachable(const QDBusConnection &bus) const
{
    if (bus.isConnected()) {
        return true;
    }
    print(stderr,
          QStringLiteral("cannot reach the %1: %2").arg(label(), bus.lastError().message()));
    if (m_options.bus != Options::Bus::Address) {
        printHint(adviceOnMissingBus(m_options.bus == Options::Bus::System
                                         ? QDBusConnection::SystemBus
                                         : QDBusConnection::SessionBus));
    }
    return false;
}

bool Presence::own(const QDBusConnection &bus) const
{
    const QString name = QStringLiteral(OSTREL_SERVICE_NAME);
    const auto owned =
        bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!owned.isValid()) {
        print(stderr,
              QStringLiteral("cannot own the name %1: %2").arg(name, owned.error().message()));
        if (owned.error().type() == QDBusError::AccessDenied) {
            printHint(QStringLiteral(
                "ostrel-simulator(1) says how to allow it on the system bus; or open a shell whose "
                "system bus is a private one: dbus-run-session -- "
                "sh -c 'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS bash'"));
        }
        return false;
    }
    if (owned.value() != QDBusConnectionInterface::ServiceRegistered) {
        print(stderr, QStringLiteral("the name %1 is taken on the %2").arg(name, label()));
        return false;
    }
    print(stdout,
          QStringLiteral("%1 is ready on the %2; its root folder is %3")
              .arg(name, label(), m_rootFs));
    return true;
}

QString Presence::label() const
{
    switch (m_options.bus) {
    case Options::Bus::System:
        return QStringLiteral("system bus");
    case Options::Bus::Address:
        return QStringLiteral("bus at %1").arg(m_options.address);
    case Options::Bus::Session:
        break;
    }
    return QStringLiteral("session bus");
}
