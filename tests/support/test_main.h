// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TEST_MAIN_H
#define TESTS_TEST_MAIN_H

#include "test_folder.h"
#include "waiting.h"

#include <QtCore/QCoreApplication>
#include <QtTest/QTest>

// Runs the tests of a class without the user's buses and home.
template <typename Test, typename Application = QCoreApplication>
int runTests(int argc, char **argv)
{
    const TestFolder folder;
    for (const char *variable : {"HOME", "TMPDIR", "XDG_RUNTIME_DIR"}) {
        qputenv(variable, folder.path());
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
    // By default, QtTest ends a function after five minutes.
    qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(forever));
    const Application application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

#define OSTREL_TEST_MAIN(Test)                                                                     \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        return runTests<Test>(argc, argv);                                                         \
    }

#endif
