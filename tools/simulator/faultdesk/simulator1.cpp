// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faultdesk/simulator1.h"

#include "bus/values.h"
#include "faultdesk/desk_call.h"
#include "faultdesk/signal_sender.h"
#include "scenario/scenario_player.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusError>

#include <algorithm>
#include <utility>

namespace
{

// More would not fit into memory.
constexpr uint mostSignals = 1000000;

} // namespace

Simulator1::Simulator1(Service &service, const Parts &parts)
    : Interface(QStringLiteral(OSTREL_SIMULATOR_PATH), QStringLiteral("Simulator1"))
    , m_service(service)
    , m_parts(parts)
{
    connect(&service, &Service::called, this, &Simulator1::answerWaiters);
    connect(&parts.replies, &Replies::isHeld, this, &Simulator1::answerWaiters);
    connect(&parts.control, &Control1::ended, this, &Simulator1::answerWaiters);
}

void Simulator1::setScenario(const ScenarioPlayer &player)
{
    m_scenario = &player;
    connect(&player, &ScenarioPlayer::hasEnded, this, &Simulator1::answerWaiters);
}

const QHash<QString, Simulator1::Handler> &Simulator1::handlers()
{
    static const QHash<QString, Handler> all{
        {QStringLiteral("FailNext"), &Simulator1::failNext},
        {QStringLiteral("FailNextWith"), &Simulator1::failNextWith},
        {QStringLiteral("DelayNext"), &Simulator1::delayNext},
        {QStringLiteral("AnswerNext"), &Simulator1::answerNext},
        {QStringLiteral("IgnoreNext"), &Simulator1::ignoreNext},
        {QStringLiteral("HoldNext"), &Simulator1::holdNext},
        {QStringLiteral("Release"), &Simulator1::release},
        {QStringLiteral("DieInNext"), &Simulator1::dieInNext},
        {QStringLiteral("WaitForCalls"), &Simulator1::waitForCalls},
        {QStringLiteral("WaitForHeld"), &Simulator1::waitForHeld},
        {QStringLiteral("Calls"), &Simulator1::calls},
        {QStringLiteral("ClearCalls"), &Simulator1::clearCalls},
        {QStringLiteral("Windows"), &Simulator1::windows},
        {QStringLiteral("ListNext"), &Simulator1::listNext},
        {QStringLiteral("Emit"), &Simulator1::emitOne},
        {QStringLiteral("EmitMany"), &Simulator1::emitMany},
        {QStringLiteral("KillByOom"), &Simulator1::killByOom},
        {QStringLiteral("WaitForScenario"), &Simulator1::waitForScenario},
        {QStringLiteral("RootFs"), &Simulator1::rootFs},
        {QStringLiteral("Reset"), &Simulator1::resetAll},
    };
    return all;
}

void Simulator1::handle(const QDBusMessage &call, const Answer &answer)
{
    // The two strings name a method of the service.
    if (call.signature().startsWith(QLatin1String("ss")) && !m_service.knows(methodOf(call))) {
        answer(refuse(call,
                      QStringLiteral("The service has no method \"%2\" in an interface \"%1\"")
                          .arg(methodOf(call).first, methodOf(call).second)));
        return;
    }
    const Handler handler = handlers().value(call.member());
    Q_ASSERT(handler != nullptr);
    const QDBusMessage now = (this->*handler)(call);
    if (now.type() != QDBusMessage::InvalidMessage) {
        answer(now);
    }
}

void Simulator1::reset()
{
    m_parts.replies.drop();
    // What the callers wait for will not happen any more.
    const QVector<Waiter> waiters = std::exchange(m_waiters, {});
    for (const Waiter &waiter : waiters) {
        m_service.send(waiter.call,
                       waiter.call.createErrorReply(QDBusError::Failed,
                                                    QStringLiteral("The simulator was reset")));
    }
}

QDBusMessage Simulator1::waitForCalls(const QDBusMessage &call)
{
    const Method method = methodOf(call);
    return wait({call, [this, method] { return m_service.log().count(method); },
                 call.arguments().at(2).toUInt()});
}

QDBusMessage Simulator1::waitForHeld(const QDBusMessage &call)
{
    const Method method = methodOf(call);
    return wait({call, [this, method] { return m_parts.replies.heldCount(method); },
                 call.arguments().at(2).toUInt()});
}

QDBusMessage Simulator1::calls(const QDBusMessage &call)
{
    const QVector<LoggedCall> &calls = m_service.log().calls();
    for (const LoggedCall &logged : calls) {
        // A list of structures that hold a list of variants.
        const Result<> fits = checkNesting(logged.arguments, 4);
        if (!fits) {
            return call.createErrorReply(QDBusError::Failed,
                                         QStringLiteral("%1: %2").arg(logged.member, fits.error()));
        }
    }
    return call.createReply(QVariant::fromValue(calls));
}

QDBusMessage Simulator1::clearCalls(const QDBusMessage &call)
{
    m_service.log().clear();
    return call.createReply();
}

QDBusMessage Simulator1::windows(const QDBusMessage &call)
{
    return call.createReply(QVariant::fromValue(m_parts.windowManagement.windows()));
}

QDBusMessage Simulator1::emitOne(const QDBusMessage &call)
{
    return sendSignals(m_service, call, 1, false);
}

QDBusMessage Simulator1::emitMany(const QDBusMessage &call)
{
    const uint count = call.arguments().at(4).toUInt();
    if (count > mostSignals) {
        return refuse(call, QStringLiteral("%1 signals are too many").arg(count));
    }
    return sendSignals(m_service, call, count, true);
}

QDBusMessage Simulator1::killByOom(const QDBusMessage &call)
{
    const QString instance = call.arguments().at(0).toString();
    if (!m_parts.control.isRunning(instance)) {
        return refuse(call, QStringLiteral("No instance \"%1\" is running").arg(instance));
    }
    m_parts.control.killByOom(instance);
    return wait(
        {call, [this, instance] { return m_parts.control.isRunning(instance) ? 0U : 1U; }, 1});
}

QDBusMessage Simulator1::waitForScenario(const QDBusMessage &call)
{
    if (m_scenario == nullptr) {
        return call.createErrorReply(QDBusError::Failed,
                                     QStringLiteral("The simulator has no scenario"));
    }
    return wait({call, [this] { return m_scenario->isAtEnd() ? 1U : 0U; }, 1});
}

// NOLINTNEXTLINE(readability-make-member-function-const): it is one of the handlers.
QDBusMessage Simulator1::rootFs(const QDBusMessage &call)
{
    return call.createReply(m_parts.children.rootFs());
}

QDBusMessage Simulator1::resetAll(const QDBusMessage &call)
{
    m_service.reset();
    m_parts.children.killAll([this, call] { m_service.send(call, call.createReply()); });
    return {};
}

QDBusMessage Simulator1::wait(const Waiter &waiter)
{
    if (waiter.counted() >= waiter.wanted) {
        return waiter.call.createReply();
    }
    m_waiters.append(waiter);
    return {};
}

void Simulator1::answerWaiters()
{
    const auto satisfied = [this](const Waiter &waiter) {
        if (waiter.counted() < waiter.wanted) {
            return false;
        }
        m_service.send(waiter.call, waiter.call.createReply());
        return true;
    };
    m_waiters.erase(std::remove_if(m_waiters.begin(), m_waiters.end(), satisfied), m_waiters.end());
}
