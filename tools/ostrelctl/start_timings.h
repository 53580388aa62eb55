// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_START_TIMINGS_H
#define OSTRELCTL_START_TIMINGS_H

#include <QtCore/QString>

#include <optional>

// What 'start --timings' measures.
struct StartMeasurement
{
    QString app;
    // In milliseconds, for the reply and for the signals after it; -1 for the default.
    int timeout = -1;
    // How many starts to measure, each terminated before the next one. Without a number, one start
    // is measured, and keeps running.
    std::optional<qint64> repeat;
    bool asJson = false;
};

// Starts the application, and prints when the reply, the signal "Started" and the first state came.
// Returns the exit status.
int measureStarts(const StartMeasurement &measurement);

#endif
