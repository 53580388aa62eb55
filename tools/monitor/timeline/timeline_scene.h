// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TIMELINE_SCENE_H
#define MONITOR_TIMELINE_SCENE_H

#include "history.h"
#include "lane_rows.h"
#include "time_scale.h"

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSize>

class QFontMetrics;

// What a timeline shows and where. The names are on the left, the axis above the lanes, the legend
// below them.
class TimelineScene
{
public:
    const History *history = nullptr;
    TimeScale scale;
    LaneRows rows;
    QSize size;
    // How far the lanes are scrolled, in pixels.
    int top = 0;
    EventId selected;
    EventId current;
    bool hasFocus = false;

    // The sizes follow from the font.
    void measure(const QFontMetrics &metrics);
    void setLegendHeight(int height) { m_legendHeight = height; }
    // After a change of the sizes.
    void arrange();

    int nameWidth() const { return m_nameWidth; }
    int axisHeight() const { return m_axisHeight; }
    int laneHeight() const { return m_laneHeight; }
    int markSize() const;
    int lanesHeight() const { return m_laneHeight * rows.count(); }

    // Where the lanes are, without their names.
    QRect lanesRect() const;
    QRect legendRect() const;
    // The lane of a row, without its name.
    QRect rowRect(int row) const;
    // Where the stretches of a lane are.
    QRect barRect(int row) const;
    // -1 where there is none.
    int rowAt(int y) const;
    int firstRow() const;
    // The one after the last that is visible.
    int endRow() const;

    // The event that is painted here.
    EventId eventAt(QPoint position) const;
    // Where an event is painted, or would be.
    QRect eventRect(EventId id) const;

private:
    int m_nameWidth = 0;
    int m_axisHeight = 0;
    int m_laneHeight = 1;
    int m_legendHeight = 0;
    int m_padding = 0;
};

#endif
