// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "proxy_client.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusMetaType>

namespace Proxy
{

Control::Control()
    : m_proxy(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
              QDBusConnection::sessionBus())
{
    qDBusRegisterMetaType<Records::Application>();
    qDBusRegisterMetaType<QVector<Records::Application>>();
    qDBusRegisterMetaType<Records::Service>();
    qDBusRegisterMetaType<QVector<Records::Service>>();
    connect(&m_proxy, &ControlProxy::Started, this, &Control::started);
    connect(&m_proxy, &ControlProxy::Terminated, this, &Control::terminated);
    connect(&m_proxy, &ControlProxy::StateChanged, this,
            [this](const QString &appInstanceId, const QVariantMap &properties) {
                const auto state = properties.constFind(QStringLiteral("State"));
                if (state != properties.cend()) {
                    Q_EMIT stateChanged(appInstanceId, state->toUInt());
                }
            });
    connect(&m_proxy, &ControlProxy::SelectedByOom, this, &Control::selectedByOom);
}

ByHand::Control::Started Control::start(const QString &appId)
{
    QDBusPendingReply<QString, QVariantMap> reply = m_proxy.Start(appId);
    reply.waitForFinished();
    if (reply.isError()) {
        return {Records::errorOf(reply.error()), {}, {}};
    }
    return {{}, reply.argumentAt<0>(), reply.argumentAt<1>()};
}

void Control::startLater(const QString &appId, const ByHand::Control::StartDone &done)
{
    auto *watcher = new QDBusPendingCallWatcher(m_proxy.Start(appId), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [done](QDBusPendingCallWatcher *finished) {
                const QDBusPendingReply<QString, QVariantMap> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    done({Records::errorOf(reply.error()), {}, {}});
                } else {
                    done({{}, reply.argumentAt<0>(), reply.argumentAt<1>()});
                }
            });
}

Records::Error Control::running(QVector<Records::Application> &applications,
                                QVector<Records::Service> &services)
{
    QDBusPendingReply<QVector<Records::Application>, QVector<Records::Service>> reply =
        m_proxy.GetRunningApplications();
    reply.waitForFinished();
    if (reply.isError()) {
        return Records::errorOf(reply.error());
    }
    applications = reply.argumentAt<0>();
    services = reply.argumentAt<1>();
    return {};
}

Invoker::Invoker(const QString &type, const Ready &ready)
    : ByHand::Invoker(type, ready)
    , m_proxy(QStringLiteral(OSTREL_SERVICE_NAME),
              QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type,
              QDBusConnection::sessionBus())
{
}

void Invoker::start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
                    const Done &done)
{
    auto *watcher = new QDBusPendingCallWatcher(m_proxy.Start(name, startupInfo, hints), this);
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
    : m_proxy(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
              QDBusConnection::sessionBus())
{
}

void Windows::updateStatus(const QString &window, int status, int arg1, int arg2,
                           const ByHand::Windows::Done &done)
{
    auto *watcher =
        new QDBusPendingCallWatcher(m_proxy.UpdateWindowStatus(window, status, arg1, arg2), this);
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

} // namespace Proxy
