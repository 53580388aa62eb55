// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_STAMP_H
#define TOOLS_STAMP_H

#include <QtCore/QString>

// When something happened, in microseconds of two clocks.
struct Stamp
{
    // CLOCK_MONOTONIC: only the distance between two of these counts.
    qint64 monotonic = 0;
    // The time of day, since 1970 in UTC.
    qint64 timeOfDay = 0;

    static Stamp now();

    // "2026-01-31T12:00:00.000000Z".
    QString toUtc() const;

    // "12:00:00.000000", in the local time zone.
    QString toLocalTime() const;
};

#endif
