// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_json_p.h"

#include <QtCore/QDebug>
#include <QtCore/QVector>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusVariant>

#include <algorithm>

namespace Ostrel
{

namespace
{

constexpr int maximumLevels = 16;

bool isOfOneType(const QJsonArray &array)
{
    const QJsonValue::Type type = array.first().type();
    return !array.isEmpty()
        && std::all_of(array.begin(), array.end(),
                       [type](const QJsonValue &element) { return element.type() == type; });
}

} // namespace

QVariantList PlainJson::listFrom(const QJsonArray &array)
{
    return parts<QVariantList>(array, InMixedArray);
}

QVariant PlainJson::from(const QJsonValue &value, Place place)
{
    m_problem = nullptr;
    switch (value.type()) {
    case QJsonValue::Bool:
        m_size.addNumber(4);
        return value.toBool();
    case QJsonValue::Double:
        m_size.addNumber(8);
        return value.toDouble();
    case QJsonValue::String: {
        const QString string = value.toString();
        m_size.addString(string);
        return string;
    }
    case QJsonValue::Array:
    case QJsonValue::Object: {
        if (m_levels == 0 || isTooLarge()) {
            m_isTooDeep = m_isTooDeep || m_levels == 0;
            return {};
        }
        --m_levels;
        m_size.addLength();
        QVariant plain = value.isArray() ? fromArray(value.toArray(), place)
                                         : fromObject(value.toObject(), place);
        ++m_levels;
        return plain;
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    m_problem = "Unknown JSON value type";
    ++m_leftOut;
    return {};
}

QVariant PlainJson::fromArray(const QJsonArray &array, Place place)
{
    if (place == InMixedArray || !isOfOneType(array)) {
        return listFrom(array);
    }
    switch (array.first().type()) {
    case QJsonValue::Bool:
        return QVariant::fromValue(parts<QList<bool>>(array, place));
    case QJsonValue::Double:
        return QVariant::fromValue(parts<QList<double>>(array, place));
    case QJsonValue::String:
        return parts<QStringList>(array, place);
    case QJsonValue::Object:
        return QVariant::fromValue(parts<QVector<QVariantMap>>(array, place));
    case QJsonValue::Array:
        m_problem = "JSON array of arrays are not supported";
        break;
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        m_problem = "Unknown JSON value type";
        break;
    }
    m_leftOut += array.size();
    return {};
}

QVariantMap PlainJson::fromObject(const QJsonObject &object, Place place)
{
    QVariantMap map;
    for (auto entry = object.begin(); entry != object.end() && !isTooLarge(); ++entry) {
        if (entry.value().isNull() && place != InMixedArray) {
            ++m_leftOut;
            continue;
        }
        const QString key = entry.key();
        const MessageSize before = m_size;
        m_size.align(8);
        m_size.addString(key);
        m_size.addSignature(1);
        const QVariant plain = part(entry.value(), place, before);
        if (plain.isValid()) {
            map.insert(map.cend(), key, plain);
        }
    }
    m_problem = nullptr;
    return map;
}

QVariant PlainJson::part(const QJsonValue &value, Place place, MessageSize before)
{
    QVariant plain = from(value, place);
    if (m_problem != nullptr) {
        qWarning("%s", m_problem);
        m_size = before;
    }
    return plain;
}

template <typename List> List PlainJson::parts(const QJsonArray &array, Place place)
{
    List list;
    for (auto element = array.begin(); element != array.end() && !isTooLarge(); ++element) {
        const MessageSize before = m_size;
        if (place == InMixedArray) {
            m_size.addSignature(1);
        }
        const QVariant plain = part(*element, place, before);
        if (plain.isValid()) {
            list.append(plain.value<typename List::value_type>());
        }
    }
    m_problem = nullptr;
    return list;
}

} // namespace Ostrel

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonValue &value)
{
    if (value.isNull()) {
        return argument << QDBusVariant(QVariant());
    }
    Ostrel::PlainJson json(Ostrel::maximumLevels);
    const QVariant plain = json.from(value);
    if (json.isTooDeep()) {
        qWarning("JSON value is nested too deeply");
    }
    if (json.problem() != nullptr) {
        qWarning("%s", json.problem());
    }
    // Not appendVariant(), which writes containers to a copy of the argument.
    switch (plain.userType()) {
    case QMetaType::UnknownType:
        return argument;
    case QMetaType::Bool:
        return argument << plain.toBool();
    case QMetaType::Double:
        return argument << plain.toDouble();
    case QMetaType::QString:
        return argument << plain.toString();
    case QMetaType::QStringList:
        return argument << plain.toStringList();
    default:
        QDBusMetaType::marshall(argument, plain.userType(), plain.constData());
        return argument;
    }
}

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonObject &object)
{
    return argument << QJsonValue(object);
}

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonArray &array)
{
    return argument << QJsonValue(array);
}
