// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "timeline_scene.h"

#include "lane_cells.h"
#include "trace_words.h"

#include <QtGui/QFontMetrics>

#include <algorithm>

void TimelineScene::measure(const QFontMetrics &metrics)
{
    constexpr int nameLength = 30;
    m_padding = std::max(metrics.height() / 6, 2);
    m_laneHeight = metrics.height() + 4 * m_padding;
    m_axisHeight = metrics.height() + 4 * m_padding;
    m_nameWidth = metrics.averageCharWidth() * nameLength;
}

void TimelineScene::arrange()
{
    // Of a narrow window, the lanes get most.
    m_nameWidth = std::min(m_nameWidth, size.width() * 3 / 10);
    scale.setWidth(lanesRect().width());
}

int TimelineScene::markSize() const
{
    // Odd, so that the middle is a pixel.
    return (m_laneHeight - 4 * m_padding) * 3 / 4 | 1;
}

QRect TimelineScene::lanesRect() const
{
    return {m_nameWidth, m_axisHeight, std::max(size.width() - m_nameWidth, 1),
            std::max(size.height() - m_axisHeight - m_legendHeight, 1)};
}

QRect TimelineScene::legendRect() const
{
    return {0, size.height() - m_legendHeight, size.width(), m_legendHeight};
}

QRect TimelineScene::rowRect(int row) const
{
    const QRect lanes = lanesRect();
    return {lanes.left(), lanes.top() + row * m_laneHeight - top, lanes.width(), m_laneHeight};
}

QRect TimelineScene::barRect(int row) const
{
    const QRect rect = rowRect(row);
    const bool isCall = history->lane(rows.lane(row)).group == TraceWords::Calls;
    const int inset = isCall ? m_laneHeight / 3 : m_padding + 1;
    return rect.adjusted(0, inset, 0, -inset);
}

int TimelineScene::rowAt(int y) const
{
    const int row = (y - m_axisHeight + top) / m_laneHeight;
    const bool isLane = y >= m_axisHeight && y <= lanesRect().bottom() && row < rows.count();
    return isLane ? row : -1;
}

int TimelineScene::firstRow() const
{
    return std::min(top / m_laneHeight, rows.count());
}

int TimelineScene::endRow() const
{
    return std::min((top + lanesRect().height()) / m_laneHeight + 1, rows.count());
}

EventId TimelineScene::eventAt(QPoint position) const
{
    const int row = rowAt(position.y());
    const int x = position.x() - lanesRect().left();
    if (row < 0 || x < 0) {
        return {};
    }
    const HistoryLane &lane = history->lane(rows.lane(row));
    EventId found;
    for (const LaneCell &cell : markCells(*history, lane, scale, markSize())) {
        // The last one is painted above the others.
        found = x >= cell.left && x < cell.right ? cell.event : found;
    }
    if (found.isValid()) {
        return found;
    }
    // What is narrow can be hit as well, and what is hit exactly goes first.
    constexpr int nearby = 3;
    int best = nearby;
    for (const LaneCell &cell : stretchCells(*history, lane, scale)) {
        const int distance = std::max({cell.left - x, x - cell.right + 1, 0});
        if (distance < best) {
            best = distance;
            found = cell.event;
        }
    }
    return found;
}

QRect TimelineScene::eventRect(EventId id) const
{
    if (history == nullptr || !history->contains(id)) {
        return {};
    }
    const HistoryEvent &event = history->event(id);
    const int row = rows.row(event.lane);
    if (row < 0) {
        return {};
    }
    const QRect bar = barRect(row);
    const int left = bar.left() + scale.pixel(event.time);
    if (event.isStretch()) {
        const int right = bar.left() + scale.pixel(history->endOf(event));
        return {left, bar.top(), std::max(right - left, 1), bar.height()};
    }
    const int size = markSize();
    return {left - size / 2, bar.center().y() - size / 2, size, size};
}
