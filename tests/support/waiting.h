// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_WAITING_H
#define TESTS_WAITING_H

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <limits>

// A test waits for an event as long as it takes, because a busy machine may need minutes. CTest
// ends a test that hangs.

// The timeout of a call or of a wait that has none, in milliseconds.
constexpr int forever = std::numeric_limits<int>::max();

// Runs the event loop until the condition holds.
template <typename Condition> void waitUntil(Condition condition)
{
    if (condition()) {
        return;
    }
    // Some conditions change without an event.
    QTimer look;
    look.start(5);
    do {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } while (!condition());
}

#endif
