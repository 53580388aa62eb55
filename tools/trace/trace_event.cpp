// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_event.h"

#include "trace_words.h"

#include <QtCore/QJsonDocument>

#include <cmath>

namespace
{

constexpr int longestText = 200;
constexpr double mostExact = 9007199254740992.0; // 2^53: what a double holds exactly

bool isNumber(const QJsonValue &value)
{
    return value.isDouble() && std::abs(value.toDouble()) <= mostExact;
}

QJsonObject leftOut(const QString &howMuch)
{
    return {{TraceWords::leftOut, howMuch}};
}

} // namespace

QByteArray toJson(const TraceEvent &event)
{
    QJsonObject object{{QStringLiteral("ph"), QString(QLatin1Char(event.phase))},
                       {QStringLiteral("name"), event.name},
                       {QStringLiteral("ts"), event.time},
                       {QStringLiteral("pid"), event.group},
                       {QStringLiteral("tid"), event.lane}};
    if (event.phase == TraceEvent::Complete) {
        object.insert(QStringLiteral("dur"), event.duration);
    } else if (event.phase == TraceEvent::Instant) {
        object.insert(QStringLiteral("s"), QStringLiteral("t")); // in its lane
    }
    if (!event.arguments.isEmpty()) {
        object.insert(QStringLiteral("args"), event.arguments);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<TraceEvent> traceEvent(const QJsonObject &object)
{
    const QString phase = object[QLatin1String("ph")].toString();
    const QJsonValue time = object[QLatin1String("ts")];
    const QJsonValue duration = object[QLatin1String("dur")];
    if (phase.size() != 1 || !QStringLiteral("XiCM").contains(phase)) {
        return std::nullopt;
    }
    TraceEvent event;
    event.phase = TraceEvent::Phase(phase.at(0).toLatin1());
    // Names may come without a time.
    const bool isTimed = event.phase != TraceEvent::Metadata;
    const bool isStretch = event.phase == TraceEvent::Complete;
    if ((isTimed && !isNumber(time)) || (isStretch && !isNumber(duration))) {
        return std::nullopt;
    }
    event.name = object[QLatin1String("name")].toString();
    event.time = isNumber(time) ? qint64(time.toDouble()) : 0;
    event.duration = isStretch ? qint64(duration.toDouble()) : 0;
    event.group = object[QLatin1String("pid")].toInt();
    event.lane = object[QLatin1String("tid")].toInt();
    event.arguments = object[QLatin1String("args")].toObject();
    return event;
}

QString shortened(const QString &text)
{
    if (text.size() <= longestText) {
        return text;
    }
    // Both halves of a character, or none.
    const int length = text.at(longestText - 1).isHighSurrogate() ? longestText - 1 : longestText;
    return text.left(length) + QChar(0x2026);
}

QJsonObject shortened(const QJsonObject &values)
{
    const int size = QJsonDocument(values).toJson(QJsonDocument::Compact).size();
    return size <= largestValues ? values : leftOut(QStringLiteral("%1 bytes").arg(size));
}

QJsonValue shortened(const QJsonArray &values)
{
    // There may be more than these.
    return QJsonDocument(values).toJson(QJsonDocument::Compact).size() <= largestValues
        ? QJsonValue(values)
        : leftOut(QStringLiteral("more than %1 bytes").arg(largestValues));
}
