// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history.h"

#include "trace_words.h"

#include <algorithm>

namespace
{

constexpr qint64 mostBytes = 256LL * 1024 * 1024;
// More than a recorder has: what has ended may come again.
constexpr std::size_t mostLanes = 50'000;

} // namespace

std::optional<int> History::laneOf(const TraceEvent &event)
{
    const auto known = m_laneByNumber.constFind(event.lane);
    if (known != m_laneByNumber.cend()) {
        return *known;
    }
    if (m_lanes.size() >= mostLanes && !m_isFull) {
        dropOldest();
    }
    if (m_lanes.size() >= mostLanes) {
        if (!std::exchange(m_isFull, true)) {
            note(QStringLiteral("further lanes are left out"), m_lastTime);
        }
        return std::nullopt;
    }
    HistoryLane lane;
    lane.name = QStringLiteral("lane %1").arg(event.lane);
    lane.group = event.group;
    lane.number = event.lane;
    const int index = laneCount();
    m_lanes.push_back(lane);
    m_laneByNumber.insert(event.lane, index);
    if (event.group == TraceWords::Service && m_serviceLane < 0) {
        m_serviceLane = index;
    }
    m_haveLanesChanged = true;
    return index;
}

void History::keepLimits()
{
    if (m_events.size() > std::size_t(std::max(m_mostEvents, 0))
        || m_argumentBytes + m_strings.bytes() > mostBytes) {
        dropOldest();
    }
}

void History::dropOldest()
{
    if (m_events.empty()) {
        return;
    }
    const auto count = std::ptrdiff_t(m_events.size() / 4) + 1;
    const EventId firstKept{m_firstId + count};
    std::vector<EventId> goOn;
    for (EventId id{m_firstId}; id != firstKept; ++id.number) {
        if (event(id).isOpen()) {
            goOn.push_back(id);
        }
    }
    const auto dropped = count - std::ptrdiff_t(goOn.size());
    if (dropped < 2) {
        return;
    }
    m_dropped += dropped;

    // What goes on moves up to the first event that is kept.
    auto place = m_events.begin() + count;
    for (auto id = goOn.rbegin(); id != goOn.rend(); ++id) {
        *--place = std::move(at(*id));
    }
    const std::vector<int> lanes = dropFromLanes(firstKept, goOn);
    m_firstId += std::distance(m_events.begin(), place);
    m_events.erase(m_events.begin(), place);

    StringPool strings;
    m_argumentBytes = 0;
    m_states.clear();
    m_isState.clear();
    for (HistoryEvent &each : m_events) {
        each.name = strings.add(m_strings.at(each.name));
        each.stretchName = each.isStretch() ? strings.add(m_strings.at(each.stretchName)) : 0;
        each.lane = lanes[std::size_t(each.lane)];
        m_argumentBytes += each.arguments.size();
        if (each.isStretch()) {
            addState(each);
        }
    }
    m_strings = strings;
    m_firstTime = event(firstKept).time;
    m_rows.clear();
    m_pending = m_firstId;
    m_changedRows.clear();
    m_isFull = false;
    m_haveLanesChanged = true;
    note(QStringLiteral("%1 older events are left out").arg(m_dropped), m_lastTime);
    // Lanes have other numbers now: nobody may paint before hearing of it.
    flush();
}

// Returns the new index of each lane.
std::vector<int> History::dropFromLanes(EventId firstKept, const std::vector<EventId> &goOn)
{
    const auto isBefore = [](EventId first, EventId second) {
        return first.number < second.number;
    };
    const auto drop = [&](std::vector<EventId> &ids) {
        const auto kept = std::lower_bound(ids.begin(), ids.end(), firstKept, isBefore);
        std::vector<EventId> left;
        for (auto id = ids.begin(); id != kept; ++id) {
            const auto found = std::lower_bound(goOn.begin(), goOn.end(), *id, isBefore);
            if (found != goOn.end() && *found == *id) {
                left.push_back({firstKept.number - (goOn.end() - found)});
            }
        }
        left.insert(left.end(), kept, ids.end());
        ids = std::move(left);
    };
    std::vector<int> indexes;
    std::vector<HistoryLane> lanes;
    m_laneByNumber.clear();
    for (int i = 0; i < laneCount(); ++i) {
        HistoryLane &each = m_lanes[std::size_t(i)];
        // Its first event may be about to come.
        const bool isNew = each.stretches.empty() && each.marks.empty();
        drop(each.stretches);
        drop(each.marks);
        indexes.push_back(int(lanes.size()));
        if (isNew || i == m_serviceLane || !each.stretches.empty() || !each.marks.empty()) {
            m_laneByNumber.insert(each.number, int(lanes.size()));
            lanes.push_back(std::move(each));
        }
    }
    m_serviceLane = m_serviceLane < 0 ? -1 : indexes[std::size_t(m_serviceLane)];
    m_lanes = std::move(lanes);
    return indexes;
}
