// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "timeline_view.h"

#include "event_text.h"
#include "text.h"
#include "timeline_painter.h"
#include "trace_words.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QHelpEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolTip>

#include <algorithm>

TimelineView::TimelineView(QWidget *parent)
    : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Timeline"));
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setCursor(Qt::ArrowCursor);
    arrange();
}

TimelineView::~TimelineView() = default;

void TimelineView::setHistory(History *history)
{
    if (!m_history.isNull()) {
        m_history->disconnect(this);
    }
    m_history = history;
    m_scene.history = history;
    m_scene.selected = m_scene.current = {};
    if (history != nullptr) {
        connect(history, &History::appended, this, &TimelineView::onAppended);
        connect(history, &History::cleared, this, &TimelineView::onCleared);
        connect(history, &History::lanesChanged, this, &TimelineView::rebuildRows);
        connect(history, &QObject::destroyed, this, [this] { setHistory(nullptr); });
    }
    rebuildRows();
}

void TimelineView::setFollow(bool follow)
{
    if (m_follow != follow) {
        m_follow = follow;
        followNow();
        arrange();
        Q_EMIT followChanged(follow);
    }
}

void TimelineView::setFilter(const QString &filter)
{
    if (m_filter != filter) {
        m_filter = filter;
        rebuildRows();
    }
}

void TimelineView::select(EventId event, Scrolling scrolling)
{
    const EventId known = !m_history.isNull() && m_history->contains(event) ? event : EventId();
    m_scene.selected = known;
    if (known.isValid()) {
        setCurrent(known);
        bringIntoSight(known, scrolling);
    }
    viewport()->update();
}

qint64 TimelineView::timeAt(int x) const
{
    return m_scene.scale.timeAt(x - m_scene.lanesRect().left());
}

int TimelineView::xAt(qint64 time) const
{
    return m_scene.lanesRect().left() + m_scene.scale.pixel(time);
}

EventId TimelineView::eventAt(QPoint position) const
{
    return hasEvents() ? m_scene.eventAt(position) : EventId();
}

QString TimelineView::stretchAt(QPoint position) const
{
    const EventId found = eventAt(position);
    if (!found.isValid() || !m_history->event(found).isStretch()) {
        return QString();
    }
    return m_history->string(m_history->event(found).stretchName);
}

QStringList TimelineView::visibleLanes() const
{
    QStringList names;
    for (int row = m_scene.firstRow(); row < m_scene.endRow(); ++row) {
        names.append(onOneLine(m_history->lane(m_scene.rows.lane(row)).name));
    }
    return names;
}

void TimelineView::onAppended()
{
    for (EventId *const each : {&m_scene.selected, &m_scene.current}) {
        *each = m_history->contains(*each) ? *each : EventId();
    }
    rebuildLegend();
    followNow();
    arrange();
}

void TimelineView::onCleared()
{
    m_scene.selected = m_scene.current = {};
    m_scene.top = 0;
    rebuildRows();
}

void TimelineView::rebuildRows()
{
    m_scene.rows.rebuild(m_history, m_filter);
    rebuildLegend();
    followNow();
    arrange();
}

void TimelineView::rebuildLegend()
{
    // The calls come before the instances.
    const auto &lanes = m_scene.rows.lanes();
    const bool hasCalls = std::any_of(
        lanes.begin(), lanes.begin() + std::min<std::ptrdiff_t>(std::ptrdiff_t(lanes.size()), 2),
        [this](int lane) { return m_history->lane(lane).group == TraceWords::Calls; });
    m_legend.rebuild(m_history, hasCalls);
}

void TimelineView::arrange()
{
    if (m_isArranging) {
        return;
    }
    const QScopedValueRollback<bool> isArranging(m_isArranging, true);
    m_scene.size = viewport()->size();
    m_scene.measure(fontMetrics());
    m_scene.setLegendHeight(m_legend.arrange(m_scene.size.width(), fontMetrics()));
    m_scene.arrange();
    keepInSight();
    m_scene.top = std::clamp(m_scene.top, 0,
                             std::max(m_scene.lanesHeight() - m_scene.lanesRect().height(), 0));
    updateScrollBars();
    updateTimer();
    viewport()->update();
}

// What goes on grows with the time.
void TimelineView::updateTimer()
{
    const bool isGrowing = isVisible() && hasEvents() && m_history->isLive()
        && (m_follow || m_scene.scale.x(m_history->lastTime()) < m_scene.scale.width());
    if (!isGrowing) {
        m_timer.stop();
        return;
    }
    // As often as there is something to see: once for each pixel.
    constexpr double fastest = 33;
    constexpr double slowest = 1000;
    const int interval = int(std::clamp(m_scene.scale.perPixel() / 1000, fastest, slowest));
    if (!m_timer.isActive() || interval != m_interval) {
        m_interval = interval;
        m_timer.start(interval, this);
    }
}

void TimelineView::setCurrent(EventId event)
{
    m_scene.current = event;
    // Tells the screen reader as well.
    setAccessibleDescription(description(*m_history, event));
    viewport()->update();
}

bool TimelineView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *const help = static_cast<QHelpEvent *>(event);
        const EventId found = eventAt(help->pos());
        QString text;
        if (found.isValid()) {
            text = description(*m_history, found);
        } else if (const int row = m_scene.rowAt(help->pos().y()); row >= 0) {
            text = onOneLine(m_history->lane(m_scene.rows.lane(row)).name);
        }
        QToolTip::showText(help->globalPos(), plainToolTip(text), viewport());
        return true;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void TimelineView::paintEvent(QPaintEvent *)
{
    QPainter painter(viewport());
    TimelinePainter(painter, m_scene, palette()).paint();
    m_legend.paint(painter, m_scene.legendRect(), palette());
}

void TimelineView::resizeEvent(QResizeEvent *)
{
    arrange();
    followNow();
    arrange();
}

void TimelineView::showEvent(QShowEvent *event)
{
    QAbstractScrollArea::showEvent(event);
    updateTimer();
}

void TimelineView::hideEvent(QHideEvent *event)
{
    QAbstractScrollArea::hideEvent(event);
    m_timer.stop();
}

void TimelineView::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange) {
        arrange();
    }
}

void TimelineView::focusInEvent(QFocusEvent *event)
{
    m_scene.hasFocus = true;
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void TimelineView::focusOutEvent(QFocusEvent *event)
{
    m_scene.hasFocus = false;
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void TimelineView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_timer.timerId()) {
        QAbstractScrollArea::timerEvent(event);
        return;
    }
    followNow();
    arrange();
}
