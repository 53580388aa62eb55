// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_STRETCH_PAINTER_H
#define MONITOR_STRETCH_PAINTER_H

#include "lane_cells.h"
#include "state_colors.h"
#include "timeline_scene.h"

#include <QtCore/QHash>
#include <QtGui/QFontMetrics>

class QPainter;

// Paints the stretches of lanes: states with their names, calls, and the service.
class StretchPainter
{
public:
    StretchPainter(QPainter &painter, const TimelineScene &scene);

    // marks: those of the lane. The names of the states leave them free.
    void paint(int row, const HistoryLane &lane, const std::vector<LaneCell> &marks);

private:
    void paintName(QRect rect, const HistoryEvent &event, const StateColor &color, int margin);
    QString shortName(const QString &name, int room) const;
    const StateColor &colorOf(const HistoryLane &lane, const HistoryEvent &event);

    QPainter &m_painter;
    const TimelineScene &m_scene;
    QFontMetrics m_metrics;
    QHash<quint32, StateColor> m_colors;
};

#endif
