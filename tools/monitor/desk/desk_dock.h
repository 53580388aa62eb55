// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_DESK_DOCK_H
#define MONITOR_DESK_DESK_DOCK_H

#include "desk/desk_calls.h"

#include <QtWidgets/QDockWidget>

class Connection;
class Notice;
class QAbstractItemModel;
class QAction;
class QTabWidget;
class ServicePage;

// The fault desk. It is there only where the service has one.
class DeskDock : public QDockWidget
{
    Q_OBJECT

public:
    // toggle: whether the user wants to see the dock. The action is visible where there is a desk.
    DeskDock(Connection &connection, QAction *toggle);

    // The column of the model has the instances that run. The model outlives the dock.
    void setInstances(const QAbstractItemModel *model, int column);
    // The instance that the user looks at.
    void setInstance(const QString &instance);

    // Whether it is known if there is a desk.
    bool isSettled() const { return m_calls.state() != DeskCalls::Asked; }

    // Shows or hides the dock as the user wants it, whatever has been restored.
    void showIfWanted();

Q_SIGNALS:
    // What has happened, for the user.
    void done(const QString &text);
    void failed(const QString &text);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    DeskCalls m_calls;
    QAction *m_toggle;
    Notice *m_notice;
    QTabWidget *m_pages;
    ServicePage *m_service;
};

#endif
