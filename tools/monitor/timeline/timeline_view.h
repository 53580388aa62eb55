// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TIMELINE_VIEW_H
#define MONITOR_TIMELINE_VIEW_H

#include "legend.h"
#include "timeline_scene.h"

#include <QtCore/QBasicTimer>
#include <QtCore/QPointer>
#include <QtWidgets/QAbstractScrollArea>

// Shows a History: a lane for the service, for calls and for each instance, with the time from left
// to right.
//
// The wheel zooms at the pointer; with Ctrl it scrolls the lanes, with Shift the time. Dragging
// moves both, a click selects. Left and Right go to the previous and the next event of a lane, Home
// and End to its first and last one; Up, Down, PageUp and PageDown to other lanes, Ctrl+Home and
// Ctrl+End to the first and the last one; Ctrl+Left and Ctrl+Right move the time, + and - zoom, 0
// shows everything, and Return selects.
class TimelineView : public QAbstractScrollArea
{
    Q_OBJECT
    Q_PROPERTY(bool follow READ follow WRITE setFollow NOTIFY followChanged)

public:
    explicit TimelineView(QWidget *parent = nullptr);
    ~TimelineView() override;

    // The history may be deleted before the view. Null shows nothing.
    void setHistory(History *history);

    // Whether the view moves so that now stays in sight; true at first. It ends when the user moves
    // away.
    bool follow() const { return m_follow; }
    void setFollow(bool follow);

    // Shows only lanes whose names contain this.
    QString filter() const { return m_filter; }
    void setFilter(const QString &filter);

    enum Scrolling {
        // The moment at which the event begins comes into sight.
        ToBeginning,
        // The time does not move as long as a part of the event's stretch is in sight.
        ToAnyPart,
    };
    // Marks an event and scrolls to it. Does not emit selected().
    void select(EventId event, Scrolling scrolling = ToBeginning);
    EventId selection() const { return m_scene.selected; }
    // Where the keyboard is.
    EventId current() const { return m_scene.current; }

    void zoomToFit();
    // At the current event if it is in sight, otherwise at now while the view follows it, and else
    // in the middle.
    void zoom(double factor);
    // Shows the time from one moment to another.
    void showTimes(qint64 from, qint64 to);

    // What is painted, and where: in the coordinates of the viewport.
    const TimelineScene &scene() const { return m_scene; }
    QStringList legend() const { return m_legend.texts(); }
    qint64 timeAt(int x) const;
    int xAt(qint64 time) const;
    EventId eventAt(QPoint position) const;
    // The name of the stretch that is painted here; null where there is none.
    QString stretchAt(QPoint position) const;
    // The names of the lanes that are in sight, from above.
    QStringList visibleLanes() const;

Q_SIGNALS:
    // The user has selected an event.
    void selected(EventId event);
    void followChanged(bool follow);

protected:
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    // In timeline_input.cpp.
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    bool hasEvents() const { return !m_history.isNull() && !m_history->isEmpty(); }
    void onAppended();
    void onCleared();
    void rebuildRows();
    void rebuildLegend();
    // After any change of what is in sight.
    void arrange();
    void updateTimer();
    void setCurrent(EventId event);
    // In timeline_motion.cpp.
    void updateScrollBars();
    void keepInSight();
    void followNow();
    // After the user has moved: as far as now may be to the right, as a part of the width.
    void endFollowBeyond(double share);
    void moveTo(double pixels, int lines);
    void zoomAt(double factor, double x);
    void bringIntoSight(EventId event, Scrolling scrolling = ToBeginning);
    // In timeline_input.cpp.
    void selectCurrent();
    bool moveCurrent(int key);
    void moveTime(double share);
    bool isInLanes(QPoint position) const;

    QPointer<History> m_history;
    TimelineScene m_scene;
    Legend m_legend;
    QString m_filter;
    bool m_follow = true;
    bool m_isArranging = false;
    // What the horizontal scroll bar stands for.
    qint64 m_scrollFirst = 0;
    double m_scrollWhole = 1;
    QBasicTimer m_timer;
    int m_interval = 0;
    bool m_isPressed = false;
    bool m_isDragging = false;
    QPoint m_pressedAt;
    QPoint m_draggedTo;
};

#endif
