// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scenario/scenario.h"

#include <QtCore/QJsonObject>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusVariant>

#include <algorithm>

namespace
{

// A received container of variants is read; others stay what they are.
QVariant plain(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant());
    }
    if (value.userType() == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        const QString signature = value.value<QDBusArgument>().currentSignature();
        if (signature == QLatin1String("a{sv}")) {
            return qdbus_cast<QVariantMap>(value);
        }
        if (signature == QLatin1String("av")) {
            return qdbus_cast<QVariantList>(value);
        }
    }
    return value;
}

bool isNumber(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

bool isList(const QVariant &value)
{
    return value.userType() == QMetaType::QStringList
        || value.userType() == QMetaType::QVariantList;
}

bool matches(const QJsonValue &expected, const QVariant &received)
{
    const QVariant actual = plain(received);
    switch (expected.type()) {
    case QJsonValue::Bool:
        return actual.userType() == QMetaType::Bool && actual.toBool() == expected.toBool();
    case QJsonValue::Double:
        return isNumber(actual) && actual.toDouble() == expected.toDouble();
    case QJsonValue::String:
        return actual.userType() == QMetaType::QString && actual.toString() == expected.toString();
    case QJsonValue::Array: {
        const QJsonArray array = expected.toArray();
        const QVariantList list = actual.toList();
        return isList(actual)
            && std::equal(array.begin(), array.end(), list.cbegin(), list.cend(), matches);
    }
    case QJsonValue::Object: {
        const QJsonObject object = expected.toObject();
        const QVariantMap map = actual.toMap();
        bool hasAll = actual.userType() == QMetaType::QVariantMap;
        for (auto entry = object.begin(); hasAll && entry != object.end(); ++entry) {
            hasAll = map.contains(entry.key()) && matches(entry.value(), map.value(entry.key()));
        }
        return hasAll;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return true;
}

} // namespace

bool isAt(const Moment &moment, const QDBusMessage &message, const Method &method)
{
    const QVariantList arguments = message.arguments();
    return moment.member == method && (moment.path.isEmpty() || moment.path == message.path())
        && moment.arguments.size() <= arguments.size()
        && std::equal(moment.arguments.begin(), moment.arguments.end(), arguments.cbegin(),
                      matches);
}
