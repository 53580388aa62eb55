// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/scenario_reader.h"

#include "scenario/action_reader.h"
#include "scenario/recorded_scenario.h"
#include "json/bus_values.h"
#include "json/json_file.h"
#include "json/signature.h"

namespace
{

const QString commentKey = QStringLiteral("comment");
const QString atKey = QStringLiteral("at");
const QString afterKey = QStringLiteral("after");
const QString doKey = QStringLiteral("do");

void readComment(const JsonNode &node)
{
    if (node.has(commentKey)) {
        node.member(commentKey).string();
    }
}

Moment readMoment(const JsonNode &node, const Members &members,
                  std::optional<Members::Member> &call)
{
    const QString callKey = QStringLiteral("call");
    const QString signalKey = QStringLiteral("signal");
    const QString pathKey = QStringLiteral("path");
    const QString argumentsKey = QStringLiteral("arguments");
    node.expectMembers({}, {callKey, signalKey, pathKey, argumentsKey});
    if (node.has(callKey) == node.has(signalKey)) {
        node.refuse(QStringLiteral("takes either a call or a signal"));
    }
    Members::Member member;
    Moment moment;
    if (node.has(callKey)) {
        member = members.method(node.member(callKey));
        call = member;
    } else {
        member = members.signal(node.member(signalKey));
        moment.kind = Moment::Signal;
    }
    moment.member = member.name;
    if (node.has(pathKey)) {
        moment.path = readObjectPath(node.member(pathKey));
    }
    if (node.has(argumentsKey)) {
        const JsonNode arguments = node.member(argumentsKey);
        const int given = arguments.elements().size();
        const int most = typesOf(member.signature)->size();
        if (member.isKnown && given > most) {
            arguments.refuse(QStringLiteral("there are %1 arguments at most").arg(most));
        }
        moment.arguments = arguments.value().toArray();
    }
    return moment;
}

Step readStep(const JsonNode &node, const Members &members, const QString &place)
{
    node.expectMembers({}, {atKey, afterKey, doKey, commentKey});
    readComment(node);
    if (node.has(atKey) && node.has(afterKey)) {
        node.member(afterKey).refuse(QStringLiteral("excludes \"at\""));
    }
    Step step;
    step.place = place;
    std::optional<Members::Member> call;
    if (node.has(atKey)) {
        step.at = readMoment(node.member(atKey), members, call);
    }
    if (node.has(afterKey)) {
        step.after = readTime(node.member(afterKey));
    }
    const JsonNode actions =
        node.has(doKey) ? node.member(doKey) : JsonNode(QJsonArray(), node.path());
    step.actions = readActions(actions, members, call);
    return step;
}

Step readRule(const JsonNode &node, const Members &members, const QString &place)
{
    node.expectMembers({atKey, doKey}, {commentKey});
    Step rule = readStep(node, members, place);
    for (const Action &action : qAsConst(rule.actions)) {
        if (std::holds_alternative<ReleaseAction>(action)
            || std::holds_alternative<RestartAction>(action)) {
            node.member(doKey).refuse(
                QStringLiteral("only steps have \"release\" and \"restart\""));
        }
    }
    return rule;
}

template <typename Read>
QVector<Step> readList(const JsonFile &file, const QString &name, const QString &key,
                       const Read &read)
{
    QVector<Step> steps;
    const JsonNode root = file.root();
    if (root.has(key)) {
        if (root.member(key).value().toArray().size() > mostSteps) {
            root.member(key).refuse(QStringLiteral("has more than %1 steps").arg(mostSteps));
        }
        const QVector<JsonNode> nodes = root.member(key).elements();
        const QVector<int> lines = file.text().linesOfElements({key});
        for (int i = 0; i < nodes.size(); ++i) {
            steps.append(read(nodes.at(i), QStringLiteral("%1:%2").arg(name).arg(lines.value(i))));
            steps.last().name = QStringLiteral("%1[%2]").arg(key).arg(i);
        }
    }
    return steps;
}

} // namespace

Result<Scenario> readScenario(const QString &file, const Members &members)
{
    const auto read = [&file, &members](const JsonFile &json) {
        if (json.root().value().isArray()) {
            return recordedScenario(json, file, members);
        }
        const QString stepsKey = QStringLiteral("steps");
        const QString alwaysKey = QStringLiteral("always");
        json.root().expectMembers({}, {stepsKey, alwaysKey, commentKey});
        readComment(json.root());
        Scenario scenario;
        scenario.file = file;
        scenario.tracks.append(
            readList(json, file, stepsKey, [&](const JsonNode &node, const QString &place) {
                return readStep(node, members, place);
            }));
        scenario.always =
            readList(json, file, alwaysKey, [&](const JsonNode &node, const QString &place) {
                return readRule(node, members, place);
            });
        return scenario;
    };
    return readJson(file, read, JsonFile::End::MayBeMissing);
}
