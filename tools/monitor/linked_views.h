// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_LINKED_VIEWS_H
#define MONITOR_LINKED_VIEWS_H

#include "event_log_view.h"
#include "timeline_view.h"

struct WindowActions;
class TraceFiles;

// The timeline and the log of what is looked at: what is selected in one is selected in the other.
class LinkedViews : public QObject
{
    Q_OBJECT

public:
    LinkedViews(TraceFiles &files, const WindowActions &actions);

    // Owned by the widgets that they are added to.
    TimelineView *timeline() const { return m_timeline; }
    EventLogView *log() const { return m_log; }

    void setFilter(const QString &filter);

    // Selects the last event of the instance, or none if nothing has happened to it.
    void selectInstance(const QString &instance);

Q_SIGNALS:
    // The user has selected an event of this instance; null if it is about none.
    void instanceSelected(const QString &instance);

private:
    void connectActions(const WindowActions &actions);
    void showHistory();
    void showAll();
    void onSelected(EventId event);

    TraceFiles &m_files;
    TimelineView *m_timeline;
    EventLogView *m_log;
    QAction *m_follow;
    // Whether the view followed the present before a file was opened.
    bool m_followsLive = true;
    bool m_wasLive = true;
    // What was in sight then, in microseconds.
    qint64 m_liveFrom = 0;
    qint64 m_liveTo = 0;
};

#endif
