// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "values.h"

#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusVariant>

namespace
{

constexpr int longestName = 255;

} // namespace

QVariantList valuesOf(const QVariant &argument)
{
    QVariantList values;
    const auto array = argument.value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        QDBusVariant value;
        array >> value;
        values.append(value.variant());
    }
    array.endArray();
    return values;
}

bool isInterfaceName(const QString &name)
{
    static const QRegularExpression elements(
        QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_]*(\\.[A-Za-z_][A-Za-z0-9_]*)+\\z"));
    return name.size() <= longestName && elements.match(name).hasMatch();
}

bool isMemberName(const QString &name)
{
    static const QRegularExpression element(QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_]*\\z"));
    return name.size() <= longestName && element.match(name).hasMatch();
}
