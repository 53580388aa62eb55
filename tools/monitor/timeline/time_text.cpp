// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "time_text.h"

#include "history.h"

#include <QtCore/QDateTime>

#include <array>

namespace
{

constexpr qint64 millisecond = 1000;
constexpr qint64 second = 1000 * millisecond;
constexpr qint64 minute = 60 * second;
constexpr qint64 hour = 60 * minute;
constexpr qint64 day = 24 * hour;
constexpr int mostTicks = 1000;

QString withUnit(double value, const char *unit)
{
    return QString::number(value, 'g', 3) + QLatin1Char(' ') + QString::fromUtf8(unit);
}

QString twoUnits(qint64 microseconds, qint64 large, const char *largeUnit, qint64 small,
                 const char *smallUnit)
{
    const qint64 whole = microseconds / large;
    const qint64 rest = microseconds % large / small;
    QString text = QStringLiteral("%1 %2").arg(whole).arg(QLatin1String(largeUnit));
    if (rest > 0) {
        text += QStringLiteral(" %1 %2").arg(rest).arg(QLatin1String(smallUnit));
    }
    return text;
}

// The microseconds are those since 1970.
QDateTime localTime(qint64 time)
{
    // Rounds down, also before 1970.
    const qint64 milliseconds = time / millisecond - (time % millisecond < 0 ? 1 : 0);
    return QDateTime::fromMSecsSinceEpoch(milliseconds);
}

int digits(qint64 step)
{
    return step >= second ? 0 : step >= millisecond ? 3 : 6;
}

QString fraction(qint64 time, int digits)
{
    if (digits == 0) {
        return QString();
    }
    const qint64 microseconds = (time % second + second) % second;
    return QLatin1Char('.')
        + QStringLiteral("%1").arg(microseconds, 6, 10, QLatin1Char('0')).left(digits);
}

} // namespace

QString durationText(qint64 microseconds)
{
    if (microseconds < millisecond) {
        return withUnit(double(microseconds), "µs");
    }
    // What would be rounded up to the next unit is one of it.
    if (double(microseconds) < 999.5 * double(millisecond)) {
        return withUnit(double(microseconds) / double(millisecond), "ms");
    }
    if (double(microseconds) < 59.95 * double(second)) {
        return withUnit(double(microseconds) / double(second), "s");
    }
    const qint64 rounded = (microseconds + second / 2) / second * second;
    return rounded < hour ? twoUnits(rounded, minute, "min", second, "s")
        : rounded < day   ? twoUnits(rounded, hour, "h", minute, "min")
                          : twoUnits(rounded, ::day, "d", hour, "h");
}

TimeText::TimeText(const History &history)
    : m_timeOfDay(history.timeOfDay())
    , m_firstTime(history.firstTime())
{
}

QString TimeText::text(qint64 time) const
{
    return tick(time, 1);
}

QString TimeText::tick(qint64 time, qint64 step) const
{
    if (!m_timeOfDay) {
        const qint64 since = time - m_firstTime;
        const QString text = QString::number(double(since) / double(second), 'f', digits(step));
        return (since >= 0 ? QStringLiteral("+") : QString()) + text + QStringLiteral(" s");
    }
    const QDateTime local = localTime(time + *m_timeOfDay);
    if (step >= ::day) {
        return local.toString(QStringLiteral("d MMM"));
    }
    if (step >= minute) {
        return local.toString(QStringLiteral("HH:mm"));
    }
    return local.toString(QStringLiteral("HH:mm:ss")) + fraction(time + *m_timeOfDay, digits(step));
}

QString TimeText::longestTick(qint64 step) const
{
    constexpr qint64 longestStep = 100'000'000'000'000;
    const qint64 between = qBound(second, step, longestStep);
    return !m_timeOfDay ? tick(m_firstTime + 9'999 * between, step)
        : step >= ::day ? QStringLiteral("88 MMM")
                        : tick(-*m_timeOfDay, step);
}

QString TimeText::day(qint64 time) const
{
    return m_timeOfDay ? localTime(time + *m_timeOfDay).toString(QStringLiteral("ddd d MMM yyyy"))
                       : QString();
}

QString TimeText::shortDay(qint64 time) const
{
    return m_timeOfDay ? tick(time, ::day) : QString();
}

qint64 TimeText::step(double least)
{
    qint64 decimal = 1;
    for (; decimal < second; decimal *= 10) {
        for (const int factor : {1, 2, 5}) {
            if (double(decimal * factor) >= least) {
                return decimal * factor;
            }
        }
    }
    constexpr std::array steps{second,      2 * second,  5 * second, 10 * second, 15 * second,
                               30 * second, minute,      2 * minute, 5 * minute,  10 * minute,
                               15 * minute, 30 * minute, hour,       2 * hour,    3 * hour,
                               6 * hour,    12 * hour,   ::day};
    for (const qint64 step : steps) {
        if (double(step) >= least) {
            return step;
        }
    }
    qint64 days = ::day;
    while (double(days) < least && days < (qint64(1) << 58)) {
        days *= 2;
    }
    return days;
}

// Where ticks of all distances meet: midnight, or the beginning.
qint64 TimeText::zero(qint64 time) const
{
    if (!m_timeOfDay) {
        return m_firstTime;
    }
    const qint64 offset = localTime(time + *m_timeOfDay).offsetFromUtc();
    return -*m_timeOfDay - offset * second;
}

QVector<qint64> TimeText::ticks(qint64 from, qint64 to, qint64 step) const
{
    QVector<qint64> all;
    const qint64 begin = zero(from);
    const qint64 late = ((from - begin) % step + step) % step;
    for (qint64 time = late == 0 ? from : from + step - late; time <= to && all.size() < mostTicks;
         time += step) {
        all.append(time);
    }
    return all;
}
