// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "outcomes.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

// The simulator remembers the calls that it received and the windows that were reported.
class TestSimulatorLog : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void logHoldsWhatWasReceived();
    void logHoldsRefusedCalls_data();
    void logHoldsRefusedCalls();
    void logHoldsCallsOfTheStandardInterfaces();
    void clearCallsEmptiesOnlyTheLog();
    void windowsAreRemembered();
};

void TestSimulatorLog::logHoldsWhatWasReceived()
{
    reportWindow("main", 4, -5, 6);
    const QString logged = busctlDesk(m_bus, "Calls");
    QCOMPARE(logged,
             QString("{'type':'a(ssssav)','data':[[['%1/WindowManagement1',"
                     "'%2.WindowManagement1','UpdateWindowStatus','siii',"
                     "[{'type':'s','data':'main'},{'type':'i','data':4},"
                     "{'type':'i','data':-5},{'type':'i','data':6}]]]]}")
                 .arg(OSTREL_SERVICE_PATH, OSTREL_SERVICE_NAME)
                 .replace('\'', '"'));
    // Reading the log is not logged.
    QCOMPARE(m_simulator.calls().size(), 1);
}

void TestSimulatorLog::logHoldsRefusedCalls_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");

    const QString path = OSTREL_WINDOW_MANAGEMENT_PATH;
    const QString interface = OSTREL_WINDOW_MANAGEMENT_INTERFACE;
    const QString method = "UpdateWindowStatus";
    const QString error = "org.freedesktop.DBus.Error.";
    QTest::newRow("path") << path + "/x" << interface << method << QVariantList() << QString()
                          << error + "UnknownObject"
                          << QString("No object at the path %1/x").arg(path);
    QTest::newRow("interface") << path << "a.b" << method << QVariantList{1U} << "u"
                               << error + "UnknownInterface"
                               << QString("No interface \"a.b\" at the path %1").arg(path);
    QTest::newRow("method") << path << interface << "Nonsense" << QVariantList() << QString()
                            << error + "UnknownMethod"
                            << QString("No method \"Nonsense\" in the interface %1").arg(interface);
    QTest::newRow("signature") << path << interface << method << QVariantList{"w", 1, 2U, 3}
                               << "siui" << error + "InvalidArgs"
                               << "UpdateWindowStatus takes \"siii\", not \"siui\"";
    QTest::newRow("too many arguments")
        << path << interface << method << QVariantList{"w", 1, 2, 3, 4} << "siiii"
        << error + "InvalidArgs"
        << "UpdateWindowStatus takes \"siii\", not \"siiii\"";
}

void TestSimulatorLog::logHoldsRefusedCalls()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, member);
    QFETCH(QVariantList, arguments);
    QDBusMessage call =
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, path, interface, member);
    call.setArguments(arguments);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call);
    QTEST(answer.errorName(), "error");
    QTEST(answer.errorMessage(), "message");

    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.constFirst().path, path);
    QCOMPARE(calls.constFirst().interface, interface);
    QCOMPARE(calls.constFirst().member, member);
    QTEST(calls.constFirst().signature, "signature");
    QCOMPARE(calls.constFirst().arguments, arguments);
}

void TestSimulatorLog::logHoldsCallsOfTheStandardInterfaces()
{
    const auto introspect = [](const QString &path) {
        const QDBusMessage answer =
            QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
                OSTREL_SERVICE_NAME, path, "org.freedesktop.DBus.Introspectable", "Introspect"));
        QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    };
    introspect(OSTREL_WINDOW_MANAGEMENT_PATH);
    introspect(OSTREL_SIMULATOR_PATH);
    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.constFirst().path, OSTREL_WINDOW_MANAGEMENT_PATH);
    QCOMPARE(calls.constFirst().member, "Introspect");
}

void TestSimulatorLog::clearCallsEmptiesOnlyTheLog()
{
    reportWindow();
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "kept");
    QCOMPARE(m_simulator.desk("ClearCalls").type(), QDBusMessage::ReplyMessage);
    QVERIFY(m_simulator.calls().isEmpty());
    QCOMPARE(reportWindow().error.message(), "kept");
}

void TestSimulatorLog::windowsAreRemembered()
{
    const auto windows = [this] { return busctlDesk(m_bus, "Windows"); };
    QCOMPARE(windows(), "{\"type\":\"a(siii)\",\"data\":[[]]}");
    reportWindow("b", 1, 2, 3);
    reportWindow("a", 4, 5, 6);
    reportWindow("b", 7, 8, -9);
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "no effect");
    reportWindow("a", 0, 0, 0);
    QCOMPARE(windows(), "{\"type\":\"a(siii)\",\"data\":[[[\"a\",4,5,6],[\"b\",7,8,-9]]]}");
}

OSTREL_TEST_MAIN(TestSimulatorLog)

#include "tst_simulator_log.moc"
