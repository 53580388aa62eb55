// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "absence.h"

#include "lane_cells.h"

#include <QtGui/QPainter>
#include <QtGui/QPalette>

#include <algorithm>

std::vector<Absence> absences(const History &history, const TimeScale &scale)
{
    std::vector<Absence> found;
    const int service = history.serviceLane();
    if (service < 0) {
        return found;
    }
    const HistoryLane &lane = history.lane(service);
    if (lane.stretches.empty() && !history.knowsServiceFromStart()) {
        return found;
    }
    const qint64 known = history.knowsServiceFromStart()
        ? history.firstTime()
        : history.event(lane.stretches.front()).time;
    int left = std::max(scale.pixel(known), 0);
    for (const LaneCell &cell : stretchCells(history, lane, scale)) {
        if (cell.left > left) {
            found.push_back({left, cell.left});
        }
        left = std::max(left, cell.right);
    }
    const int right = scale.pixel(history.lastTime());
    if (right > left) {
        found.push_back({left, right});
    }
    return found;
}

void paintAbsence(QPainter &painter, QRect rect, const QPalette &palette)
{
    QColor color = palette.color(QPalette::Text);
    color.setAlphaF(0.08);
    painter.fillRect(rect, color);
    color.setAlphaF(0.25);
    painter.fillRect(rect, QBrush(color, Qt::BDiagPattern));
}
