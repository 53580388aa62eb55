// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_MEMORY_FIGURES_H
#define TESTS_MEMORY_FIGURES_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>

#include <functional>

// Measures the memory and the time that the process uses from now on.
class MemoryFigures
{
public:
    MemoryFigures();

    // Prints the figures until now.
    void print(const QString &what) const;

    // Returns how many more bytes are allocated now than at the beginning. With AddressSanitizer,
    // which has its own allocator, returns 0.
    qint64 growth() const;

private:
    qint64 m_residentBefore = 0;
    qint64 m_allocatedBefore = 0;
    QElapsedTimer m_timer;
};

// Runs the function some times, and prints the figures. Returns whether one run left fewer bytes
// allocated than given: a leak would show in every run. Other runs may leave more, because queues
// keep the memory of their longest state, which depends on the scheduler.
bool leavesNothingBehind(const QString &what, const std::function<void()> &run, qint64 bytes);

// Whether the tests of load run in their long form.
bool longTests();

#endif
