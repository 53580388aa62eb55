// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lane_events.h"
#include "timeline_view.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cmath>

namespace
{

// For one step of the wheel, or one key.
constexpr double zoomFactor = 1.25;
constexpr double wheelStep = 120;
constexpr double keyShare = 0.2;

} // namespace

bool TimelineView::isInLanes(QPoint position) const
{
    return position.x() >= m_scene.lanesRect().left()
        && position.y() <= m_scene.lanesRect().bottom();
}

void TimelineView::wheelEvent(QWheelEvent *event)
{
    const QPoint delta = event->angleDelta();
    const QPoint position = event->position().toPoint();
    // Some systems turn the wheel's direction with Shift.
    const int steps = delta.y() != 0 ? delta.y() : delta.x();
    const double pixels = steps / wheelStep * 3 * m_scene.laneHeight();
    const bool hasControl = (event->modifiers() & Qt::ControlModifier) != 0;
    const bool hasShift = (event->modifiers() & Qt::ShiftModifier) != 0;
    if (!hasControl && (hasShift || delta.y() == 0)) {
        moveTo(-pixels, 0);
    } else if (hasControl || !isInLanes(position)) {
        moveTo(0, -int(std::lround(pixels)));
    } else {
        zoomAt(std::pow(zoomFactor, steps / wheelStep), position.x() - m_scene.lanesRect().left());
    }
    event->accept();
}

void TimelineView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton) {
        m_isPressed = true;
        m_isDragging = false;
        m_pressedAt = m_draggedTo = event->pos();
    }
}

void TimelineView::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_isPressed) {
        return;
    }
    if (!m_isDragging
        && (event->pos() - m_pressedAt).manhattanLength() >= QApplication::startDragDistance()) {
        m_isDragging = true;
        viewport()->setCursor(Qt::ClosedHandCursor);
    }
    if (m_isDragging) {
        const QPoint moved = event->pos() - m_draggedTo;
        m_draggedTo = event->pos();
        moveTo(-moved.x(), -moved.y());
    }
}

void TimelineView::mouseReleaseEvent(QMouseEvent *event)
{
    const bool isClick = m_isPressed && !m_isDragging && event->button() == Qt::LeftButton;
    m_isPressed = m_isDragging = false;
    viewport()->setCursor(Qt::ArrowCursor);
    const EventId found = isClick ? eventAt(event->pos()) : EventId();
    if (found.isValid()) {
        setCurrent(found);
        selectCurrent();
    }
}

void TimelineView::selectCurrent()
{
    m_scene.selected = m_scene.current;
    viewport()->update();
    Q_EMIT selected(m_scene.selected);
}

void TimelineView::keyPressEvent(QKeyEvent *event)
{
    const bool hasControl = (event->modifiers() & Qt::ControlModifier) != 0;
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoom(zoomFactor);
        return;
    case Qt::Key_Minus:
        zoom(1 / zoomFactor);
        return;
    case Qt::Key_0:
        zoomToFit();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (m_scene.current.isValid()) {
            selectCurrent();
            return;
        }
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        if (hasControl) {
            moveTime(event->key() == Qt::Key_Left ? -keyShare : keyShare);
            return;
        }
        break;
    default:
        break;
    }
    if (!hasEvents()
        || !moveCurrent(hasControl ? event->key() | int(Qt::ControlModifier) : event->key())) {
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void TimelineView::moveTime(double share)
{
    moveTo(share * m_scene.scale.width(), 0);
}

// Returns whether the key moves.
bool TimelineView::moveCurrent(int key)
{
    if (m_scene.rows.count() == 0) {
        return false;
    }
    const EventId old = m_scene.current;
    const bool isKnown = m_history->contains(old);
    const int oldRow = isKnown ? m_scene.rows.row(m_history->event(old).lane) : -1;
    const qint64 time =
        isKnown ? m_history->event(old).time : m_scene.scale.timeAt(m_scene.scale.width() / 2.0);
    const auto events = [this](int row) {
        return LaneEvents(*m_history, m_history->lane(m_scene.rows.lane(row)));
    };
    int row = std::max(oldRow, 0);
    // Lanes without an event are skipped, in the direction of the move.
    int step = 1;
    EventId found;
    const int page = std::max(m_scene.lanesRect().height() / m_scene.laneHeight() - 1, 1);
    constexpr int control = int(Qt::ControlModifier);
    switch (key) {
    case Qt::Key_Left:
        found = oldRow < 0 ? events(row).at(time) : events(row).previous(old);
        break;
    case Qt::Key_Right:
        found = oldRow < 0 ? events(row).at(time) : events(row).next(old);
        break;
    case Qt::Key_Home:
        found = events(row).first();
        break;
    case Qt::Key_End:
        found = events(row).last();
        break;
    case Qt::Key_Up:
    case Qt::Key_PageUp:
        row -= oldRow < 0 ? 0 : key == Qt::Key_Up ? 1 : page;
        step = row < 0 && key == Qt::Key_PageUp ? 1 : -1;
        break;
    case Qt::Key_Down:
    case Qt::Key_PageDown:
        row += oldRow < 0 ? 0 : key == Qt::Key_Down ? 1 : page;
        step = row >= m_scene.rows.count() && key == Qt::Key_PageDown ? -1 : 1;
        break;
    case Qt::Key_Home | control:
        row = 0;
        break;
    case Qt::Key_End | control:
        row = m_scene.rows.count() - 1;
        step = -1;
        break;
    default:
        return false;
    }
    const bool changesLane =
        key != Qt::Key_Left && key != Qt::Key_Right && key != Qt::Key_Home && key != Qt::Key_End;
    if (changesLane) {
        row = key == Qt::Key_Up || key == Qt::Key_Down
            ? row
            : std::clamp(row, 0, m_scene.rows.count() - 1);
        for (; !found.isValid() && row >= 0 && row < m_scene.rows.count(); row += step) {
            found = events(row).at(time);
        }
    }
    if (found.isValid()) {
        setCurrent(found);
        bringIntoSight(found);
    }
    return true;
}
