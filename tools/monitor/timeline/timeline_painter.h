// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TIMELINE_PAINTER_H
#define MONITOR_TIMELINE_PAINTER_H

#include "marks.h"
#include "stretch_painter.h"
#include "timeline_scene.h"

#include <QtGui/QFontMetrics>
#include <QtGui/QPalette>

class QPainter;

// Paints one frame of a timeline, but for the legend.
class TimelinePainter
{
public:
    TimelinePainter(QPainter &painter, const TimelineScene &scene, const QPalette &palette);

    void paint();

private:
    void paintAxis();
    void paintRow(int row);
    void paintName(int row, const HistoryLane &lane);
    void paintAlarms();
    void paintChosen();

    QPainter &m_painter;
    const TimelineScene &m_scene;
    QPalette m_palette;
    QFontMetrics m_metrics;
    StretchPainter m_stretches;
    Marks m_marks;
};

#endif
