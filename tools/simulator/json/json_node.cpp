// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json/json_node.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <cmath>
#include <limits>

namespace
{

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

} // namespace

JsonNode::JsonNode(const QJsonValue &value, const JsonPath &path)
    : m_value(value)
    , m_path(path)
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

double JsonNode::real() const
{
    expect(QJsonValue::Double);
    return m_value.toDouble();
}

uint JsonNode::number() const
{
    return static_cast<uint>(wholeNumber(0, std::numeric_limits<uint>::max()));
}

double JsonNode::wholeNumber(double least, double greatest) const
{
    const double number = real();
    if (std::trunc(number) != number || number < least || number > greatest) {
        refuse(QStringLiteral("takes a whole number from %1 to %2")
                   .arg(QString::number(least, 'f', 0), QString::number(greatest, 'f', 0)));
    }
    return number;
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
        elements.append(JsonNode(array.at(i), m_path + JsonPath{i}));
    }
    return elements;
}

QStringList JsonNode::names() const
{
    expect(QJsonValue::Object);
    QStringList names = m_value.toObject().keys();
    for (const QString &name : names) {
        expectWhole(name);
    }
    return names;
}

void JsonNode::expectMembers(const QStringList &required, const QStringList &optional) const
{
    const QStringList known = required + optional;
    const QStringList given = names();
    for (const QString &name : given) {
        if (!known.contains(name)) {
            member(name).refuse(QStringLiteral("is not known"));
        }
    }
    for (const QString &name : required) {
        if (!has(name)) {
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
    return JsonNode(m_value.toObject().value(name), m_path + JsonPath{name});
}

void JsonNode::refuse(const QString &problem) const
{
    throw JsonError{m_path, problem};
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
