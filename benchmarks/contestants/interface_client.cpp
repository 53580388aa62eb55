// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interface_client.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusPendingReply>

namespace Interface
{

Control::Control()
    : m_interface(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
                  QStringLiteral(OSTREL_CONTROL_INTERFACE), QDBusConnection::sessionBus())
{
}

Control::Started Control::start(const QString &appId)
{
    const QDBusMessage reply = m_interface.call(QStringLiteral("Start"), appId);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return {{reply.errorName(), reply.errorMessage()}, {}, {}};
    }
    const QVariantList values = reply.arguments();
    return {{}, values.at(0).toString(), qdbus_cast<QVariantMap>(values.at(1))};
}

Records::Error Control::running(QVector<Records::Application> &applications,
                                QVector<Records::Service> &services)
{
    const QDBusMessage reply = m_interface.call(QStringLiteral("GetRunningApplications"));
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return {reply.errorName(), reply.errorMessage()};
    }
    const QVariantList values = reply.arguments();
    values.at(0).value<QDBusArgument>() >> applications;
    values.at(1).value<QDBusArgument>() >> services;
    return {};
}

Invoker::Invoker(const QString &type, const Ready &ready)
    : ByHand::Invoker(type, ready)
    , m_interface(QStringLiteral(OSTREL_SERVICE_NAME),
                  QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type,
                  QStringLiteral(OSTREL_TASK_INVOKER_SESSION_INTERFACE),
                  QDBusConnection::sessionBus())
{
}

void Invoker::start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
                    const Done &done)
{
    auto *watcher = new QDBusPendingCallWatcher(
        m_interface.asyncCall(QStringLiteral("Start"), name, startupInfo, hints), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [done](QDBusPendingCallWatcher *finished) {
                const QDBusPendingReply<int> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    done(0, Records::errorOf(reply.error()));
                } else {
                    done(reply.value(), {});
                }
            });
}

Windows::Windows()
    : m_interface(QStringLiteral(OSTREL_SERVICE_NAME),
                  QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
                  QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE), QDBusConnection::sessionBus())
{
}

void Windows::updateStatus(const QString &window, int status, int arg1, int arg2,
                           const ByHand::Windows::Done &done)
{
    auto *watcher = new QDBusPendingCallWatcher(
        m_interface.asyncCall(QStringLiteral("UpdateWindowStatus"), window, status, arg1, arg2),
        this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [done](QDBusPendingCallWatcher *finished) {
                const QDBusPendingReply<uint> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    done(255, Records::errorOf(reply.error()));
                } else {
                    done(reply.value(), {});
                }
            });
}

} // namespace Interface
