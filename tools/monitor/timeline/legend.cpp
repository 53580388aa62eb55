// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "legend.h"

#include "absence.h"
#include "history.h"
#include "text.h"
#include "trace_words.h"

#include <QtGui/QFontMetrics>
#include <QtGui/QPainter>

#include <algorithm>

namespace
{

// More of them help nobody.
constexpr int mostStates = 16;
constexpr int mostLines = 3;

} // namespace

void Legend::rebuild(const History *history, bool hasCalls)
{
    m_entries.clear();
    m_shown = 0;
    if (history == nullptr || history->isEmpty()) {
        return;
    }
    const auto add = [this](const QString &text, const std::optional<StateColor> &color,
                            std::optional<Marks::Shape> shape = std::nullopt) {
        m_entries.append({text, color, shape, false, {}});
    };
    QStringList states;
    for (const quint32 each : history->states()) {
        states.append(history->string(each));
        if (states.size() == mostStates) {
            break;
        }
    }
    // "state 2" is before "state 10".
    std::sort(states.begin(), states.end(), [](const QString &first, const QString &second) {
        return first.size() != second.size() && first != TraceWords::started
                && second != TraceWords::started
            ? first.size() < second.size()
            : first < second;
    });
    if (states.removeOne(TraceWords::started)) {
        states.prepend(TraceWords::started);
    }
    for (const QString &each : qAsConst(states)) {
        add(onOneLine(each), StateColor::of(each));
    }
    if (int(history->states().size()) > mostStates) {
        add(QStringLiteral("and %1 more").arg(int(history->states().size()) - mostStates), {});
    }
    add(QStringLiteral("start"), {}, Marks::Start);
    add(QStringLiteral("end"), {}, Marks::End);
    add(QStringLiteral("out of memory"), {}, Marks::OutOfMemory);
    if (hasCalls) {
        add(QStringLiteral("call"), StateColor::ofCall(false));
        add(QStringLiteral("failed call"), StateColor::ofCall(true));
    }
    add(QStringLiteral("no service"), {});
    m_entries.last().isAbsence = true;
}

int Legend::arrange(int width, const QFontMetrics &metrics)
{
    const int gap = metrics.averageCharWidth();
    m_swatch = metrics.ascent() | 1;
    m_lineHeight = metrics.height() + gap / 2;
    const int margin = gap;
    QPoint place(margin, margin / 2);
    int lines = m_entries.isEmpty() ? 0 : 1;
    m_shown = 0;
    for (Entry &each : m_entries) {
        const int needed = m_swatch + gap / 2 + metrics.horizontalAdvance(each.text);
        if (place.x() > margin && place.x() + needed > width - margin) {
            if (lines == mostLines) {
                break;
            }
            ++lines;
            place = {margin, place.y() + m_lineHeight};
        }
        each.place = place;
        place.rx() += needed + 2 * gap;
        ++m_shown;
    }
    return lines == 0 ? 0 : lines * m_lineHeight + margin;
}

void Legend::paint(QPainter &painter, QRect rect, const QPalette &palette) const
{
    painter.save();
    painter.setClipRect(rect);
    painter.fillRect(rect, palette.window());
    painter.setPen(palette.color(QPalette::Mid));
    painter.drawLine(rect.topLeft(), rect.topRight());
    Marks marks(palette, m_swatch);
    for (int i = 0; i < m_shown; ++i) {
        const Entry &each = m_entries.at(i);
        const QPoint place = rect.topLeft() + each.place;
        const QRect swatch(place.x(), place.y() + (m_lineHeight - m_swatch) / 2, m_swatch,
                           m_swatch);
        int textLeft = swatch.right() + m_swatch / 2;
        if (each.color) {
            fill(painter, swatch, *each.color);
        } else if (each.shape) {
            marks.paint(painter, swatch.center(), *each.shape);
        } else if (each.isAbsence) {
            paintAbsence(painter, swatch, palette);
            painter.setPen(palette.color(QPalette::Mid));
            painter.drawRect(swatch.adjusted(0, 0, -1, -1));
        } else {
            textLeft = swatch.left();
        }
        painter.setPen(palette.color(QPalette::WindowText));
        painter.drawText(QRect(textLeft, place.y(), rect.right() - textLeft, m_lineHeight),
                         Qt::AlignVCenter | Qt::TextSingleLine, each.text);
    }
    painter.restore();
}

QStringList Legend::texts() const
{
    QStringList texts;
    for (int i = 0; i < m_shown; ++i) {
        texts.append(m_entries.at(i).text);
    }
    return texts;
}
