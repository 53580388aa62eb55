// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/values.h"

#include "json/signature.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusVariant>

namespace
{

constexpr int deepestNesting = 64;

QString signatureOf(const QVariant &value)
{
    return value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QString::fromLatin1(QDBusMetaType::typeToSignature(value.userType()));
}

int depthOf(const QVariant &value);

// Steps over one element. Reading a copy of an argument leaves the original where it is.
int depthOfNext(const QDBusArgument &argument)
{
    int inner = 0;
    const auto readAll = [&inner](const QDBusArgument &container) {
        while (!container.atEnd()) {
            inner = qMax(inner, depthOfNext(container));
        }
    };
    switch (argument.currentType()) {
    case QDBusArgument::StructureType:
        argument.beginStructure();
        readAll(argument);
        argument.endStructure();
        return 1 + inner;
    case QDBusArgument::ArrayType:
        argument.beginArray();
        readAll(argument);
        argument.endArray();
        return 1 + inner;
    case QDBusArgument::MapType:
        argument.beginMap();
        while (!argument.atEnd()) {
            argument.beginMapEntry();
            readAll(argument);
            argument.endMapEntry();
        }
        argument.endMap();
        return 2 + inner;
    default:
        return depthOf(argument.asVariant());
    }
}

int depthOf(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        return depthOfNext(value.value<QDBusArgument>());
    }
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return 1 + depthOf(value.value<QDBusVariant>().variant());
    }
    const bool isArray =
        value.userType() == QMetaType::QStringList || value.userType() == QMetaType::QByteArray;
    return isArray ? 1 : 0;
}

} // namespace

Result<> checkTypes(const QVariantMap &values, const QHash<QString, QString> &signatures)
{
    for (auto entry = values.cbegin(); entry != values.cend(); ++entry) {
        const QString expected = signatures.value(entry.key());
        const QString signature = signatureOf(entry.value());
        if (!expected.isNull() && signature != expected) {
            return Failure(QStringLiteral("\"%1\" takes \"%2\", not \"%3\"")
                               .arg(entry.key(), expected, signature));
        }
    }
    return {};
}

Result<> checkSignature(const QVariantList &values)
{
    int length = 0;
    for (const QVariant &value : values) {
        length += signatureOf(value).size();
    }
    if (length > longestSignature) {
        return Failure(QStringLiteral("The signature of the values has %1 characters, more than %2")
                           .arg(length)
                           .arg(longestSignature));
    }
    return {};
}

Result<> checkNesting(const QVariantList &values, int containers)
{
    for (const QVariant &value : values) {
        const int depth = depthOf(value) + containers;
        if (depth > deepestNesting) {
            return Failure(
                QStringLiteral("A value is nested %1 deep, more than the %2 of a message")
                    .arg(depth)
                    .arg(deepestNesting));
        }
    }
    return {};
}
