// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "text.h"

#include <algorithm>

namespace
{

bool isHarmless(QChar character)
{
    if (character.category() == QChar::Other_Control
        || character.category() == QChar::Separator_Line
        || character.category() == QChar::Separator_Paragraph) {
        return false;
    }
    switch (character.direction()) {
    case QChar::DirLRE:
    case QChar::DirLRO:
    case QChar::DirRLE:
    case QChar::DirRLO:
    case QChar::DirPDF:
    case QChar::DirLRI:
    case QChar::DirRLI:
    case QChar::DirFSI:
    case QChar::DirPDI:
        return false;
    default:
        return true;
    }
}

QString escaped(QChar character)
{
    constexpr ushort lastShort = 0xff;
    if (character == QLatin1Char('\n')) {
        return QStringLiteral("\\n");
    }
    return character.unicode() <= lastShort
        ? QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'))
        : QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
}

} // namespace

QString onOneLine(const QString &text)
{
    // Nearly always.
    if (std::all_of(text.begin(), text.end(), isHarmless)) {
        return text;
    }
    QString line;
    for (const QChar character : text) {
        line += isHarmless(character) ? QString(character) : escaped(character);
    }
    return line;
}
