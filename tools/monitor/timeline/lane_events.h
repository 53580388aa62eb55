// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_LANE_EVENTS_H
#define MONITOR_LANE_EVENTS_H

#include "history.h"

#include <algorithm>

// The events of a lane as the keyboard goes through them: stretches and marks in one order.
class LaneEvents
{
public:
    LaneEvents(const History &history, const HistoryLane &lane)
        : m_history(history)
        , m_lane(lane)
    {
    }

    EventId next(EventId id) const
    {
        return better(after(m_lane.stretches, id), after(m_lane.marks, id), true);
    }
    EventId previous(EventId id) const
    {
        return better(before(m_lane.stretches, id), before(m_lane.marks, id), false);
    }
    EventId first() const { return better(front(m_lane.stretches), front(m_lane.marks), true); }
    EventId last() const { return better(back(m_lane.stretches), back(m_lane.marks), false); }

    // The last one that began until this time, or the first one.
    EventId at(qint64 time) const
    {
        EventId found = better(until(m_lane.stretches, time), until(m_lane.marks, time), false);
        return found.isValid() ? found : first();
    }

private:
    using Ids = std::vector<EventId>;

    bool isBefore(EventId first, EventId second) const
    {
        const qint64 a = m_history.event(first).time;
        const qint64 b = m_history.event(second).time;
        return a != b ? a < b : first.number < second.number;
    }
    auto order() const
    {
        return [this](EventId first, EventId second) { return isBefore(first, second); };
    }
    static EventId front(const Ids &ids) { return ids.empty() ? EventId() : ids.front(); }
    static EventId back(const Ids &ids) { return ids.empty() ? EventId() : ids.back(); }
    EventId after(const Ids &ids, EventId id) const
    {
        const auto found = std::upper_bound(ids.begin(), ids.end(), id, order());
        return found == ids.end() ? EventId() : *found;
    }
    EventId before(const Ids &ids, EventId id) const
    {
        const auto found = std::lower_bound(ids.begin(), ids.end(), id, order());
        return found == ids.begin() ? EventId() : *std::prev(found);
    }
    EventId until(const Ids &ids, qint64 time) const
    {
        const auto found =
            std::upper_bound(ids.begin(), ids.end(), time, [this](qint64 time, EventId id) {
                return time < m_history.event(id).time;
            });
        return found == ids.begin() ? EventId() : *std::prev(found);
    }
    EventId better(EventId first, EventId second, bool wantsEarlier) const
    {
        if (!first.isValid() || !second.isValid()) {
            return first.isValid() ? first : second;
        }
        return isBefore(first, second) == wantsEarlier ? first : second;
    }

    const History &m_history;
    const HistoryLane &m_lane;
};

#endif
