// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "files.h"
#include "service_monitor.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>

#include <csignal>
#include <optional>

namespace
{

const QString catalogue = QStringLiteral(R"({"applications": [
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true},
    {"id": "t.Stubborn", "program": "/bin/sh", "singleInstance": true,
        "arguments": ["-c", "trap '' TERM; echo ready; while :; do sleep 1; done"]},
    {"id": "t.StubbornService", "program": "sleep", "arguments": ["600"], "singleInstance": true,
        "services": [{"name": "service", "program": "/bin/sh",
            "arguments": ["-c", "trap '' TERM; echo ready; while :; do sleep 1; done"]}]}
]})");

} // namespace

// The fault desk with ".Control1", whose answers are not there at once: they meet the same faults
// as those that are.
class TestSimulatorControlFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void failedStartDoesNothing();
    void givenAnswersGoOut();
    void ignoredStartDoesNothing();
    void heldAnswersComeAfterTheSignals();
    void delayedAnswersComeLater();
    void heldAnswersGoOutInTheOrderAskedFor();
    void answerThatIsNotThereIsNotHeldYet();
    void everyOneWhoTerminatesIsAnswered();
    void dyingTakesEverythingAlong();
    void madeUpRecordsAreListed();
    void manyRecordsAreListed();
    void resetForgetsWhoWaits();
    void resetTellsWhoWaitsAtTheDesk();
    void callsAreLogged();

private:
    MethodFaults faults(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorControlFaults::initTestCase()
{
    const QString file = m_folder.filePath(QStringLiteral("catalogue.json"));
    writeFile(file, catalogue);
    m_bus.emplace();
    m_simulator.emplace(*m_bus,
                        QStringList{QStringLiteral("--catalogue"), file,
                                    QStringLiteral("--kill-after"), QStringLiteral("600000")});
    m_simulator->start();
}

void TestSimulatorControlFaults::cleanup()
{
    m_simulator->reset();
}

void TestSimulatorControlFaults::failedStartDoesNothing()
{
    faults("Start").failNext(QStringLiteral("a.b"), QStringLiteral("arranged"));
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl(QStringLiteral("Start"), {QStringLiteral("t.One")});
    QCOMPARE(monitor.texts(), QStringList(QStringLiteral("a.b s arranged")));
    startApplication(QStringLiteral("t.One"));
}

void TestSimulatorControlFaults::givenAnswersGoOut()
{
    busctlAnswerNext(*m_bus, OSTREL_CONTROL_INTERFACE, "GetRunningApplications",
                     QStringLiteral("a(si)"),
                     {QStringLiteral("1"), QStringLiteral("x"), QStringLiteral("3")});
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl(QStringLiteral("GetRunningApplications"));
    QCOMPARE(monitor.texts(), QStringList(QStringLiteral("reply a(si) x 3")));
}

void TestSimulatorControlFaults::ignoredStartDoesNothing()
{
    faults("Start").ignoreNext();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Start"), {QStringLiteral("t.One")});
    faults("Start").waitForCalls(1);
    callControl(QStringLiteral("GetRunningApplications"));
    QCOMPARE(monitor.texts(), QStringList(QStringLiteral("reply a(siuua{sv})a(ssiua{sv})")));
}

void TestSimulatorControlFaults::heldAnswersComeAfterTheSignals()
{
    faults("Start").holdNext(1);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Start"), {QStringLiteral("t.One")});
    faults("Start").waitForHeld(1);
    faults("Start").release({0});
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 3);
    QVERIFY(texts.at(0).startsWith(QStringLiteral("Started ")));
    QVERIFY(texts.at(1).startsWith(QStringLiteral("StateChanged ")));
    QVERIFY(texts.at(2).startsWith(QStringLiteral("reply sa{sv} t.One ")));
}

void TestSimulatorControlFaults::delayedAnswersComeLater()
{
    startApplication(QStringLiteral("t.One"));
    faults("Terminate").delayNext(200);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    QElapsedTimer timer;
    timer.start();
    callControl(QStringLiteral("Terminate"), {QStringLiteral("t.One")});
    QVERIFY(timer.elapsed() >= 200);
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 3);
    QVERIFY(texts.at(1).startsWith(QStringLiteral("Terminated ")));
    QCOMPARE(texts.at(2), QStringLiteral("reply"));
}

void TestSimulatorControlFaults::heldAnswersGoOutInTheOrderAskedFor()
{
    faults("Start").holdNext(2);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Start"), {QStringLiteral("t.One")});
    faults("Start").waitForHeld(1);
    asyncCallControl(QStringLiteral("Start"), {QStringLiteral("t.Nonsense")});
    faults("Start").waitForHeld(2);
    faults("Start").release({1, 0});
    const QStringList texts = monitor.texts();
    QCOMPARE(texts.size(), 4);
    QVERIFY(texts.at(2).startsWith(QStringLiteral(OSTREL_ERROR_PREFIX "HandlerNotFound ")));
    QVERIFY(texts.at(3).startsWith(QStringLiteral("reply ")));
}

// The answer is held when it is there, and not as long as the program does not end.
void TestSimulatorControlFaults::answerThatIsNotThereIsNotHeldYet()
{
    const int pid =
        startApplication(QStringLiteral("t.Stubborn")).value(QStringLiteral("Pid")).toInt();
    QCOMPARE(m_simulator->process().readLine(), QStringLiteral("ready"));
    faults("Terminate").holdNext(1);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Terminate"), {QStringLiteral("t.Stubborn")});
    faults("Terminate").waitForCalls(1);
    const QDBusMessage tooEarly =
        m_simulator->desk(QStringLiteral("Release"),
                          {QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("Terminate"),
                           QVariant::fromValue(QList<uint>{0})});
    QCOMPARE(tooEarly.errorMessage(),
             QStringLiteral("0 held answers; 0 is out of range or named twice"));
    QCOMPARE(::kill(pid, SIGKILL), 0);
    faults("Terminate").waitForHeld(1);
    faults("Terminate").release({0});
    QCOMPARE(monitor.texts().constLast(), QStringLiteral("reply"));
}

void TestSimulatorControlFaults::everyOneWhoTerminatesIsAnswered()
{
    const int pid =
        startApplication(QStringLiteral("t.Stubborn")).value(QStringLiteral("Pid")).toInt();
    QCOMPARE(m_simulator->process().readLine(), QStringLiteral("ready"));
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Terminate"), {QStringLiteral("t.Stubborn")});
    asyncCallControl(QStringLiteral("Terminate"), {QStringLiteral("t.Stubborn")});
    faults("Terminate").waitForCalls(2);
    QCOMPARE(::kill(pid, SIGKILL), 0);
    QCOMPARE(monitor.textsUntil(QStringLiteral("Terminated")),
             (QStringList{
                 QStringLiteral("reply"),
                 QStringLiteral("reply"),
                 QStringLiteral("StateChanged sa{sv} t.Stubborn {State=u:2}"),
                 QStringLiteral("Terminated sa{sv} t.Stubborn "
                                "{AppId=s:t.Stubborn Kind=u:0 Pid=i:PID Signal=i:9}"),
             }));
}

void TestSimulatorControlFaults::dyingTakesEverythingAlong()
{
    startApplication(QStringLiteral("t.One"));
    faults("Terminate").dieInNext();
    const QDBusMessage answer = callControl(QStringLiteral("Terminate"), {QStringLiteral("t.One")});
    QCOMPARE(answer.errorName(), QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX "NoReply"));
    QCOMPARE(m_simulator->waitForEnd(), 1);
    m_simulator->start();
    startApplication(QStringLiteral("t.One"));
}

void TestSimulatorControlFaults::madeUpRecordsAreListed()
{
    QCOMPARE(m_simulator->desk(QStringLiteral("ListNext"), {2U, 1U}).type(),
             QDBusMessage::ReplyMessage);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl(QStringLiteral("GetRunningApplications"));
    callControl(QStringLiteral("GetRunningApplications"));
    QCOMPARE(monitor.texts(),
             (QStringList{
                 QStringLiteral("reply a(siuua{sv})a(ssiua{sv}) "
                                "made.Up0 0 1 0 {Number=u:0} made.Up1 1 1 1 {Number=u:1} "
                                "made.Up0 service0 0 1 {Number=u:0}"),
                 QStringLiteral("reply a(siuua{sv})a(ssiua{sv})"),
             }));
}

void TestSimulatorControlFaults::manyRecordsAreListed()
{
    m_simulator->desk(QStringLiteral("ListNext"), {10000U, 20000U});
    const QDBusMessage answer = callControl(QStringLiteral("GetRunningApplications"));
    QCOMPARE(answer.signature(), QStringLiteral("a(siuua{sv})a(ssiua{sv})"));
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

// Nobody is answered who waits for something that was forgotten.
void TestSimulatorControlFaults::resetForgetsWhoWaits()
{
    startApplication(QStringLiteral("t.Stubborn"));
    QCOMPARE(m_simulator->process().readLine(), QStringLiteral("ready"));
    ServiceMonitor monitor(*m_bus, *m_simulator);
    asyncCallControl(QStringLiteral("Terminate"), {QStringLiteral("t.Stubborn")});
    faults("Terminate").waitForCalls(1);
    m_simulator->reset();
    QCOMPARE(monitor.texts(), QStringList());
    startApplication(QStringLiteral("t.One"));
}

void TestSimulatorControlFaults::resetTellsWhoWaitsAtTheDesk()
{
    startApplication(QStringLiteral("t.StubbornService"));
    QCOMPARE(m_simulator->process().readLine(), QStringLiteral("ready"));
    const auto asyncDesk = [](const QString &method, const QVariantList &arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
            QStringLiteral(OSTREL_SIMULATOR_INTERFACE), method);
        call.setArguments(arguments);
        return QDBusConnection::sessionBus().asyncCall(call);
    };
    QDBusPendingCall oom =
        asyncDesk(QStringLiteral("KillByOom"), {QStringLiteral("t.StubbornService")});
    QDBusPendingCall reset = asyncDesk(QStringLiteral("Reset"), {});
    oom.waitForFinished();
    QCOMPARE(oom.error().message(), QStringLiteral("The simulator was reset"));
    reset.waitForFinished();
    QVERIFY(!reset.isError());
}

void TestSimulatorControlFaults::callsAreLogged()
{
    callControl(QStringLiteral("Start"), {QStringLiteral("t.Nonsense")});
    callControl(QStringLiteral("StartDebug"),
                {QStringLiteral("t.Nonsense"), QVariantMap{{QStringLiteral("sandbox"), false}}});
    const QString logged = busctlDesk(*m_bus, QStringLiteral("Calls"));
    QCOMPARE(logged,
             QStringLiteral("{'type':'a(ssssav)','data':[[['%1','%2','Start','s',"
                            "[{'type':'s','data':'t.Nonsense'}]],['%1','%2','StartDebug','sa{sv}',"
                            "[{'type':'s','data':'t.Nonsense'},"
                            "{'type':'a{sv}','data':{'sandbox':{'type':'b','data':false}}}]]]]}")
                 .arg(QStringLiteral(OSTREL_CONTROL_PATH), QStringLiteral(OSTREL_CONTROL_INTERFACE))
                 .replace(QLatin1Char('\''), QLatin1Char('"')));
}

OSTREL_TEST_MAIN(TestSimulatorControlFaults)

#include "tst_simulator_control_faults.moc"
