// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "files.h"
#include "kit.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>

#include <csignal>
#include <optional>

namespace
{

const QString catalogue = R"({"applications": [
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true},
    {"id": "t.Stubborn", "program": "/bin/sh", "singleInstance": true,
        "arguments": ["-c", "trap '' TERM; echo ready; while :; do sleep 1; done"]},
    {"id": "t.StubbornService", "program": "sleep", "arguments": ["600"], "singleInstance": true,
        "services": [{"name": "service", "program": "/bin/sh",
            "arguments": ["-c", "trap '' TERM; echo ready; while :; do sleep 1; done"]}]}
]})";

} // namespace

// ".Control1" answers later than other interfaces. The fault desk treats its answers like all
// others.
class TestSimulatorControlFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void failedStartDoesNothing();
    void givenAnswersAreSent();
    void ignoredStartDoesNothing();
    void heldAnswersComeAfterTheSignals();
    void delayedAnswersComeLater();
    void heldAnswersAreSentInTheRequestedOrder();
    void answerThatIsNotThereIsNotHeldYet();
    void everyTerminateIsAnswered();
    void everythingEndsWithTheSimulator();
    void inventedRecordsAreListed();
    void manyRecordsAreListed();
    void resetForgetsWaitingCalls();
    void resetEndsWaitingAtTheDesk();
    void callsAreLogged();

private:
    Faults faults(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorControlFaults::initTestCase()
{
    const QString file = m_folder.filePath("catalogue.json");
    writeFile(file, catalogue);
    m_bus.emplace();
    m_simulator.emplace(*m_bus, QStringList{"--catalogue", file, "--kill-after", "600000"});
    m_simulator->start();
}

void TestSimulatorControlFaults::cleanup()
{
    m_simulator->reset();
}

void TestSimulatorControlFaults::failedStartDoesNothing()
{
    faults("Start").failNext("a.b", "arranged");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("Start", {"t.One"});
    QCOMPARE(monitor.texts(), QStringList("a.b s arranged"));
    startApplication("t.One");
}

void TestSimulatorControlFaults::givenAnswersAreSent()
{
    busctlAnswerNext(*m_bus, OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "a(si)",
                     {"1", "x", "3"});
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("GetRunningApplications");
    QCOMPARE(monitor.texts(), QStringList("reply a(si) x 3"));
}

void TestSimulatorControlFaults::ignoredStartDoesNothing()
{
    faults("Start").ignoreNext();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Start", {"t.One"});
    faults("Start").waitForCalls(1);
    callControl("GetRunningApplications");
    QCOMPARE(monitor.texts(), QStringList("reply a(siuua{sv})a(ssiua{sv})"));
}

void TestSimulatorControlFaults::heldAnswersComeAfterTheSignals()
{
    faults("Start").holdNext(1);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Start", {"t.One"});
    faults("Start").waitForHeld(1);
    faults("Start").release({0});
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 3);
    QVERIFY(texts.at(0).startsWith("Started "));
    QVERIFY(texts.at(1).startsWith("StateChanged "));
    QVERIFY(texts.at(2).startsWith("reply sa{sv} t.One "));
}

void TestSimulatorControlFaults::delayedAnswersComeLater()
{
    startApplication("t.One");
    faults("Terminate").delayNext(200);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    QElapsedTimer timer;
    timer.start();
    callControl("Terminate", {"t.One"});
    QVERIFY(timer.elapsed() >= 200);
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 3);
    QVERIFY(texts.at(1).startsWith("Terminated "));
    QCOMPARE(texts.at(2), "reply");
}

void TestSimulatorControlFaults::heldAnswersAreSentInTheRequestedOrder()
{
    faults("Start").holdNext(2);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Start", {"t.One"});
    faults("Start").waitForHeld(1);
    asyncCallControl("Start", {"t.Nonsense"});
    faults("Start").waitForHeld(2);
    faults("Start").release({1, 0});
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 4);
    QVERIFY(texts.at(2).startsWith(OSTREL_ERROR_PREFIX "HandlerNotFound "));
    QVERIFY(texts.at(3).startsWith("reply "));
}

// The answer is held when it is there, not until the program ends.
void TestSimulatorControlFaults::answerThatIsNotThereIsNotHeldYet()
{
    const int pid = startApplication("t.Stubborn").value("Pid").toInt();
    QCOMPARE(m_simulator->process().readLine(), "ready");
    faults("Terminate").holdNext(1);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Terminate", {"t.Stubborn"});
    faults("Terminate").waitForCalls(1);
    const QDBusMessage tooEarly = m_simulator->desk(
        "Release", {OSTREL_CONTROL_INTERFACE, "Terminate", QVariant::fromValue(QList<uint>{0})});
    QCOMPARE(tooEarly.errorMessage(), "0 held answers; 0 is out of range or named twice");
    QCOMPARE(::kill(pid, SIGKILL), 0);
    faults("Terminate").waitForHeld(1);
    faults("Terminate").release({0});
    QCOMPARE(monitor.texts().constLast(), "reply");
}

void TestSimulatorControlFaults::everyTerminateIsAnswered()
{
    const int pid = startApplication("t.Stubborn").value("Pid").toInt();
    QCOMPARE(m_simulator->process().readLine(), "ready");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Terminate", {"t.Stubborn"});
    asyncCallControl("Terminate", {"t.Stubborn"});
    faults("Terminate").waitForCalls(2);
    QCOMPARE(::kill(pid, SIGKILL), 0);
    QCOMPARE(monitor.textsUntil("Terminated"),
             (QStringList{
                 "reply",
                 "reply",
                 "StateChanged sa{sv} t.Stubborn {State=u:2}",
                 "Terminated sa{sv} t.Stubborn "
                 "{AppId=s:t.Stubborn Kind=u:0 Pid=i:PID Signal=i:9}",
             }));
}

void TestSimulatorControlFaults::everythingEndsWithTheSimulator()
{
    startApplication("t.One");
    faults("Terminate").dieInNext();
    const QDBusMessage answer = callControl("Terminate", {"t.One"});
    QCOMPARE(answer.errorName(), OSTREL_STANDARD_ERROR_PREFIX "NoReply");
    QCOMPARE(m_simulator->waitForEnd(), 1);
    m_simulator->start();
    startApplication("t.One");
}

void TestSimulatorControlFaults::inventedRecordsAreListed()
{
    QCOMPARE(m_simulator->desk("ListNext", {2U, 1U}).type(), QDBusMessage::ReplyMessage);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("GetRunningApplications");
    callControl("GetRunningApplications");
    QCOMPARE(monitor.texts(),
             (QStringList{
                 "reply a(siuua{sv})a(ssiua{sv}) "
                 "made.Up0 0 1 0 {Number=u:0} made.Up1 1 1 1 {Number=u:1} "
                 "made.Up0 service0 0 1 {Number=u:0}",
                 "reply a(siuua{sv})a(ssiua{sv})",
             }));
}

void TestSimulatorControlFaults::manyRecordsAreListed()
{
    m_simulator->desk("ListNext", {10000U, 20000U});
    const QDBusMessage answer = callControl("GetRunningApplications");
    QCOMPARE(answer.signature(), "a(siuua{sv})a(ssiua{sv})");
    const auto count = [](const QVariant &list) {
        const auto argument = list.value<QDBusArgument>();
        int records = 0;
        argument.beginArray();
        while (!argument.atEnd()) {
            argument.asVariant();
            ++records;
        }
        argument.endArray();
        return records;
    };
    QCOMPARE(count(answer.arguments().at(0)), 10000);
    QCOMPARE(count(answer.arguments().at(1)), 20000);
}

// A caller that waits for a forgotten answer gets none.
void TestSimulatorControlFaults::resetForgetsWaitingCalls()
{
    startApplication("t.Stubborn");
    QCOMPARE(m_simulator->process().readLine(), "ready");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl("Terminate", {"t.Stubborn"});
    faults("Terminate").waitForCalls(1);
    m_simulator->reset();
    QCOMPARE(monitor.texts(), QStringList());
    startApplication("t.One");
}

void TestSimulatorControlFaults::resetEndsWaitingAtTheDesk()
{
    startApplication("t.StubbornService");
    QCOMPARE(m_simulator->process().readLine(), "ready");
    const auto asyncDesk = [](const QString &method, const QVariantList &arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH, OSTREL_SIMULATOR_INTERFACE, method);
        call.setArguments(arguments);
        return QDBusConnection::sessionBus().asyncCall(call);
    };
    QDBusPendingCall oom = asyncDesk("KillByOom", {"t.StubbornService"});
    QDBusPendingCall reset = asyncDesk("Reset", {});
    oom.waitForFinished();
    QCOMPARE(oom.error().message(), "The simulator was reset");
    reset.waitForFinished();
    QVERIFY(!reset.isError());
}

void TestSimulatorControlFaults::callsAreLogged()
{
    callControl("Start", {"t.Nonsense"});
    callControl("StartDebug", {"t.Nonsense", QVariantMap{{"sandbox", false}}});
    const QString logged = busctlDesk(*m_bus, "Calls");
    QCOMPARE(logged,
             QString("{'type':'a(ssssav)','data':[[['%1','%2','Start','s',"
                     "[{'type':'s','data':'t.Nonsense'}]],['%1','%2','StartDebug','sa{sv}',"
                     "[{'type':'s','data':'t.Nonsense'},"
                     "{'type':'a{sv}','data':{'sandbox':{'type':'b','data':false}}}]]]]}")
                 .arg(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE)
                 .replace('\'', '"'));
}

OSTREL_TEST_MAIN(TestSimulatorControlFaults)

#include "tst_simulator_control_faults.moc"
