// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_WIDGET_TEST_MAIN_H
#define TESTS_WIDGET_TEST_MAIN_H

#include "kit.h"

#include <Ostrel/Testing/Main>

#include <QtWidgets/QApplication>

// As OSTREL_TEST_MAIN, for a test with widgets. It needs no display.
#define OSTREL_WIDGET_TEST_MAIN(Test)                                                              \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        qputenv("QT_QPA_PLATFORM", "offscreen");                                                   \
        qputenv("TZ", "UTC");                                                                      \
        Ostrel::Testing::isolate();                                                                \
        const QApplication application(argc, argv);                                                \
        Test test;                                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

#endif
