// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator1.h"

#include "signal_sender.h"
#include "values.h"

#include "DBus/names_p.h"

#include <QtCore/QTimer>
#include <QtDBus/QDBusError>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <utility>

namespace
{

Method methodOf(const QDBusMessage &call)
{
    return {call.arguments().at(0).toString(), call.arguments().at(1).toString()};
}

// More would not fit into a message, or into memory.
constexpr uint mostRecords = 100000;
constexpr uint mostSignals = 1000000;

QDBusMessage refuse(const QDBusMessage &call, const QString &message)
{
    return call.createErrorReply(QDBusError::InvalidArgs, message);
}

} // namespace

Simulator1::Simulator1(Service &service, const Parts &parts)
    : Interface(QStringLiteral(OSTREL_SIMULATOR_PATH), QStringLiteral("Simulator1"))
    , m_service(service)
    , m_parts(parts)
{
    connect(&service, &Service::called, this, &Simulator1::answerWaiters);
    connect(&parts.control, &Control1::ended, this, &Simulator1::answerWaiters);
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
        {QStringLiteral("RootFs"), &Simulator1::rootFs},
        {QStringLiteral("Reset"), &Simulator1::resetAll},
    };
    return all;
}

void Simulator1::handle(const QDBusMessage &call, const Answer &answer)
{
    // Every method whose arguments begin with two strings names a method of the service there.
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
    m_held.clear();
    m_delays = std::make_unique<QObject>();
    // Who still waits will wait for nothing.
    const QVector<Waiter> waiters = std::exchange(m_waiters, {});
    for (const Waiter &waiter : waiters) {
        m_service.send(waiter.call,
                       waiter.call.createErrorReply(QDBusError::Failed,
                                                    QStringLiteral("The simulator was reset")));
    }
}

QDBusMessage Simulator1::failNext(const QDBusMessage &call)
{
    const QString error = call.arguments().at(2).toString();
    const QString message = call.arguments().at(3).toString();
    if (!isInterfaceName(error)) {
        return refuse(call, QStringLiteral("\"%1\" is no error name").arg(error));
    }
    return arrange(call, [this, error, message](const QDBusMessage &failing, Interface &) {
        m_service.send(failing, failing.createErrorReply(error, message));
    });
}

QDBusMessage Simulator1::failNextWith(const QDBusMessage &call)
{
    const QString error = call.arguments().at(2).toString();
    const QVariantList values = valuesOf(call.arguments().at(3));
    if (!isInterfaceName(error)) {
        return refuse(call, QStringLiteral("\"%1\" is no error name").arg(error));
    }
    return arrange(call, [this, error, values](const QDBusMessage &failing, Interface &) {
        QDBusMessage answer = failing.createErrorReply(error, QString());
        answer.setArguments(values);
        m_service.send(failing, answer);
    });
}

QDBusMessage Simulator1::delayNext(const QDBusMessage &call)
{
    const uint milliseconds = call.arguments().at(2).toUInt();
    if (milliseconds > static_cast<uint>(std::numeric_limits<int>::max())) {
        return refuse(call, QStringLiteral("%1 milliseconds are too many").arg(milliseconds));
    }
    const std::chrono::milliseconds delay(milliseconds);
    return arrange(call, [this, delay](const QDBusMessage &delayed, Interface &interface) {
        interface.handle(delayed, [this, delay, delayed](const QDBusMessage &answer) {
            QTimer::singleShot(delay, m_delays.get(),
                               [this, delayed, answer] { m_service.send(delayed, answer); });
        });
    });
}

QDBusMessage Simulator1::answerNext(const QDBusMessage &call)
{
    return answerNext(call, methodOf(call), valuesOf(call.arguments().at(2)));
}

QDBusMessage Simulator1::ignoreNext(const QDBusMessage &call)
{
    return arrange(call, [](const QDBusMessage &, Interface &) {});
}

QDBusMessage Simulator1::holdNext(const QDBusMessage &call)
{
    const Method method = methodOf(call);
    const Service::Fault hold = [this, method](const QDBusMessage &held, Interface &interface) {
        interface.handle(held, [this, method, held](const QDBusMessage &answer) {
            m_held[method].append({held, answer});
            answerWaiters();
        });
    };
    return arrange(call, hold, call.arguments().at(2).toUInt());
}

QDBusMessage Simulator1::release(const QDBusMessage &call)
{
    const auto order = qdbus_cast<QList<uint>>(call.arguments().at(2));
    QVector<HeldAnswer> &held = m_held[methodOf(call)];
    for (int i = 0; i < order.size(); ++i) {
        if (order.at(i) >= static_cast<uint>(held.size()) || order.indexOf(order.at(i)) != i) {
            return refuse(call,
                          QStringLiteral("%1 held answers; %2 is out of range or named twice")
                              .arg(held.size())
                              .arg(order.at(i)));
        }
    }
    for (const uint number : order) {
        const HeldAnswer &released = held.at(static_cast<int>(number));
        m_service.send(released.call, released.answer);
    }
    QVector<HeldAnswer> kept;
    for (int i = 0; i < held.size(); ++i) {
        if (!order.contains(static_cast<uint>(i))) {
            kept.append(held.at(i));
        }
    }
    held = kept;
    return call.createReply();
}

QDBusMessage Simulator1::dieInNext(const QDBusMessage &call)
{
    return arrange(call, [](const QDBusMessage &, Interface &) { std::_Exit(EXIT_FAILURE); });
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
    return wait({call, [this, method] { return static_cast<uint>(m_held.value(method).size()); },
                 call.arguments().at(2).toUInt()});
}

QDBusMessage Simulator1::calls(const QDBusMessage &call)
{
    return call.createReply(QVariant::fromValue(m_service.log().calls()));
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

QDBusMessage Simulator1::listNext(const QDBusMessage &call)
{
    const uint applications = call.arguments().at(0).toUInt();
    const uint services = call.arguments().at(1).toUInt();
    if (qMax(applications, services) > mostRecords) {
        return refuse(call,
                      QStringLiteral("%1 records are too many for a message")
                          .arg(qMax(applications, services)));
    }
    return answerNext(
        call, {QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("GetRunningApplications")},
        RunningRecords::madeUp(applications, services).values());
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

QDBusMessage Simulator1::answerNext(const QDBusMessage &call, const Method &method,
                                    const QVariantList &values)
{
    const Service::Fault fault = [this, values](const QDBusMessage &answered, Interface &) {
        m_service.send(answered, answered.createReply(values));
    };
    m_service.arrange(method, fault, 1);
    return call.createReply();
}

QDBusMessage Simulator1::arrange(const QDBusMessage &call, const Service::Fault &fault, uint calls)
{
    m_service.arrange(methodOf(call), fault, calls);
    return call.createReply();
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
