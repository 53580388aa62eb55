// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "event_text.h"

#include "text.h"
#include "time_text.h"
#include "trace_words.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace
{

QString valueText(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    default:
        return value.toVariant().toString();
    }
}

QString stretchText(const History &history, const HistoryEvent &event, const QString &reply)
{
    const bool isCall = event.kind == HistoryEvent::Call;
    if (event.isOpen()) {
        return isCall ? QStringLiteral("no reply yet") : QStringLiteral("goes on");
    }
    const QString duration = durationText(history.endOf(event) - event.time);
    return isCall ? QStringLiteral("%1 after %2")
                        .arg(reply.isEmpty() ? QStringLiteral("ended") : reply, duration)
                  : QStringLiteral("for %1").arg(duration);
}

} // namespace

QString nameText(const History &history, EventId id)
{
    return onOneLine(history.string(history.event(id).name));
}

QString laneText(const History &history, EventId id)
{
    return onOneLine(history.lane(history.event(id).lane).name);
}

QString detailsText(const History &history, EventId id)
{
    const HistoryEvent &event = history.event(id);
    QJsonObject arguments = QJsonDocument::fromJson(event.arguments).object();
    QStringList parts;
    if (event.isStretch()) {
        QString reply;
        if (event.kind == HistoryEvent::Call) {
            reply = arguments.take(TraceWords::reply).toString();
        }
        parts.append(stretchText(history, event, reply));
    }
    for (auto each = arguments.begin(); each != arguments.end(); ++each) {
        parts.append(each.key() + QStringLiteral(": ") + valueText(each.value()));
    }
    return onOneLine(parts.join(QStringLiteral(", ")));
}

QString description(const History &history, EventId id)
{
    const HistoryEvent &event = history.event(id);
    QStringList parts{QStringLiteral("%1: %2").arg(laneText(history, id), nameText(history, id)),
                      QStringLiteral("at ") + TimeText(history).text(event.time)};
    const QString details = detailsText(history, id);
    if (!details.isEmpty()) {
        parts.append(details);
    }
    if (event.isOpen()) {
        parts.append(durationText(history.endOf(event) - event.time) + QStringLiteral(" so far"));
    }
    return parts.join(QStringLiteral(", "));
}

QString plainToolTip(const QString &text)
{
    return text.isEmpty() ? text : QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped());
}
