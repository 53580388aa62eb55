// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/control.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

namespace Ostrel
{

namespace
{

// A message holds at most 64 nested containers. A value that the program has made itself may be
// deeper, and would exhaust the stack.
constexpr int maximumDepth = 128;

QVariant plain(const QVariant &value, int depth);

// Reads the rest of the current container. asVariant() accepts any type; it returns a container as
// a QDBusArgument.
QVariantList elements(const QDBusArgument &argument, int depth)
{
    QVariantList list;
    while (!argument.atEnd()) {
        list.append(plain(argument.asVariant(), depth));
    }
    return list;
}

// QVariant converts a byte to a character.
QString keyText(const QVariant &key)
{
    return key.userType() == QMetaType::UChar ? QString::number(key.toUInt()) : key.toString();
}

QVariantMap entries(const QDBusArgument &argument, int depth)
{
    QVariantMap map;
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        const QString key = keyText(plain(argument.asVariant(), depth));
        map.insert(key, plain(argument.asVariant(), depth));
        argument.endMapEntry();
    }
    return map;
}

// The argument is a copy: it detaches when it enters a container, so the original does not advance.
QVariant read(const QDBusArgument &argument, int depth)
{
    QVariant value;
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType:
        argument.beginArray();
        value = elements(argument, depth);
        argument.endArray();
        break;
    case QDBusArgument::StructureType:
        argument.beginStructure();
        value = elements(argument, depth);
        argument.endStructure();
        break;
    case QDBusArgument::MapType:
        argument.beginMap();
        value = entries(argument, depth);
        argument.endMap();
        break;
    default:
        break;
    }
    return value;
}

QVariant plain(const QVariant &value, int depth)
{
    if (depth == maximumDepth) {
        return {};
    }
    const int type = value.userType();
    if (type == qMetaTypeId<QDBusArgument>()) {
        return read(value.value<QDBusArgument>(), depth + 1);
    }
    if (type == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant(), depth + 1);
    }
    if (type == qMetaTypeId<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    if (type == qMetaTypeId<QDBusSignature>()) {
        return value.value<QDBusSignature>().signature();
    }
    if (type == QMetaType::QVariantList) {
        QVariantList list;
        const QVariantList original = value.toList();
        for (const QVariant &element : original) {
            list.append(plain(element, depth + 1));
        }
        return list;
    }
    if (type == QMetaType::QVariantMap) {
        QVariantMap map;
        const QVariantMap original = value.toMap();
        for (auto entry = original.cbegin(); entry != original.cend(); ++entry) {
            map.insert(entry.key(), plain(entry.value(), depth + 1));
        }
        return map;
    }
    return value;
}

} // namespace

QVariant Control::toPlainValue(const QVariant &value)
{
    return plain(value, 0);
}

} // namespace Ostrel
