// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_events.h"
#include "scenario_test.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>

#include <QtCore/QElapsedTimer>

namespace
{

// An event of a call to WindowManagement1.
QString windowCall(const QString &window, int time, int duration, const QString &result)
{
    return QString(R"({"ph":"X","pid":2,"tid":2,"ts":%2,"dur":%3,"name":"UpdateWindowStatus %1",)"
                   R"("args":{"interface":"%5","path":"%6","arguments":["%1",5,2,3],%4}})")
        .arg(window)
        .arg(time)
        .arg(duration)
        .arg(result, OSTREL_WINDOW_MANAGEMENT_INTERFACE, OSTREL_WINDOW_MANAGEMENT_PATH);
}

QString state(int value)
{
    return QString(R"("reply":"success","signature":"u","values":[%1])").arg(value);
}

QString serviceMoment(int time, const QString &name)
{
    return QString(R"({"ph":"i","pid":1,"tid":1,"ts":%1,"name":"%2"})").arg(time).arg(name);
}

QString oom(int time, const QString &process)
{
    return serviceMoment(time,
                         "SelectedByOom\",\"args\":{\"processId\":\"" + process + "\"},\"s\":\"t");
}

} // namespace

// What becomes of the events of a trace that is played back as a scenario.
class TestSimulatorPlayback : public QObject, private ScenarioTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_simulator.reset(); }

    void callsMayComeInAnotherOrder();
    void callsHappenInTheOrderOfTheirTimes();
    void missingCallIsNamedAndDelaysNothing();
    void replyComesAfterTheRecordedTime();
    void taskThatStartsBeforeAnInvokerIsReadyIsInItsList();
    void eventsBeforeTheFirstCallHappenAtTheStart();
    void stateThatWasListedIsNoSignal();
    void callWithoutReplyHasNoneAgain();
    void callWhileTheServiceWasAwayIsNotWaitedFor();
    void restartsOfTwoCallsComeOneAfterTheOther();
    void serviceEndsAgain();
    void valuesThatWereLeftOutAreTheUsualOnes();
    void cutNameOfAnObjectStandsForAny();
    void cutFileIsPlayedAsFarAsItGoes();

private:
    // Starts the simulator with these events, after the beginning of a trace.
    void play(const QStringList &events);

    QString m_file = m_folder.filePath("trace.json");
};

void TestSimulatorPlayback::play(const QStringList &events)
{
    writeFile(m_file,
              "[\n" + (serviceMoment(0, "trace begins") + ",\n") + events.join(",\n") + "\n]\n");
    startFile(m_file);
}

void TestSimulatorPlayback::callsMayComeInAnotherOrder()
{
    play({windowCall("a", 1000, 0, state(11)), windowCall("b", 2000, 0, state(12)),
          windowCall("a", 3000, 0, R"("reply":"a.b","signature":"si","values":["second",3])")});
    QCOMPARE(reportWindow("b", 5).state, 12U);
    QCOMPARE(reportWindow("a", 6).state, 6U);
    QCOMPARE(reportWindow("a", 5).state, 11U);
    QCOMPARE(reportWindow("a", 5).error.message(), "second");
    QCOMPARE(reportWindow("a", 5).state, 5U);
    QCOMPARE(m_simulator->end(), 0);
}

// A trace has them in the order of their replies.
void TestSimulatorPlayback::callsHappenInTheOrderOfTheirTimes()
{
    play({windowCall("a", 3000, 0, state(12)), windowCall("a", 1000, 5000, state(11))});
    QCOMPARE(reportWindow("a", 5).state, 11U);
    QCOMPARE(reportWindow("a", 5).state, 12U);
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::missingCallIsNamedAndDelaysNothing()
{
    play({windowCall("a", 1000, 0, state(11)), windowCall("b", 2000, 0, state(12)),
          oom(3000, "after b")});
    const Ostrel::Control control;
    const ControlEvents events(control);
    QCOMPARE(reportWindow("b", 5).state, 12U);
    events.waitFor("oom after b");
    QCOMPARE(m_simulator->end(), 3);
    QCOMPARE(QString::fromUtf8(m_simulator->process().readAllStandardError()),
             QString("ostrel-simulator: %1:3: UpdateWindowStatus has not happened\n").arg(m_file));
}

void TestSimulatorPlayback::replyComesAfterTheRecordedTime()
{
    play({oom(1100, "before"), windowCall("a", 1000, 200'000, state(11)), oom(201'001, "after")});
    const Ostrel::Control control;
    const ControlEvents events(control);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(reportWindow("a", 5).state, 11U);
    QVERIFY(timer.elapsed() >= 200);
    QVERIFY(events.all().startsWith("oom before"));
    events.waitFor("oom after");
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::taskThatStartsBeforeAnInvokerIsReadyIsInItsList()
{
    play({R"({"ph":"X","pid":2,"tid":2,"ts":1000,"dur":200000,"name":"RegisterInvoker sync",)"
          R"("args":{"interface":")" OSTREL_TASK_INVOKER_INTERFACE
          R"(","path":")" OSTREL_TASK_INVOKER_PATH
          R"(","arguments":["sync"],"reply":"success"}})"});
    QElapsedTimer timer;
    timer.start();
    Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SessionBus, "sync");
    invoker.start("contacts", {}, {}, nullptr);
    waitUntil([&invoker] { return invoker.isReady() && invoker.activeTasks().size() == 1; });
    QVERIFY(timer.elapsed() >= 200);
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::eventsBeforeTheFirstCallHappenAtTheStart()
{
    const Ostrel::Control control;
    const ControlEvents events(control);
    play({R"({"ph":"M","pid":3,"tid":7,"name":"thread_name","args":{"name":"i"}})",
          R"({"ph":"i","pid":3,"tid":7,"ts":5,"name":"Started","args":{"A":1,"B":"x"}})",
          R"({"ph":"i","pid":3,"tid":7,"ts":5,"name":"state 4000000000"})",
          R"({"ph":"i","pid":3,"tid":7,"ts":5,"name":"Terminated","args":{"leftOut":"9 bytes"}})",
          windowCall("a", 1000, 0, state(11))});
    events.waitFor("terminated i {}");
    QCOMPARE(events.all(),
             (QStringList{"started i {A=1,B=x}", "state i 4000000000", "terminated i {}"}));
}

void TestSimulatorPlayback::stateThatWasListedIsNoSignal()
{
    const Ostrel::Control control;
    const ControlEvents events(control);
    play({R"({"ph":"M","pid":3,"tid":7,"name":"thread_name","args":{"name":"i"}})",
          R"({"ph":"i","pid":3,"tid":7,"ts":5,"name":"state 1","args":{"seen":"in a list"}})",
          R"({"ph":"i","pid":3,"tid":7,"ts":6,"name":"state 2","args":{}})",
          windowCall("a", 1000, 0, state(11))});
    events.waitFor("state i 2");
    QCOMPARE(events.all(), QStringList("state i 2"));
}

void TestSimulatorPlayback::callWithoutReplyHasNoneAgain()
{
    play({windowCall("a", 1000, 10, R"("reply":"none until the trace ended")")});
    Ostrel::WindowManagement windows;
    QObject context;
    Outcomes outcomes;
    windows.updateWindowStatus("a", 5, 2, 3, &context, outcomes.callback());
    windows.updateWindowStatus("b", 6, 2, 3, &context, outcomes.callback());
    outcomes.waitFor(1);
    QCOMPARE(outcomes.at(0).state, 6U);
    QCOMPARE(m_simulator->end(), 0);
    outcomes.waitFor(2);
    QCOMPARE(outcomes.at(1).error.message(), endedServiceText());
}

void TestSimulatorPlayback::callWhileTheServiceWasAwayIsNotWaitedFor()
{
    const QString unknown = R"("reply":"org.freedesktop.DBus.Error.ServiceUnknown")";
    play({windowCall("a", 1000, 0, state(11)), serviceMoment(2000, "service not available"),
          windowCall("a", 3000, 0, unknown), serviceMoment(4000, "service available"),
          windowCall("a", 5000, 0, state(12))});
    QCOMPARE(reportWindow("a", 5).state, 11U);
    QVERIFY(m_simulator->process().readLine().contains(" is ready on "));
    QCOMPARE(reportWindow("a", 5).state, 12U);
    QCOMPARE(m_simulator->end(), 0);
}

// Each call leads to a restart. The times of a signal and of the second restart come while the
// service is away.
void TestSimulatorPlayback::restartsOfTwoCallsComeOneAfterTheOther()
{
    play({windowCall("b", 1000, 0, state(12)), oom(1'400'000, "late"),
          serviceMoment(1'401'000, "service not available"),
          serviceMoment(1'411'000, "service available"), oom(1'412'000, "last"),
          windowCall("a", 1'500'000, 0, state(11)),
          serviceMoment(1'500'001, "service not available"),
          serviceMoment(3'500'000, "service available")});
    const Ostrel::Control control;
    const ControlEvents events(control);
    Ostrel::WindowManagement windows;
    QObject context;
    Outcomes outcomes;
    windows.updateWindowStatus("b", 5, 2, 3, &context, outcomes.callback());
    windows.updateWindowStatus("a", 5, 2, 3, &context, outcomes.callback());
    outcomes.waitFor(2);
    QCOMPARE(outcomes.at(0).state, 12U);
    QCOMPARE(outcomes.at(1).state, 11U);
    for (int i = 0; i < 2; ++i) {
        QVERIFY(m_simulator->process().readLine().contains(" is ready on "));
    }
    events.waitFor("oom last");
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::serviceEndsAgain()
{
    play({windowCall("a", 1000, 10,
                     R"("reply":"org.freedesktop.DBus.Error.NoReply",)"
                     R"("signature":"s","values":["it has ended"])"),
          serviceMoment(2000, "service not available")});
    QCOMPARE(reportWindow("a", 5).error.message(), "it has ended");
    QCOMPARE(m_simulator->waitForEnd(), 1);
}

void TestSimulatorPlayback::valuesThatWereLeftOutAreTheUsualOnes()
{
    QString call = windowCall("a", 1000, 0, R"("reply":"success","values":{"leftOut":"x"})");
    call.replace(R"("arguments":["a",5,2,3])", R"("arguments":{"leftOut":"x"})");
    const QString fails = windowCall("b", 2000, 0, R"("reply":"a.b","values":{"leftOut":"x"})");
    play({call, fails});
    QCOMPARE(reportWindow("any", 6).state, 6U);
    QCOMPARE(reportWindow("b", 5).error.busErrorName(), "a.b");
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::cutNameOfAnObjectStandsForAny()
{
    play(
        {windowCall("a", 1000, 0, state(11)).replace(OSTREL_WINDOW_MANAGEMENT_PATH, "/cut\u2026")});
    QCOMPARE(reportWindow("a", 5).state, 11U);
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::cutFileIsPlayedAsFarAsItGoes()
{
    const QString whole =
        "[\n" + serviceMoment(0, "trace begins") + ",\n" + windowCall("a", 1000, 0, state(11));
    for (const QString &cut :
         {whole, whole + ",", whole + ",\n", whole + ",\n{\"ph\":\"X\",\"na"}) {
        writeFile(m_file, cut);
        startFile(m_file);
        QCOMPARE(reportWindow("a", 5).state, 11U);
        QCOMPARE(m_simulator->end(), 0);
    }
}

OSTREL_TEST_MAIN(TestSimulatorPlayback)

#include "tst_simulator_playback.moc"
