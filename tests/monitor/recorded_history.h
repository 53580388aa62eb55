// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_RECORDED_HISTORY_H
#define TESTS_RECORDED_HISTORY_H

#include "event_text.h"
#include "history.h"
#include "trace_recorder.h"
#include "trace_words.h"

#include <QtCore/QStringList>

// A history that a recorder fills, as while things happen. The clock stands at the test's "now".
struct RecordedHistory
{
    static constexpr qint64 second = 1'000'000;

    // Of the history and of the recorder, which begins here.
    qint64 now = 100 * second;
    History history;
    TraceRecorder recorder{[this](const TraceEvent &event) { history.append(event); },
                           now,
                           {{TraceWords::clock, TraceWords::monotonic},
                            {TraceWords::time, "2026-01-31T12:00:00.000000Z"}},
                           [this](const TraceEvent &call) { history.beginCall(call); }};

    RecordedHistory()
    {
        history.setClock([this] { return now; });
    }

    // With a service, and an instance that has been in state 1 and 2 for a second each, and then
    // been terminated; the next one is in state 3.
    void fill()
    {
        recorder.serviceAvailable(now, true);
        for (const char *name : {"first", "second"}) {
            recorder.started(now, name, {{"processId", 17}});
            recorder.stateChanged(now += second, name, 1);
            recorder.stateChanged(now += second, name, 2);
            now += second;
        }
        recorder.terminated(now, "first", {});
        recorder.stateChanged(now, "second", 3);
        now += second;
        history.flush();
    }

    void call(quint32 serial, const QString &member)
    {
        BusMessage message;
        message.type = BusMessage::Call;
        message.serial = serial;
        message.sender = ":1.7";
        message.member = member;
        recorder.call(now, message);
    }
    void reply(quint32 serial, const QString &error = QString())
    {
        BusMessage message;
        message.type = error.isNull() ? BusMessage::Reply : BusMessage::Error;
        message.replySerial = serial;
        message.destination = ":1.7";
        message.errorName = error;
        recorder.reply(now, message);
    }
};

inline int secondsIn(qint64 time)
{
    return int(time / RecordedHistory::second) - 100;
}

inline int laneNamed(const History &history, const QString &name)
{
    for (int i = 0; i < history.laneCount(); ++i) {
        if (history.lane(i).name == name) {
            return i;
        }
    }
    return -1;
}

// The stretches of a lane, as "state 1 1-2", in seconds since the beginning; an open one as
// "state 3 2-".
inline QStringList stretchesOf(const History &history, const QString &lane)
{
    QStringList texts;
    const int index = laneNamed(history, lane);
    if (index < 0) {
        return texts;
    }
    for (const EventId id : history.lane(index).stretches) {
        const HistoryEvent &event = history.event(id);
        texts.append(QString("%1 %2-%3")
                         .arg(history.string(event.stretchName))
                         .arg(secondsIn(event.time))
                         .arg(event.isOpen()
                                  ? QString()
                                  : QString::number(secondsIn(event.time + event.duration))));
    }
    return texts;
}

// The marks of a lane, as "Terminated 5".
inline QStringList marksOf(const History &history, const QString &lane)
{
    QStringList texts;
    const int index = laneNamed(history, lane);
    if (index < 0) {
        return texts;
    }
    for (const EventId id : history.lane(index).marks) {
        texts.append(
            QString("%1 %2").arg(nameText(history, id)).arg(secondsIn(history.event(id).time)));
    }
    return texts;
}

// The rows of the log, as "second: state 3 6".
inline QStringList rowsOf(const History &history)
{
    QStringList texts;
    for (int row = 0; row < history.rowCount(); ++row) {
        const EventId id = history.eventAt(row);
        texts.append(QString("%1: %2 %3")
                         .arg(laneText(history, id), nameText(history, id))
                         .arg(secondsIn(history.event(id).time)));
    }
    return texts;
}

// The event with this name in a lane; the last one of several.
inline EventId eventNamed(const History &history, const QString &lane, const QString &name)
{
    EventId found;
    for (int row = 0; row < history.rowCount(); ++row) {
        const EventId id = history.eventAt(row);
        if (laneText(history, id) == lane && nameText(history, id) == name) {
            found = id;
        }
    }
    return found;
}

#endif
