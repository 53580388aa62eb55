// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl_messages.h"

#include "trace_words.h"

#include "DBus/names_p.h"

#include <QtCore/QHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <utility>

namespace
{

std::optional<BusMessage::Type> typeOf(const QString &name)
{
    static const QHash<QString, BusMessage::Type> all{
        {QStringLiteral("method_call"), BusMessage::Call},
        {QStringLiteral("method_return"), BusMessage::Reply},
        {QStringLiteral("error"), BusMessage::Error},
        {QStringLiteral("signal"), BusMessage::Signal},
    };
    const auto found = all.constFind(name);
    return found == all.cend() ? std::nullopt : std::optional(*found);
}

BusMessage toMessage(BusMessage::Type type, const QJsonObject &object)
{
    constexpr int noReplyExpected = 1;
    const auto text = [&object](const char *key) { return object[QLatin1String(key)].toString(); };
    const auto number = [&object](const char *key) {
        return object[QLatin1String(key)].toVariant().toUInt();
    };
    BusMessage message;
    message.type = type;
    message.serial = number("cookie");
    message.replySerial = number("reply_cookie");
    message.expectsReply = (number("flags") & noReplyExpected) == 0;
    message.sender = text("sender");
    message.destination = text("destination");
    message.path = text("path");
    message.interface = text("interface");
    message.member = text("member");
    message.errorName = text("error_name");
    const QJsonObject payload = object[QLatin1String("payload")].toObject();
    message.signature = payload[QLatin1String("type")].toString();
    message.values = payload[QLatin1String("data")].toArray();
    if (message.signature.startsWith(QLatin1Char('s'))) {
        message.text = message.values.at(0).toString();
    }
    return message;
}

// The values of a map, without their types.
QJsonObject withoutTypes(const QJsonObject &map)
{
    QJsonObject values;
    for (auto entry = map.constBegin(); entry != map.constEnd(); ++entry) {
        values.insert(entry.key(), entry.value().toObject()[QLatin1String("data")]);
    }
    return values;
}

} // namespace

BusctlMessages::BusctlMessages(std::function<void(const TraceEvent &)> receive)
    : m_receive(std::move(receive))
{
}

bool BusctlMessages::read(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const auto type = typeOf(object[QLatin1String("type")].toString());
    const qint64 time = object[QLatin1String("timestamp-realtime")].toVariant().toLongLong();
    if (!type || time <= 0) {
        return false;
    }
    if (!m_recorder) {
        m_recorder.emplace(m_receive, time,
                           QJsonObject{{TraceWords::clock, TraceWords::timeOfDay}});
    }
    m_last = time;
    const BusMessage message = toMessage(*type, object);
    switch (*type) {
    case BusMessage::Call:
        onCall(time, message);
        break;
    case BusMessage::Reply:
        if (message.destination == m_caller && message.replySerial == m_callSerial) {
            onOwner(time, message.sender);
        }
        [[fallthrough]];
    case BusMessage::Error:
        m_recorder->reply(time, message);
        break;
    case BusMessage::Signal:
        onSignal(time, message, object[QLatin1String("payload")].toObject());
        break;
    }
    return true;
}

bool BusctlMessages::finish()
{
    if (m_recorder) {
        m_recorder->finish(m_last);
    }
    return m_recorder.has_value();
}

void BusctlMessages::onCall(qint64 time, const BusMessage &message)
{
    if (!isForService(message)) {
        return;
    }
    if (message.expectsReply && message.destination == QLatin1String(OSTREL_SERVICE_NAME)) {
        m_caller = message.sender;
        m_callSerial = message.serial;
    }
    m_recorder->call(time, message);
}

void BusctlMessages::onOwner(qint64 time, const QString &owner)
{
    if (owner != QLatin1String("org.freedesktop.DBus")) {
        m_owner = owner;
        m_recorder->serviceAvailable(time, !owner.isEmpty());
    }
}

void BusctlMessages::onOwnerChanged(qint64 time, const QJsonObject &payload)
{
    const QJsonArray data = payload[QLatin1String("data")].toArray();
    const QString name = data.at(0).toString();
    const QString owner = data.at(2).toString();
    if (name == QLatin1String(OSTREL_SERVICE_NAME)) {
        // Straight from one owner to another as well.
        m_recorder->serviceAvailable(time, false);
        onOwner(time, owner);
    } else if (owner.isEmpty()) {
        m_recorder->left(time, name);
    }
}

void BusctlMessages::onSignal(qint64 time, const BusMessage &message, const QJsonObject &payload)
{
    if (message.sender == QLatin1String("org.freedesktop.DBus")) {
        if (message.member == QLatin1String("NameOwnerChanged")) {
            onOwnerChanged(time, payload);
        }
        return;
    }
    const bool isFromService = !m_owner || message.sender == *m_owner;
    if (!isFromService || message.path != QLatin1String(OSTREL_CONTROL_PATH)
        || message.interface != QLatin1String(OSTREL_CONTROL_INTERFACE)) {
        return;
    }
    const QString signature = payload[QLatin1String("type")].toString();
    if (message.member == QLatin1String("SelectedByOom") && signature == QLatin1String("s")) {
        m_recorder->selectedByOom(time, message.text);
    }
    if (signature != QLatin1String("sa{sv}")) {
        return;
    }
    const QJsonObject values =
        withoutTypes(payload[QLatin1String("data")].toArray().at(1).toObject());
    const QJsonValue state = values[QLatin1String("State")];
    if (message.member == QLatin1String("Started")) {
        m_recorder->started(time, message.text, values);
    } else if (message.member == QLatin1String("Terminated")) {
        m_recorder->terminated(time, message.text, values);
    } else if (message.member == QLatin1String("StateChanged") && !state.isUndefined()) {
        m_recorder->stateChanged(time, message.text, quint32(state.toVariant().toLongLong()));
    }
}
