// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

namespace
{

QJsonValue read(const QDBusArgument &argument);

QJsonArray readElements(const QDBusArgument &argument)
{
    QJsonArray array;
    while (!argument.atEnd()) {
        array.append(read(argument));
    }
    return array;
}

QJsonObject readEntries(const QDBusArgument &argument)
{
    QJsonObject object;
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        const QString key = toJson(argument.asVariant()).toVariant().toString();
        object.insert(key, read(argument));
        argument.endMapEntry();
    }
    return object;
}

QJsonValue read(const QDBusArgument &argument)
{
    switch (argument.currentType()) {
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        return toJson(argument.asVariant());
    case QDBusArgument::ArrayType: {
        argument.beginArray();
        const QJsonArray array = readElements(argument);
        argument.endArray();
        return array;
    }
    case QDBusArgument::StructureType: {
        argument.beginStructure();
        const QJsonArray array = readElements(argument);
        argument.endStructure();
        return array;
    }
    case QDBusArgument::MapType: {
        argument.beginMap();
        const QJsonObject object = readEntries(argument);
        argument.endMap();
        return object;
    }
    default:
        return {};
    }
}

// Readers of JSON read a number as a double. A number that no double holds becomes a string.
template <typename Number> QJsonValue integer(Number number)
{
    constexpr qint64 largest = qint64(1) << 53;
    const bool isExact = number <= Number(largest) && (number >= 0 || qint64(number) >= -largest);
    return isExact ? QJsonValue(qint64(number)) : QJsonValue(QString::number(number));
}

QJsonArray toJson(const QByteArray &bytes)
{
    QJsonArray array;
    for (const char byte : bytes) {
        array.append(static_cast<uchar>(byte));
    }
    return array;
}

} // namespace

QJsonValue toJson(const QVariant &value)
{
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusArgument>()) {
        return read(value.value<QDBusArgument>());
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return toJson(value.value<QDBusVariant>().variant());
    }
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return value.value<QDBusSignature>().signature();
    }
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        return value.value<QDBusUnixFileDescriptor>().fileDescriptor();
    }
    switch (type) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
        return value.toInt();
    case QMetaType::LongLong:
        return integer(value.toLongLong());
    case QMetaType::ULongLong:
        return integer(value.toULongLong());
    case QMetaType::QByteArray:
        return toJson(value.toByteArray());
    default:
        return QJsonValue::fromVariant(value);
    }
}

QJsonObject toJson(const QVariantMap &map)
{
    QJsonObject object;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        object.insert(entry.key(), toJson(entry.value()));
    }
    return object;
}

namespace
{

QString text(const QVariant &value)
{
    if (value.userType() == QMetaType::LongLong || value.userType() == QMetaType::ULongLong) {
        return value.toString();
    }
    // A document is an array or an object; the brackets come off again.
    const QByteArray array =
        QJsonDocument(QJsonArray{toJson(value)}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

} // namespace

QString propertiesText(const QVariantMap &map)
{
    QStringList entries;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        entries.append(entry.key() + QLatin1Char('=') + text(entry.value()));
    }
    return entries.join(QLatin1Char(' '));
}
