// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "value_text_p.h"

#include <QtCore/QLocale>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

namespace Ostrel::Testing
{

namespace
{

QVariantList readList(const QDBusArgument &argument)
{
    QVariantList list;
    while (!argument.atEnd()) {
        list.append(plain(argument.asVariant()));
    }
    return list;
}

QVariant read(const QDBusArgument &argument)
{
    QVariant value;
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType:
        argument.beginArray();
        value = readList(argument);
        argument.endArray();
        return value;
    case QDBusArgument::StructureType:
        argument.beginStructure();
        value = readList(argument);
        argument.endStructure();
        return value;
    case QDBusArgument::MapType: {
        QVariantMap map;
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            const QString key = plain(argument.asVariant()).toString();
            map.insert(key, plain(argument.asVariant()));
            argument.endMapEntry();
        }
        argument.endMap();
        return map;
    }
    default:
        return plain(argument.asVariant());
    }
}

QVariantList plainList(const QVariantList &list)
{
    QVariantList result;
    for (const QVariant &element : list) {
        result.append(plain(element));
    }
    return result;
}

QVariantMap plainMap(const QVariantMap &map)
{
    QVariantMap result;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        result.insert(entry.key(), plain(entry.value()));
    }
    return result;
}

QString quoted(const QString &string)
{
    QString result = QStringLiteral("\"");
    for (const QChar character : string) {
        if (character == QLatin1Char('"') || character == QLatin1Char('\\')) {
            result += QLatin1Char('\\') + character;
        } else if (character == QLatin1Char('\n')) {
            result += QStringLiteral("\\n");
        } else if (!character.isPrint() && !character.isSurrogate()) {
            result +=
                QStringLiteral("\\u%1").arg(ushort(character.unicode()), 4, 16, QLatin1Char('0'));
        } else {
            result += character;
        }
    }
    return result + QLatin1Char('"');
}

QString doubleText(double number)
{
    const QString text = QString::number(number, 'g', QLocale::FloatingPointShortest);
    const bool looksWhole = !text.contains(QLatin1Char('.')) && !text.contains(QLatin1Char('e'))
        && !text.contains(QLatin1Char('n')); // inf, nan
    return looksWhole ? text + QStringLiteral(".0") : text;
}

QString listText(const QVariantList &list)
{
    QStringList texts;
    for (const QVariant &element : list) {
        texts.append(textOf(element));
    }
    return QStringLiteral("[%1]").arg(texts.join(QStringLiteral(", ")));
}

QString mapText(const QVariantMap &map)
{
    QStringList texts;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        texts.append(quoted(entry.key()) + QStringLiteral(": ") + textOf(entry.value()));
    }
    return QStringLiteral("{%1}").arg(texts.join(QStringLiteral(", ")));
}

QString typed(const char *type, const QVariant &value)
{
    return QLatin1String(type) + QLatin1Char(' ') + value.toString();
}

QString dbusText(const QVariant &value)
{
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return QStringLiteral("objectpath ") + quoted(value.value<QDBusObjectPath>().path());
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return QStringLiteral("signature ") + quoted(value.value<QDBusSignature>().signature());
    }
    if (type == qMetaTypeId<QDBusUnixFileDescriptor>()) {
        return QStringLiteral("handle");
    }
    return QStringLiteral("a value of type %1").arg(QLatin1String(value.typeName()));
}

} // namespace

QVariant plain(const QVariant &value)
{
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusArgument>()) {
        return read(value.value<QDBusArgument>());
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant());
    }
    if (type == QMetaType::QVariantMap || type == QMetaType::QVariantHash) {
        return plainMap(value.toMap());
    }
    if (type == QMetaType::QVariantList || type == QMetaType::QStringList) {
        return plainList(value.toList());
    }
    if (type < QMetaType::User) {
        return value;
    }
    // A container that Qt can iterate.
    if (value.canConvert<QVariantMap>()) {
        return plainMap(value.value<QVariantMap>());
    }
    return value.canConvert<QVariantList>() ? plainList(value.value<QVariantList>()) : value;
}

QString textOf(const QVariant &value)
{
    const QVariant plainValue = plain(value);
    switch (plainValue.userType()) {
    case QMetaType::QString:
        return quoted(plainValue.toString());
    case QMetaType::Bool:
    case QMetaType::Int:
        return plainValue.toString();
    case QMetaType::UInt:
        return typed("uint32", plainValue);
    case QMetaType::LongLong:
        return typed("int64", plainValue);
    case QMetaType::ULongLong:
        return typed("uint64", plainValue);
    case QMetaType::Short:
        return typed("int16", QVariant(plainValue.value<short>()));
    case QMetaType::UShort:
        return typed("uint16", QVariant(plainValue.value<ushort>()));
    case QMetaType::UChar:
        return typed("byte", QVariant(plainValue.value<uchar>()));
    case QMetaType::Double:
        return doubleText(plainValue.toDouble());
    case QMetaType::QByteArray:
        return QStringLiteral("bytes ") + quoted(QString::fromLatin1(plainValue.toByteArray()));
    case QMetaType::QVariantList:
        return listText(plainValue.toList());
    case QMetaType::QVariantMap:
        return mapText(plainValue.toMap());
    default:
        return dbusText(plainValue);
    }
}

} // namespace Ostrel::Testing
