// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "history.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

constexpr int mostEventsByDefault = 1'000'000;
// What a screen shows is not older than this, in milliseconds.
constexpr int flushDelay = 20;

} // namespace

History::History(QObject *parent)
    : QObject(parent)
    , m_mostEvents(mostEventsByDefault)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(flushDelay);
    connect(&m_timer, &QTimer::timeout, this, &History::flush);
}

History::~History() = default;

void History::append(const TraceEvent &event)
{
    switch (event.phase) {
    case TraceEvent::Metadata:
        addMetadata(event);
        break;
    case TraceEvent::Counter:
        // The lanes show how many instances run.
        break;
    case TraceEvent::Instant:
        addMoment(event);
        break;
    case TraceEvent::Complete:
        if (!endStretch(event)) {
            addStretch(event, false);
        }
        break;
    }
    scheduleFlush();
    keepLimits();
}

void History::beginCall(const TraceEvent &call)
{
    addStretch(call, true);
    scheduleFlush();
    keepLimits();
}

void History::clear()
{
    m_firstId += qint64(m_events.size());
    m_pending = m_firstId;
    m_events.clear();
    m_rows.clear();
    m_lanes.clear();
    m_laneByNumber.clear();
    m_states.clear();
    m_isState.clear();
    m_strings = StringPool();
    m_argumentBytes = m_dropped = m_firstTime = m_lastTime = 0;
    m_timeOfDay.reset();
    m_serviceLane = -1;
    m_changedRows.clear();
    m_isFull = m_knowsServiceFromStart = m_haveLanesChanged = false;
    m_timer.stop();
    Q_EMIT cleared();
}

void History::setClock(const std::function<qint64()> &clock)
{
    m_clock = clock;
    scheduleFlush();
}

qint64 History::lastTime() const
{
    return m_clock && !isEmpty() ? std::max(m_clock(), m_lastTime) : m_lastTime;
}

bool History::contains(EventId id) const
{
    return id.number >= m_firstId && id.number < nextId().number;
}

qint64 History::endOf(const HistoryEvent &event) const
{
    return event.isOpen() ? std::max(lastTime(), event.time)
                          : event.time + std::max<qint64>(event.duration, 0);
}

void History::scheduleFlush()
{
    if (!m_timer.isActive()) {
        m_timer.start();
    }
}

void History::changed(const HistoryEvent &event)
{
    if (event.row >= 0) {
        m_changedRows.push_back(event.row);
    }
}

void History::flush()
{
    m_timer.stop();
    if (std::exchange(m_haveLanesChanged, false)) {
        Q_EMIT lanesChanged();
    }
    // These first: what is appended may move them.
    std::vector<int> changedRows = std::exchange(m_changedRows, {});
    std::sort(changedRows.begin(), changedRows.end());
    for (auto first = changedRows.begin(); first != changedRows.end();) {
        auto last = first;
        while (std::next(last) != changedRows.end() && *std::next(last) <= *last + 1) {
            ++last;
        }
        Q_EMIT rowsChanged(*first, *last);
        first = std::next(last);
    }
    if (m_pending < nextId().number) {
        // A trace has a call when it has ended, the log when it begins.
        const auto isBefore = [this](EventId first, EventId second) {
            return at(first).time < at(second).time;
        };
        const auto known = std::ptrdiff_t(m_rows.size());
        for (; m_pending < nextId().number; ++m_pending) {
            m_rows.push_back({m_pending});
        }
        const auto added = m_rows.begin() + known;
        std::stable_sort(added, m_rows.end(), isBefore);
        const auto first = std::upper_bound(m_rows.begin(), added, *added, isBefore);
        std::inplace_merge(first, added, m_rows.end(), isBefore);
        const int firstRow = int(first - m_rows.begin());
        for (int row = firstRow; row < rowCount(); ++row) {
            at(eventAt(row)).row = row;
        }
        Q_EMIT rowsReplaced(firstRow);
    }
    Q_EMIT appended();
}
