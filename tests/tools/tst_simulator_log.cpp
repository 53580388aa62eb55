// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <optional>

// What the simulator remembers: the calls that it received, and the windows that were reported.
class TestSimulatorLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void logHoldsWhatWasReceived();
    void logHoldsRefusedCalls_data();
    void logHoldsRefusedCalls();
    void logHoldsCallsOfTheStandardInterfaces();
    void clearCallsEmptiesTheLogAlone();
    void windowsAreRemembered();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorLog::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestSimulatorLog::cleanup()
{
    m_simulator->reset();
}

void TestSimulatorLog::logHoldsWhatWasReceived()
{
    reportWindow(QStringLiteral("main"), 4, -5, 6);
    const QString logged = busctlDesk(*m_bus, QStringLiteral("Calls"));
    QCOMPARE(logged,
             QStringLiteral("{'type':'a(ssssav)','data':[[['%1/WindowManagement1',"
                            "'%2.WindowManagement1','UpdateWindowStatus','siii',"
                            "[{'type':'s','data':'main'},{'type':'i','data':4},"
                            "{'type':'i','data':-5},{'type':'i','data':6}]]]]}")
                 .arg(QStringLiteral(OSTREL_SERVICE_PATH), QStringLiteral(OSTREL_SERVICE_NAME))
                 .replace(QLatin1Char('\''), QLatin1Char('"')));
    // Reading the log back leaves no trace in it.
    QCOMPARE(m_simulator->calls().size(), 1);
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

    const QString path = QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH);
    const QString interface = QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE);
    const QString method = QStringLiteral("UpdateWindowStatus");
    const QString error = QStringLiteral("org.freedesktop.DBus.Error.");
    QTest::newRow("path") << path + QStringLiteral("/x") << interface << method << QVariantList()
                          << QString() << error + QStringLiteral("UnknownObject")
                          << QStringLiteral("No object at the path %1/x").arg(path);
    QTest::newRow("interface") << path << QStringLiteral("a.b") << method << QVariantList{1U}
                               << QStringLiteral("u") << error + QStringLiteral("UnknownInterface")
                               << QStringLiteral("No interface \"a.b\" at the path %1").arg(path);
    QTest::newRow("method")
        << path << interface << QStringLiteral("Nonsense") << QVariantList() << QString()
        << error + QStringLiteral("UnknownMethod")
        << QStringLiteral("No method \"Nonsense\" in the interface %1").arg(interface);
    QTest::newRow("signature") << path << interface << method
                               << QVariantList{QStringLiteral("w"), 1, 2U, 3}
                               << QStringLiteral("siui") << error + QStringLiteral("InvalidArgs")
                               << QStringLiteral("UpdateWindowStatus takes \"siii\", not \"siui\"");
    QTest::newRow("too many arguments")
        << path << interface << method << QVariantList{QStringLiteral("w"), 1, 2, 3, 4}
        << QStringLiteral("siiii") << error + QStringLiteral("InvalidArgs")
        << QStringLiteral("UpdateWindowStatus takes \"siii\", not \"siiii\"");
}

void TestSimulatorLog::logHoldsRefusedCalls()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, member);
    QFETCH(QVariantList, arguments);
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME), path,
                                                       interface, member);
    call.setArguments(arguments);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call);
    QTEST(answer.errorName(), "error");
    QTEST(answer.errorMessage(), "message");

    const QVector<Call> calls = m_simulator->calls();
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
        const QDBusMessage answer = QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME), path,
                                           QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                           QStringLiteral("Introspect")));
        QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    };
    introspect(QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH));
    introspect(QStringLiteral(OSTREL_SIMULATOR_PATH));
    const QVector<Call> calls = m_simulator->calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.constFirst().path, QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH));
    QCOMPARE(calls.constFirst().member, QStringLiteral("Introspect"));
}

void TestSimulatorLog::clearCallsEmptiesTheLogAlone()
{
    reportWindow();
    m_simulator->windowStatus().failNext(QStringLiteral("a.b"), QStringLiteral("kept"));
    QCOMPARE(m_simulator->desk(QStringLiteral("ClearCalls")).type(), QDBusMessage::ReplyMessage);
    QVERIFY(m_simulator->calls().isEmpty());
    QCOMPARE(reportWindow().error.message(), QStringLiteral("kept"));
}

void TestSimulatorLog::windowsAreRemembered()
{
    const auto windows = [this] { return busctlDesk(*m_bus, QStringLiteral("Windows")); };
    QCOMPARE(windows(), QStringLiteral("{\"type\":\"a(siii)\",\"data\":[[]]}"));
    reportWindow(QStringLiteral("b"), 1, 2, 3);
    reportWindow(QStringLiteral("a"), 4, 5, 6);
    reportWindow(QStringLiteral("b"), 7, 8, -9);
    m_simulator->windowStatus().failNext(QStringLiteral("a.b"), QStringLiteral("no effect"));
    reportWindow(QStringLiteral("a"), 0, 0, 0);
    QCOMPARE(windows(),
             QStringLiteral("{\"type\":\"a(siii)\",\"data\":[[[\"a\",4,5,6],[\"b\",7,8,-9]]]}"));
}

OSTREL_TEST_MAIN(TestSimulatorLog)

#include "tst_simulator_log.moc"
