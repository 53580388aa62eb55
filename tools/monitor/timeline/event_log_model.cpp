// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "event_log_model.h"

#include "event_text.h"
#include "time_text.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QScopedValueRollback>

#include <algorithm>
#include <array>
#include <utility>

EventLogModel::EventLogModel(QObject *parent)
    : QAbstractTableModel(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &EventLogModel::search);
}

void EventLogModel::setHistory(History *history)
{
    if (!m_history.isNull()) {
        m_history->disconnect(this);
    }
    m_history = history;
    reset();
    if (history != nullptr) {
        connect(history, &History::cleared, this, &EventLogModel::reset);
        connect(history, &History::rowsReplaced, this, &EventLogModel::replaceRows);
        connect(history, &History::rowsChanged, this, &EventLogModel::changeRows);
        connect(history, &QObject::destroyed, this, [this] { setHistory(nullptr); });
    }
}

void EventLogModel::setFilter(const QString &filter)
{
    if (m_filter != filter) {
        drop(0);
        m_filter = filter;
        // No row may have been left before.
        m_hasDropped = true;
        search();
    }
}

EventId EventLogModel::eventAt(int row) const
{
    // The history may have dropped some, and not said so yet.
    return !m_history.isNull() && row >= 0 && row < rowCount()
            && historyRow(row) < m_history->rowCount()
        ? m_history->eventAt(historyRow(row))
        : EventId();
}

int EventLogModel::rowOf(EventId event) const
{
    const int row =
        !m_history.isNull() && m_history->contains(event) ? m_history->event(event).row : -1;
    return row >= 0 && isFound(row) ? rowFrom(row) : -1;
}

int EventLogModel::rowFrom(int historyRow) const
{
    return m_filter.isEmpty()
        ? std::min(historyRow, m_next)
        : int(std::lower_bound(m_found.begin(), m_found.end(), historyRow) - m_found.begin());
}

bool EventLogModel::isFound(int historyRow) const
{
    return m_filter.isEmpty() ? historyRow < m_next
                              : std::binary_search(m_found.begin(), m_found.end(), historyRow);
}

int EventLogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_filter.isEmpty() ? m_next : int(m_found.size());
}

int EventLogModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant EventLogModel::data(const QModelIndex &index, int role) const
{
    const EventId id = index.isValid() ? eventAt(index.row()) : EventId();
    if (!id.isValid()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return text(id, index.column());
    case Qt::ToolTipRole:
        return plainToolTip(index.column() == Time
                                ? TimeText(*m_history).day(m_history->event(id).time)
                                : text(id, index.column()));
    case IdRole:
        return QVariant::fromValue(id);
    default:
        return {};
    }
}

QVariant EventLogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    static const std::array<QString, ColumnCount> titles{
        QStringLiteral("Time"), QStringLiteral("Instance"), QStringLiteral("Event"),
        QStringLiteral("Details")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return titles.at(std::size_t(section));
    case Qt::TextAlignmentRole:
        return int(Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

void EventLogModel::reset()
{
    beginResetModel();
    m_found.clear();
    m_next = 0;
    m_hasDropped = false;
    endResetModel();
    search();
}

void EventLogModel::replaceRows(int first)
{
    drop(first);
    search();
}

void EventLogModel::drop(int first)
{
    const int row = rowFrom(first);
    if (row < rowCount()) {
        const QScopedValueRollback<bool> isReplacing(m_isReplacing, true);
        beginRemoveRows({}, row, rowCount() - 1);
        m_found.resize(m_filter.isEmpty() ? 0 : std::size_t(row));
        m_next = first;
        endRemoveRows();
        m_hasDropped = true;
    }
    m_next = std::min(m_next, first);
}

void EventLogModel::search()
{
    if (m_history.isNull()) {
        return;
    }
    if (searchSome()) {
        m_timer.start(0);
    } else if (std::exchange(m_hasDropped, false)) {
        Q_EMIT replaced();
    }
}

void EventLogModel::complete()
{
    while (m_timer.isActive()) {
        search();
    }
}

// Returns whether there is more to look at.
bool EventLogModel::searchSome()
{
    constexpr int milliseconds = 10;
    m_timer.stop();
    const int end = m_history->rowCount();
    std::vector<int> found;
    int next = m_filter.isEmpty() ? end : m_next;
    QElapsedTimer elapsed;
    elapsed.start();
    for (; next < end && !elapsed.hasExpired(milliseconds); ++next) {
        if (matches(next)) {
            found.push_back(next);
        }
    }
    const int known = rowCount();
    const int added = m_filter.isEmpty() ? next - m_next : int(found.size());
    const QScopedValueRollback<bool> isReplacing(m_isReplacing, m_hasDropped);
    if (added > 0) {
        beginInsertRows({}, known, known + added - 1);
    }
    m_found.insert(m_found.end(), found.begin(), found.end());
    m_next = next;
    if (added > 0) {
        endInsertRows();
    }
    return m_next < end;
}

// What has ended has other details.
void EventLogModel::changeRows(int first, int last)
{
    for (int each = first; !m_filter.isEmpty() && each <= std::min(last, m_next - 1); ++each) {
        const int row = rowFrom(each);
        if (isFound(each) == matches(each)) {
            continue;
        }
        if (isFound(each)) {
            beginRemoveRows({}, row, row);
            m_found.erase(m_found.begin() + row);
            endRemoveRows();
        } else {
            beginInsertRows({}, row, row);
            m_found.insert(m_found.begin() + row, each);
            endInsertRows();
        }
    }
    const int firstRow = rowFrom(first);
    const int endRow = rowFrom(last + 1);
    if (firstRow < endRow) {
        Q_EMIT dataChanged(index(firstRow, Details), index(endRow - 1, Details));
    }
}

bool EventLogModel::matches(int historyRow) const
{
    const EventId id = m_history->eventAt(historyRow);
    const std::array columns{Instance, Event, Details};
    return std::any_of(columns.begin(), columns.end(), [&](Column column) {
        return text(id, column).contains(m_filter, Qt::CaseInsensitive);
    });
}

QString EventLogModel::text(EventId event, int column) const
{
    switch (column) {
    case Time:
        return TimeText(*m_history).text(m_history->event(event).time);
    case Instance:
        return laneText(*m_history, event);
    case Event:
        return nameText(*m_history, event);
    default:
        return detailsText(*m_history, event);
    }
}
