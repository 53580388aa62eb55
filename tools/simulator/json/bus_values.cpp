// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json/bus_values.h"

#include "json/signature.h"

#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

#include <algorithm>
#include <limits>

namespace
{

// Containers in a message can be nested 64 levels deep. An object takes three: an array, its entry,
// and the variant around it.
constexpr int greatestDepth = 16;

constexpr double mostExact = 9007199254740992.0; // 2^53: what a double holds exactly

const QString typeKey = QStringLiteral("type");
const QString dataKey = QStringLiteral("data");

QVariant variant(const JsonNode &node, int depth);
QVariant value(const JsonNode &node, const QString &type, int depth);

void checkDepth(const JsonNode &node, int depth)
{
    if (depth > greatestDepth) {
        node.refuse(QStringLiteral("is too deep for a message"));
    }
}

QVariantMap map(const JsonNode &object, int depth)
{
    QVariantMap map;
    const QStringList names = object.names();
    for (const QString &name : names) {
        map.insert(name, variant(object.member(name), depth + 1));
    }
    return map;
}

QVariantList list(const JsonNode &array, int depth)
{
    QVariantList list;
    const QVector<JsonNode> nodes = array.elements();
    for (const JsonNode &node : nodes) {
        list.append(variant(node, depth + 1));
    }
    return list;
}

// One type, as it is in a signature.
QString readType(const JsonNode &node)
{
    const auto types = typesOf(node.string());
    if (!types || types->size() != 1) {
        node.refuse(QStringLiteral("\"%1\" is not the signature of one value").arg(node.string()));
    }
    return types->constFirst();
}

// The type follows from the JSON, or is there.
QVariant variant(const JsonNode &node, int depth)
{
    checkDepth(node, depth);
    const QJsonValue &json = node.value();
    switch (json.type()) {
    case QJsonValue::Bool:
        return json.toBool();
    case QJsonValue::String:
        return node.string();
    case QJsonValue::Double: {
        const double number = json.toDouble();
        const bool isInt = number >= std::numeric_limits<int>::min()
            && number <= std::numeric_limits<int>::max() && int(number) == number;
        return isInt ? QVariant(int(number)) : QVariant(number);
    }
    case QJsonValue::Array: {
        const QVariantList values = list(node, depth);
        const bool onlyStrings = !values.isEmpty()
            && std::all_of(values.cbegin(), values.cend(), [](const QVariant &each) {
                   return each.userType() == QMetaType::QString;
               });
        return onlyStrings ? QVariant(QVariant(values).toStringList()) : QVariant(values);
    }
    case QJsonValue::Object:
        if (node.names() == QStringList{dataKey, typeKey}) {
            return value(node.member(dataKey), readType(node.member(typeKey)), depth + 1);
        }
        return map(node, depth);
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    node.refuse(QStringLiteral("is null, which no message holds"));
}

template <typename Integer> QVariant integer(const JsonNode &node)
{
    using Limits = std::numeric_limits<Integer>;
    const double least = qMax(double(Limits::min()), -mostExact);
    const double greatest = qMin(double(Limits::max()), mostExact);
    return QVariant::fromValue(Integer(node.wholeNumber(least, greatest)));
}

QVariant basicValue(const JsonNode &node, QChar type)
{
    switch (type.toLatin1()) {
    case 'y':
        return integer<uchar>(node);
    case 'b':
        return node.boolean();
    case 'n':
        return integer<short>(node);
    case 'q':
        return integer<ushort>(node);
    case 'i':
        return integer<int>(node);
    case 'u':
        return integer<uint>(node);
    case 'x':
        return integer<qlonglong>(node);
    case 't':
        return integer<qulonglong>(node);
    case 'd':
        return node.real();
    case 's':
        return node.string();
    case 'o':
        return QVariant::fromValue(QDBusObjectPath(readObjectPath(node)));
    case 'g':
        return QVariant::fromValue(QDBusSignature(readSignature(node)));
    default:
        node.refuse(QStringLiteral("no file holds a value of the type %1").arg(type));
    }
}

// Walks through a container. An argument that is left half-written aborts the process; without
// one, this checks whether the container can be written.
void write(QDBusArgument *argument, const JsonNode &node, const QString &type, int depth)
{
    checkDepth(node, depth);
    const bool isMap = type.startsWith(QLatin1String("a{"));
    const bool isArray = type.startsWith(QLatin1Char('a'));
    if (type.startsWith(QLatin1Char('('))) {
        const QStringList types = *typesOf(type.mid(1, type.size() - 2));
        const QVector<JsonNode> members = node.elements();
        if (members.size() != types.size()) {
            node.refuse(
                QStringLiteral("takes the values of \"%1\", not %2").arg(type).arg(members.size()));
        }
        if (argument != nullptr) {
            argument->beginStructure();
        }
        for (int i = 0; i < types.size(); ++i) {
            write(argument, members.at(i), types.at(i), depth + 1);
        }
        if (argument != nullptr) {
            argument->endStructure();
        }
        return;
    }
    if (!isArray) {
        const QVariant written = value(node, type, depth);
        if (argument != nullptr) {
            argument->appendVariant(written);
        }
        return;
    }

    const QString inner = isMap ? type.mid(3, type.size() - 4) : type.mid(1);
    const int id = elementType(inner);
    if (id == QMetaType::UnknownType || (isMap && type.at(2) != QLatin1Char('s'))) {
        node.refuse(QStringLiteral("no file holds a value of the type %1").arg(type));
    }
    if (isMap) {
        const QStringList names = node.names();
        if (argument != nullptr) {
            argument->beginMap(QMetaType::QString, id);
        }
        for (const QString &name : names) {
            if (argument != nullptr) {
                argument->beginMapEntry();
                *argument << name;
            }
            write(argument, node.member(name), inner, depth + 1);
            if (argument != nullptr) {
                argument->endMapEntry();
            }
        }
        if (argument != nullptr) {
            argument->endMap();
        }
        return;
    }
    const QVector<JsonNode> elements = node.elements();
    if (argument != nullptr) {
        argument->beginArray(id);
    }
    for (const JsonNode &element : elements) {
        write(argument, element, inner, depth + 1);
    }
    if (argument != nullptr) {
        argument->endArray();
    }
}

// A value of one type.
QVariant value(const JsonNode &node, const QString &type, int depth)
{
    checkDepth(node, depth);
    if (type == QLatin1String("v")) {
        return QVariant::fromValue(QDBusVariant(variant(node, depth)));
    }
    if (type == QLatin1String("a{sv}")) {
        return map(node, depth);
    }
    if (type == QLatin1String("as")) {
        return node.strings();
    }
    if (type == QLatin1String("av")) {
        return list(node, depth);
    }
    if (type.size() == 1) {
        return basicValue(node, type.at(0));
    }
    write(nullptr, node, type, depth);
    QDBusArgument argument;
    write(&argument, node, type, depth);
    return QVariant::fromValue(argument);
}

} // namespace

QVariantMap busMap(const JsonNode &object)
{
    return map(object, 0);
}

QVariantList busValues(const JsonNode &array, const QString &signature)
{
    const QStringList types = *typesOf(signature);
    const QVector<JsonNode> nodes = array.elements();
    if (nodes.size() != types.size()) {
        array.refuse(
            QStringLiteral("takes the values of \"%1\", not %2").arg(signature).arg(nodes.size()));
    }
    QVariantList values;
    for (int i = 0; i < types.size(); ++i) {
        values.append(value(nodes.at(i), types.at(i), 0));
    }
    return values;
}

QVariantList busValues(const JsonNode &array)
{
    return list(array, 0);
}

QString readSignature(const JsonNode &node)
{
    if (!typesOf(node.string())) {
        node.refuse(QStringLiteral("\"%1\" is no signature").arg(node.string()));
    }
    return node.string();
}

QString readObjectPath(const JsonNode &node)
{
    static const QRegularExpression form(QStringLiteral("\\A(/|(/[A-Za-z0-9_]+)+)\\z"));
    QString path = node.string();
    if (!form.match(path).hasMatch()) {
        node.refuse(QStringLiteral("\"%1\" is no object path").arg(path));
    }
    return path;
}
