// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_MARKS_H
#define MONITOR_MARKS_H

#include "history_event.h"

#include <QtCore/QPoint>
#include <QtGui/QPalette>
#include <QtGui/QPixmap>

#include <array>

class QPainter;

// Marks of moments. Each kind has a shape of its own, so that the colour is not needed.
class Marks
{
public:
    enum Shape {
        Start,
        End,
        OutOfMemory,
        Moment,
    };

    // size: an odd number of pixels.
    Marks(const QPalette &palette, int size);

    static Shape shapeOf(HistoryEvent::Kind kind);
    // The colour of what concerns all lanes.
    static QColor alarm(const QPalette &palette);

    void paint(QPainter &painter, QPoint center, Shape shape);

private:
    void draw(QPainter &painter, Shape shape) const;

    QPalette m_palette;
    int m_size;
    // Painted once: there may be thousands.
    std::array<QPixmap, Moment + 1> m_pixmaps;
};

#endif
