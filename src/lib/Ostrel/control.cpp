// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/control.h"
#include "Ostrel/control_p.h"

#include "DBus/checked_call_p.h"
#include "DBus/names_p.h"
#include "DBus/pending_call_p.h"
#include "DBus/receive_limit_p.h"
#include "DBus/service_name_p.h"
#include "DBus/service_signal_p.h"
#include "DBus/timeout_p.h"
#include "DBus/types_p.h"
#include "Ostrel/error_p.h"

#include <QtCore/QPointer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>

namespace Ostrel
{

namespace
{

void watchStart(const QDBusPendingCall &call, const QObject *context,
                const std::function<void(const Control::StartResult &)> &callback)
{
    using Reply = ControlPrivate::AnyReply;
    watchPendingCall<Reply>(call, context, [callback](const Reply &reply) {
        if (callback) {
            callback(ControlPrivate::startResult(reply));
        }
    });
}

} // namespace

ControlPrivate::ControlPrivate(Control *q)
    : QDBusAbstractInterface(serviceName, QStringLiteral(OSTREL_CONTROL_PATH),
                             OSTREL_CONTROL_INTERFACE, ProcessEnd::bus(QDBusConnection::SessionBus),
                             nullptr)
    , q(q)
{
    registerDBusTypes();
    liftReceiveLimit(connection());
    ProcessEnd::watch();

    const auto receive = [this](const QString &name, const QString &signature, QObject *receiver,
                                const char *member) {
        connectServiceSignal(connection(), {path(), interface(), name, signature}, receiver,
                             member);
    };
    const QString changes = QStringLiteral("sa{sv}");
    receive(QStringLiteral("Started"), changes, q, SIGNAL(started(QString, QVariantMap)));
    receive(QStringLiteral("Terminated"), changes, q, SIGNAL(terminated(QString, QVariantMap)));
    receive(QStringLiteral("StateChanged"), changes, this,
            SLOT(onStateChanged(QString, QVariantMap)));
    receive(QStringLiteral("SelectedByOom"), QStringLiteral("s"), q,
            SIGNAL(selectedByOom(QString)));

    // The base class has a watcher of the owner of the service's name. A second watcher could miss
    // a change that was delivered before it was made.
    m_serviceAvailable = isValid();
    if (const auto *watcher = findChild<QDBusServiceWatcher *>()) {
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                &ControlPrivate::onOwnerChanged);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this,
                [this] { setServiceAvailable(true); });
        connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
                [this] { setServiceAvailable(false); });
    }
}

template <typename... Arguments>
QDBusPendingCall ControlPrivate::finishedCall(const ProcessEnd::Delay &delay, const QString &method,
                                              const Arguments &...arguments)
{
    if (!delay.isGranted()) {
        return QDBusPendingCall::fromError(disconnected());
    }
    QDBusPendingCall call = checkedCall(*this, method, arguments...);
    call.waitForFinished();
    return call;
}

Control::StartResult ControlPrivate::startResult(const QDBusPendingCall &call)
{
    // This comes before the check of the types: at the end of the process, QtDBus has none.
    if (call.isError()) {
        return {fromDBusError(call.error()), {}, {}};
    }
    const QDBusPendingReply<QString, QVariantMap> reply = call;
    if (reply.isError()) {
        return {fromDBusError(reply.error()), {}, {}};
    }
    return {Error(Error::NoError, QString()), reply.argumentAt<1>(), reply.argumentAt<0>()};
}

Error ControlPrivate::readRunning(const AnyReply &reply, QVector<RunningApplication> &applications,
                                  QVector<RunningService> &services)
{
    if (reply.isError()) {
        // The code is Failed, whatever the name of the error.
        return failedWith(reply.error());
    }
    // For a reply without values, the list holds one invalid value.
    const QVariantList values = reply.reply().arguments();
    if (values.size() < 2) {
        Q_ASSERT_X(false, "QList<T>::at", "index out of range");
        return Error(Error::Failed, QStringLiteral("The reply has fewer than two arguments"));
    }
    read(values.at(0), applications);
    read(values.at(1), services);
    return Error(Error::NoError, QString());
}

bool ControlPrivate::isServiceAvailable()
{
    if (m_busEnd == nullptr) {
        m_busEnd = new BusEnd(this);
        connect(m_busEnd, &BusEnd::ended, this, &ControlPrivate::onBusEnded);
        connection().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                             QStringLiteral("org.freedesktop.DBus.Local"),
                             QStringLiteral("Disconnected"), m_busEnd, SIGNAL(ended()));
    }
    return m_serviceAvailable && connection().isConnected();
}

void ControlPrivate::onOwnerChanged(const QString & /*service*/, const QString &oldOwner,
                                    const QString &newOwner)
{
    m_owner = newOwner;
    // Otherwise, the watcher emits another signal after this one. A slot may delete this object,
    // and the watcher with it.
    if (!oldOwner.isEmpty() && !newOwner.isEmpty()) {
        const QPointer<ControlPrivate> self(this);
        setServiceAvailable(false);
        // A slot may also run an event loop that brings the next change.
        if (!self.isNull() && m_owner == newOwner) {
            setServiceAvailable(true);
        }
    }
}

void ControlPrivate::onBusEnded()
{
    m_owner.clear();
    setServiceAvailable(false);
}

void ControlPrivate::setServiceAvailable(bool available)
{
    if (available != m_serviceAvailable) {
        m_serviceAvailable = available;
        Q_EMIT q->serviceAvailableChanged(available);
    }
}

void ControlPrivate::onStateChanged(const QString &appInstanceId, const QVariantMap &debugParams)
{
    const auto state = debugParams.constFind(QStringLiteral("State"));
    if (state != debugParams.cend()) {
        // A slot may delete the Control, and this object with it.
        Q_EMIT q->stateChanged(appInstanceId, static_cast<ApplicationState>(state->toUInt()));
    }
}

Control *Control::instance()
{
    static Control *shared = nullptr;
    if (shared == nullptr) {
        shared = new Control;
    }
    return shared;
}

Control::Control()
    : Control(nullptr)
{
}

Control::Control(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<ControlPrivate>(this))
{
}

Control::~Control() = default;

Control::StartResult Control::start(const QString &appId)
{
    const ProcessEnd::Delay delay;
    return ControlPrivate::startResult(d->finishedCall(delay, QStringLiteral("Start"), appId));
}

void Control::start(const QString &appId, const QObject *context,
                    const std::function<void(const StartResult &)> &callback)
{
    watchStart(checkedCall(*d, QStringLiteral("Start"), appId), context, callback);
}

Control::StartResult Control::startDebug(const QString &appId, const DebugParams &params)
{
    const ProcessEnd::Delay delay;
    return ControlPrivate::startResult(
        d->finishedCall(delay, QStringLiteral("StartDebug"), appId, params.toMap()));
}

void Control::startDebug(const QString &appId, const DebugParams &params, const QObject *context,
                         const std::function<void(const StartResult &)> &callback)
{
    watchStart(checkedCall(*d, QStringLiteral("StartDebug"), appId, params.toMap()), context,
               callback);
}

Error Control::terminate(const QString &appInstanceId)
{
    const ProcessEnd::Delay delay;
    return fromDBusError(
        d->finishedCall(delay, QStringLiteral("Terminate"), appInstanceId).error());
}

void Control::terminate(const QString &appInstanceId, const QObject *context,
                        const std::function<void(const Error &)> &callback)
{
    using Reply = ControlPrivate::AnyReply;
    watchPendingCall<Reply>(checkedCall(*d, QStringLiteral("Terminate"), appInstanceId), context,
                            [callback](const Reply &reply) {
                                if (callback) {
                                    callback(fromDBusError(reply.error()));
                                }
                            });
}

Error Control::getRunningApplications(QVector<RunningApplication> &applications,
                                      QVector<RunningService> &services)
{
    const ProcessEnd::Delay delay;
    return ControlPrivate::readRunning(
        d->finishedCall(delay, QStringLiteral("GetRunningApplications")), applications, services);
}

void Control::getRunningApplications(
    const QObject *context,
    const std::function<void(const QVector<RunningApplication> &, const QVector<RunningService> &,
                             const Error &)> &callback)
{
    using Reply = ControlPrivate::AnyReply;
    watchPendingCall<Reply>(checkedCall(*d, QStringLiteral("GetRunningApplications")), context,
                            [callback](const Reply &reply) {
                                if (callback) {
                                    QVector<RunningApplication> applications;
                                    QVector<RunningService> services;
                                    const Error error =
                                        ControlPrivate::readRunning(reply, applications, services);
                                    callback(applications, services, error);
                                }
                            });
}

void Control::setTimeout(int milliseconds)
{
    setCallTimeout(*d, milliseconds);
}

int Control::timeout() const
{
    return d->timeout();
}

bool Control::isServiceAvailable() const
{
    return d->isServiceAvailable();
}

QString Control::serviceName()
{
    return Ostrel::serviceName;
}

} // namespace Ostrel
