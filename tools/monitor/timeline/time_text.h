// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TIME_TEXT_H
#define MONITOR_TIME_TEXT_H

#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

class History;

// "850 µs", "1.25 ms", "12.3 s", "2 min 5 s".
QString durationText(qint64 microseconds);

// Times of a history: of the day, or since its beginning if the trace does not know the day.
class TimeText
{
public:
    explicit TimeText(const History &history);

    // "12:00:00.000000" or "+1.000000 s".
    QString text(qint64 time) const;
    // With as many digits as ticks of this distance need.
    QString tick(qint64 time, qint64 step) const;
    // The widest one.
    QString longestTick(qint64 step) const;
    // "Sun 22 Nov 2026"; null if that is not known, as the short one.
    QString day(qint64 time) const;
    // "22 Nov".
    QString shortDay(qint64 time) const;

    // The distance that is at least this and reads well.
    static qint64 step(double least);
    // The moments of ticks.
    QVector<qint64> ticks(qint64 from, qint64 to, qint64 step) const;

private:
    qint64 zero(qint64 time) const;

    std::optional<qint64> m_timeOfDay;
    qint64 m_firstTime;
};

#endif
