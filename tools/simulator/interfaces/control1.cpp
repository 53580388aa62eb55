// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/control1.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

QVariantMap detailsOf(const Instance &instance)
{
    return {{QStringLiteral("AppId"), instance.application().id},
            {QStringLiteral("Pid"), instance.pid()},
            {QStringLiteral("Kind"), instance.application().kind}};
}

// The first map, and what the second one has beyond it.
QVariantMap joined(QVariantMap first, const QVariantMap &second)
{
    for (auto entry = second.cbegin(); entry != second.cend(); ++entry) {
        if (!first.contains(entry.key())) {
            first.insert(entry.key(), entry.value());
        }
    }
    return first;
}

QVariantMap stateMap(RunningState state)
{
    return {{QStringLiteral("State"), static_cast<uint>(state)}};
}

QDBusMessage notRunning(const QDBusMessage &call, const QString &instanceId)
{
    return call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationNotRunning"),
                                 QStringLiteral("No instance \"%1\" is running").arg(instanceId));
}

} // namespace

Control1::Control1(Service &service, const Catalogue &catalogue, Children &children)
    : Interface(QStringLiteral(OSTREL_CONTROL_PATH), QStringLiteral("Control1"))
    , m_service(service)
    , m_catalogue(catalogue)
    , m_children(children)
{
}

const QHash<QString, Control1::Handler> &Control1::handlers()
{
    static const QHash<QString, Handler> all{
        {QStringLiteral("Start"), &Control1::start},
        {QStringLiteral("StartDebug"), &Control1::startDebug},
        {QStringLiteral("Terminate"), &Control1::terminate},
        {QStringLiteral("GetRunningApplications"), &Control1::getRunningApplications},
    };
    return all;
}

void Control1::handle(const QDBusMessage &call, const Answer &answer)
{
    const Handler handler = handlers().value(call.member());
    Q_ASSERT(handler != nullptr);
    (this->*handler)(call, answer);
}

void Control1::reset()
{
    qDeleteAll(std::exchange(m_instances, {}));
    m_starts.clear();
}

void Control1::killByOom(const QString &instanceId)
{
    Instance *const instance = find(instanceId);
    sendSignal(QStringLiteral("SelectedByOom"), {QString::number(instance->pid())});
    instance->kill();
}

void Control1::start(const QDBusMessage &call, const Answer &answer)
{
    start(call, answer, {});
}

void Control1::startDebug(const QDBusMessage &call, const Answer &answer)
{
    const Result<DebugLaunch> debug =
        DebugLaunch::fromParameters(qdbus_cast<QVariantMap>(call.arguments().at(1)));
    if (debug) {
        start(call, answer, *debug);
    } else {
        answer(call.createErrorReply(QDBusError::InvalidArgs, debug.error()));
    }
}

void Control1::terminate(const QDBusMessage &call, const Answer &answer)
{
    const QString instanceId = call.arguments().at(0).toString();
    Instance *const instance = find(instanceId);
    if (instance == nullptr) {
        answer(notRunning(call, instanceId));
        return;
    }
    instance->terminate([call, answer] { answer(call.createReply()); });
}

void Control1::getRunningApplications(const QDBusMessage &call, const Answer &answer)
{
    RunningRecords records;
    for (const Instance *const instance : qAsConst(m_instances)) {
        if (instance->isRunning()) {
            records.add(*instance);
        }
    }
    answer(call.createReply(records.values()));
}

void Control1::start(const QDBusMessage &call, const Answer &answer, const DebugLaunch &debug)
{
    const QString id = call.arguments().at(0).toString();
    const std::optional<Application> application = m_catalogue.application(id);
    if (!application) {
        answer(call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "HandlerNotFound"),
                                     QStringLiteral("There is no application \"%1\"").arg(id)));
        return;
    }
    const bool runs = std::any_of(m_instances.cbegin(), m_instances.cend(),
                                  [&id](const Instance *instance) { return instance->id() == id; });
    if (runs) {
        answer(
            call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationAlreadyRunning"),
                                  QStringLiteral("\"%1\" is running already").arg(id)));
        return;
    }

    Launch launch = application->launch();
    const Result<> applied = debug.apply(launch);
    if (!applied) {
        answer(call.createErrorReply(QDBusError::Failed, applied.error()));
        return;
    }

    auto *const started = new Instance(*application, ++m_starts[id], m_children);
    started->setParent(this);
    m_instances.append(started);
    connect(started, &Instance::running, this, [this, started, call, answer, debug] {
        const QVariantMap details = joined(detailsOf(*started), debug.others());
        answer(call.createReply({started->id(), details}));
        onRunning(*started, details);
    });
    connect(started, &Instance::failed, this, [this, started, call, answer](const QString &reason) {
        answer(call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "HandlerFailed"), reason));
        forget(started);
    });
    connect(started, &Instance::ended, this, [this, started] { onEnded(started); });
    started->start(launch);
}

void Control1::onRunning(const Instance &instance, const QVariantMap &details)
{
    sendSignal(QStringLiteral("Started"), {instance.id(), details});
    sendSignal(QStringLiteral("StateChanged"), {instance.id(), stateMap(StateRunning)});
}

void Control1::onEnded(Instance *instance)
{
    sendSignal(QStringLiteral("StateChanged"), {instance->id(), stateMap(StateEnded)});
    sendSignal(QStringLiteral("Terminated"),
               {instance->id(), joined(detailsOf(*instance), instance->ending())});
    forget(instance);
    Q_EMIT ended();
}

void Control1::forget(Instance *instance)
{
    m_instances.removeOne(instance);
    instance->deleteLater();
}

Instance *Control1::find(const QString &instanceId) const
{
    const auto found = std::find_if(
        m_instances.cbegin(), m_instances.cend(), [&instanceId](const Instance *instance) {
            return instance->isRunning() && instance->id() == instanceId;
        });
    return found != m_instances.cend() ? *found : nullptr;
}

void Control1::sendSignal(const QString &member, const QVariantList &arguments)
{
    QDBusMessage signal = QDBusMessage::createSignal(path(), description().name(), member);
    signal.setArguments(arguments);
    m_service.sendSignal(signal);
}
