// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "marks.h"

#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <cmath>

Marks::Marks(const QPalette &palette, int size)
    : m_palette(palette)
    , m_size(size)
{
}

Marks::Shape Marks::shapeOf(HistoryEvent::Kind kind)
{
    switch (kind) {
    case HistoryEvent::Started:
        return Start;
    case HistoryEvent::Terminated:
    case HistoryEvent::ServiceLeft:
        return End;
    case HistoryEvent::OutOfMemory:
        return OutOfMemory;
    default:
        return Moment;
    }
}

QColor Marks::alarm(const QPalette &palette)
{
    constexpr int dark = 128;
    return palette.color(QPalette::Base).lightness() < dark ? QColor(0xff, 0x8a, 0x50)
                                                            : QColor(0xc0, 0x30, 0x00);
}

void Marks::paint(QPainter &painter, QPoint center, Shape shape)
{
    QPixmap &pixmap = m_pixmaps.at(std::size_t(shape));
    if (pixmap.isNull()) {
        const qreal ratio = painter.device()->devicePixelRatioF();
        const int pixels = int(std::ceil((m_size + 2) * ratio));
        pixmap = QPixmap(pixels, pixels);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter once(&pixmap);
        once.setRenderHint(QPainter::Antialiasing);
        once.translate(1, 1);
        draw(once, shape);
    }
    painter.drawPixmap(center.x() - m_size / 2 - 1, center.y() - m_size / 2 - 1, pixmap);
}

void Marks::draw(QPainter &painter, Shape shape) const
{
    const QColor text = m_palette.color(QPalette::Text);
    const QColor base = m_palette.color(QPalette::Base);
    const QRectF rect(0, 0, m_size, m_size);
    QPainterPath path;
    switch (shape) {
    case Start:
        path.moveTo(rect.left() + rect.width() * 0.15, rect.top());
        path.lineTo(rect.right(), rect.center().y());
        path.lineTo(rect.left() + rect.width() * 0.15, rect.bottom());
        path.closeSubpath();
        break;
    case End:
        path.addRect(rect.adjusted(m_size * 0.15, m_size * 0.15, -m_size * 0.15, -m_size * 0.15));
        break;
    case Moment:
        path.moveTo(rect.center().x(), rect.top() + rect.height() * 0.15);
        path.lineTo(rect.right() - rect.width() * 0.15, rect.center().y());
        path.lineTo(rect.center().x(), rect.bottom() - rect.height() * 0.15);
        path.lineTo(rect.left() + rect.width() * 0.15, rect.center().y());
        path.closeSubpath();
        break;
    case OutOfMemory: {
        const QRectF inner =
            rect.adjusted(m_size * 0.18, m_size * 0.18, -m_size * 0.18, -m_size * 0.18);
        for (const auto &[color, width] :
             {std::pair(base, m_size * 0.42), std::pair(alarm(m_palette), m_size * 0.24)}) {
            painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(inner.topLeft(), inner.bottomRight());
            painter.drawLine(inner.topRight(), inner.bottomLeft());
        }
        return;
    }
    }
    painter.setPen(QPen(base, 1.5));
    painter.setBrush(shape == Moment ? base : text);
    painter.drawPath(path);
    if (shape == Moment) {
        painter.setPen(QPen(text, 1.5));
        painter.drawPath(path);
    }
}
