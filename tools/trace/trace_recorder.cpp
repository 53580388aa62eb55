// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_recorder.h"

#include "trace_words.h"

#include <algorithm>
#include <utility>

namespace
{

// A trace with more lanes helps nobody, and the names take memory.
constexpr int mostInstances = 20'000;

// Of signatures and names, as on the bus.
constexpr int longestName = 255;

} // namespace

TraceRecorder::TraceRecorder(std::function<void(const TraceEvent &)> receive, qint64 begin,
                             const QJsonObject &about,
                             std::function<void(const TraceEvent &)> callBegins)
    : m_receive(std::move(receive))
    , m_callBegins(std::move(callBegins))
    , m_last(begin)
    , m_serviceLane(addLane(TraceWords::Service, QStringLiteral("service")))
{
    instant(TraceWords::Service, m_serviceLane, TraceWords::traceBegins, begin, about);
}

qint64 TraceRecorder::at(qint64 time)
{
    m_last = std::max(m_last, time);
    return m_last;
}

int TraceRecorder::addLane(int group, const QString &name)
{
    const int lane = ++m_lanes;
    if (!m_groups.contains(group)) {
        m_groups.append(group);
        metadata(group, lane, QStringLiteral("process_name"),
                 {{QStringLiteral("name"), TraceWords::nameOf(group)}});
        metadata(group, lane, QStringLiteral("process_sort_index"),
                 {{QStringLiteral("sort_index"), group}});
    }
    metadata(group, lane, QStringLiteral("thread_name"), {{QStringLiteral("name"), name}});
    metadata(group, lane, QStringLiteral("thread_sort_index"),
             {{QStringLiteral("sort_index"), lane}});
    return lane;
}

int TraceRecorder::callLane(int index)
{
    while (m_callLanes.size() <= index) {
        m_callLanes.append(
            addLane(TraceWords::Calls, QStringLiteral("calls %1").arg(m_callLanes.size() + 1)));
    }
    return m_callLanes.at(index);
}

// Null if there are too many.
TraceRecorder::Instance *TraceRecorder::instance(const QString &name)
{
    const QString key = shortened(name);
    const auto known = m_instances.find(key);
    if (known != m_instances.end()) {
        return &*known;
    }
    if (m_instances.size() >= mostInstances) {
        // What has ended gets another lane if it comes again.
        for (auto each = m_instances.begin(); each != m_instances.end();) {
            each = each->state.isNull() ? m_instances.erase(each) : std::next(each);
        }
    }
    if (m_instances.size() >= mostInstances) {
        if (!std::exchange(m_isFull, true)) {
            instant(TraceWords::Service, m_serviceLane,
                    QStringLiteral("further instances are left out"), m_last);
        }
        return nullptr;
    }
    Instance added;
    added.lane = addLane(TraceWords::Instances, key);
    return &*m_instances.insert(key, added);
}

void TraceRecorder::begin(Instance &instance, qint64 time, const QString &state)
{
    if (instance.state.isNull()) {
        count(time, 1);
    } else {
        stretch(TraceWords::Instances, instance.lane, instance.state, instance.since, time, {});
    }
    instance.state = state;
    instance.since = time;
}

void TraceRecorder::end(Instance &instance, qint64 time, const QJsonObject &arguments)
{
    if (!instance.state.isNull()) {
        stretch(TraceWords::Instances, instance.lane, instance.state, instance.since, time,
                arguments);
        instance.state = QString();
        count(time, -1);
    }
    instance.since = time;
}

void TraceRecorder::count(qint64 time, int change)
{
    m_running += change;
    TraceEvent event;
    event.phase = TraceEvent::Counter;
    event.name = TraceWords::runningInstances;
    event.time = time;
    event.group = TraceWords::Service;
    event.lane = m_serviceLane;
    event.arguments = {{TraceWords::instances, m_running}};
    m_receive(event);
}

void TraceRecorder::stretch(int group, int lane, const QString &name, qint64 from, qint64 to,
                            const QJsonObject &arguments)
{
    m_receive({TraceEvent::Complete, name, from, to - from, group, lane, arguments});
}

void TraceRecorder::instant(int group, int lane, const QString &name, qint64 time,
                            const QJsonObject &arguments)
{
    m_receive({TraceEvent::Instant, name, time, 0, group, lane, arguments});
}

void TraceRecorder::metadata(int group, int lane, const QString &name, const QJsonObject &arguments)
{
    m_receive({TraceEvent::Metadata, name, m_last, 0, group, lane, arguments});
}

void TraceRecorder::serviceAvailable(qint64 time, bool available)
{
    time = at(time);
    if (available == m_isAvailable) {
        return;
    }
    m_isAvailable = available;
    instant(TraceWords::Service, m_serviceLane,
            available ? QString(TraceWords::serviceCame) : QString(TraceWords::serviceLeft), time);
    if (available) {
        m_availableSince = time;
        return;
    }
    stretch(TraceWords::Service, m_serviceLane, TraceWords::available, m_availableSince, time, {});
    // Another service knows nothing of them.
    for (Instance &each : m_instances) {
        end(each, time, {{TraceWords::end, QStringLiteral("the service has ended")}});
    }
}

void TraceRecorder::started(qint64 time, const QString &instance, const QJsonObject &details)
{
    time = at(time);
    if (Instance *const each = this->instance(instance)) {
        instant(TraceWords::Instances, each->lane, TraceWords::startedSignal, time,
                shortened(details));
        // A state may be announced before.
        if (each->state.isNull()) {
            begin(*each, time, TraceWords::started);
        }
    }
}

void TraceRecorder::listed(qint64 time, const QString &instance, quint32 state)
{
    const auto known = m_instances.constFind(shortened(instance));
    // The list may be older than a signal, or that of a service that has gone.
    const bool isNew =
        known == m_instances.cend() || (known->state.isNull() && known->since < m_availableSince);
    if (m_isAvailable && isNew) {
        setState(time, instance, state, {{TraceWords::seen, TraceWords::inTheList}});
    }
}

void TraceRecorder::stateChanged(qint64 time, const QString &instance, quint32 state)
{
    setState(time, instance, state);
}

void TraceRecorder::setState(qint64 time, const QString &instance, quint32 state,
                             const QJsonObject &arguments)
{
    time = at(time);
    if (Instance *const each = this->instance(instance)) {
        // The stretch is written when it ends, which the trace may not live to see.
        const QString name = TraceWords::state + QString::number(state);
        instant(TraceWords::Instances, each->lane, name, time, arguments);
        begin(*each, time, name);
    }
}

void TraceRecorder::terminated(qint64 time, const QString &instance, const QJsonObject &details)
{
    time = at(time);
    if (Instance *const each = this->instance(instance)) {
        end(*each, time);
        instant(TraceWords::Instances, each->lane, TraceWords::terminatedSignal, time,
                shortened(details));
    }
}

void TraceRecorder::selectedByOom(qint64 time, const QString &processId)
{
    instant(TraceWords::Service, m_serviceLane, TraceWords::selectedByOom, at(time),
            {{QStringLiteral("processId"), shortened(processId)}});
}

void TraceRecorder::call(qint64 time, const BusMessage &message)
{
    time = at(time);
    if (const auto same = m_calls.end(message.sender, message.serial)) {
        endCall(time, *same, QStringLiteral("unknown"));
    }
    const auto begun = message.expectsReply ? m_calls.begin(time, message) : std::nullopt;
    if (begun) {
        const int lane = callLane(begun->lane);
        if (m_callBegins) {
            m_callBegins({TraceEvent::Complete, begun->name, time, 0, TraceWords::Calls, lane,
                          begun->arguments});
        }
        return;
    }
    CallLanes::Call call = CallLanes::describe(time, message);
    call.arguments.insert(TraceWords::reply,
                          message.expectsReply ? QString(TraceWords::tooManyCalls)
                                               : QStringLiteral("not wanted"));
    instant(TraceWords::Calls, callLane(0), call.name, time, call.arguments);
}

void TraceRecorder::reply(qint64 time, const BusMessage &message)
{
    time = at(time);
    if (auto call = m_calls.end(message.destination, message.replySerial)) {
        call->arguments.insert(TraceWords::signature, message.signature.left(longestName));
        call->arguments.insert(TraceWords::values, shortened(message.values));
        endCall(time, *call,
                message.type == BusMessage::Error ? message.errorName.left(longestName)
                                                  : QString(TraceWords::success));
    }
}

void TraceRecorder::left(qint64 time, const QString &sender)
{
    time = at(time);
    const auto calls = m_calls.endAll(shortened(sender));
    for (const CallLanes::Call &call : calls) {
        endCall(time, call, QStringLiteral("none: the caller has left the bus"));
    }
}

void TraceRecorder::endCall(qint64 time, const CallLanes::Call &call, const QString &outcome)
{
    QJsonObject arguments = call.arguments;
    arguments.insert(TraceWords::reply, outcome);
    stretch(TraceWords::Calls, callLane(call.lane), call.name, call.time, time, arguments);
}

void TraceRecorder::finish(qint64 time)
{
    time = at(time);
    const QJsonObject goesOn{{TraceWords::end, TraceWords::traceEnded}};
    for (Instance &each : m_instances) {
        if (!each.state.isNull()) {
            stretch(TraceWords::Instances, each.lane, each.state, each.since, time, goesOn);
        }
    }
    const auto calls = m_calls.endAll();
    for (const CallLanes::Call &call : calls) {
        endCall(time, call, TraceWords::noReply);
    }
    if (m_isAvailable) {
        stretch(TraceWords::Service, m_serviceLane, TraceWords::available, m_availableSince, time,
                goesOn);
    }
    // Viewers take the time of the last event for the end.
    instant(TraceWords::Service, m_serviceLane, TraceWords::traceEnds, time);
}
