// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_MEMORY_FIGURES_H
#define TESTS_MEMORY_FIGURES_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QString>

#include <functional>

// What the process takes of memory and time from here on.
class MemoryFigures
{
public:
    MemoryFigures();

    // Takes the figures after it, and prints them all.
    void print(const QString &what) const;

    // How many bytes more are allocated now than before. Nothing, where that cannot be seen:
    // AddressSanitizer has an allocator of its own.
    qint64 growth() const;

private:
    qint64 m_residentBefore = 0;
    qint64 m_allocatedBefore = 0;
    QElapsedTimer m_timer;
};

// Whether one of some runs leaves fewer bytes allocated than that, which none does that leaks.
// Other runs may add to queues that keep the memory of their longest state: how long they become
// depends on the scheduler.
bool leavesNothingBehind(const std::function<void()> &run, qint64 bytes);

// Whether the tests of load are to take as long as it takes.
bool longTests();

#endif
