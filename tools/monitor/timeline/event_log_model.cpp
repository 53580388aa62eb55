// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "event_log_model.h"

#include "event_text.h"
#include "time_text.h"

#include <QtCore/QScopedValueRollback>

#include <algorithm>
#include <array>

EventLogModel::EventLogModel(QObject *parent)
    : QAbstractTableModel(parent)
{
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
        connect(history, &History::rowsChanged, this, [this](int first, int last) {
            Q_EMIT dataChanged(index(first, Details), index(last, Details));
        });
        connect(history, &QObject::destroyed, this, [this] { setHistory(nullptr); });
    }
}

EventId EventLogModel::eventAt(int row) const
{
    // The history may have dropped some, and not said so yet.
    return !m_history.isNull() && row >= 0 && row < m_history->rowCount() ? m_history->eventAt(row)
                                                                          : EventId();
}

int EventLogModel::rowOf(EventId event) const
{
    const int row =
        !m_history.isNull() && m_history->contains(event) ? m_history->event(event).row : -1;
    return row < m_rowCount ? row : -1;
}

bool EventLogModel::contains(int row, const QString &text) const
{
    const EventId id = eventAt(row);
    const std::array columns{Instance, Event, Details};
    return id.isValid() && std::any_of(columns.begin(), columns.end(), [&](Column column) {
               return this->text(id, column).contains(text, Qt::CaseInsensitive);
           });
}

int EventLogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rowCount;
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
    m_rowCount = !m_history.isNull() ? m_history->rowCount() : 0;
    endResetModel();
}

void EventLogModel::replaceRows(int first)
{
    const bool removes = first < m_rowCount;
    {
        const QScopedValueRollback<bool> isReplacing(m_isReplacing, removes);
        if (removes) {
            beginRemoveRows({}, first, m_rowCount - 1);
            m_rowCount = first;
            endRemoveRows();
        }
        if (m_history->rowCount() > first) {
            beginInsertRows({}, first, m_history->rowCount() - 1);
            m_rowCount = m_history->rowCount();
            endInsertRows();
        }
    }
    if (removes) {
        Q_EMIT replaced();
    }
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
