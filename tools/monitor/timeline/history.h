// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_HISTORY_H
#define MONITOR_HISTORY_H

#include "history_event.h"
#include "string_pool.h"
#include "trace_event.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QTimer>

#include <deque>
#include <functional>
#include <optional>
#include <vector>

// The list of what happened: what the timeline and the log show. To fill it while it happens:
//
//     history.setClock([] { return Stamp::now().monotonic; });
//     LiveTrace trace(control, [&](const TraceEvent &event) { history.append(event); },
//                     [&](const TraceEvent &call) { history.beginCall(call); });
//
// and from a file: with HistoryLoader, or readTrace() and append().
//
// Whatever the events hold, the history has at most mostEvents() and some hundred megabytes. When
// there are more, it drops the oldest quarter and notes that. What has not ended stays.
class History : public QObject
{
    Q_OBJECT

public:
    explicit History(QObject *parent = nullptr);
    ~History() override;

    void append(const TraceEvent &event);
    // A call that waits for a reply. append() gets the same stretch when it has ended.
    void beginCall(const TraceEvent &call);
    void clear();
    // Emits now what would be emitted soon.
    void flush();

    int mostEvents() const { return m_mostEvents; }
    void setMostEvents(int count) { m_mostEvents = count; }

    // What the time is, for as long as things go on. Null if all of it is over.
    void setClock(const std::function<qint64()> &clock);
    bool isLive() const { return m_clock != nullptr; }

    bool isEmpty() const { return m_events.empty(); }
    // The first moment and the last one; 0 if there is none. If it is live, the last one is now.
    qint64 firstTime() const { return m_firstTime; }
    qint64 lastTime() const;
    // Added to a time, this gives microseconds since 1970, if the trace says so.
    std::optional<qint64> timeOfDay() const { return m_timeOfDay; }
    // Whether the trace says from its beginning whether there is a service.
    bool knowsServiceFromStart() const { return m_knowsServiceFromStart; }

    bool contains(EventId id) const;
    // The event must be in the history.
    const HistoryEvent &event(EventId id) const
    {
        return m_events[std::size_t(id.number - m_firstId)];
    }
    const QString &string(quint32 number) const { return m_strings.at(number); }
    // The end of a stretch: lastTime() as long as it goes on.
    qint64 endOf(const HistoryEvent &event) const;

    int laneCount() const { return int(m_lanes.size()); }
    const HistoryLane &lane(int index) const { return m_lanes[std::size_t(index)]; }
    // -1 if there is none.
    int serviceLane() const { return m_serviceLane; }

    // The names of the instances' stretches, in the history's strings.
    const std::vector<quint32> &states() const { return m_states; }

    // The events in the order of their times, as the log has them.
    int rowCount() const { return int(m_rows.size()); }
    EventId eventAt(int row) const { return m_rows[std::size_t(row)]; }

Q_SIGNALS:
    // Soon after append(); once for many events.
    void appended();
    void cleared();
    // There are other lanes, or they have other names.
    void lanesChanged();
    // From this row on, the rows are new: usually, they were appended.
    void rowsReplaced(int first);
    // Something that went on has ended in each of these rows.
    void rowsChanged(int first, int last);

private:
    // Not overridden: event() of a history is another function.
    using QObject::event;

    // In history_append.cpp.
    void addMoment(const TraceEvent &event);
    void addStretch(const TraceEvent &event, bool isOpen);
    bool endStretch(const TraceEvent &event);
    void addMetadata(const TraceEvent &event);
    void readAbout(const TraceEvent &event);
    EventId add(HistoryEvent event, const QString &name, const QJsonObject &arguments);
    void addState(const HistoryEvent &event);
    void setArguments(HistoryEvent &event, const QJsonObject &arguments);
    HistoryEvent *openStretch(int lane);
    void close(int lane, qint64 time);
    void note(const QString &text, qint64 time);

    void scheduleFlush();
    void changed(const HistoryEvent &event);
    HistoryEvent &at(EventId id) { return m_events[std::size_t(id.number - m_firstId)]; }
    EventId nextId() const { return {m_firstId + qint64(m_events.size())}; }

    // In history_limits.cpp.
    std::optional<int> laneOf(const TraceEvent &event);
    void keepLimits();
    void dropOldest();
    std::vector<int> dropFromLanes(EventId firstKept, const std::vector<EventId> &goOn);

    int m_mostEvents;
    std::function<qint64()> m_clock;
    qint64 m_firstTime = 0;
    qint64 m_lastTime = 0;
    std::optional<qint64> m_timeOfDay;
    bool m_knowsServiceFromStart = false;

    std::deque<HistoryEvent> m_events;
    // Of the event at the front.
    qint64 m_firstId = 0;
    qint64 m_dropped = 0;
    StringPool m_strings;
    std::vector<quint32> m_states;
    QSet<quint32> m_isState;
    qint64 m_argumentBytes = 0;
    std::vector<HistoryLane> m_lanes;
    QHash<int, int> m_laneByNumber;
    int m_serviceLane = -1;
    bool m_isFull = false;

    std::vector<EventId> m_rows;
    // The first event without a row.
    qint64 m_pending = 0;
    std::vector<int> m_changedRows;
    bool m_haveLanesChanged = false;
    QTimer m_timer;
};

#endif
