// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "linked_views.h"

#include "trace_files.h"
#include "trace_words.h"
#include "window_actions.h"

#include <QtWidgets/QAction>

#include <algorithm>

LinkedViews::LinkedViews(TraceFiles &files, const WindowActions &actions)
    : m_files(files)
    , m_timeline(new TimelineView)
    , m_log(new EventLogView)
    , m_follow(actions.follow)
{
    m_timeline->setHistory(&files.history());
    m_log->setHistory(&files.history());
    connect(&files, &TraceFiles::historyChanged, this, &LinkedViews::showHistory);
    connect(&files, &TraceFiles::read, m_timeline, &TimelineView::zoomToFit);
    connect(m_timeline, &TimelineView::selected, this, &LinkedViews::onSelected);
    connect(m_log, &EventLogView::selected, this, &LinkedViews::onSelected);
    connectActions(actions);
}

void LinkedViews::connectActions(const WindowActions &actions)
{
    constexpr double factor = 2;
    connect(actions.zoomIn, &QAction::triggered, m_timeline, [this] { m_timeline->zoom(factor); });
    connect(actions.zoomOut, &QAction::triggered, m_timeline,
            [this] { m_timeline->zoom(1 / factor); });
    connect(actions.zoomToFit, &QAction::triggered, m_timeline, &TimelineView::zoomToFit);
    m_follow->setChecked(m_timeline->follow());
    connect(m_follow, &QAction::toggled, m_timeline, &TimelineView::setFollow);
    connect(m_timeline, &TimelineView::followChanged, m_follow, &QAction::setChecked);
}

void LinkedViews::setFilter(const QString &filter)
{
    m_timeline->setFilter(filter);
    m_log->setFilter(filter);
}

void LinkedViews::selectInstance(const QString &instance)
{
    const History &history = m_files.history();
    const QString name = shortened(instance);
    EventId last;
    for (int i = 0; i < history.laneCount(); ++i) {
        const HistoryLane &lane = history.lane(i);
        if (lane.group == TraceWords::Instances && lane.name == name) {
            for (const auto *events : {&lane.stretches, &lane.marks}) {
                last.number =
                    events->empty() ? last.number : std::max(last.number, events->back().number);
            }
        }
    }
    m_timeline->select(last, TimelineView::ToAnyPart);
    m_log->select(last);
}

void LinkedViews::onSelected(EventId event)
{
    if (sender() == m_timeline) {
        m_log->select(event);
    } else {
        m_timeline->select(event);
    }
    const History &history = m_files.history();
    QString instance;
    if (history.contains(event)) {
        const HistoryLane &lane = history.lane(history.event(event).lane);
        instance = lane.group == TraceWords::Instances ? lane.name : QString();
    }
    Q_EMIT instanceSelected(instance);
}

void LinkedViews::showHistory()
{
    const bool isLive = m_files.isLive();
    if (m_wasLive && !isLive) {
        m_followsLive = m_timeline->follow();
        const TimeScale &scale = m_timeline->scene().scale;
        m_liveFrom = scale.begin();
        m_liveTo = scale.begin() + qint64(scale.span());
    }
    m_wasLive = isLive;
    m_follow->setEnabled(isLive);
    m_timeline->setFollow(false);
    m_timeline->setHistory(&m_files.history());
    m_log->setHistory(&m_files.history());
    if (isLive) {
        m_timeline->showTimes(m_liveFrom, m_liveTo);
        m_timeline->setFollow(m_followsLive);
        m_log->scrollToBottom();
    }
}
