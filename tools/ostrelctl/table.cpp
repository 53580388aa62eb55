// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "table.h"

#include "report.h"
#include "text.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <numeric>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

// The output is UTF-8, whatever the locale of the environment is. While this lives, the C library
// knows the width of all characters.
class Utf8Characters
{
public:
    Utf8Characters()
        : m_locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
        , m_before(m_locale != nullptr ? uselocale(m_locale) : nullptr)
    {
    }
    ~Utf8Characters()
    {
        if (m_locale != nullptr) {
            uselocale(m_before);
            freelocale(m_locale);
        }
    }

private:
    Q_DISABLE_COPY(Utf8Characters)

    locale_t m_locale;
    locale_t m_before;
};

constexpr int gap = 2;
constexpr int narrowest = 4;

int widthOf(uint character)
{
    return std::max(0, wcwidth(static_cast<wchar_t>(character)));
}

int widthOf(const QString &text)
{
    const QVector<uint> characters = text.toUcs4();
    return std::accumulate(characters.cbegin(), characters.cend(), 0,
                           [](int sum, uint character) { return sum + widthOf(character); });
}

// The string in this many columns, cut with an ellipsis if it is longer.
QString cut(const QString &text, int width)
{
    if (widthOf(text) <= width) {
        return text;
    }
    QVector<uint> kept;
    int used = 1;
    const QVector<uint> characters = text.toUcs4();
    for (const uint character : characters) {
        used += widthOf(character);
        if (used > width) {
            break;
        }
        kept.append(character);
    }
    return QString::fromUcs4(kept.constData(), kept.size()) + QChar(0x2026);
}

void shrink(QVector<int> &widths, int extras, int total)
{
    const auto excess = [&widths, total] {
        return std::accumulate(widths.cbegin(), widths.cend(), gap * (widths.size() - 1)) - total;
    };
    for (int i = 0; i < extras && excess() > 0; ++i) {
        const int left = widths.last() - excess();
        if (left < narrowest) {
            widths.removeLast();
        } else {
            widths.last() = left;
        }
    }
    while (excess() > 0) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= narrowest) {
            return;
        }
        --*widest;
    }
}

QString lineOf(const QStringList &cells, const QVector<int> &widths)
{
    QString line;
    for (int i = 0; i < widths.size(); ++i) {
        const QString cell = cut(cells.at(i), widths.at(i));
        line += cell;
        if (i + 1 < widths.size()) {
            line += QString(widths.at(i) - widthOf(cell) + gap, QLatin1Char(' '));
        }
    }
    while (line.endsWith(QLatin1Char(' '))) {
        line.chop(1);
    }
    return line;
}

// The lines of a table; a width of 0 is no limit.
QStringList tableLines(const QStringList &heading, const QVector<QStringList> &rows, int extras,
                       int width)
{
    QVector<QStringList> all{heading};
    for (const QStringList &row : rows) {
        QStringList cells;
        for (const QString &cell : row) {
            cells.append(onOneLine(cell));
        }
        all.append(cells);
    }

    QVector<int> widths(heading.size());
    for (const QStringList &cells : qAsConst(all)) {
        for (int i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths.at(i), widthOf(cells.at(i)));
        }
    }
    if (width > 0) {
        shrink(widths, extras, width);
    }

    QStringList lines;
    for (const QStringList &cells : qAsConst(all)) {
        lines.append(lineOf(cells, widths));
    }
    return lines;
}

// The width of the terminal that standard output goes to; 0 if that is not a terminal.
int terminalWidth()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

} // namespace

void printTable(const QStringList &heading, const QVector<QStringList> &rows, int extras)
{
    const Utf8Characters characters;
    const QStringList lines = tableLines(heading, rows, extras, terminalWidth());
    for (const QString &line : lines) {
        printLine(line);
    }
}
