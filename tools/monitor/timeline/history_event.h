// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_HISTORY_EVENT_H
#define MONITOR_HISTORY_EVENT_H

#include "event_id.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <vector>

// A moment, and the stretch of time that it begins, if any.
struct HistoryEvent
{
    enum Kind : quint8 {
        Other,
        ServiceCame,
        ServiceLeft,
        OutOfMemory,
        Started,
        State,
        Terminated,
        Call,
    };

    // Instead of the duration: it begins no stretch, or one that has not ended.
    static constexpr qint64 noStretch = -1;
    static constexpr qint64 open = -2;

    // In microseconds.
    qint64 time = 0;
    qint64 duration = noStretch;
    // In the history's strings.
    quint32 name = 0;
    quint32 stretchName = 0;
    int lane = 0;
    // In the history's rows; -1 until it has one.
    int row = -1;
    Kind kind = Other;
    // A call that was answered with an error, or not at all.
    bool hasFailed = false;
    // An object in compact JSON, or null.
    QByteArray arguments;

    bool isStretch() const { return duration != noStretch; }
    bool isOpen() const { return duration == open; }
};

// A lane's events. Both lists are in the order of the time; the stretches do not overlap.
struct HistoryLane
{
    QString name;
    // One of TraceWords::Group, or what another program wrote.
    int group = 0;
    // The lane's number in the trace.
    int number = 0;
    std::vector<EventId> stretches;
    // The moments to mark: each that begins no stretch, and the starts.
    std::vector<EventId> marks;
};

#endif
