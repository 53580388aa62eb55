// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "timeline_view.h"

#include <QtWidgets/QScrollBar>

#include <algorithm>

namespace
{

// Where now is while the view follows it, as a part of the width.
constexpr double nowPlace = 0.95;
// The scroll bar counts in parts of the whole time, which has more microseconds than an int holds.
constexpr int timeParts = 1'000'000'000;

} // namespace

void TimelineView::zoomToFit()
{
    if (hasEvents()) {
        showTimes(m_history->firstTime(), m_history->lastTime());
    }
}

void TimelineView::showTimes(qint64 from, qint64 to)
{
    constexpr double share = 0.03;
    const auto margin = qint64(double(to - from) * share) + 1;
    m_scene.scale.fit(from - margin, to + margin);
    arrange();
}

void TimelineView::zoom(double factor)
{
    const int width = m_scene.scale.width();
    double x = width / 2.0;
    if (m_follow && hasEvents()) {
        const double now = m_scene.scale.x(m_history->lastTime());
        x = now >= 0 && now < width ? now : x;
    }
    if (!m_history.isNull() && m_history->contains(m_scene.current)) {
        const double place = m_scene.scale.x(m_history->event(m_scene.current).time);
        x = place >= 0 && place < width ? place : x;
    }
    zoomAt(factor, x);
}

void TimelineView::updateScrollBars()
{
    verticalScrollBar()->setRange(
        0, std::max(m_scene.lanesHeight() - m_scene.lanesRect().height(), 0));
    verticalScrollBar()->setPageStep(m_scene.lanesRect().height());
    verticalScrollBar()->setSingleStep(m_scene.laneHeight());
    verticalScrollBar()->setValue(m_scene.top);

    const TimeScale &scale = m_scene.scale;
    m_scrollFirst = hasEvents() ? std::min(m_history->firstTime(), scale.begin()) : scale.begin();
    const double known = hasEvents() ? double(m_history->lastTime() - m_scrollFirst) : 0;
    const auto left = double(scale.begin() - m_scrollFirst);
    m_scrollWhole = std::max({known, left + scale.span(), 1.0});
    const int page = std::max(int(timeParts * scale.span() / m_scrollWhole), 1);
    horizontalScrollBar()->setRange(0, std::max(timeParts - page, 0));
    horizontalScrollBar()->setPageStep(page);
    horizontalScrollBar()->setSingleStep(std::max(page / 10, 1));
    horizontalScrollBar()->setValue(int(timeParts * left / m_scrollWhole));
}

void TimelineView::scrollContentsBy(int dx, int dy)
{
    if (m_isArranging || !hasEvents()) {
        return;
    }
    m_scene.top -= dy;
    if (dx != 0) {
        const double part = horizontalScrollBar()->value() / double(timeParts);
        m_scene.scale.setBegin(m_scrollFirst + qint64(part * m_scrollWhole));
        endFollowBeyond(nowPlace);
    }
    arrange();
}

void TimelineView::followNow()
{
    if (!m_follow || !hasEvents()) {
        return;
    }
    const double width = m_scene.scale.width();
    const double first = m_scene.scale.x(m_history->firstTime());
    const double now = m_scene.scale.x(m_history->lastTime());
    if (now > width * nowPlace || now < 0) {
        // At first, the beginning is on the left until now has come to its place.
        const double margin = width * (1 - nowPlace) / 2;
        m_scene.scale.move(std::max(now - width * nowPlace, first - margin));
    }
}

void TimelineView::endFollowBeyond(double share)
{
    if (m_follow && hasEvents()) {
        const double now = m_scene.scale.x(m_history->lastTime());
        if (now < 0 || now > m_scene.scale.width() * share + 1) {
            setFollow(false);
        }
    }
}

void TimelineView::moveTo(double pixels, int lines)
{
    m_scene.scale.move(pixels);
    m_scene.top += lines;
    if (pixels != 0) {
        endFollowBeyond(nowPlace);
    }
    arrange();
}

void TimelineView::zoomAt(double factor, double x)
{
    m_scene.scale.zoom(factor, x);
    endFollowBeyond(1);
    arrange();
}

void TimelineView::bringIntoSight(EventId event, Scrolling scrolling)
{
    const HistoryEvent &shown = m_history->event(event);
    const int row = m_scene.rows.row(shown.lane);
    if (row >= 0) {
        const QRect lanes = m_scene.lanesRect();
        const QRect rect = m_scene.rowRect(row);
        if (rect.top() < lanes.top()) {
            m_scene.top -= lanes.top() - rect.top();
        } else if (rect.bottom() > lanes.bottom()) {
            m_scene.top += rect.bottom() - lanes.bottom();
        }
    }
    const double x = m_scene.scale.x(shown.time);
    const double width = m_scene.scale.width();
    const bool isPartInSight =
        scrolling == ToAnyPart && x <= width && m_scene.scale.x(m_history->endOf(shown)) >= 0;
    if (!isPartInSight && (x < 0 || x > width * nowPlace)) {
        m_scene.scale.move(x - width / 2);
        endFollowBeyond(1);
    }
    arrange();
}

// The user does not get lost: something stays in sight.
void TimelineView::keepInSight()
{
    if (!hasEvents()) {
        return;
    }
    const qint64 first = m_history->firstTime();
    const qint64 last = m_history->lastTime();
    const double width = m_scene.scale.width();
    constexpr double most = 4;
    if (const double wide = double(std::max<qint64>(last - first, 60'000'000)) * most;
        m_scene.scale.span() > wide) {
        m_scene.scale.zoom(m_scene.scale.span() / wide, width / 2);
    }
    if (const double x = m_scene.scale.x(first); x > width * nowPlace) {
        m_scene.scale.move(x - width * nowPlace);
    } else if (const double x = m_scene.scale.x(last); x < width * (1 - nowPlace)) {
        m_scene.scale.move(x - width * (1 - nowPlace));
    }
}
