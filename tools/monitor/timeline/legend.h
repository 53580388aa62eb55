// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_LEGEND_H
#define MONITOR_LEGEND_H

#include "marks.h"
#include "state_colors.h"

#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QPalette>

#include <optional>

class History;
class QFontMetrics;
class QPainter;
class QRect;

// What the colours and marks mean, on as few lines as needed; of too many states, the first ones.
class Legend
{
public:
    void rebuild(const History *history, bool hasCalls);

    // Lays it out, and returns the height.
    int arrange(int width, const QFontMetrics &metrics);

    void paint(QPainter &painter, QRect rect, const QPalette &palette) const;

    QStringList texts() const;

private:
    struct Entry
    {
        QString text;
        std::optional<StateColor> color;
        std::optional<Marks::Shape> shape;
        bool isAbsence = false;
        QPoint place;
    };

    QVector<Entry> m_entries;
    int m_swatch = 0;
    int m_lineHeight = 0;
    int m_shown = 0;
};

#endif
