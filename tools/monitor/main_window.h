// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_MAIN_WINDOW_H
#define MONITOR_MAIN_WINDOW_H

#include "connection.h"
#include "linked_views.h"
#include "requests.h"
#include "start_times.h"
#include "trace_files.h"
#include "window_actions.h"

#include <QtWidgets/QMainWindow>

#include <memory>

class CallsMonitor;
class DeskDock;
class DetailsPanel;
class FileActions;
class MessageBar;
class NameField;
class Notice;
class QLabel;
class QLineEdit;
class QSplitter;
class QToolButton;
class RowActions;
class Tables;

// The window: what runs, what happens, and what the user can do about it.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Connects to the session bus of the process, which is that of the choice by now.
    explicit MainWindow(const BusChoice &bus);
    ~MainWindow() override;

    // The parts, for those who look at the window from outside.
    Connection &connection() { return m_connection; }
    Tables &tables() { return *m_tables; }
    MessageBar &messages() { return *m_messages; }
    const WindowActions &actions() const { return m_actions; }
    TraceFiles &files() { return m_files; }
    LinkedViews &views() { return m_views; }
    FileActions &fileActions() { return *m_fileActions; }

    // Whether it waits for nothing: everything that it can show is shown.
    bool isSettled() const;

    void save() const;

Q_SIGNALS:
    // The process is to be started anew.
    void restartWanted();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void build();
    void buildToolBar();
    void connectActions();
    void restore();

    void showConnection();
    void showRow();
    // What happens, or a trace file.
    void showSource();
    void selectInstance(const QString &instance);
    void showFailure(const QString &text, const Ostrel::Error &error);
    void showDone(const QString &text);

    Connection m_connection;
    StartTimes m_startTimes;
    Requests m_requests;
    std::unique_ptr<CallsMonitor> m_monitor;
    WindowActions m_actions;
    TraceFiles m_files;
    LinkedViews m_views;

    Notice *m_notice;
    MessageBar *m_messages;
    FileActions *m_fileActions;
    NameField *m_name;
    QToolButton *m_start;
    QLineEdit *m_filter;
    Tables *m_tables;
    RowActions *m_rowActions;
    DetailsPanel *m_details;
    DeskDock *m_desk;
    QSplitter *m_columns;
    QSplitter *m_rows;
    QLabel *m_state;
    QLabel *m_calls;
    // What the row in front is about.
    QString m_instance;
    bool m_isSelecting = false;
};

#endif
