// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TIME_SCALE_H
#define MONITOR_TIME_SCALE_H

#include <QtCore/QtGlobal>

// Which time is where on the screen.
class TimeScale
{
public:
    int width() const { return m_width; }
    void setWidth(int width);

    // In microseconds.
    double perPixel() const { return m_perPixel; }
    qint64 begin() const { return m_begin; }
    double span() const { return m_perPixel * m_width; }

    double x(qint64 time) const { return (double(time - m_begin) - m_fraction) / m_perPixel; }
    // As a pixel, which may lie next to the visible ones.
    int pixel(qint64 time) const;
    // The first moment at this place or after it.
    qint64 timeAt(double x) const;

    void setBegin(qint64 time);
    void move(double pixels);
    // A factor above 1 shows less. What is at this place stays there.
    void zoom(double factor, double x);
    void fit(qint64 from, qint64 to);

    bool operator==(const TimeScale &other) const;

private:
    void advance(double microseconds);

    // The left edge is the fraction of a microsecond after this.
    qint64 m_begin = 0;
    double m_fraction = 0;
    double m_perPixel = 10'000;
    int m_width = 1;
};

#endif
