// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_json_p.h"

#include <QtCore/QDebug>
#include <QtDBus/QDBusVariant>

#include <algorithm>

namespace
{

void warnOfUnknownType()
{
    qWarning("Unknown JSON value type");
}

void writeValue(QDBusArgument &argument, const QJsonValue &value, int depth);

bool isTooDeep(int depth)
{
    if (depth < Ostrel::maximumJsonDepth) {
        return false;
    }
    qWarning("JSON value is nested too deeply");
    return true;
}

void writeObject(QDBusArgument &argument, const QJsonObject &object, int depth)
{
    if (isTooDeep(depth)) {
        return;
    }
    argument.beginMap(QMetaType::QString, qMetaTypeId<QDBusVariant>());
    for (auto entry = object.constBegin(); entry != object.constEnd(); ++entry) {
        // A value that writes nothing would leave a variant without a type, which no message may
        // hold. So it comes first, and its entry only if there is something.
        if (entry.value().isNull()) {
            continue;
        }
        QDBusArgument content;
        writeValue(content, entry.value(), depth + 1);
        if (content.currentSignature().isEmpty()) {
            continue;
        }
        argument.beginMapEntry();
        argument << entry.key() << QDBusVariant(QVariant::fromValue(content));
        argument.endMapEntry();
    }
    argument.endMap();
}

QVariantList toVariants(const QJsonArray &array, int depth);

// The form of a value in a mixed array. The result is invalid if it has none.
QVariant toVariant(const QJsonValue &value, int depth)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return value.toDouble();
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array:
        return isTooDeep(depth) ? QVariant() : QVariant(toVariants(value.toArray(), depth));
    case QJsonValue::Object: {
        if (isTooDeep(depth)) {
            return QVariant();
        }
        const QJsonObject object = value.toObject();
        QVariantMap map;
        for (auto entry = object.constBegin(); entry != object.constEnd(); ++entry) {
            const QVariant content = toVariant(entry.value(), depth + 1);
            if (content.isValid()) {
                map.insert(entry.key(), content);
            }
        }
        return map;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    warnOfUnknownType();
    return QVariant();
}

QVariantList toVariants(const QJsonArray &array, int depth)
{
    QVariantList variants;
    for (const QJsonValue &element : array) {
        const QVariant variant = toVariant(element, depth + 1);
        if (variant.isValid()) {
            variants.append(variant);
        }
    }
    return variants;
}

void writeTypedArray(QDBusArgument &argument, const QJsonArray &array, int elementType, int depth)
{
    argument.beginArray(elementType);
    for (const QJsonValue &element : array) {
        writeValue(argument, element, depth + 1);
    }
    argument.endArray();
}

void writeArray(QDBusArgument &argument, const QJsonArray &array, int depth)
{
    if (isTooDeep(depth)) {
        return;
    }
    if (!Ostrel::isJsonOfOneType(array)) {
        argument << toVariants(array, depth);
        return;
    }
    switch (array.first().type()) {
    case QJsonValue::Bool:
        writeTypedArray(argument, array, QMetaType::Bool, depth);
        break;
    case QJsonValue::Double:
        writeTypedArray(argument, array, QMetaType::Double, depth);
        break;
    case QJsonValue::String:
        writeTypedArray(argument, array, QMetaType::QString, depth);
        break;
    case QJsonValue::Object:
        writeTypedArray(argument, array, QMetaType::QVariantMap, depth);
        break;
    case QJsonValue::Array:
        qWarning("JSON array of arrays are not supported");
        break;
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        warnOfUnknownType();
        break;
    }
}

void writeValue(QDBusArgument &argument, const QJsonValue &value, int depth)
{
    switch (value.type()) {
    case QJsonValue::Null:
        argument << QDBusVariant(QVariant());
        break;
    case QJsonValue::Bool:
        argument << value.toBool();
        break;
    case QJsonValue::Double:
        argument << value.toDouble();
        break;
    case QJsonValue::String:
        argument << value.toString();
        break;
    case QJsonValue::Array:
        writeArray(argument, value.toArray(), depth);
        break;
    case QJsonValue::Object:
        writeObject(argument, value.toObject(), depth);
        break;
    case QJsonValue::Undefined:
        warnOfUnknownType();
        break;
    }
}

} // namespace

bool Ostrel::isJsonOfOneType(const QJsonArray &array)
{
    const QJsonValue::Type type = array.first().type();
    return !array.isEmpty()
        && std::all_of(array.begin(), array.end(),
                       [type](const QJsonValue &element) { return element.type() == type; });
}

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonValue &value)
{
    writeValue(argument, value, 0);
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonObject &object)
{
    writeObject(argument, object, 0);
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonArray &array)
{
    writeArray(argument, array, 0);
    return argument;
}
