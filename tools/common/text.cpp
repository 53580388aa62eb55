// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "text.h"

QString onOneLine(const QString &text)
{
    QString line;
    for (const QChar character : text) {
        if (character == QLatin1Char('\n')) {
            line += QLatin1String("\\n");
        } else if (character.category() == QChar::Other_Control) {
            line += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        } else {
            line += character;
        }
    }
    return line;
}
