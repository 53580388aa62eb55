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

QString propertiesText(const QVariantMap &map)
{
    QStringList entries;
    const QJsonObject object = toJson(map);
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        // A document is an array or an object; the brackets come off again.
        const QByteArray value =
            QJsonDocument(QJsonArray{entry.value()}).toJson(QJsonDocument::Compact);
        entries.append(entry.key() + QLatin1Char('=')
                       + QString::fromUtf8(value.mid(1, value.size() - 2)));
    }
    return entries.join(QLatin1Char(' '));
}
