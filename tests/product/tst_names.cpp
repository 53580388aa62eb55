// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QString>

// The bus names, spelled out, because other programs rely on them.
class TestNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busNamesAreSpelledAsDocumented();
};

void TestNames::busNamesAreSpelledAsDocumented()
{
    const QString prefix = OSTREL_VENDOR_PREFIX;
    const QString service = prefix + ".Ostrel";
    const QString path = '/' + QString(service).replace('.', '/');
    QCOMPARE(OSTREL_SERVICE_NAME, service);
    QCOMPARE(OSTREL_SERVICE_PATH, path);
    QCOMPARE(OSTREL_ERROR_PREFIX, service + ".Error.");
    QCOMPARE(OSTREL_STANDARD_ERROR_PREFIX, "org.freedesktop.DBus.Error.");
    QCOMPARE(OSTREL_TASK_INVOKER_PATH, path + "/TaskInvoker1");
    QCOMPARE(OSTREL_TASK_INVOKER_INTERFACE, service + ".TaskInvoker1");
    QCOMPARE(OSTREL_TASK_INVOKER_SESSIONS_PATH, path + "/TaskInvokerSessions/");
    QCOMPARE(OSTREL_TASK_INVOKER_SESSION_INTERFACE, service + ".TaskInvokerSession1");
    QCOMPARE(OSTREL_WINDOW_MANAGEMENT_PATH, path + "/WindowManagement1");
    QCOMPARE(OSTREL_WINDOW_MANAGEMENT_INTERFACE, service + ".WindowManagement1");
    QCOMPARE(OSTREL_SIMULATOR_PATH, path + "/Simulator1");
    QCOMPARE(OSTREL_SIMULATOR_INTERFACE, service + ".Simulator1");
}

OSTREL_TEST_MAIN(TestNames)

#include "tst_names.moc"
