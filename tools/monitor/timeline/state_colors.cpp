// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "state_colors.h"

#include "trace_words.h"

#include <QtCore/QHash>

#include <array>

namespace
{

// The colours of Okabe and Ito. Those next to each other differ most.
constexpr std::array<QRgb, 7> colors{0xff56b4e9, 0xffe69f00, 0xff009e73, 0xfff0e442,
                                     0xff0072b2, 0xffcc79a7, 0xffd55e00};
constexpr std::array patterns{Qt::SolidPattern, Qt::BDiagPattern, Qt::Dense6Pattern};
constexpr QRgb gray = 0xff9a9a9a;
constexpr QRgb vermillion = 0xffd55e00;
constexpr QRgb blue = 0xff4f8fbf;
constexpr QRgb green = 0xff5b9a84;

StateColor withText(QRgb fill, Qt::BrushStyle pattern = Qt::SolidPattern)
{
    constexpr int bright = 90;
    return {QColor(fill), qGray(fill) > bright ? QColor(Qt::black) : QColor(Qt::white), pattern};
}

} // namespace

StateColor StateColor::of(const QString &state)
{
    if (state == TraceWords::started) {
        return withText(gray);
    }
    bool isNumber = false;
    const uint number = state.midRef(TraceWords::state.size()).toUInt(&isNumber);
    const uint index = isNumber ? number : qHash(state, 0);
    return withText(colors.at(index % colors.size()),
                    patterns.at(index / colors.size() % patterns.size()));
}

StateColor StateColor::ofCall(bool hasFailed)
{
    return hasFailed ? withText(vermillion, Qt::DiagCrossPattern) : withText(blue);
}

StateColor StateColor::ofService()
{
    return withText(green);
}

void fill(QPainter &painter, QRect rect, const StateColor &color)
{
    painter.fillRect(rect, color.fill);
    if (color.pattern != Qt::SolidPattern) {
        QColor lines = color.text;
        lines.setAlphaF(0.45);
        painter.fillRect(rect, QBrush(lines, color.pattern));
    }
}
