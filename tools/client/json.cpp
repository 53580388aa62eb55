// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json.h"

#include <Ostrel/Control>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusUnixFileDescriptor>

namespace
{

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

// Without QtDBus's types, except for file descriptors.
QJsonValue plainToJson(const QVariant &value)
{
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        return value.value<QDBusUnixFileDescriptor>().fileDescriptor();
    }
    switch (type) {
    case QMetaType::QVariantList: {
        QJsonArray array;
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            array.append(plainToJson(element));
        }
        return array;
    }
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            object.insert(entry.key(), plainToJson(entry.value()));
        }
        return object;
    }
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

} // namespace

QJsonValue toJson(const QVariant &value)
{
    return plainToJson(Ostrel::Control::toPlainValue(value));
}

QJsonObject toJson(const QVariantMap &map)
{
    return toJson(QVariant(map)).toObject();
}

namespace
{

QString text(const QVariant &value)
{
    if (value.userType() == QMetaType::LongLong || value.userType() == QMetaType::ULongLong) {
        return value.toString();
    }
    // A document is an array or an object, so the value is wrapped, and the brackets are removed.
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
