// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "call_lanes.h"

#include "trace_event.h"
#include "trace_words.h"

namespace
{

constexpr int mostCalls = 10'000;

} // namespace

CallLanes::Call CallLanes::describe(qint64 time, const BusMessage &message)
{
    Call call;
    call.time = time;
    call.sender = shortened(message.sender);
    call.name = shortened(
        message.text.isEmpty() ? message.member : message.member + QLatin1Char(' ') + message.text);
    call.arguments = {{QStringLiteral("sender"), call.sender},
                      {QStringLiteral("path"), shortened(message.path)},
                      {QStringLiteral("interface"), shortened(message.interface)},
                      {TraceWords::arguments, shortened(message.values)}};
    return call;
}

std::optional<CallLanes::Call> CallLanes::begin(qint64 time, const BusMessage &message)
{
    if (m_calls.size() >= mostCalls) {
        return std::nullopt;
    }
    Call call = describe(time, message);
    call.lane = m_isTaken.indexOf(false);
    if (call.lane < 0) {
        call.lane = m_isTaken.size();
        m_isTaken.append(true);
    }
    m_isTaken[call.lane] = true;
    m_calls.insert({call.sender, message.serial}, call);
    return call;
}

std::optional<CallLanes::Call> CallLanes::end(const QString &sender, quint32 serial)
{
    const auto call = m_calls.find({shortened(sender), serial});
    if (call == m_calls.end()) {
        return std::nullopt;
    }
    const Call ended = *call;
    m_calls.erase(call);
    m_isTaken[ended.lane] = false;
    return ended;
}

QVector<CallLanes::Call> CallLanes::endAll(const QString &sender)
{
    QVector<Call> ended;
    for (auto call = m_calls.begin(); call != m_calls.end();) {
        if (sender.isNull() || call->sender == sender) {
            m_isTaken[call->lane] = false;
            ended.append(*call);
            call = m_calls.erase(call);
        } else {
            ++call;
        }
    }
    return ended;
}
