// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_EVENT_LOG_MODEL_H
#define MONITOR_EVENT_LOG_MODEL_H

#include "event_id.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <vector>

class History;

// The events of a History as text, in the order of their times. Those that a filter leaves are
// searched little by little, so that very many do not hold up the event loop.
class EventLogModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column {
        Time,
        Instance,
        Event,
        Details,
        ColumnCount,
    };
    enum Role {
        // An EventId.
        IdRole = Qt::UserRole,
    };

    explicit EventLogModel(QObject *parent = nullptr);

    // The history may be deleted before the model.
    void setHistory(History *history);

    // Only events of which a name, or the details, contain this. Empty: all.
    QString filter() const { return m_filter; }
    void setFilter(const QString &filter);
    // Finds now what would be found soon.
    void complete();

    // An invalid one if there is none.
    EventId eventAt(int row) const;
    // -1 if there is none, or it has not been found yet.
    int rowOf(EventId event) const;
    // While rows are removed only to come again.
    bool isReplacing() const { return m_isReplacing; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    // After rows have been removed, and all of those that are left have come again.
    void replaced();

private:
    // Rows of the history have other numbers than those that are shown of them.
    int historyRow(int row) const { return m_filter.isEmpty() ? row : m_found[std::size_t(row)]; }
    // The first row that shows this one of the history, or a later one.
    int rowFrom(int historyRow) const;
    bool isFound(int historyRow) const;

    void reset();
    void replaceRows(int first);
    void changeRows(int first, int last);
    void drop(int first);
    void search();
    bool searchSome();
    bool matches(int historyRow) const;
    QString text(EventId event, int column) const;

    QPointer<History> m_history;
    QString m_filter;
    // With a filter, the rows of the history that are shown.
    std::vector<int> m_found;
    // The first row of the history that has not been looked at.
    int m_next = 0;
    bool m_isReplacing = false;
    bool m_hasDropped = false;
    QTimer m_timer;
};

#endif
