// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "by_hand_client.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusPendingReply>

namespace ByHand
{

Control::Control()
{
    const auto receive = [this](const QString &name, const char *member) {
        m_bus.connect(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
                      QStringLiteral(OSTREL_CONTROL_INTERFACE), name, this, member);
    };
    receive(QStringLiteral("Started"), SIGNAL(started(QString, QVariantMap)));
    receive(QStringLiteral("Terminated"), SIGNAL(terminated(QString, QVariantMap)));
    receive(QStringLiteral("StateChanged"), SLOT(onStateChanged(QString, QVariantMap)));
    receive(QStringLiteral("SelectedByOom"), SIGNAL(selectedByOom(QString)));
}

Control::Started Control::start(const QString &appId)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
        QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("Start"));
    call << appId;
    const QDBusMessage reply = m_bus.call(call);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return {{reply.errorName(), reply.errorMessage()}, {}, {}};
    }
    const QVariantList values = reply.arguments();
    return {{}, values.at(0).toString(), qdbus_cast<QVariantMap>(values.at(1))};
}

void Control::startLater(const QString &appId, const StartDone &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
        QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("Start"));
    call << appId;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
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

Error Control::running(QVector<Application> &applications, QVector<Service> &services)
{
    const QDBusMessage reply = m_bus.call(QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
        QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("GetRunningApplications")));
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return {reply.errorName(), reply.errorMessage()};
    }
    const QVariantList values = reply.arguments();
    values.at(0).value<QDBusArgument>() >> applications;
    values.at(1).value<QDBusArgument>() >> services;
    return {};
}

void Control::onStateChanged(const QString &appInstanceId, const QVariantMap &properties)
{
    const auto state = properties.constFind(QStringLiteral("State"));
    if (state != properties.cend()) {
        Q_EMIT stateChanged(appInstanceId, state->toUInt());
    }
}

Invoker::Invoker(const QString &type, const Ready &ready)
    : m_path(QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_TASK_INVOKER_PATH),
        QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE), QStringLiteral("RegisterInvoker"));
    call << type;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, ready](QDBusPendingCallWatcher *finished) {
                const QDBusPendingReply<QDBusObjectPath, QVariantMap> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    ready(Records::errorOf(reply.error()));
                    return;
                }
                onPropertiesChanged(QString(), reply.argumentAt<1>(), QStringList());
                ready({});
            });
    m_bus.connect(QStringLiteral(OSTREL_SERVICE_NAME), m_path,
                  QStringLiteral("org.freedesktop.DBus.Properties"),
                  QStringLiteral("PropertiesChanged"), this,
                  SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
}

void Invoker::start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
                    const Done &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), m_path,
        QStringLiteral(OSTREL_TASK_INVOKER_SESSION_INTERFACE), QStringLiteral("Start"));
    call << name << startupInfo << hints;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
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

void Invoker::onPropertiesChanged(const QString & /*interface*/, const QVariantMap &changed,
                                  const QStringList & /*invalidated*/)
{
    const auto tasks = changed.constFind(QStringLiteral("ActiveTasks"));
    if (tasks != changed.cend()) {
        tasks->value<QDBusArgument>() >> m_activeTasks;
        Q_EMIT activeTasksChanged();
    }
}

void Windows::updateStatus(const QString &window, int status, int arg1, int arg2, const Done &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
        QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE), QStringLiteral("UpdateWindowStatus"));
    call << window << status << arg1 << arg2;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
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

} // namespace ByHand
