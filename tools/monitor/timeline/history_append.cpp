// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history.h"
#include "trace_words.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace
{

constexpr int largestArguments = 4096;

HistoryEvent::Kind kindOf(const TraceEvent &event)
{
    switch (event.group) {
    case TraceWords::Service:
        return event.name == TraceWords::serviceCame  ? HistoryEvent::ServiceCame
            : event.name == TraceWords::serviceLeft   ? HistoryEvent::ServiceLeft
            : event.name == TraceWords::selectedByOom ? HistoryEvent::OutOfMemory
                                                      : HistoryEvent::Other;
    case TraceWords::Calls:
        return HistoryEvent::Call;
    case TraceWords::Instances:
        return event.name == TraceWords::startedSignal   ? HistoryEvent::Started
            : event.name == TraceWords::terminatedSignal ? HistoryEvent::Terminated
            : event.name.startsWith(TraceWords::state)   ? HistoryEvent::State
                                                         : HistoryEvent::Other;
    default:
        return HistoryEvent::Other;
    }
}

// With all of its digits, which QDateTime does not read.
std::optional<qint64> sinceEpoch(const QString &time)
{
    const QDateTime seconds =
        QDateTime::fromString(time.section(QLatin1Char('.'), 0, 0), Qt::ISODate);
    if (!seconds.isValid()) {
        return std::nullopt;
    }
    const QDateTime utc(seconds.date(), seconds.time(), Qt::UTC);
    const QString digits = time.section(QLatin1Char('.'), 1).remove(QLatin1Char('Z')).left(6);
    return utc.toSecsSinceEpoch() * 1'000'000 + digits.leftJustified(6, QLatin1Char('0')).toUInt();
}

} // namespace

void History::readAbout(const TraceEvent &event)
{
    const QString clock = event.arguments[TraceWords::clock].toString();
    if (clock == TraceWords::timeOfDay) {
        m_timeOfDay = 0;
    } else if (const auto begin = sinceEpoch(event.arguments[TraceWords::time].toString())) {
        m_timeOfDay = *begin - event.time;
    }
    // A capture of the bus knows the service from its first message on.
    m_knowsServiceFromStart = clock == TraceWords::monotonic;
}

void History::addMetadata(const TraceEvent &event)
{
    if (event.name != QLatin1String("thread_name")) {
        return;
    }
    if (const auto lane = laneOf(event)) {
        m_lanes[std::size_t(*lane)].name =
            shortened(event.arguments[QLatin1String("name")].toString());
        m_haveLanesChanged = true;
    }
}

void History::addMoment(const TraceEvent &event)
{
    const auto lane = laneOf(event);
    if (!lane) {
        return;
    }
    if (event.name == TraceWords::traceBegins) {
        readAbout(event);
    }
    HistoryEvent added;
    added.kind = kindOf(event);
    added.lane = *lane;
    added.time = event.time;
    QString stretch;
    switch (added.kind) {
    case HistoryEvent::State:
        close(*lane, event.time);
        stretch = event.name;
        break;
    case HistoryEvent::Terminated:
    case HistoryEvent::ServiceLeft:
        close(*lane, event.time);
        break;
    case HistoryEvent::Started:
        stretch = openStretch(*lane) != nullptr ? QString() : QString(TraceWords::started);
        break;
    case HistoryEvent::ServiceCame:
        close(*lane, event.time);
        stretch = TraceWords::available;
        break;
    default:
        break;
    }
    if (!stretch.isNull()) {
        added.duration = HistoryEvent::open;
        added.stretchName = m_strings.add(shortened(stretch));
    }
    add(std::move(added), event.name, event.arguments);
}

// Ends the stretch that is known since its beginning. Returns whether there is one.
bool History::endStretch(const TraceEvent &event)
{
    const auto lane = laneOf(event);
    if (!lane) {
        return true;
    }
    const auto &stretches = m_lanes[std::size_t(*lane)].stretches;
    const quint32 name = m_strings.add(shortened(event.name));
    // The next state may have begun; no other stretch of the lane.
    constexpr std::ptrdiff_t newest = 2;
    const auto count = std::min(newest, std::ptrdiff_t(stretches.size()));
    for (auto each = stretches.end() - count; each != stretches.end(); ++each) {
        HistoryEvent &known = at(*each);
        // A state that lasts no time may come twice.
        const bool isSame = known.time == event.time && known.stretchName == name
            && (known.isOpen() || known.duration == event.duration);
        if (!isSame) {
            continue;
        }
        known.duration = std::max<qint64>(event.duration, 0);
        if (std::next(each) != stretches.end()) {
            known.duration = std::min(known.duration, at(*std::next(each)).time - known.time);
        }
        m_lastTime = std::max(m_lastTime, known.time + known.duration);
        if (!event.arguments.isEmpty()) {
            QJsonObject arguments = QJsonDocument::fromJson(known.arguments).object();
            for (auto value = event.arguments.begin(); value != event.arguments.end(); ++value) {
                arguments.insert(value.key(), value.value());
            }
            setArguments(known, arguments);
        }
        changed(known);
        return true;
    }
    return false;
}

void History::addStretch(const TraceEvent &event, bool isOpen)
{
    const auto lane = laneOf(event);
    if (!lane) {
        return;
    }
    close(*lane, event.time);
    HistoryEvent added;
    added.kind = event.group == TraceWords::Calls ? HistoryEvent::Call : HistoryEvent::Other;
    added.lane = *lane;
    added.time = event.time;
    added.duration = isOpen ? HistoryEvent::open : std::max<qint64>(event.duration, 0);
    added.stretchName = m_strings.add(shortened(event.name));
    add(std::move(added), event.name, event.arguments);
}

EventId History::add(HistoryEvent event, const QString &name, const QJsonObject &arguments)
{
    HistoryLane &lane = m_lanes[std::size_t(event.lane)];
    // A trace may have been written by anyone. The lists are searched, so they have to be sorted.
    if (event.isStretch() && !lane.stretches.empty()) {
        const qint64 free = endOf(at(lane.stretches.back()));
        const qint64 late = std::max<qint64>(free - event.time, 0);
        event.time += late;
        event.duration =
            event.isOpen() ? event.duration : std::max<qint64>(event.duration - late, 0);
    }
    const bool isMark = !event.isStretch() || event.kind == HistoryEvent::Started;
    if (isMark && !lane.marks.empty()) {
        event.time = std::max(event.time, at(lane.marks.back()).time);
    }
    event.name = m_strings.add(shortened(name));
    setArguments(event, arguments);
    m_firstTime = m_events.empty() ? event.time : std::min(m_firstTime, event.time);
    const qint64 end = event.time + std::max<qint64>(event.duration, 0);
    m_lastTime = m_events.empty() ? end : std::max(m_lastTime, end);

    const EventId id = nextId();
    if (event.isStretch()) {
        lane.stretches.push_back(id);
        addState(event);
    }
    if (isMark) {
        lane.marks.push_back(id);
    }
    m_events.push_back(std::move(event));
    return id;
}

void History::addState(const HistoryEvent &event)
{
    if (m_lanes[std::size_t(event.lane)].group == TraceWords::Instances
        && !m_isState.contains(event.stretchName)) {
        m_isState.insert(event.stretchName);
        m_states.push_back(event.stretchName);
    }
}

void History::setArguments(HistoryEvent &event, const QJsonObject &arguments)
{
    m_argumentBytes -= event.arguments.size();
    event.arguments.clear();
    if (!arguments.isEmpty()) {
        event.arguments = QJsonDocument(arguments).toJson(QJsonDocument::Compact);
        if (event.arguments.size() > largestArguments) {
            event.arguments = QJsonDocument(shortened(arguments)).toJson(QJsonDocument::Compact);
        }
    }
    m_argumentBytes += event.arguments.size();
    const QJsonValue reply = arguments[TraceWords::reply];
    event.hasFailed = event.kind == HistoryEvent::Call && event.isStretch() && !event.isOpen()
        && reply.toString() != TraceWords::success;
}

HistoryEvent *History::openStretch(int lane)
{
    const auto &stretches = m_lanes[std::size_t(lane)].stretches;
    HistoryEvent *const last = stretches.empty() ? nullptr : &at(stretches.back());
    return last != nullptr && last->isOpen() ? last : nullptr;
}

void History::close(int lane, qint64 time)
{
    if (HistoryEvent *const open = openStretch(lane)) {
        open->duration = std::max<qint64>(time - open->time, 0);
        changed(*open);
    }
}

void History::note(const QString &text, qint64 time)
{
    if (m_serviceLane >= 0) {
        HistoryEvent noted;
        noted.lane = m_serviceLane;
        noted.time = time;
        add(std::move(noted), text, {});
    }
}
