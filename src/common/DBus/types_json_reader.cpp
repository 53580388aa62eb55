// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_json_p.h"

#include "DBus/guarded_reader_p.h"

#include <QtCore/QDebug>
#include <QtDBus/QDBusVariant>

namespace
{

// Logs the type of the current value, and skips the value: a loop over elements would never get
// past an unread one.
void refuse(const QDBusArgument &argument)
{
    qWarning() << "Unsupported type: " << argument.currentSignature();
    Ostrel::skipValue(argument);
}

// Qt's conversion does not know numbers smaller than int.
QJsonValue fromVariant(const QVariant &variant)
{
    switch (variant.userType()) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
        return variant.toInt();
    default:
        return QJsonValue::fromVariant(variant);
    }
}

QJsonArray readArray(const QDBusArgument &argument)
{
    QJsonArray array;
    argument.beginArray();
    while (!argument.atEnd()) {
        QJsonValue element;
        argument >> element;
        array.append(element);
    }
    argument.endArray();
    return array;
}

QJsonObject readObject(const QDBusArgument &argument)
{
    // All keys have one type, the one after "a{". A key that is not a kind of string would be read
    // as an empty string, and then again as the value.
    const bool hasStrings = QStringLiteral("sog").contains(argument.currentSignature().at(2));
    QJsonObject object;
    argument.beginMap();
    while (!argument.atEnd()) {
        QString key;
        QJsonValue value;
        argument.beginMapEntry();
        if (hasStrings) {
            argument >> key;
        } else {
            key = argument.asVariant().toString();
        }
        argument >> value;
        argument.endMapEntry();
        object.insert(key, value);
    }
    argument.endMap();
    return object;
}

void readVariant(const QDBusArgument &argument, QJsonValue &value)
{
    QDBusVariant variant;
    argument >> variant;
    const QVariant content = variant.variant();
    if (content.canConvert<QDBusArgument>()) {
        qvariant_cast<QDBusArgument>(content) >> value;
    } else {
        value = fromVariant(content);
    }
}

} // namespace

const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonValue &value)
{
    switch (argument.currentType()) {
    case QDBusArgument::BasicType:
        value = fromVariant(argument.asVariant());
        break;
    case QDBusArgument::VariantType:
        readVariant(argument, value);
        break;
    case QDBusArgument::ArrayType:
        value = readArray(argument);
        break;
    case QDBusArgument::MapType:
        value = readObject(argument);
        break;
    default:
        refuse(argument);
    }
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonObject &object)
{
    if (argument.currentType() == QDBusArgument::MapType) {
        object = readObject(argument);
    } else {
        refuse(argument);
    }
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonArray &array)
{
    // Arrays of strings and of bytes count as basic types in Qt.
    const QString signature = argument.currentSignature();
    if (signature.startsWith(QLatin1Char('a')) && !signature.startsWith(QLatin1String("a{"))) {
        array = readArray(argument);
    } else {
        refuse(argument);
    }
    return argument;
}
