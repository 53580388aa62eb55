// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_MAIN_H
#define OSTREL_TESTING_MAIN_H

#include <QtTest/QTest>

/**
 * @file
 * The main() of a test.
 */

namespace Ostrel::Testing
{

/**
 * Keeps the process, and the programs that it starts, away from the user's buses and home.
 *
 * Sets the environment: HOME, TMPDIR and XDG_RUNTIME_DIR are a new folder, which is removed when
 * the process ends, also by a signal; the variables for folders below a home, such as
 * XDG_CONFIG_HOME, are unset; the addresses of both message buses lead nowhere, until a PrivateBus
 * sets them. The display of the user stays reachable.
 *
 * Call it as the first thing in a main() of your own, before there are other threads. A second call
 * does nothing. It makes no bus call.
 *
 * @return true. If the folder cannot be made, the test ends with a line that says so.
 */
bool isolate();

} // namespace Ostrel::Testing

/**
 * The main() of a test program, as QTEST_MAIN() of QtTest, with Ostrel::Testing::isolate() before
 * it. The application is a QApplication, a QGuiApplication or a QCoreApplication, by the modules of
 * Qt that the program is built with.
 *
 * @param Test  the class of the test, a QObject.
 */
#define OSTREL_TEST_MAIN(Test)                                                                     \
    [[maybe_unused]] static const bool ostrelTestIsIsolated = Ostrel::Testing::isolate();          \
    QTEST_MAIN(Test)

/**
 * The main() of a test program without windows, as QTEST_GUILESS_MAIN() of QtTest, with
 * Ostrel::Testing::isolate() before it. The application is a QCoreApplication.
 *
 * @param Test  the class of the test, a QObject.
 */
#define OSTREL_TEST_GUILESS_MAIN(Test)                                                             \
    [[maybe_unused]] static const bool ostrelTestIsIsolated = Ostrel::Testing::isolate();          \
    QTEST_GUILESS_MAIN(Test)

#endif
