// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/control.h"
#include "Ostrel/control_p.h"

#include "DBus/checked_call_p.h"
#include "DBus/names_p.h"
#include "DBus/receive_limit_p.h"
#include "DBus/service_name_p.h"
#include "DBus/service_signal_p.h"
#include "DBus/types_p.h"
#include "Ostrel/debug_params_p.h"
#include "Ostrel/error_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>

#include <QtDBus/QDBusPendingReply>

namespace Ostrel
{

ControlPrivate::ControlPrivate(Control *q)
    : QDBusAbstractInterface(serviceName, QStringLiteral(OSTREL_CONTROL_PATH),
                             OSTREL_CONTROL_INTERFACE, QDBusConnection::sessionBus(), nullptr)
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
    // Before the types are looked at: at the end of the process QtDBus has none any more.
    if (call.isError()) {
        return {fromDBusError(call.error()), {}, {}};
    }
    const QDBusPendingReply<QString, QVariantMap> reply = call;
    if (reply.isError()) {
        return {fromDBusError(reply.error()), {}, {}};
    }
    return {Error(Error::NoError, QString()), reply.argumentAt<1>(), reply.argumentAt<0>()};
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
    : d(std::make_unique<ControlPrivate>(this))
{
}

Control::~Control() = default;

Control::StartResult Control::start(const QString &appId)
{
    const ProcessEnd::Delay delay;
    return ControlPrivate::startResult(d->finishedCall(delay, QStringLiteral("Start"), appId));
}

Control::StartResult Control::startDebug(const QString &appId, const DebugParams &params)
{
    const ProcessEnd::Delay delay;
    return ControlPrivate::startResult(d->finishedCall(delay, QStringLiteral("StartDebug"), appId,
                                                       DebugParamsPrivate::map(params)));
}

Error Control::terminate(const QString &appInstanceId)
{
    const ProcessEnd::Delay delay;
    return fromDBusError(
        d->finishedCall(delay, QStringLiteral("Terminate"), appInstanceId).error());
}

Error Control::getRunningApplications(QVector<RunningApplication> &applications,
                                      QVector<RunningService> &services)
{
    const ProcessEnd::Delay delay;
    const QDBusPendingCall call = d->finishedCall(delay, QStringLiteral("GetRunningApplications"));
    if (call.isError()) {
        // The code says no more than that, whatever the error's name.
        return Error(Error::Failed, call.error().message());
    }
    // A reply without values has one here, which is not valid.
    const QVariantList values = QDBusPendingReply<>(call).reply().arguments();
    if (values.size() < 2) {
        Q_ASSERT_X(false, "QList<T>::at", "index out of range");
        return Error(Error::Failed, QStringLiteral("The reply has fewer than two arguments"));
    }
    read(values.at(0), applications);
    read(values.at(1), services);
    return Error(Error::NoError, QString());
}

} // namespace Ostrel
