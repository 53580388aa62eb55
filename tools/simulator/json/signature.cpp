// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json/signature.h"

#include <QtCore/QMetaType>
#include <QtDBus/QDBusMetaType>

namespace
{

constexpr int deepestType = 32;

bool isBasic(QChar type)
{
    return QStringLiteral("ybnqiuxtdsogh").contains(type);
}

// The position after one type; -1 if there is none.
int afterType(const QString &signature, int position, int depth = 0)
{
    if (position >= signature.size() || depth > deepestType) {
        return -1;
    }
    const QChar type = signature.at(position);
    if (isBasic(type) || type == QLatin1Char('v')) {
        return position + 1;
    }
    const bool isArray = type == QLatin1Char('a');
    if (isArray && signature.mid(position + 1, 1) == QLatin1String("{")) {
        const bool hasKey = position + 2 < signature.size() && isBasic(signature.at(position + 2));
        const int end = hasKey ? afterType(signature, position + 3, depth + 1) : -1;
        return end >= 0 && signature.mid(end, 1) == QLatin1String("}") ? end + 1 : -1;
    }
    if (isArray) {
        return afterType(signature, position + 1, depth + 1);
    }
    if (type != QLatin1Char('(')) {
        return -1;
    }
    int end = position + 1;
    do {
        end = afterType(signature, end, depth + 1);
    } while (end >= 0 && signature.mid(end, 1) != QLatin1String(")"));
    return end >= 0 ? end + 1 : -1;
}

} // namespace

std::optional<QStringList> typesOf(const QString &signature)
{
    if (signature.size() > longestSignature) {
        return std::nullopt;
    }
    QStringList types;
    for (int position = 0; position < signature.size();) {
        const int end = afterType(signature, position);
        if (end < 0) {
            return std::nullopt;
        }
        types.append(signature.mid(position, end - position));
        position = end;
    }
    return types;
}

int elementType(const QString &type)
{
    const QByteArray signature = type.toLatin1();
    const int builtIn = QDBusMetaType::signatureToType(signature.constData());
    if (builtIn != QMetaType::UnknownType) {
        return builtIn;
    }
    for (int id = QMetaType::User; QMetaType::isRegistered(id); ++id) {
        if (signature == QDBusMetaType::typeToSignature(id)) {
            return id;
        }
    }
    return QMetaType::UnknownType;
}
