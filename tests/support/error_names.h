// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_ERROR_NAMES_H
#define TESTS_ERROR_NAMES_H

#include "DBus/names_p.h"

#include <QtTest/QTest>

// Adds a row for each bus error that has a code, and one for an error that has none.
inline void addErrorNames()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    const QString service = OSTREL_ERROR_PREFIX;
    const QString standard = OSTREL_STANDARD_ERROR_PREFIX;
    QTest::newRow("NoError") << service + "NoError" << 0;
    QTest::newRow("Failed") << standard + "Failed" << 1;
    QTest::newRow("HandlerNotFound") << service + "HandlerNotFound" << 2;
    QTest::newRow("HandlerFailed") << service + "HandlerFailed" << 3;
    QTest::newRow("InvalidArgs") << standard + "InvalidArgs" << 4;
    QTest::newRow("NotSupported") << standard + "NotSupported" << 5;
    QTest::newRow("AccessDenied") << standard + "AccessDenied" << 6;
    QTest::newRow("ProcessNotHandled") << service + "ProcessNotHandled" << 7;
    QTest::newRow("ApplicationNotRunning") << service + "ApplicationNotRunning" << 8;
    QTest::newRow("ApplicationAlreadyRunning") << service + "ApplicationAlreadyRunning" << 9;
    QTest::newRow("somebody else's") << "com.example.Failed" << 1;
}

#endif
