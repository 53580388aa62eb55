// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/task_invoker.h"
#include "Ostrel/task_invoker_p.h"

#include "DBus/callback_p.h"
#include "DBus/checked_call_p.h"
#include "DBus/names_p.h"
#include "DBus/pending_call_p.h"
#include "DBus/process_end_p.h"
#include "DBus/receive_limit_p.h"
#include "DBus/service_name_p.h"
#include "DBus/service_signal_p.h"
#include "DBus/timeout_p.h"
#include "DBus/types_p.h"
#include "Ostrel/error_p.h"

#include <QtCore/QDebug>
#include <QtCore/QPointer>
#include <QtDBus/QDBusConnection>

namespace Ostrel
{

namespace
{

// The first value of a reply as a number, or 0. Qt does not check the signature of error replies.
int numberIn(const QDBusMessage &answer)
{
    const QVariant value = answer.arguments().value(0);
    if (value.userType() != qMetaTypeId<QDBusArgument>()) {
        return value.toInt();
    }
    int number = 0;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() == QLatin1String("i")) {
        argument >> number;
    }
    return number;
}

} // namespace

template <typename Record>
void AnnouncedTasks<Record>::replace(const QVariant &value, quint64 announcement)
{
    if (announcement >= m_announcement) {
        m_announcement = announcement;
        // A value of another type gives an empty argument, which reads as an empty list.
        value.value<QDBusArgument>() >> m_tasks;
    }
}

TaskInvokerPrivate::TaskInvokerPrivate(TaskInvoker::BusType bus, const QString &taskType,
                                       TaskInvoker *invoker)
    : QDBusAbstractInterface(
        serviceName, QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + taskType,
        OSTREL_TASK_INVOKER_SESSION_INTERFACE,
        ProcessEnd::bus(bus == TaskInvoker::SessionBus ? QDBusConnection::SessionBus
                                                       : QDBusConnection::SystemBus),
        nullptr)
    , m_taskType(taskType)
    , m_invoker(invoker)
    , m_bus(bus)
{
    registerDBusTypes();
    liftReceiveLimit(connection());
    ProcessEnd::watch();

    const QDBusError refusal = OutgoingMessage(connection(), path()).refusal();
    registerTaskInvoker(refusal);
    if (refusal.isValid()) {
        // No message can hold the path, so there can be no subscription.
        return;
    }

    connectServiceSignal(connection(),
                         {path(), QStringLiteral("org.freedesktop.DBus.Properties"),
                          QStringLiteral("PropertiesChanged"), QStringLiteral("sa{sv}as")},
                         this, SLOT(onPropertiesChanged(QString, QVariantMap, QStringList)));
}

TaskInvokerPrivate::~TaskInvokerPrivate() = default;

void TaskInvokerPrivate::registerTaskInvoker(const QDBusError &refusal)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        service(), QStringLiteral(OSTREL_TASK_INVOKER_PATH),
        QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE), QStringLiteral("RegisterInvoker"));
    call << m_taskType;
    watchPendingCall<Registration>(
        refusal.isValid() ? QDBusPendingCall::fromError(refusal) : connection().asyncCall(call),
        this, [this](const Registration &reply) { onRegistered(reply); });
}

void TaskInvokerPrivate::onRegistered(const Registration &reply)
{
    if (reply.isError()) {
        qWarning() << "TaskInvoker registration failed:" << reply.error();
        markReady(fromDBusError(reply.error()));
        return;
    }

    const QString session = reply.argumentAt<0>().path();
    if (session != path()) {
        qWarning() << "Unexpected object path:" << session;
        markReady(Error(Error::Failed, QStringLiteral("Wrong TaskInvoker path")));
        return;
    }

    const QPointer<TaskInvokerPrivate> self(this);
    applyProperties(reply.argumentAt<1>());
    if (!self.isNull()) {
        markReady(Error(Error::NoError, QString()));
    }
}

void TaskInvokerPrivate::markReady(const Error &result)
{
    m_ready = true;
    m_result = result;

    // A callback may delete this object. Only local copies are valid then.
    const QPointer<TaskInvokerPrivate> self(this);
    const auto callbacks = m_readyCallbacks;
    for (const auto &callback : callbacks) {
        callback(result);
        if (self.isNull()) {
            return;
        }
    }
}

void TaskInvokerPrivate::onReady(const std::function<void(const Error &)> &callback)
{
    if (m_ready) {
        const Error result = m_result;
        callback(result);
    } else {
        m_readyCallbacks.append(callback);
    }
}

void TaskInvokerPrivate::start(const QString &name, const QVariantMap &startupInfo,
                               const QVariantMap &hints,
                               const std::function<void(int, const Error &)> &callback)
{
    using Reply = QDBusPendingReply<int>;
    watchPendingCall<Reply>(checkedCall(*this, QStringLiteral("Start"), name, startupInfo, hints),
                            m_invoker, [callback](const Reply &reply) {
                                if (callback) {
                                    callback(numberIn(reply.reply()), fromDBusError(reply.error()));
                                }
                            });
}

void TaskInvokerPrivate::stop(const QString &name,
                              const std::function<void(const Error &)> &callback)
{
    using Reply = QDBusPendingReply<>;
    watchPendingCall<Reply>(checkedCall(*this, QStringLiteral("Stop"), name), m_invoker,
                            [callback](const Reply &reply) {
                                if (callback) {
                                    callback(fromDBusError(reply.error()));
                                }
                            });
}

// The session has one interface, so the name is ignored. Properties that are only invalidated keep
// their values.
void TaskInvokerPrivate::onPropertiesChanged(const QString & /*interface*/,
                                             const QVariantMap &changed,
                                             const QStringList & /*invalidated*/)
{
    applyProperties(changed);
}

void TaskInvokerPrivate::applyProperties(const QVariantMap &properties)
{
    // A slot may delete this object. Only local copies are valid then. A slot may also run an event
    // loop: if a newer announcement arrives there, its lists are kept.
    const QPointer<TaskInvokerPrivate> self(this);
    const quint64 announcement = ++m_announcements;
    const QVariantMap held = properties; // NOLINT(performance-unnecessary-copy-initialization)
    for (auto property = held.cbegin(); !self.isNull() && property != held.cend(); ++property) {
        if (property.key() == QLatin1String("AvailableTasks")) {
            m_availableTasks.replace(property.value(), announcement);
            Q_EMIT m_invoker->availableTasksChanged();
        } else if (property.key() == QLatin1String("ActiveTasks")) {
            m_activeTasks.replace(property.value(), announcement);
            Q_EMIT m_invoker->activeTasksChanged();
        }
    }
}

TaskInvoker::TaskInvoker(BusType bus, const QString &taskType, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<TaskInvokerPrivate>(bus, taskType, this))
{
}

TaskInvoker::~TaskInvoker() = default;

QString TaskInvoker::taskType() const
{
    return d->taskType();
}

TaskInvoker::BusType TaskInvoker::busType() const
{
    return d->busType();
}

bool TaskInvoker::isReady() const
{
    return d->isReady();
}

Error TaskInvoker::error() const
{
    return d->result();
}

void TaskInvoker::setTimeout(int milliseconds)
{
    setCallTimeout(*d, milliseconds);
}

int TaskInvoker::timeout() const
{
    return d->timeout();
}

void TaskInvoker::onReady(const std::function<void(const Error &)> &callback)
{
    d->onReady(callback);
}

void TaskInvoker::onReady(const QObject *context,
                          const std::function<void(const Error &)> &callback)
{
    d->onReady(onBehalfOf(context, callback));
}

void TaskInvoker::start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
                        const std::function<void(int, const Error &)> &callback)
{
    d->start(name, startupInfo, hints, callback);
}

void TaskInvoker::start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
                        const QObject *context,
                        const std::function<void(int, const Error &)> &callback)
{
    d->start(name, startupInfo, hints, onBehalfOf(context, callback));
}

void TaskInvoker::stop(const QString &name, const std::function<void(const Error &)> &callback)
{
    d->stop(name, callback);
}

void TaskInvoker::stop(const QString &name, const QObject *context,
                       const std::function<void(const Error &)> &callback)
{
    d->stop(name, onBehalfOf(context, callback));
}

const QVector<AvailableTask> &TaskInvoker::availableTasks() const
{
    return d->availableTasks();
}

const QVector<ActiveTask> &TaskInvoker::activeTasks() const
{
    return d->activeTasks();
}

} // namespace Ostrel
