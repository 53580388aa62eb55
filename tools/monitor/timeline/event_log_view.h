// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_EVENT_LOG_VIEW_H
#define MONITOR_EVENT_LOG_VIEW_H

#include "event_id.h"
#include "event_log_model.h"
#include "result.h"

#include <QtWidgets/QTableView>

// The log: the last events stay in sight as long as the end is. Ctrl+C copies the selected rows.
class EventLogView : public QTableView
{
    Q_OBJECT

public:
    explicit EventLogView(QWidget *parent = nullptr);

    void setHistory(History *history) { m_log.setHistory(history); }

    // Shows only events of which a name, or the details, contain this. Of very many, some are found
    // later.
    QString filter() const { return m_log.filter(); }
    void setFilter(const QString &filter) { m_log.setFilter(filter); }

    // Scrolls to the event, and makes it the current row; or none if it is not shown. Does not emit
    // selected().
    void select(EventId event);
    EventId selection() const { return m_selected; }

    // The rows that are shown, or only those that are selected: a line each, with tabs between the
    // columns.
    QString text();
    QString selectedText() const;
    // Writes text() to a file; if that fails, the file is as before.
    Result<> save(const QString &file);

    void copy() const;

Q_SIGNALS:
    // The user has come to an event.
    void selected(EventId event);

protected:
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void changeEvent(QEvent *event) override;

private:
    QString line(int row) const;
    void measure();

    EventLogModel m_log;
    EventId m_selected;
    bool m_isAtEnd = true;
};

#endif
