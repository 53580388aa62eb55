// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus/name_forms.h"

#include <QtCore/QRegularExpression>

namespace
{

constexpr int longestName = 255;

} // namespace

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
