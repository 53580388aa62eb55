// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/recorded_call.h"

#include "bus/name_forms.h"
#include "trace_words.h"
#include "json/bus_values.h"
#include "json/signature.h"

#include "DBus/names_p.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <limits>

namespace
{

// 2^53: what a double holds exactly.
constexpr double mostMicroseconds = 9007199254740992.0;

// The end of a string that was too long for a trace.
const QChar cut(0x2026);

// What a moment can compare.
bool isComparable(const QString &type)
{
    static const QStringList containers{QStringLiteral("as"), QStringLiteral("av"),
                                        QStringLiteral("a{sv}")};
    return containers.contains(type)
        || (type.size() == 1 && QStringLiteral("bynqiuxtdso").contains(type));
}

// A value without the types of the variants in it. Null stands for any value.
QJsonValue withoutTypes(const QJsonValue &value)
{
    if (value.isArray()) {
        QJsonArray plain;
        const QJsonArray array = value.toArray();
        for (const QJsonValue &element : array) {
            plain.append(withoutTypes(element));
        }
        return plain;
    }
    const QJsonObject object = value.toObject();
    const QJsonValue type = object[QLatin1String("type")];
    if (object.size() == 2 && type.isString() && object.contains(QLatin1String("data"))) {
        return isComparable(type.toString()) ? withoutTypes(object[QLatin1String("data")])
                                             : QJsonValue();
    }
    if (value.isObject()) {
        QJsonObject plain;
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            plain.insert(entry.key(), withoutTypes(entry.value()));
        }
        return plain;
    }
    return value;
}

// The array of this name; nothing if its values were left out.
std::optional<JsonNode> recordedValues(const JsonNode &details, const QString &name)
{
    if (!details.has(name) || !details.member(name).value().isArray()) {
        return std::nullopt;
    }
    return details.member(name);
}

// A trace has no lists of tasks, and a session is an object that the service has made. So these
// calls are carried out, as long as they succeeded.
bool isCarriedOut(const Method &method)
{
    return method.first == QLatin1String(OSTREL_TASK_INVOKER_INTERFACE)
        || method.first == QLatin1String(OSTREL_TASK_INVOKER_SESSION_INTERFACE);
}

void readOutcome(const JsonNode &event, const JsonNode &details, RecordedCall &call)
{
    const QString outcome = details.member(TraceWords::reply).string();
    const bool isSuccess = outcome == TraceWords::success;
    if (!isSuccess && !isInterfaceName(outcome)) {
        return; // it had none
    }
    const auto duration =
        static_cast<qint64>(event.member(QStringLiteral("dur")).wholeNumber(0, mostMicroseconds));
    const auto recorded = recordedValues(details, TraceWords::values);
    if (isSuccess && (!recorded || isCarriedOut(call.call.at->member))) {
        // The lists in the reply must not be older than the signals before it.
        const bool hasLists =
            call.call.at->member.first == QLatin1String(OSTREL_TASK_INVOKER_INTERFACE);
        call.call.actions.append(ReplyAction{Replies::usual(),
                                             hasLists ? ReplyAction::Renewed : ReplyAction::Delayed,
                                             toMilliseconds(duration),
                                             {}});
        return;
    }
    QVariantList values{QString()};
    if (recorded) {
        values = busValues(*recorded, readSignature(details.member(TraceWords::signature)));
    }
    const Method heldAs{QString(), QString::number(std::get<int>(event.path().constLast()))};
    call.call.actions.append(
        ReplyAction{isSuccess ? Replies::values(values) : Replies::error(outcome, values),
                    ReplyAction::Held, std::chrono::milliseconds(0), heldAs});
    Step reply;
    reply.place = call.call.place;
    reply.name = QStringLiteral("the reply to ") + call.call.name;
    // A restart drops what is held.
    reply.actions.append(ReleaseAction{heldAs, {0}, false});
    call.reply = reply;
    call.replyTime = call.time + duration;
}

} // namespace

std::optional<RecordedCall> readRecordedCall(const JsonNode &event, const QString &place,
                                             const Members &members)
{
    const JsonNode details = event.member(QStringLiteral("args"));
    const QString interface = details.member(QStringLiteral("interface")).string();
    const QString member =
        event.member(QStringLiteral("name")).string().section(QLatin1Char(' '), 0, 0);
    const QString name = interface.isEmpty() ? member : interface + QLatin1Char('.') + member;
    if (!members.hasMethod(name)) {
        return std::nullopt;
    }
    const Members::Member method = members.method(JsonNode(name, event.path()));
    const auto arguments = recordedValues(details, TraceWords::arguments);
    if (arguments && arguments->elements().size() != typesOf(method.signature)->size()) {
        return std::nullopt; // the service refuses it
    }
    Moment moment;
    moment.member = method.name;
    const JsonNode path = details.member(QStringLiteral("path"));
    if (!path.string().endsWith(cut)) {
        moment.path = readObjectPath(path);
    }
    if (arguments) {
        moment.arguments = withoutTypes(arguments->value()).toArray();
    }
    RecordedCall call;
    call.time = timeOf(event);
    call.call.place = place;
    call.call.name = member;
    call.call.at = moment;
    readOutcome(event, details, call);
    return call;
}

qint64 timeOf(const JsonNode &event)
{
    return static_cast<qint64>(
        event.member(QStringLiteral("ts")).wholeNumber(-mostMicroseconds, mostMicroseconds));
}

std::chrono::milliseconds toMilliseconds(qint64 microseconds)
{
    constexpr qint64 perMillisecond = 1000;
    return std::chrono::milliseconds(
        qBound<qint64>(0, microseconds / perMillisecond, std::numeric_limits<int>::max()));
}
