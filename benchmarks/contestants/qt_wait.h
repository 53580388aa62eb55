// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_QT_WAIT_H
#define BENCHMARKS_QT_WAIT_H

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

// Runs the event loop until the counter has reached the number, then resets it to 0.
inline void waitFor(std::size_t &count, std::size_t expected)
{
    while (count < expected) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    count = 0;
}

#endif
