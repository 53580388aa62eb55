// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/launch.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>

namespace
{

QString signatureOf(const QVariant &value)
{
    return value.userType() == qMetaTypeId<QDBusArgument>()
        ? value.value<QDBusArgument>().currentSignature()
        : QString::fromLatin1(QDBusMetaType::typeToSignature(value.userType()));
}

} // namespace

void Launch::addEnvironment(const QStringList &entries)
{
    for (const QString &entry : entries) {
        environment.insert(entry.section(QLatin1Char('='), 0, 0),
                           entry.section(QLatin1Char('='), 1));
    }
}

QString environmentMistake(const QString &key, const QStringList &entries)
{
    for (const QString &entry : entries) {
        if (entry.indexOf(QLatin1Char('=')) < 1) {
            return QStringLiteral("\"%1\" takes entries NAME=VALUE, not \"%2\"").arg(key, entry);
        }
    }
    return {};
}

QString typeMistake(const QVariantMap &values, const QHash<QString, QString> &signatures)
{
    for (auto entry = values.cbegin(); entry != values.cend(); ++entry) {
        const QString expected = signatures.value(entry.key());
        const QString signature = signatureOf(entry.value());
        if (!expected.isNull() && signature != expected) {
            return QStringLiteral("\"%1\" takes \"%2\", not \"%3\"")
                .arg(entry.key(), expected, signature);
        }
    }
    return {};
}
