// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_WAITING_H
#define OSTREL_TESTING_WAITING_H

#include <QtCore/QString>

#include <functional>

namespace Ostrel::Testing
{

/**
 * Returns how long a wait of this library lasts at most, in milliseconds: four fifths of the time
 * after which QtTest ends a test function. That time is 5 minutes, or QTEST_FUNCTION_TIMEOUT in the
 * environment, in milliseconds.
 *
 * A busy machine may be slow, so a short limit makes tests fail at random. Any thread may call this
 * function; it makes no bus call.
 */
int waitLimit();

/**
 * Runs the event loop of the calling thread until a condition holds.
 *
 * The condition is looked at after each pass of the event loop, and every few milliseconds. Objects
 * to be deleted later are deleted meanwhile. There must be a QCoreApplication. This makes no bus
 * call.
 *
 * @param condition  returns true when the wait is over.
 * @param what       what the test waits for, to complete the sentence "The test waited … for".
 * @return whether the condition holds. If it does not after waitLimit(), the test function has
 *         failed, with a line that says what it waited for.
 */
bool waitUntil(const std::function<bool()> &condition,
               const QString &what = QStringLiteral("a condition"));

} // namespace Ostrel::Testing

#endif
