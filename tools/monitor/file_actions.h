// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_FILE_ACTIONS_H
#define MONITOR_FILE_ACTIONS_H

#include "result.h"
#include "window_actions.h"

#include <QtCore/QObject>
#include <QtWidgets/QFileDialog>

#include <functional>

class EventLogView;
class MessageBar;
class Notice;
class QLabel;
class QProgressBar;
class TraceFiles;

// What the user does with trace files, and what the window says about them.
class FileActions : public QObject
{
    Q_OBJECT

public:
    FileActions(QWidget &window, const WindowActions &actions, TraceFiles &files, EventLogView &log,
                MessageBar &messages);

    // Owned by the widgets that they are added to.
    Notice *notice() const { return m_notice; }
    QLabel *recording() const { return m_recording; }
    QProgressBar *progress() const { return m_progress; }

    void open(const QString &file);
    void record(const QString &file);

Q_SIGNALS:
    // What has been done, for the user.
    void done(const QString &text);

private:
    using Use = std::function<void(const QString &)>;

    // Does not wait for the user.
    void ask(QFileDialog::AcceptMode mode, const QString &title, const QString &file,
             const Use &use);
    void connectActions(EventLogView &log);
    void show();
    void report(const Result<> &result, const QString &done = QString());

    QWidget &m_window;
    WindowActions m_actions;
    TraceFiles &m_files;
    MessageBar &m_messages;
    Notice *m_notice;
    QLabel *m_recording;
    QProgressBar *m_progress;
    // Where the last file was.
    QString m_folder;
};

#endif
