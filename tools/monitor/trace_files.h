// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TRACE_FILES_H
#define MONITOR_TRACE_FILES_H

#include "history.h"
#include "history_loader.h"
#include "live_trace.h"

#include <memory>

// What happens, which is always kept, and trace files: one that is looked at instead, and one that
// what happens is recorded to.
class TraceFiles : public QObject
{
    Q_OBJECT

public:
    explicit TraceFiles(Ostrel::Control &control);
    // Ends the recording, with its file complete.
    ~TraceFiles() override;

    // The calls become part of what happens and of recordings.
    void add(CallsMonitor &monitor);

    // What is to be looked at: the file that is open, or what happens.
    History &history() { return isLive() ? m_live : m_loaded; }

    bool isLive() const { return m_openFile.isNull(); }
    // Null if it is live.
    QString openFile() const { return m_openFile; }
    // Begins to read a file. On failure, nothing has changed.
    Result<> open(const QString &file);
    bool isReading() const { return m_loader.isLoading(); }
    // What has been read stays.
    void cancelReading();
    void backToLive();
    // What is wrong with the file that is open, for the user; may be empty.
    QString remark() const { return m_remark; }

    // Records everything from now on.
    Result<> record(const QString &file);
    void stopRecording();
    // Null if nothing is recorded.
    QString recordFile() const;

    // Writes all of history() to a file. On failure, the file is as before.
    Result<> save(const QString &file);

    // Fails if the file must not be written to.
    Result<> checkTarget(const QString &file) const;

Q_SIGNALS:
    // Another file, or none, is open, read or recorded to.
    void changed();
    // history() is another one.
    void historyChanged();
    void progressed(int percent);
    // A part of the file, or all of it, can be looked at.
    void read();
    void failed(const QString &error);

private:
    struct Recording;

    void onRead(const QString &remark);

    Ostrel::Control &m_control;
    CallsMonitor *m_monitor = nullptr;
    History m_live;
    History m_loaded;
    HistoryLoader m_loader;
    LiveTrace m_trace;
    QString m_openFile;
    QString m_remark;
    std::unique_ptr<Recording> m_recording;
};

#endif
