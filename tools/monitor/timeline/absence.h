// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_ABSENCE_H
#define MONITOR_ABSENCE_H

#include <vector>

class History;
class QPainter;
class QPalette;
class QRect;
class TimeScale;

// A piece of the time without a service, in pixels; the right one is not part of it.
struct Absence
{
    int left;
    int right;
};

// What is visible of it.
std::vector<Absence> absences(const History &history, const TimeScale &scale);

void paintAbsence(QPainter &painter, QRect rect, const QPalette &palette);

#endif
