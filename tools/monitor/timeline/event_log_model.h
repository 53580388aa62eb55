// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_EVENT_LOG_MODEL_H
#define MONITOR_EVENT_LOG_MODEL_H

#include "event_id.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QPointer>

class History;

// The events of a History as text, in the order of their times.
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

    // An invalid one if there is none.
    EventId eventAt(int row) const;
    // -1 if there is none.
    int rowOf(EventId event) const;
    // While rows are removed only to come again.
    bool isReplacing() const { return m_isReplacing; }
    // Whether a name, or the details, contain this.
    bool contains(int row, const QString &text) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    // After rows have been removed and have come again.
    void replaced();

private:
    void reset();
    void replaceRows(int first);
    QString text(EventId event, int column) const;

    QPointer<History> m_history;
    int m_rowCount = 0;
    bool m_isReplacing = false;
};

#endif
