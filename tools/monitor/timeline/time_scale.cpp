// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "time_scale.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double leastPerPixel = 0.05;
constexpr double mostPerPixel = 1e14;
// Far away from every time, and from what the type holds.
constexpr double farthest = 1e18;

} // namespace

void TimeScale::setWidth(int width)
{
    m_width = std::max(width, 1);
}

int TimeScale::pixel(qint64 time) const
{
    return int(std::floor(std::clamp(x(time), -1.0, double(m_width))));
}

qint64 TimeScale::timeAt(double x) const
{
    return m_begin
        + qint64(std::clamp(std::ceil(m_fraction + x * m_perPixel), -farthest, farthest));
}

void TimeScale::setBegin(qint64 time)
{
    m_begin = time;
    m_fraction = 0;
}

void TimeScale::move(double pixels)
{
    advance(pixels * m_perPixel);
}

void TimeScale::zoom(double factor, double x)
{
    const double perPixel = std::clamp(m_perPixel / factor, leastPerPixel, mostPerPixel);
    advance(x * (m_perPixel - perPixel));
    m_perPixel = perPixel;
}

void TimeScale::fit(qint64 from, qint64 to)
{
    m_perPixel =
        std::clamp(double(std::max<qint64>(to - from, 0)) / m_width, leastPerPixel, mostPerPixel);
    setBegin(from);
}

bool TimeScale::operator==(const TimeScale &other) const
{
    return m_begin == other.m_begin && m_fraction == other.m_fraction
        && m_perPixel == other.m_perPixel && m_width == other.m_width;
}

void TimeScale::advance(double microseconds)
{
    const double moved = m_fraction + microseconds;
    const double whole = std::floor(moved);
    m_fraction = moved - whole;
    m_begin = std::clamp(m_begin + qint64(std::clamp(whole, -farthest, farthest)),
                         qint64(-farthest), qint64(farthest));
}
