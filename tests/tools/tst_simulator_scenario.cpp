// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "scenario_test.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusConnection>

// When the steps and the rules of a scenario happen.
class TestSimulatorScenario : public QObject, private ScenarioTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_simulator.reset(); }

    void eachStepHappensOnceInTheOrderOfTheFile();
    void stepWaitsItsTime();
    void stepHappensAtASignal();
    void stepWaitsForTheseArguments_data();
    void stepWaitsForTheseArguments();
    void stepWaitsForItsObject();
    void rulesHoldEachTimeUnlessAStepComesFirst();
    void allRulesActAtEachSignal();
    void ruleAtASignalDoesNotBlockTheService();
    void outOfMemoryKillerEndsAnInstance();
    void stepComesBeforeAFaultOfTheDesk();
};

void TestSimulatorScenario::eachStepHappensOnceInTheOrderOfTheFile()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"fail": "a.b", "message": "first"}]},
             {"at": {"call": "WindowManagement1.UpdateWindowStatus"}, "do": [{"answer": [77]}]},
             {"at": {"call": "UpdateWindowStatus"}})");
    // The first step does not happen yet.
    QCOMPARE(reportWindow("other", 3).state, 3U);
    begin();
    QCOMPARE(reportWindow().error.message(), "first");
    QCOMPARE(reportWindow().state, 77U);
    QCOMPARE(reportWindow("w", 5).state, 5U);
    QCOMPARE(reportWindow("w", 6).state, 6U);
}

void TestSimulatorScenario::stepWaitsItsTime()
{
    start(R"({"after": 200, "do": [{"emit": "SelectedByOom", "values": ["1"]}]},
             {"after": 100, "do": [{"emit": "SelectedByOom", "values": ["2"]}]})");
    ServiceMonitor monitor(m_bus, *m_simulator);
    QElapsedTimer timer;
    timer.start();
    begin();
    m_simulator->desk("WaitForScenario");
    QVERIFY(timer.elapsed() >= 300);
    QCOMPARE(monitor.texts(), (QStringList{"reply u 1", "SelectedByOom s 1", "SelectedByOom s 2"}));
}

void TestSimulatorScenario::stepHappensAtASignal()
{
    start(R"({"at": {"signal": "StateChanged",
                     "arguments": ["demo.Viewer.instance_1", {"State": 2}]},
              "do": [{"emit": "SelectedByOom", "values": ["between"]}]},
             {"at": {"signal": "SelectedByOom"},
              "do": [{"emit": "SelectedByOom", "values": ["last"]}]})");
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    startApplication("demo.Viewer");
    callControl("Terminate", {"demo.Viewer.instance_1"});
    m_simulator->desk("WaitForScenario");
    QStringList names = monitor.texts();
    for (QString &name : names) {
        name = name.section(' ', 0, 0) + (name.startsWith("Sel") ? name.section(' ', 2) : "");
    }
    // The signal that the first step emits counts for the second.
    QCOMPARE(names,
             (QStringList{"reply", "Started", "StateChanged", "reply", "StateChanged", "Terminated",
                          "SelectedByOombetween", "SelectedByOomlast"}));
}

void TestSimulatorScenario::stepWaitsForTheseArguments_data()
{
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isMet");

    const auto row = [](const char *expected, bool isMet) {
        QTest::newRow(expected) << expected << isMet;
    };
    row("[]", true);
    row(R"(["t.App"])", true);
    row(R"([null, {}])", true);
    row(R"([null, {"number": 3, "flag": true, "text": "x", "list": ["a"], "map": {"in": 1.5}}])",
        true);
    row(R"(["t.Other"])", false);
    row(R"([1])", false);
    row(R"([null, {"missing": 3}])", false);
    row(R"([null, {"number": 4}])", false);
    row(R"([null, {"number": "3"}])", false);
    row(R"([null, {"flag": 1}])", false);
    row(R"([null, {"flag": false}])", false);
    row(R"([null, {"text": 3}])", false);
    row(R"([null, {"text": ["x"]}])", false);
    row(R"([null, {"list": ["a", "b"]}])", false);
    row(R"([null, {"list": []}])", false);
    row(R"([null, {"list": "a"}])", false);
    row(R"([null, {"map": {"in": 1}}])", false);
    row(R"([null, {"map": []}])", false);
    row(R"([null, ["number"]])", false);
}

void TestSimulatorScenario::stepWaitsForTheseArguments()
{
    QFETCH(QString, expected);
    QFETCH(bool, isMet);
    start(QString(R"({"at": {"call": "StartDebug", "arguments": %1}, "do": [{"fail": "a.b"}]})")
              .arg(expected));
    begin();
    const QDBusMessage answer = callControl("StartDebug",
                                            {"t.App",
                                             QVariantMap{{"number", 3U},
                                                         {"flag", true},
                                                         {"text", "x"},
                                                         {"list", QStringList("a")},
                                                         {"map", QVariantMap{{"in", 1.5}}}}});
    QCOMPARE(answer.errorName(), isMet ? "a.b" : OSTREL_ERROR_PREFIX "HandlerNotFound");
}

void TestSimulatorScenario::stepWaitsForItsObject()
{
    start(QString(R"({"at": {"call": "Stop", "path": "%1two"}, "do": [{"fail": "a.b"}]})")
              .arg(OSTREL_TASK_INVOKER_SESSIONS_PATH));
    begin();
    QDBusConnection bus = QDBusConnection::sessionBus();
    for (const char *const type : {"one", "two"}) {
        bus.call(QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_TASK_INVOKER_PATH,
                                                OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker")
                 << type);
    }
    QStringList errors;
    for (const char *const type : {"one", "two", "two"}) {
        errors.append(
            bus.call(QDBusMessage::createMethodCall(
                         OSTREL_SERVICE_NAME, QString(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type,
                         OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop")
                     << "task")
                .errorName());
    }
    const QString usual = OSTREL_ERROR_PREFIX "HandlerNotFound";
    QCOMPARE(errors, (QStringList{usual, "a.b", usual}));
}

void TestSimulatorScenario::rulesHoldEachTimeUnlessAStepComesFirst()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1]}]})",
          R"([{"at": {"call": "UpdateWindowStatus", "arguments": ["w"]}, "do": [{"answer": [2]}]},
              {"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [3]}]}])");
    QCOMPARE(reportWindow().state, 2U);
    QCOMPARE(reportWindow("other").state, 3U);
    begin();
    QCOMPARE(reportWindow().state, 1U);
    QCOMPARE(reportWindow().state, 2U);
    QCOMPARE(reportWindow().state, 2U);
}

void TestSimulatorScenario::allRulesActAtEachSignal()
{
    start(QString(),
          R"([{"at": {"signal": "SelectedByOom", "arguments": ["at"]},
               "do": [{"emit": "SelectedByOom", "values": ["first"]}]},
              {"at": {"signal": "SelectedByOom", "arguments": ["at"]},
               "do": [{"emit": "SelectedByOom", "values": ["second"]}]}])");
    ServiceMonitor monitor(m_bus, *m_simulator);
    for (int i = 0; i < 2; ++i) {
        m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "SelectedByOom",
                                {"at"});
        QCOMPARE(
            monitor.texts(),
            (QStringList{"SelectedByOom s at", "SelectedByOom s first", "SelectedByOom s second"}));
    }
}

void TestSimulatorScenario::ruleAtASignalDoesNotBlockTheService()
{
    start(QString(),
          R"([{"at": {"signal": "a.b.C"}, "do": [{"emit": "a.b.C", "path": "/a"}]},
              {"at": {"call": "UpdateWindowStatus"}, "do": [{"emit": "a.b.C", "path": "/a"}]}])");
    // Each signal leads to the next one, for ever.
    QCOMPARE(reportWindow("w", 5).state, 5U);
    QCOMPARE(reportWindow("w", 6).state, 6U);
    QCOMPARE(m_simulator->end(), 3);
}

void TestSimulatorScenario::outOfMemoryKillerEndsAnInstance()
{
    start(R"({"at": {"signal": "Started"}, "do": [{"killByOom": "demo.Viewer.instance_1"}]},
             {"at": {"signal": "Terminated"}})");
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    const QVariantMap details = startApplication("demo.Viewer");
    m_simulator->desk("WaitForScenario");
    QVERIFY(
        monitor.texts().contains(QString("SelectedByOom s %1").arg(details.value("Pid").toInt())));
}

void TestSimulatorScenario::stepComesBeforeAFaultOfTheDesk()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1]}]})");
    begin();
    m_simulator->faults(Method::UpdateWindowStatus).answerNext({2U});
    QCOMPARE(reportWindow().state, 1U);
    QCOMPARE(reportWindow().state, 2U);
}

OSTREL_TEST_MAIN(TestSimulatorScenario)

#include "tst_simulator_scenario.moc"
