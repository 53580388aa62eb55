// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/json_node.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

// Containers in a message can be nested 64 levels deep. An object takes three: an array, its entry,
// and the variant around it.
constexpr int greatestDepth = 16;

QString nameOf(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return QStringLiteral("true or false");
    case QJsonValue::Double:
        return QStringLiteral("a number");
    case QJsonValue::String:
        return QStringLiteral("a string");
    case QJsonValue::Array:
        return QStringLiteral("an array");
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("nothing");
}

template <typename Integer> bool holds(double number)
{
    return std::trunc(number) == number
        && number >= static_cast<double>(std::numeric_limits<Integer>::min())
        && number <= static_cast<double>(std::numeric_limits<Integer>::max());
}

} // namespace

JsonNode::JsonNode(const QJsonValue &value, const QString &place)
    : m_value(value)
    , m_place(place)
{
}

QString JsonNode::string() const
{
    expect(QJsonValue::String);
    expectWhole(m_value.toString());
    return m_value.toString();
}

bool JsonNode::boolean() const
{
    expect(QJsonValue::Bool);
    return m_value.toBool();
}

uint JsonNode::number() const
{
    expect(QJsonValue::Double);
    if (!holds<uint>(m_value.toDouble())) {
        refuse(QStringLiteral("takes a whole number from 0 to 4294967295"));
    }
    return static_cast<uint>(m_value.toDouble());
}

QStringList JsonNode::strings() const
{
    QStringList strings;
    const QVector<JsonNode> nodes = elements();
    for (const JsonNode &node : nodes) {
        strings.append(node.string());
    }
    return strings;
}

QVector<JsonNode> JsonNode::elements() const
{
    expect(QJsonValue::Array);
    QVector<JsonNode> elements;
    const QJsonArray array = m_value.toArray();
    for (int i = 0; i < array.size(); ++i) {
        elements.append(JsonNode(array.at(i), QStringLiteral("%1[%2]").arg(m_place).arg(i)));
    }
    return elements;
}

QVariantMap JsonNode::properties() const
{
    expect(QJsonValue::Object);
    return variants(0);
}

void JsonNode::expectMembers(const QStringList &required, const QStringList &optional) const
{
    expect(QJsonValue::Object);
    const QJsonObject object = m_value.toObject();
    for (auto entry = object.constBegin(); entry != object.constEnd(); ++entry) {
        if (!required.contains(entry.key()) && !optional.contains(entry.key())) {
            member(entry.key()).refuse(QStringLiteral("is not known"));
        }
    }
    for (const QString &name : required) {
        if (!object.contains(name)) {
            member(name).refuse(QStringLiteral("is missing"));
        }
    }
}

bool JsonNode::has(const QString &name) const
{
    return m_value.toObject().contains(name);
}

JsonNode JsonNode::member(const QString &name) const
{
    return JsonNode(m_value.toObject().value(name),
                    m_place.isEmpty() ? name : m_place + QLatin1Char('.') + name);
}

void JsonNode::refuse(const QString &problem) const
{
    throw JsonError{m_place.isEmpty() ? QStringLiteral("the catalogue ") + problem
                                      : m_place + QStringLiteral(": ") + problem};
}

void JsonNode::expect(QJsonValue::Type type) const
{
    if (m_value.type() != type) {
        refuse(QStringLiteral("takes %1, not %2").arg(nameOf(type), nameOf(m_value.type())));
    }
}

// A NUL ends a string in a message and in a program's arguments.
void JsonNode::expectWhole(const QString &text) const
{
    if (text.contains(QChar(0))) {
        refuse(QStringLiteral("has a NUL in a string"));
    }
}

QVariant JsonNode::variant(int depth) const
{
    if (depth > greatestDepth) {
        refuse(QStringLiteral("is too deep for a message"));
    }
    switch (m_value.type()) {
    case QJsonValue::Bool:
        return m_value.toBool();
    case QJsonValue::String:
        return string();
    case QJsonValue::Double:
        if (holds<int>(m_value.toDouble())) {
            return m_value.toInt();
        }
        return m_value.toDouble();
    case QJsonValue::Array: {
        QVariantList list;
        const QVector<JsonNode> nodes = elements();
        for (const JsonNode &node : nodes) {
            list.append(node.variant(depth + 1));
        }
        const bool onlyStrings = !nodes.isEmpty()
            && std::all_of(nodes.cbegin(), nodes.cend(),
                           [](const JsonNode &node) { return node.m_value.isString(); });
        return onlyStrings ? QVariant(strings()) : QVariant(list);
    }
    case QJsonValue::Object:
        return variants(depth);
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    refuse(QStringLiteral("is null, which no message holds"));
}

QVariantMap JsonNode::variants(int depth) const
{
    QVariantMap map;
    const QStringList names = m_value.toObject().keys();
    for (const QString &name : names) {
        expectWhole(name);
        map.insert(name, member(name).variant(depth + 1));
    }
    return map;
}
