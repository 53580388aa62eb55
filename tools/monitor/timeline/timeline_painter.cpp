// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "timeline_painter.h"

#include "absence.h"
#include "lane_cells.h"
#include "text.h"
#include "time_text.h"

#include <QtGui/QPainter>

#include <algorithm>

namespace
{

QColor faint(const QPalette &palette, double alpha)
{
    QColor color = palette.color(QPalette::Text);
    color.setAlphaF(alpha);
    return color;
}

} // namespace

TimelinePainter::TimelinePainter(QPainter &painter, const TimelineScene &scene,
                                 const QPalette &palette)
    : m_painter(painter)
    , m_scene(scene)
    , m_palette(palette)
    , m_metrics(painter.font(), painter.device())
    , m_stretches(painter, scene)
    , m_marks(palette, scene.markSize())
{
}

void TimelinePainter::paint()
{
    const QRect lanes = m_scene.lanesRect();
    m_painter.fillRect(QRect(QPoint(), m_scene.size), m_palette.base());
    if (m_scene.history == nullptr || m_scene.history->isEmpty()) {
        m_painter.setPen(m_palette.color(QPalette::Disabled, QPalette::Text));
        m_painter.drawText(QRect(QPoint(), m_scene.size), Qt::AlignCenter,
                           QStringLiteral("Nothing has happened yet"));
        return;
    }
    m_painter.save();
    m_painter.setClipRect(0, lanes.top(), m_scene.size.width(), lanes.height());
    for (int row = m_scene.firstRow(); row < m_scene.endRow(); ++row) {
        if (row % 2 == 1) {
            QRect stripe = m_scene.rowRect(row);
            stripe.setLeft(0);
            m_painter.fillRect(stripe, faint(m_palette, 0.035));
        }
    }
    m_painter.setClipRect(lanes);
    for (const Absence &each : absences(*m_scene.history, m_scene.scale)) {
        paintAbsence(
            m_painter,
            QRect(lanes.left() + each.left, lanes.top(), each.right - each.left, lanes.height()),
            m_palette);
    }
    m_painter.restore();
    paintAxis();
    m_painter.save();
    m_painter.setClipRect(lanes);
    for (int row = m_scene.firstRow(); row < m_scene.endRow(); ++row) {
        paintRow(row);
    }
    paintAlarms();
    paintChosen();
    m_painter.setClipRect(0, lanes.top(), lanes.left(), lanes.height());
    for (int row = m_scene.firstRow(); row < m_scene.endRow(); ++row) {
        paintName(row, m_scene.history->lane(m_scene.rows.lane(row)));
    }
    m_painter.restore();
    m_painter.setPen(m_palette.color(QPalette::Mid));
    m_painter.drawLine(lanes.left() - 1, 0, lanes.left() - 1, lanes.bottom());
}

void TimelinePainter::paintAxis()
{
    const QRect lanes = m_scene.lanesRect();
    const TimeText text(*m_scene.history);
    const TimeScale &scale = m_scene.scale;
    const int gap = m_metrics.averageCharWidth() * 3;
    // The shortest one that has room for its labels.
    const auto room = [&](qint64 step) {
        return (m_metrics.horizontalAdvance(text.longestTick(step)) + gap) * scale.perPixel();
    };
    qint64 step = TimeText::step(gap * scale.perPixel());
    while (double(step) < room(step)) {
        step = TimeText::step(double(step) * 1.01);
    }

    const QRect axis(lanes.left(), 0, lanes.width(), m_scene.axisHeight());
    m_painter.save();
    m_painter.fillRect(QRect(0, 0, m_scene.size.width(), axis.height()), m_palette.window());
    m_painter.setClipRect(axis.adjusted(0, 0, 0, lanes.height()));
    const int tickHeight = axis.height() / 5;
    const QVector<qint64> ticks =
        text.ticks(scale.timeAt(-gap), scale.timeAt(lanes.width() + gap), step);
    for (const qint64 time : ticks) {
        const int x = lanes.left() + int(scale.x(time));
        m_painter.setPen(faint(m_palette, 0.13));
        m_painter.drawLine(x, axis.bottom(), x, lanes.bottom());
        m_painter.setPen(m_palette.color(QPalette::WindowText));
        m_painter.drawLine(x, axis.bottom() - tickHeight, x, axis.bottom());
        const QString label = text.tick(time, step);
        const int half = m_metrics.horizontalAdvance(label) / 2;
        if (x - half > lanes.left() && x + half < lanes.right()) {
            m_painter.drawText(x - half,
                               axis.center().y() - tickHeight / 2 + m_metrics.capHeight() / 2 + 1,
                               label);
        }
    }
    m_painter.setClipRect(0, 0, lanes.left(), axis.height());
    m_painter.setPen(m_palette.color(QPalette::WindowText));
    const QRect corner(gap / 3, 0, lanes.left() - gap / 2, axis.height());
    QString day = text.day(scale.begin());
    if (!day.isEmpty() && m_metrics.horizontalAdvance(day) > corner.width()) {
        day = text.shortDay(scale.begin());
    }
    m_painter.drawText(corner, Qt::AlignVCenter | Qt::TextSingleLine, day);
    m_painter.restore();
    m_painter.setPen(m_palette.color(QPalette::Mid));
    m_painter.drawLine(0, axis.bottom(), m_scene.size.width(), axis.bottom());
}

void TimelinePainter::paintRow(int row)
{
    const HistoryLane &lane = m_scene.history->lane(m_scene.rows.lane(row));
    const std::vector<LaneCell> marks =
        markCells(*m_scene.history, lane, m_scene.scale, m_scene.markSize());
    m_stretches.paint(row, lane, marks);
    const QRect bar = m_scene.barRect(row);
    for (const LaneCell &cell : marks) {
        m_marks.paint(m_painter, {bar.left() + (cell.left + cell.right) / 2, bar.center().y()},
                      Marks::shapeOf(m_scene.history->event(cell.event).kind));
    }
}

void TimelinePainter::paintName(int row, const HistoryLane &lane)
{
    QRect rect = m_scene.rowRect(row);
    rect.setLeft(0);
    rect.setRight(m_scene.lanesRect().left() - 1);
    const EventId selected = m_scene.selected;
    if (m_scene.history->contains(selected)
        && m_scene.history->event(selected).lane == m_scene.rows.lane(row)) {
        m_painter.fillRect(rect, m_palette.highlight());
        m_painter.setPen(m_palette.color(QPalette::HighlightedText));
    } else {
        m_painter.setPen(m_palette.color(QPalette::Text));
    }
    const int margin = m_metrics.averageCharWidth();
    rect.adjust(margin, 0, -margin, 0);
    m_painter.drawText(rect, Qt::AlignVCenter | Qt::TextSingleLine,
                       m_metrics.elidedText(onOneLine(lane.name), Qt::ElideLeft, rect.width()));
}

// Which instance was meant is not known, so the line crosses all lanes.
void TimelinePainter::paintAlarms()
{
    const int service = m_scene.history->serviceLane();
    if (service < 0) {
        return;
    }
    const QRect lanes = m_scene.lanesRect();
    m_painter.setPen(QPen(Marks::alarm(m_palette), 1, Qt::DashLine));
    for (const LaneCell &cell : markCells(*m_scene.history, m_scene.history->lane(service),
                                          m_scene.scale, m_scene.markSize())) {
        if (m_scene.history->event(cell.event).kind == HistoryEvent::OutOfMemory) {
            const int x = lanes.left() + (cell.left + cell.right) / 2;
            m_painter.drawLine(x, lanes.top(), x, lanes.bottom());
        }
    }
}

void TimelinePainter::paintChosen()
{
    const auto paint = [this](EventId id, int distance, const QPen &pen) {
        const QRect rect = m_scene.eventRect(id);
        if (!rect.isNull()) {
            m_painter.setPen(pen);
            m_painter.setBrush(Qt::NoBrush);
            m_painter.drawRect(rect.adjusted(-distance, -distance, distance - 1, distance - 1));
        }
    };
    paint(m_scene.selected, 2, QPen(m_palette.color(QPalette::Base), 5));
    paint(m_scene.selected, 2, QPen(m_palette.color(QPalette::Highlight), 3));
    if (m_scene.hasFocus) {
        paint(m_scene.current, 5, QPen(m_palette.color(QPalette::Text), 1, Qt::DotLine));
    }
}
