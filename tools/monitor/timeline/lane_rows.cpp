// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lane_rows.h"

#include "history.h"

#include <algorithm>

void LaneRows::rebuild(const History *history, const QString &filter)
{
    m_lanes.clear();
    m_rows.clear();
    if (history == nullptr) {
        return;
    }
    for (int i = 0; i < history->laneCount(); ++i) {
        if (i == history->serviceLane()
            || history->lane(i).name.contains(filter, Qt::CaseInsensitive)) {
            m_lanes.push_back(i);
        }
    }
    std::stable_sort(m_lanes.begin(), m_lanes.end(), [history](int first, int second) {
        return history->lane(first).group < history->lane(second).group;
    });
    m_rows.assign(std::size_t(history->laneCount()), -1);
    for (int row = 0; row < count(); ++row) {
        m_rows[std::size_t(lane(row))] = row;
    }
}

int LaneRows::row(int lane) const
{
    return lane >= 0 && lane < int(m_rows.size()) ? m_rows[std::size_t(lane)] : -1;
}
