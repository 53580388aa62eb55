// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk/desk_calls.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCallWatcher>

namespace
{

QString textOf(const QDBusMessage &error)
{
    return QStringLiteral("%1: %2").arg(error.errorName().section(QLatin1Char('.'), -1),
                                        error.errorMessage());
}

} // namespace

DeskCalls::DeskCalls(QObject *parent)
    : QObject(parent)
    , m_watcher(QStringLiteral(OSTREL_SERVICE_NAME), QDBusConnection::sessionBus(),
                QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*service*/, const QString & /*before*/, const QString &owner) {
                // What was arranged with the one before is lost.
                lose();
                if (!owner.isEmpty()) {
                    look();
                }
            });
    look();
}

void DeskCalls::lose()
{
    ++m_generation;
    setState(m_state == Ready || m_state == Gone ? Gone : Absent);
}

void DeskCalls::look()
{
    if (m_state == Absent) {
        m_state = Asked;
    }
    ask(QStringLiteral("RootFs"), [this](const QDBusMessage &reply) {
        const bool isDesk =
            reply.type() == QDBusMessage::ReplyMessage && reply.signature() == QLatin1String("s");
        m_rootFs = isDesk ? reply.arguments().constFirst().toString() : QString();
        setState(isDesk ? Ready : Absent);
    });
}

void DeskCalls::setState(State state)
{
    if (m_state != state) {
        m_state = state;
        Q_EMIT stateChanged();
    }
}

void DeskCalls::call(const QString &what, const QString &method, const QVariantList &arguments,
                     const Handler &handler)
{
    const auto receive = [this, what, handler](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ReplyMessage) {
            handler(reply);
        } else {
            Q_EMIT failed(QStringLiteral("%1: %2").arg(what, textOf(reply)));
        }
    };
    send(method, arguments, noTimeout, receive);
}

void DeskCalls::ask(const QString &method, const Handler &handler, int timeout)
{
    const auto receive = [this, handler, generation = m_generation](const QDBusMessage &reply) {
        if (generation == m_generation) {
            handler(reply);
        }
    };
    send(method, {}, timeout, receive);
}

void DeskCalls::send(const QString &method, const QVariantList &arguments, int timeout,
                     const Handler &handler)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
        QStringLiteral(OSTREL_SIMULATOR_INTERFACE), method);
    message.setArguments(arguments);
    // Who looks for the desk does not start a service.
    message.setAutoStartService(false);
    auto *watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(message, timeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, handler] {
        watcher->deleteLater();
        handler(watcher->reply());
    });
}
