// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "print.h"

#include <QtCore/QTextStream>

void print(FILE *stream, const QString &line)
{
    QTextStream(stream) << "ostrel-simulator: " << line << '\n';
}
