// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "help.h"

#include <QtCore/QCoreApplication>

QString helpText(const QCommandLineParser &parser)
{
    const QString usage = QStringLiteral("Usage: ");
    return parser.helpText().replace(usage + QCoreApplication::arguments().constFirst(),
                                     usage + QCoreApplication::applicationName());
}
