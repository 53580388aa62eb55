// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "files.h"
#include "kit.h"
#include "outcomes.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusPendingCall>

#include <optional>

// What the steps of a scenario do, and when.
class TestSimulatorScenario : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_bus.emplace(); }
    void cleanup() { m_simulator.reset(); }

    void eachStepHappensOnceInTheOrderOfTheFile();
    void callGetsTheReplyOfTheStep_data();
    void callGetsTheReplyOfTheStep();
    void valuesHaveTheTypesOfTheSignature_data();
    void valuesHaveTheTypesOfTheSignature();
    void ignoredCallIsNeverAnswered();
    void delayedReplyComesLater();
    void repliesAreHeldAndReleased();
    void releaseWaitsForTheReply();
    void stepWaitsItsTime();
    void stepHappensAtASignal();
    void stepWaitsForTheseArguments_data();
    void stepWaitsForTheseArguments();
    void stepWaitsForItsObject();
    void rulesHoldEachTimeUnlessAStepComesFirst();
    void ruleAtASignalDoesNotBlockTheService();
    void outOfMemoryKillerEndsAnInstance();
    void stepComesBeforeAFaultOfTheDesk();

private:
    // Starts the simulator with these steps, after a call that lets the test begin.
    void start(const QString &steps, const QString &always = "[]");
    // Makes that call. After it, the first step is the next.
    void begin() { reportWindow("begin"); }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorScenario::start(const QString &steps, const QString &always)
{
    const QString file = m_folder.filePath("scenario.json");
    const QString begin =
        R"({"at": {"call": "UpdateWindowStatus", "arguments": ["begin"]}, "comment": "the test"})";
    writeFile(file,
              QString(R"({"steps": [%1%2], "always": %3})")
                  .arg(begin, steps.isEmpty() ? steps : ", " + steps, always));
    m_simulator.emplace(*m_bus, QStringList{"--scenario", file});
    m_simulator->start();
}

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

void TestSimulatorScenario::callGetsTheReplyOfTheStep_data()
{
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QStringList>("messages");

    const auto row = [](const char *actions, const QStringList &messages) {
        QTest::newRow(actions) << actions << messages;
    };
    const QString signal = "SelectedByOom s 17";
    const QString emission = R"({"emit": "SelectedByOom", "values": ["17"]})";
    row("", {"reply u 5"});
    row(R"({"answer": [7]})", {"reply u 7"});
    row(R"({"answer": [7], "delay": 1})", {"reply u 7"});
    row(R"({"delay": 1})", {"reply u 5"});
    row(R"({"answer": [], "signature": ""})", {"reply"});
    row(R"json({"answer": ["x", 3, [1, "y"]], "signature": "sd(iv)"})json",
        {"reply sd(iv) x 3 1 {data=: type=:}"});
    row(R"({"fail": "HandlerFailed", "message": "not today"})",
        {OSTREL_ERROR_PREFIX "HandlerFailed s not today"});
    row(R"({"fail": "a.b"})", {"a.b s"});
    row(R"({"fail": "a.b", "values": [1, "x"]})", {"a.b is 1 x"});
    row(R"({"fail": "a.b", "values": [1], "signature": "u"})", {"a.b u 1"});
    row(R"({"emit": "SelectedByOom", "values": ["17"]}, {"answer": [7]})", {signal, "reply u 7"});
    row(R"({"answer": [7]}, {"emit": "SelectedByOom", "values": ["17"]})", {"reply u 7", signal});
    // Without an action that replies, the usual reply comes first.
    row(R"({"emit": "SelectedByOom", "values": ["17"]})", {"reply u 5", signal});
    row(R"({"emit": "Control1.Started", "values": ["i", {"Pid": 3}]})",
        {"reply u 5", "Started sa{sv} i {Pid=i:PID}"});
    row(R"({"emit": "a.b.C", "path": "/a", "values": [true, ["x"], [1]]})",
        {"reply u 5", "C basav true x {data=: type=:}"});
    row(R"({"emit": "a.b.C", "path": "/a", "signature": "y", "values": [1]})",
        {"reply u 5", "C y 1"});
}

void TestSimulatorScenario::callGetsTheReplyOfTheStep()
{
    QFETCH(QString, actions);
    QFETCH(QStringList, messages);
    start(QString(R"({"at": {"call": "UpdateWindowStatus"}, "do": [%1]})").arg(actions));
    begin();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    reportWindow("w", 5);
    QCOMPARE(monitor.texts(), messages);
}

void TestSimulatorScenario::valuesHaveTheTypesOfTheSignature_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *signature, const char *value, const char *text) {
        QTest::addRow("%s %s", signature, value) << signature << value << text;
    };
    row("y", "255", "255");
    row("b", "true", "true");
    row("n", "-32768", "-32768");
    row("q", "65535", "65535");
    row("i", "-2147483648", "-2147483648");
    row("u", "4294967295", "4294967295");
    row("x", "-9007199254740992", "-9007199254740992");
    row("t", "9007199254740992", "9007199254740992");
    row("d", "1", "1");
    row("s", R"("a\u00e4")", "aä");
    row("o", R"("/a/b")", "/a/b");
    row("g", R"("a{sv}")", "a{sv}");
    row("as", R"(["a", "b"])", "a b");
    row("ay", "[1, 2]", "1 2");
    row("a(siuua{sv})", R"([["a", 1, 2, 3, {"K": true}]])", "a 1 2 3 {K=b:true}");
    row("a(ssiua{sv})", "[]", "");
    row("(s(ai))", R"(["a", [[1, 2]]])", "a 1 2");
    row("a{sv}", R"({"A": 1, "B": 1.5, "C": "x", "D": {"type": "q", "data": 3}})",
        "{A=i:1 B=d:1.5 C=s:x D=q:3}");
    row("a{sv}", R"json({"A": {"type": "a(sia{sv})", "data": [["x", 1, {}]]}})json",
        "{A=a(sia{sv}):x 1 {}}");
}

void TestSimulatorScenario::valuesHaveTheTypesOfTheSignature()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    QFETCH(QString, text);
    start(QString(R"({"at": {"call": "UpdateWindowStatus"},
                      "do": [{"answer": [%1], "signature": "%2"}]})")
              .arg(value, signature));
    begin();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    reportWindow();
    QCOMPARE(monitor.texts(), QStringList(QString("reply %1 %2").arg(signature, text).trimmed()));
}

void TestSimulatorScenario::ignoredCallIsNeverAnswered()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"ignore": true}]})");
    begin();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    Ostrel::WindowManagement windows;
    QObject context;
    Outcomes outcomes;
    windows.updateWindowStatus("w", 5, 0, 0, &context, outcomes.callback());
    windows.updateWindowStatus("w", 6, 0, 0, &context, outcomes.callback());
    outcomes.waitFor(1);
    QCOMPARE(monitor.texts(), QStringList("reply u 6"));
}

void TestSimulatorScenario::delayedReplyComesLater()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"fail": "a.b", "delay": 200}]})");
    begin();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(reportWindow().error);
    QVERIFY(timer.elapsed() >= 200);
}

void TestSimulatorScenario::repliesAreHeldAndReleased()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1], "hold": true}]},
             {"at": {"call": "UpdateWindowStatus"}, "do": [{"hold": true}]},
             {"at": {"call": "UpdateWindowStatus"},
              "do": [{"release": "UpdateWindowStatus", "order": [1, 0]}]})");
    begin();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    Ostrel::WindowManagement windows;
    QObject context;
    Outcomes outcomes;
    for (const int status : {10, 11, 12}) {
        windows.updateWindowStatus("w", status, 0, 0, &context, outcomes.callback());
    }
    outcomes.waitFor(3);
    QCOMPARE(monitor.texts(), (QStringList{"reply u 12", "reply u 11", "reply u 1"}));
}

// A program starts between the call and its reply.
void TestSimulatorScenario::releaseWaitsForTheReply()
{
    start(R"({"at": {"call": "Control1.Start"}, "do": [{"hold": true}]},
             {"do": [{"release": "Control1.Start"}, {"emit": "SelectedByOom", "values": ["x"]}]})");
    begin();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("demo.Viewer");
    QStringList names = monitor.texts();
    for (QString &name : names) {
        name = name.section(' ', 0, 0);
    }
    QCOMPARE(names, (QStringList{"reply", "SelectedByOom", "Started", "StateChanged"}));
}

void TestSimulatorScenario::stepWaitsItsTime()
{
    start(R"({"after": 200, "do": [{"emit": "SelectedByOom", "values": ["1"]}]},
             {"after": 100, "do": [{"emit": "SelectedByOom", "values": ["2"]}]})");
    ServiceMonitor monitor(*m_bus, *m_simulator);
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
    ServiceMonitor monitor(*m_bus, *m_simulator);
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
    ServiceMonitor monitor(*m_bus, *m_simulator);
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
