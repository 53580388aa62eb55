// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_LANE_CELLS_H
#define MONITOR_LANE_CELLS_H

#include "history.h"
#include "time_scale.h"

#include <vector>

// A piece of a lane as the screen shows it: one event, or one of several that fall into a pixel.
struct LaneCell
{
    EventId event;
    // In pixels; the right one is not part of it.
    int left = 0;
    int right = 0;
    int count = 1;
};

// What is visible of the stretches of a lane, from left to right. This takes as long as there are
// pixels, however many stretches there are.
std::vector<LaneCell> stretchCells(const History &history, const HistoryLane &lane,
                                   const TimeScale &scale);

// What is visible of its marks, which are this wide. Of those that would overlap by more than the
// half, one is shown.
std::vector<LaneCell> markCells(const History &history, const HistoryLane &lane,
                                const TimeScale &scale, int size);

#endif
