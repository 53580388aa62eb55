// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_HISTORY_LOADER_H
#define MONITOR_HISTORY_LOADER_H

#include "result.h"
#include "trace_reader.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <memory>

class History;

// Reads a trace into a History, a little at a time, so that windows stay usable however large the
// file is.
class HistoryLoader : public QObject
{
    Q_OBJECT

public:
    // The history must outlive the loader.
    explicit HistoryLoader(History &history, QObject *parent = nullptr);

    // Clears the history, which is not live any more, and begins to read. On failure, the history
    // is as before.
    Result<> load(const QString &file);
    void cancel();
    bool isLoading() const { return m_reader != nullptr; }

Q_SIGNALS:
    void progressed(int percent);
    // skipped: how many lines were no event; one if the file ends within an event.
    void finished(int skipped);
    // What has been read stays.
    void failed(const QString &error);

private:
    void readSome();

    History &m_history;
    std::unique_ptr<TraceReader> m_reader;
    QTimer m_timer;
    int m_percent = 0;
};

#endif
