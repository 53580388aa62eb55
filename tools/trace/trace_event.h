// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_EVENT_H
#define TOOLS_TRACE_EVENT_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <optional>

// An event of a trace. Viewers show the lanes (which they call threads) below the group (process)
// that they belong to.
struct TraceEvent
{
    // The letters are those of the file format.
    enum Phase : char {
        // A stretch of time. Those of one lane never overlap.
        Complete = 'X',
        // A moment.
        Instant = 'i',
        // A number from this moment on.
        Counter = 'C',
        // The name or the place of a lane or a group.
        Metadata = 'M',
    };

    Phase phase = Instant;
    QString name;
    // In microseconds, as the duration, which only a stretch has.
    qint64 time = 0;
    qint64 duration = 0;
    int group = 0;
    // Unique in the file, also between groups.
    int lane = 0;
    QJsonObject arguments;
};

// The event as one line of JSON, without a newline.
QByteArray toJson(const TraceEvent &event);

// Nothing if the object is no event of one of these phases.
std::optional<TraceEvent> traceEvent(const QJsonObject &object);

// A string from the bus, cut to a length that a trace can bear.
QString shortened(const QString &text);

// How many bytes of JSON the values of a message may be in a trace.
constexpr int largestValues = 4096;

// Values from the bus; or, if they are too large for a trace, an object that says so.
QJsonObject shortened(const QJsonObject &values);
QJsonValue shortened(const QJsonArray &values);

#endif
