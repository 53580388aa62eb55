// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TRACE_TEXTS_H
#define TESTS_TRACE_TEXTS_H

#include "files.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <algorithm>

// A trace as a strict reader of JSON sees it.
struct TraceTexts
{
    // Each event but the names, in the order of the file: "X calls 1: Start demo.Viewer, success".
    QStringList all;
    // What must not be: other events, lanes without a name, stretches of a lane that overlap.
    QStringList faults;
};

// isCut: the closing bracket is missing.
inline TraceTexts traceTexts(const QString &text, bool isCut = false)
{
    TraceTexts texts;
    QJsonParseError error{};
    const QJsonArray events =
        QJsonDocument::fromJson((isCut ? text + "\n]" : text).toUtf8(), &error).array();
    if (error.error != QJsonParseError::NoError) {
        texts.faults.append(error.errorString());
    }
    QMap<int, QString> lanes;
    QMap<int, QVector<QPair<double, double>>> stretches;
    for (const QJsonValue &event : events) {
        const QString phase = event["ph"].toString();
        const int lane = event["tid"].toInt();
        const QJsonValue arguments = event["args"];
        if (!QStringList{"X", "i", "C", "M"}.contains(phase) || !event["ts"].isDouble()
            || !event["pid"].isDouble() || !event["tid"].isDouble()) {
            texts.faults.append(QString("odd event: %1").arg(event["name"].toString()));
        }
        if (phase == "M") {
            if (event["name"] == "thread_name") {
                lanes.insert(lane, arguments["name"].toString());
            }
            continue;
        }
        if (!lanes.contains(lane)) {
            texts.faults.append(QString("lane %1 has no name").arg(lane));
        }
        QString line = QString("%1 %2: %3").arg(phase, lanes[lane], event["name"].toString());
        for (const char *const key : {"reply", "end", "seen"}) {
            if (!arguments[QLatin1String(key)].isUndefined()) {
                line += ", " + arguments[QLatin1String(key)].toString();
            }
        }
        if (phase == "C") {
            line += QString(" %1").arg(arguments["instances"].toInt());
        }
        if (phase == "X") {
            const double begin = event["ts"].toDouble();
            stretches[lane].append({begin, begin + event["dur"].toDouble(-1e18)});
        }
        texts.all.append(line);
    }
    for (auto lane = stretches.begin(); lane != stretches.end(); ++lane) {
        std::sort(lane->begin(), lane->end());
        for (int i = 0; i < lane->size(); ++i) {
            const double end = lane->at(i).second;
            if (end < lane->at(i).first || (i + 1 < lane->size() && lane->at(i + 1).first < end)) {
                texts.faults.append("overlap in the lane " + lanes[lane.key()]);
            }
        }
    }
    return texts;
}

inline TraceTexts traceOf(const QString &file, bool isCut = false)
{
    return traceTexts(readFile(file), isCut);
}

#endif
