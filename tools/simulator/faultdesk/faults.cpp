// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "faultdesk/desk_call.h"
#include "faultdesk/simulator1.h"

#include "DBus/names_p.h"

#include <QtCore/QTimer>

#include <chrono>
#include <cstdlib>
#include <limits>

// The faults of the next calls of the service's methods.

namespace
{

// More would not fit into a message.
constexpr uint mostRecords = 100000;

} // namespace

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
    const Result<QVariantList> values = valuesOf(call.arguments().at(3));
    if (!isInterfaceName(error)) {
        return refuse(call, QStringLiteral("\"%1\" is no error name").arg(error));
    }
    if (!values) {
        return refuse(call, values.error());
    }
    return arrange(call, [this, error, values = *values](const QDBusMessage &failing, Interface &) {
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
    const Result<QVariantList> values = valuesOf(call.arguments().at(2));
    return values ? answerNext(call, methodOf(call), *values) : refuse(call, values.error());
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
    return arrange(call, [this](const QDBusMessage &, Interface &) {
        // The only cleaning up: the user's folder for temporary files must not fill.
        m_parts.children.clearRootFs();
        std::_Exit(EXIT_FAILURE);
    });
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

QDBusMessage Simulator1::arrange(const QDBusMessage &call, const Service::Fault &fault, uint calls)
{
    m_service.arrange(methodOf(call), fault, calls);
    return call.createReply();
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
