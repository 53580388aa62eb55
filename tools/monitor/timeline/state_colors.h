// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_STATE_COLORS_H
#define MONITOR_STATE_COLORS_H

#include <QtGui/QBrush>
#include <QtGui/QColor>
#include <QtGui/QPainter>

class QString;

// How a state looks: always the same, also in another trace. The colours differ for the
// colour-blind as well; more states than colours are told apart by a pattern.
struct StateColor
{
    QColor fill;
    // On the fill.
    QColor text;
    Qt::BrushStyle pattern = Qt::SolidPattern;

    static StateColor of(const QString &state);
    static StateColor ofCall(bool hasFailed);
    static StateColor ofService();
};

void fill(QPainter &painter, QRect rect, const StateColor &color);

#endif
