// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "scenario_test.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>

// What a call gets at a step of a scenario.
class TestSimulatorScenarioReplies : public QObject, private ScenarioTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_simulator.reset(); }

    void callGetsTheReplyOfTheStep_data();
    void callGetsTheReplyOfTheStep();
    void valuesHaveTheTypesOfTheSignature_data();
    void valuesHaveTheTypesOfTheSignature();
    void ignoredCallIsNeverAnswered();
    void delayedReplyComesLater();
    void repliesAreHeldAndReleased();
    void releaseWaitsForTheReply();
};

void TestSimulatorScenarioReplies::callGetsTheReplyOfTheStep_data()
{
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QStringList>("messages");

    const auto row = [](const char *actions, const QStringList &messages) {
        QTest::newRow(actions) << actions << messages;
    };
    const QString signal = "SelectedByOom s 17";
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

void TestSimulatorScenarioReplies::callGetsTheReplyOfTheStep()
{
    QFETCH(QString, actions);
    QFETCH(QStringList, messages);
    start(QString(R"({"at": {"call": "UpdateWindowStatus"}, "do": [%1]})").arg(actions));
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    reportWindow("w", 5);
    QCOMPARE(monitor.texts(), messages);
}

void TestSimulatorScenarioReplies::valuesHaveTheTypesOfTheSignature_data()
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

void TestSimulatorScenarioReplies::valuesHaveTheTypesOfTheSignature()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    QFETCH(QString, text);
    start(QString(R"({"at": {"call": "UpdateWindowStatus"},
                      "do": [{"answer": [%1], "signature": "%2"}]})")
              .arg(value, signature));
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    reportWindow();
    QCOMPARE(monitor.texts(), QStringList(QString("reply %1 %2").arg(signature, text).trimmed()));
}

void TestSimulatorScenarioReplies::ignoredCallIsNeverAnswered()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"ignore": true}]})");
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    Ostrel::WindowManagement windows;
    QObject context;
    Outcomes outcomes;
    windows.updateWindowStatus("w", 5, 0, 0, &context, outcomes.callback());
    windows.updateWindowStatus("w", 6, 0, 0, &context, outcomes.callback());
    outcomes.waitFor(1);
    QCOMPARE(monitor.texts(), QStringList("reply u 6"));
}

void TestSimulatorScenarioReplies::delayedReplyComesLater()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"fail": "a.b", "delay": 200}]})");
    begin();
    QElapsedTimer timer;
    timer.start();
    QVERIFY(reportWindow().error);
    QVERIFY(timer.elapsed() >= 200);
}

void TestSimulatorScenarioReplies::repliesAreHeldAndReleased()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1], "hold": true}]},
             {"at": {"call": "UpdateWindowStatus"}, "do": [{"hold": true}]},
             {"at": {"call": "UpdateWindowStatus"},
              "do": [{"release": "UpdateWindowStatus", "order": [1, 0]}]})");
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
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
void TestSimulatorScenarioReplies::releaseWaitsForTheReply()
{
    start(R"({"at": {"call": "Control1.Start"}, "do": [{"hold": true}]},
             {"do": [{"release": "Control1.Start"}, {"emit": "SelectedByOom", "values": ["x"]}]})");
    begin();
    ServiceMonitor monitor(m_bus, *m_simulator);
    startApplication("demo.Viewer");
    QStringList names = monitor.texts();
    for (QString &name : names) {
        name = name.section(' ', 0, 0);
    }
    QCOMPARE(names, (QStringList{"reply", "SelectedByOom", "Started", "StateChanged"}));
}

OSTREL_TEST_MAIN(TestSimulatorScenarioReplies)

#include "tst_simulator_scenario_replies.moc"
