// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "result.h"

#include <QtCore/QTextStream>

#include <cstdio>

int reportBadUsage(const QString &program, const QString &error)
{
    constexpr int badUsage = 2;
    QTextStream(stderr) << program << ": " << error << "\nTry '" << program << " --help'.\n";
    return badUsage;
}
