// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lane_cells.h"

#include <algorithm>

namespace
{

using Ids = std::vector<EventId>;

// The first event at this time or after it, from a given one on. Mostly it is near.
Ids::const_iterator firstFrom(const History &history, Ids::const_iterator begin, const Ids &ids,
                              qint64 time)
{
    const auto isBefore = [&history](EventId id, qint64 time) {
        return history.event(id).time < time;
    };
    std::ptrdiff_t step = 1;
    while (ids.end() - begin > step && isBefore(*(begin + step), time)) {
        begin += step;
        step *= 2;
    }
    return std::lower_bound(begin, begin + std::min(step + 1, ids.end() - begin), time, isBefore);
}

} // namespace

std::vector<LaneCell> stretchCells(const History &history, const HistoryLane &lane,
                                   const TimeScale &scale)
{
    std::vector<LaneCell> cells;
    const Ids &ids = lane.stretches;
    auto each = firstFrom(history, ids.begin(), ids, scale.begin());
    // The one before may reach into what is visible.
    if (each != ids.begin() && history.endOf(history.event(*std::prev(each))) >= scale.begin()) {
        --each;
    }
    while (each != ids.end()) {
        const int left = scale.pixel(history.event(*each).time);
        if (left >= scale.width()) {
            break;
        }
        // All that begin in this pixel share it; the last one may go on.
        auto next = std::next(each);
        if (scale.pixel(history.endOf(history.event(*each))) <= left) {
            next = std::max(next, firstFrom(history, each, ids, scale.timeAt(left + 1)));
        }
        const EventId last = *std::prev(next);
        const int right = std::max(scale.pixel(history.endOf(history.event(last))), left + 1);
        const int count = int(next - each);
        if (count == 1) {
            cells.push_back({last, left, right, 1});
        } else {
            // The one in the middle stands for them: which states a pixel shows is then as often
            // what it shows.
            cells.push_back({*(each + count / 2), left, left + 1, count});
            if (right > left + 1) {
                cells.push_back({last, left + 1, right, 1});
            }
        }
        each = next;
    }
    return cells;
}

std::vector<LaneCell> markCells(const History &history, const HistoryLane &lane,
                                const TimeScale &scale, int size)
{
    std::vector<LaneCell> cells;
    const Ids &ids = lane.marks;
    const int distance = std::max(size / 2, 1);
    auto each = firstFrom(history, ids.begin(), ids, scale.timeAt(-size));
    while (each != ids.end()) {
        const double x = scale.x(history.event(*each).time);
        if (x > scale.width() + size) {
            break;
        }
        const auto next =
            std::max(std::next(each), firstFrom(history, each, ids, scale.timeAt(x + distance)));
        const int left = int(x) - size / 2;
        cells.push_back({*each, left, left + size, int(next - each)});
        each = next;
    }
    return cells;
}
