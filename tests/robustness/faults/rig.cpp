// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "rig.h"

#include "test_bus.h"

#include "DBus/names_p.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusServiceWatcher>

namespace
{

std::shared_ptr<const Warnings> sharedWarnings()
{
    static std::weak_ptr<const Warnings> current;
    auto shared = current.lock();
    if (!shared) {
        shared = std::make_shared<const Warnings>(Warnings::Silent);
        current = shared;
    }
    return shared;
}

} // namespace

Rig::Rig(Bus bus, QDBusConnection::BusType type)
    : m_type(type)
    , m_warnings(sharedWarnings())
{
    const char *const sessionBus = "DBUS_SESSION_BUS_ADDRESS";
    const QByteArray session = qgetenv(sessionBus);
    QByteArray address("unix:path=/nonexistent/bus");
    if (bus != NoBus) {
        m_bus.emplace(PrivateBus::SessionBus,
                      bus == WithStrictBus ? unrequestedRefused() : QString());
        address = m_bus->address().toUtf8();
    }
    // A private bus makes itself the session bus.
    qputenv(sessionBus, session);
    qputenv(isOnSystemBus() ? "DBUS_SYSTEM_BUS_ADDRESS" : sessionBus, address);
}

QDBusConnection Rig::connection() const
{
    return isOnSystemBus() ? QDBusConnection::systemBus() : QDBusConnection::sessionBus();
}

void Rig::endBus()
{
    if (!connection().isConnected()) {
        return;
    }
    m_service.reset();
    m_bus->end();
    waitUntil([this] { return !connection().isConnected(); });
}

void Rig::startService()
{
    // QtDBus drops signals until it knows the service.
    waitForOwner(Somebody, [this] {
        m_service.emplace(*m_bus);
        m_service->order("own " OSTREL_SERVICE_NAME);
    });
}

void Rig::killService()
{
    waitForOwner(Nobody, [this] { m_service->kill(); });
    m_service.reset();
}

void Rig::buryService()
{
    m_service->waitForEnd();
    m_service.reset();
}

void Rig::waitForOwner(Owner owner, const std::function<void()> &change) const
{
    const QDBusServiceWatcher watcher(OSTREL_SERVICE_NAME, connection());
    bool known = false;
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &watcher,
                     [&known, owner](const QString &, const QString &, const QString &now) {
                         known = now.isEmpty() == (owner == Nobody);
                     });
    // The bus may handle the change before the subscription, which comes from another connection.
    settle();
    change();
    waitUntil([&known] { return known; });
}

void Rig::begin()
{
    argument = "a.b";
    taskType = "sync";
    parameters.clear();
    invokerIsFirst = false;
    // Before the event loop has run, a connection reports nothing, not even its end.
    connection();
    QCoreApplication::processEvents();
    if (connection().isConnected()) {
        if (!m_service) {
            startService();
        }
        m_service->order("forget");
    }
    takeWarnings();
    m_events.clear();
    m_code = 0;
}

void Rig::add(const QString &event)
{
    m_events.append(shortened(event));
}

void Rig::noteEarlyCallbacks()
{
    if (!m_events.isEmpty()) {
        m_events.prepend("within the call");
    }
}

QStringList Rig::takeWarnings()
{
    QStringList taken = m_warnings->texts().mid(m_warningsTaken);
    m_warningsTaken += taken.size();
    taken.erase(std::remove_if(
                    taken.begin(), taken.end(),
                    [](const QString &text) { return text.startsWith("QDBusConnection: name "); }),
                taken.end());
    return taken;
}

void Rig::settleWithService() const
{
    settleWith(OSTREL_SERVICE_NAME);
}

void Rig::settleWith(const QString &whom) const
{
    QCoreApplication::sendPostedEvents();
    QDBusConnection bus = connection();
    if (bus.isConnected()) {
        // Any answer will do.
        const QDBusPendingCallWatcher answer(bus.asyncCall(
            QDBusMessage::createMethodCall(whom, "/", "org.freedesktop.DBus.Peer", "Ping")));
        bool answered = false;
        QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &answer,
                         [&answered] { answered = true; });
        waitUntil([&answered] { return answered; });
    }
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QString textOf(const Ostrel::Error &error)
{
    const QString code = QString::number(error.code());
    return error.message().isNull() ? code : QString("%1 \"%2\"").arg(code, error.message());
}

QString shortened(const QString &text)
{
    if (text.isEmpty()) {
        return text; // which may be null
    }
    const QChar x = 'x';
    QString result;
    for (int i = 0, run = 0; i < text.size(); i += run) {
        for (run = 0; i + run < text.size() && text.at(i + run) == x; ++run) { }
        if (run > 32) {
            result += QString("x*%1").arg(run);
        } else {
            run = qMax(run, 1);
            result += text.midRef(i, run);
        }
    }
    return result;
}
