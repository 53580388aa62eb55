// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_LANE_ROWS_H
#define MONITOR_LANE_ROWS_H

#include <QtCore/QString>

#include <vector>

class History;

// The lanes in the order in which they are shown: the service, the calls, the instances.
class LaneRows
{
public:
    // Keeps the service's lane, and those whose names contain the filter.
    void rebuild(const History *history, const QString &filter);

    int count() const { return int(m_lanes.size()); }
    int lane(int row) const { return m_lanes[std::size_t(row)]; }
    const std::vector<int> &lanes() const { return m_lanes; }
    // -1 if it is not shown.
    int row(int lane) const;

private:
    std::vector<int> m_lanes;
    std::vector<int> m_rows;
};

#endif
