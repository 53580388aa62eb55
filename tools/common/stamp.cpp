// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "stamp.h"

#include <QtCore/QDateTime>

#include <ctime>

namespace
{

constexpr qint64 perSecond = 1'000'000;
constexpr qint64 perMillisecond = 1'000;

qint64 read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return qint64(time.tv_sec) * perSecond + time.tv_nsec / perMillisecond;
}

// QDateTime has milliseconds only.
QString formatted(const QDateTime &second, const QString &format, qint64 timeOfDay)
{
    return second.toString(format)
        + QStringLiteral(".%1").arg(timeOfDay % perSecond, 6, 10, QLatin1Char('0'));
}

} // namespace

Stamp Stamp::now()
{
    return {read(CLOCK_MONOTONIC), read(CLOCK_REALTIME)};
}

QString Stamp::toUtc() const
{
    return formatted(QDateTime::fromSecsSinceEpoch(timeOfDay / perSecond, Qt::UTC),
                     QStringLiteral("yyyy-MM-ddTHH:mm:ss"), timeOfDay)
        + QLatin1Char('Z');
}

QString Stamp::toLocalTime() const
{
    return formatted(QDateTime::fromSecsSinceEpoch(timeOfDay / perSecond),
                     QStringLiteral("HH:mm:ss"), timeOfDay);
}
