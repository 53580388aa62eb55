// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/action_reader.h"

#include "bus/name_forms.h"
#include "faultdesk/signal_sender.h"
#include "json/bus_values.h"

#include "DBus/names_p.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <algorithm>
#include <limits>

namespace
{

// The values of an action, with the given types or those that the service's description has.
QVariantList readValues(const JsonNode &action, const QString &key,
                        const std::optional<QString> &described)
{
    const QString signatureKey = QStringLiteral("signature");
    const JsonNode values = action.has(key) ? action.member(key)
                                            : JsonNode(QJsonArray(), action.path() + JsonPath{key});
    if (action.has(signatureKey)) {
        return busValues(values, readSignature(action.member(signatureKey)));
    }
    return described ? busValues(values, *described) : busValues(values);
}

void expectTrue(const JsonNode &node)
{
    if (!node.boolean()) {
        node.refuse(QStringLiteral("takes true"));
    }
}

QString readErrorName(const JsonNode &node)
{
    const QString name = node.string();
    QString full =
        name.contains(QLatin1Char('.')) ? name : QStringLiteral(OSTREL_ERROR_PREFIX "%1").arg(name);
    if (!isInterfaceName(full)) {
        node.refuse(QStringLiteral("\"%1\" is no error name").arg(name));
    }
    return full;
}

// When a reply is sent.
ReplyAction readReply(const JsonNode &action, const Replies::Maker &maker)
{
    const QString delayKey = QStringLiteral("delay");
    const QString holdKey = QStringLiteral("hold");
    ReplyAction reply{maker};
    if (action.has(delayKey) && action.has(holdKey)) {
        action.member(holdKey).refuse(QStringLiteral("excludes \"delay\""));
    }
    if (action.has(delayKey)) {
        reply.when = ReplyAction::Delayed;
        reply.delay = readTime(action.member(delayKey));
    } else if (action.has(holdKey)) {
        expectTrue(action.member(holdKey));
        reply.when = ReplyAction::Held;
    }
    return reply;
}

QStringList timing()
{
    return {QStringLiteral("delay"), QStringLiteral("hold")};
}

using Call = std::optional<Members::Member>;

Action readAnswer(const JsonNode &action, const Members & /*members*/, const Call &call)
{
    const QString key = QStringLiteral("answer");
    action.expectMembers({key}, timing() + QStringList{QStringLiteral("signature")});
    return readReply(action, Replies::values(readValues(action, key, call->reply)));
}

Action readFail(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    const QString key = QStringLiteral("fail");
    const QString messageKey = QStringLiteral("message");
    const QString valuesKey = QStringLiteral("values");
    const QString signatureKey = QStringLiteral("signature");
    action.expectMembers({key}, timing() + QStringList{messageKey, valuesKey, signatureKey});
    const QString name = readErrorName(action.member(key));
    if (action.has(messageKey) && (action.has(valuesKey) || action.has(signatureKey))) {
        action.member(messageKey).refuse(QStringLiteral("is the only value of an error"));
    }
    if (action.has(valuesKey) || action.has(signatureKey)) {
        return readReply(action, Replies::error(name, readValues(action, valuesKey, std::nullopt)));
    }
    const QString message = action.has(messageKey) ? action.member(messageKey).string() : QString();
    return readReply(action, Replies::error(name, {message}));
}

Action readUsual(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    action.expectMembers({}, timing());
    return readReply(action, Replies::usual());
}

Action readIgnore(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    const QString key = QStringLiteral("ignore");
    action.expectMembers({key}, {});
    expectTrue(action.member(key));
    return ReplyAction{nullptr, ReplyAction::Never};
}

Action readEmit(const JsonNode &action, const Members &members, const Call & /*call*/)
{
    const QString key = QStringLiteral("emit");
    const QString valuesKey = QStringLiteral("values");
    const QString pathKey = QStringLiteral("path");
    action.expectMembers({key}, {valuesKey, pathKey, QStringLiteral("signature")});
    const Members::Member signal = members.signal(action.member(key));
    QString path = signal.path;
    if (action.has(pathKey)) {
        path = readObjectPath(action.member(pathKey));
    } else if (path.isEmpty()) {
        action.member(pathKey).refuse(QStringLiteral("is missing"));
    }
    const QVariantList values = readValues(
        action, valuesKey, signal.isKnown ? std::optional(signal.signature) : std::nullopt);
    const Result<QDBusMessage> made =
        makeSignal(path, signal.name.first, signal.name.second, values);
    if (!made) {
        action.member(key).refuse(made.error());
    }
    return EmitAction{*made};
}

Action readRelease(const JsonNode &action, const Members &members, const Call & /*call*/)
{
    const QString key = QStringLiteral("release");
    const QString orderKey = QStringLiteral("order");
    action.expectMembers({key}, {orderKey});
    ReleaseAction release{members.method(action.member(key)).name, {0}};
    if (action.has(orderKey)) {
        release.order.clear();
        const QVector<JsonNode> indexes = action.member(orderKey).elements();
        for (const JsonNode &index : indexes) {
            const auto number = static_cast<uint>(index.wholeNumber(0, mostSteps));
            if (release.order.contains(number)) {
                index.refuse(QStringLiteral("is there already"));
            }
            release.order.append(number);
        }
    }
    return release;
}

Action readKillByOom(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    const QString key = QStringLiteral("killByOom");
    action.expectMembers({key}, {});
    return KillByOomAction{action.member(key).string()};
}

Action readDie(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    const QString key = QStringLiteral("die");
    action.expectMembers({key}, {});
    expectTrue(action.member(key));
    return DieAction{};
}

Action readRestart(const JsonNode &action, const Members & /*members*/, const Call & /*call*/)
{
    const QString key = QStringLiteral("restart");
    action.expectMembers({key}, {});
    return RestartAction{readTime(action.member(key))};
}

using Reader = Action (*)(const JsonNode &action, const Members &members, const Call &call);

struct Verb
{
    QString name;
    Reader read;
    bool isReply;
};

// In this order, since two of them may also go with the first two.
const QVector<Verb> &verbs()
{
    static const QVector<Verb> all{
        {QStringLiteral("answer"), readAnswer, true},
        {QStringLiteral("fail"), readFail, true},
        {QStringLiteral("ignore"), readIgnore, true},
        {QStringLiteral("emit"), readEmit, false},
        {QStringLiteral("release"), readRelease, false},
        {QStringLiteral("killByOom"), readKillByOom, false},
        {QStringLiteral("die"), readDie, false},
        {QStringLiteral("restart"), readRestart, false},
        {QStringLiteral("delay"), readUsual, true},
        {QStringLiteral("hold"), readUsual, true},
    };
    return all;
}

const Verb &verbOf(const JsonNode &action)
{
    const QStringList names = action.names();
    const auto found = std::find_if(verbs().cbegin(), verbs().cend(), [&names](const Verb &verb) {
        return names.contains(verb.name);
    });
    if (found == verbs().cend()) {
        QStringList known;
        for (const Verb &verb : verbs()) {
            known.append(verb.name);
        }
        action.refuse(QStringLiteral("has none of ") + known.join(QStringLiteral(", ")));
    }
    return *found;
}

} // namespace

QVector<Action> readActions(const JsonNode &node, const Members &members, const Call &call)
{
    QVector<Action> actions;
    bool isReplied = false;
    bool mayReply = call.has_value();
    const QVector<JsonNode> elements = node.elements();
    for (const JsonNode &element : elements) {
        const Verb &verb = verbOf(element);
        if (verb.isReply) {
            if (!call) {
                element.member(verb.name).refuse(
                    QStringLiteral("is a reply, and the step waits for no call"));
            }
            if (isReplied) {
                element.member(verb.name).refuse(QStringLiteral("is a second reply"));
            }
            if (!mayReply) {
                element.member(verb.name).refuse(QStringLiteral("has to come first in the step"));
            }
            isReplied = true;
        }
        const Action action = verb.read(element, members, call);
        // After these, the call may have nobody any more who waits for a reply.
        if (std::holds_alternative<DieAction>(action)
            || std::holds_alternative<RestartAction>(action)
            || std::holds_alternative<ReleaseAction>(action)) {
            mayReply = false;
        }
        actions.append(action);
    }
    const bool endsService =
        std::any_of(actions.cbegin(), actions.cend(), [](const Action &action) {
            return std::holds_alternative<DieAction>(action)
                || std::holds_alternative<RestartAction>(action);
        });
    if (call && !isReplied && !endsService) {
        actions.prepend(ReplyAction{Replies::usual()});
    }
    return actions;
}

std::chrono::milliseconds readTime(const JsonNode &node)
{
    return std::chrono::milliseconds(
        static_cast<int>(node.wholeNumber(0, std::numeric_limits<int>::max())));
}
