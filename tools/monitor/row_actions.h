// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_ROW_ACTIONS_H
#define MONITOR_ROW_ACTIONS_H

#include "window_actions.h"

#include <QtCore/QObject>

class NameField;
class QWidget;
class Requests;
class Tables;

// What the user does with the row in front, with a name that is entered, and with types of tasks.
class RowActions : public QObject
{
    Q_OBJECT

public:
    RowActions(QWidget &window, const WindowActions &actions, Tables &tables, NameField &name,
               Requests &requests);

    // Another row is in front. isLive: the window shows what runs, and no file.
    void update(bool isLive);

    // Starts the application whose name is entered.
    void startNamed();

private:
    void startRow();
    void stopRow();
    void openDebugDialog();
    void openTaskTypeDialog();

    QWidget &m_window;
    const WindowActions &m_actions;
    Tables &m_tables;
    NameField &m_name;
    Requests &m_requests;
};

#endif
