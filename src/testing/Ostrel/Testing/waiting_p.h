// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_WAITING_P_H
#define OSTREL_TESTING_WAITING_P_H

#include <QtCore/QString>

#include <functional>

namespace Ostrel::Testing
{

// How often a wait looks at what changes without an event, in milliseconds.
constexpr int lookPause = 5;

// Runs the event loop until the condition holds or the limit has passed. Returns whether it holds.
bool runLoopUntil(const std::function<bool()> &condition);

// Marks the test function that runs as failed. Ends the test if none runs.
void failTest(const QString &message);

// Returns the beginning of the message of a wait that has failed.
QString waitedFor(const QString &what);

} // namespace Ostrel::Testing

#endif
