// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/name_forms.h"
#include "faultdesk/desk_call.h"
#include "faultdesk/simulator1.h"

#include "DBus/names_p.h"

#include <chrono>
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
    return arrange(call, m_parts.replies.now(Replies::error(error, {message})));
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
    return arrange(call, m_parts.replies.now(Replies::error(error, *values)));
}

QDBusMessage Simulator1::delayNext(const QDBusMessage &call)
{
    const uint milliseconds = call.arguments().at(2).toUInt();
    if (milliseconds > static_cast<uint>(std::numeric_limits<int>::max())) {
        return refuse(call, QStringLiteral("%1 milliseconds are too many").arg(milliseconds));
    }
    const std::chrono::milliseconds delay(milliseconds);
    return arrange(call, m_parts.replies.delayed(Replies::usual(), delay));
}

QDBusMessage Simulator1::answerNext(const QDBusMessage &call)
{
    const Result<QVariantList> values = valuesOf(call.arguments().at(2));
    return values ? answerNext(call, methodOf(call), *values) : refuse(call, values.error());
}

QDBusMessage Simulator1::ignoreNext(const QDBusMessage &call)
{
    return arrange(call, Replies::never());
}

QDBusMessage Simulator1::holdNext(const QDBusMessage &call)
{
    return arrange(call, m_parts.replies.held(Replies::usual()), call.arguments().at(2).toUInt());
}

QDBusMessage Simulator1::release(const QDBusMessage &call)
{
    const Result<> released =
        m_parts.replies.release(methodOf(call), qdbus_cast<QList<uint>>(call.arguments().at(2)));
    return released ? call.createReply() : refuse(call, released.error());
}

QDBusMessage Simulator1::dieInNext(const QDBusMessage &call)
{
    return arrange(call, [this](const QDBusMessage &, Interface &) { m_parts.children.die(); });
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
    m_service.arrange(method, m_parts.replies.now(Replies::values(values)), 1);
    return call.createReply();
}
