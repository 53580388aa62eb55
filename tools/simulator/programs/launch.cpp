// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/launch.h"

void Launch::addEnvironment(const QStringList &entries)
{
    for (const QString &entry : entries) {
        environment.insert(entry.section(QLatin1Char('='), 0, 0),
                           entry.section(QLatin1Char('='), 1));
    }
}

Result<> checkEnvironment(const QString &key, const QStringList &entries)
{
    for (const QString &entry : entries) {
        if (entry.indexOf(QLatin1Char('=')) < 1) {
            return Failure(
                QStringLiteral("\"%1\" takes entries NAME=VALUE, not \"%2\"").arg(key, entry));
        }
    }
    return {};
}
