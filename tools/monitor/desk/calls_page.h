// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_CALLS_PAGE_H
#define MONITOR_DESK_CALLS_PAGE_H

#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

class DeskCalls;
class QCheckBox;
class QDBusMessage;
class QLabel;
class QTreeWidget;

// The newest calls that the service has received.
class CallsPage : public QWidget
{
    Q_OBJECT

public:
    explicit CallsPage(DeskCalls &calls);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refresh();
    void show(const QDBusMessage &reply);
    void clear();

    DeskCalls &m_calls;
    QTreeWidget *m_list;
    QLabel *m_count;
    QCheckBox *m_live;
    QTimer m_later;
    bool m_isAsking = false;
};

#endif
