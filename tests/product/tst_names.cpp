// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QString>

// The bus names, letter by letter: other programs rely on them.
class TestNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busNamesAreSpelledAsDocumented();
};

void TestNames::busNamesAreSpelledAsDocumented()
{
    const QString prefix = QStringLiteral(OSTREL_VENDOR_PREFIX);
    const QString service = prefix + QStringLiteral(".Ostrel");
    const QString path =
        QLatin1Char('/') + QString(service).replace(QLatin1Char('.'), QLatin1Char('/'));
    QCOMPARE(QStringLiteral(OSTREL_SERVICE_NAME), service);
    QCOMPARE(QStringLiteral(OSTREL_SERVICE_PATH), path);
    QCOMPARE(QStringLiteral(OSTREL_ERROR_PREFIX), service + QStringLiteral(".Error."));
    QCOMPARE(QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX),
             QStringLiteral("org.freedesktop.DBus.Error."));
    QCOMPARE(QStringLiteral(OSTREL_TASK_INVOKER_PATH), path + QStringLiteral("/TaskInvoker1"));
    QCOMPARE(QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE),
             service + QStringLiteral(".TaskInvoker1"));
    QCOMPARE(QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH),
             path + QStringLiteral("/TaskInvokerSessions/"));
    QCOMPARE(QStringLiteral(OSTREL_TASK_INVOKER_SESSION_INTERFACE),
             service + QStringLiteral(".TaskInvokerSession1"));
    QCOMPARE(QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
             path + QStringLiteral("/WindowManagement1"));
    QCOMPARE(QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
             service + QStringLiteral(".WindowManagement1"));
    QCOMPARE(QStringLiteral(OSTREL_SIMULATOR_PATH), path + QStringLiteral("/Simulator1"));
    QCOMPARE(QStringLiteral(OSTREL_SIMULATOR_INTERFACE), service + QStringLiteral(".Simulator1"));
}

OSTREL_TEST_MAIN(TestNames)

#include "tst_names.moc"
