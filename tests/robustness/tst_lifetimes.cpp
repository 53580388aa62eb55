// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <csignal>

namespace
{

// When a process ends, QtDBus and the threads of the program sometimes leak what they are doing.
QProcessEnvironment withoutLeakDetection()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS", "detect_leaks=0");
    return environment;
}

} // namespace

// The library is used around the beginning and the end of a process and of the application object.
// Each row is a program in lifetimes/. The sanitizers see whether anything is used after it is
// deleted.
class TestLifetimes : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void programEndsCleanly_data();
    void programEndsCleanly();
    void applicationWaitsForTheThreadThatWakesIt();
    void callsWithoutReplyAreLeftToTheEnd();
    void endWaitsForTheRequestsOfOtherThreads();
    void busThatEndsBeforeTheLoopRunsIsNoticed();
    void busThatEndsInTheFirstObjectIsNoticed();
};

void TestLifetimes::programEndsCleanly_data()
{
    QTest::addColumn<QString>("output");
    const auto row = [](const char *program, const char *output) {
        QTest::newRow(program) << output;
    };
    row("applicationComesLater",
        "start 0\n"
        "ready 0, reported 0, started, stopped 2\n");
    // Nothing arrives that needs an event loop.
    row("noApplication",
        "start 0\n"
        "start 0\n"
        "\n");
    row("anotherApplication",
        "start 0\n"
        "ready 0, started\n"
        "start 0\n"
        "reported 0, started, stopped 2\n");
    row("objectsOutliveTheApplication",
        "ready 0\n"
        "start 0\n"
        "destroyed\n");
    row("staticObjects", "ready 0, reported 0, stopped 2\n");
    row("callsInStaticDestructors",
        "ready 0, reported 0, stopped 2\n"
        "start 1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "start 1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "1 Not connected to D-Bus server\n"
        "destroyed\n");
    row("staticObjectsFromTheBeginning",
        "start 0\n"
        "ready 0, reported 0, started, stopped 2\n");
    row("staticObjectBeforeTheFirstClient",
        "ready 0\n"
        "not connected\n"
        "not connected\n");
    for (const char *const program : {"onlyControl", "onlyInvoker", "onlyWindows"}) {
        row(program,
            "not connected\n"
            "made\n");
    }
    row("exitInASlot",
        "start 0\n"
        "exit\n");
    row("exitInACallback", "exit\n");
    row("exitInAMessageHandler", "JSON array of arrays are not supported\n");
    row("requestsWithoutEnd", "");
    row("objectsOfAThread",
        "start 0\n"
        "start 0\n"
        "start 0\n"
        "joined\n");

    // With each kind of child, the parent prints the same.
    const QString parent = "ready 0\n"
                           "%1"
                           "start 0\n"
                           "reported 0, started, stopped 2\n"
                           "%1"
                           "start 0\n"
                           "reported 0, started, stopped 2\n";
    const QString anotherProgram = "start 0\n"
                                   "ready 0, reported 0, started, stopped 2\n";
    QTest::newRow("childExecs") << parent.arg(anotherProgram + "child: 0\n");
    QTest::newRow("childInheritsNothing") << parent.arg("child: 1\n");
    QTest::newRow("childUsesNothing") << parent.arg("child: 7\n");
    row("childComesFirst",
        "start 0\n"
        "ready 0, started\n"
        "child: 7\n"
        "start 0\n"
        "ready 0, started\n");
}

void TestLifetimes::programEndsCleanly()
{
    QFETCH(QString, output);
    QProcessEnvironment environment = withoutLeakDetection();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address());
    // What is used after its deletion is not as it was.
    environment.insert("MALLOC_PERTURB_", "165");
    const QString program = QTest::currentDataTag();
    if (program == "staticObjectsFromTheBeginning") {
        environment.insert("EARLY", "1");
    }
    const Result result = run(LIFETIMES, {program}, environment);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, output);
    QCOMPARE(result.exitStatus, 0);
}

void TestLifetimes::applicationWaitsForTheThreadThatWakesIt()
{
    const Faults reports = m_simulator.faults(Method::UpdateWindowStatus);
    reports.holdNext(1);
    Process program(LIFETIMES, {"lateWakeUp"});
    program.setProcessEnvironment(withoutLeakDetection());
    program.start();
    QCOMPARE(program.readLine(), "called");
    reports.waitForHeld(1);
    reports.release({0});
    QCOMPARE(program.readLine(), "in time");
    const int exitStatus = program.waitForEnd();
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()), QString());
    QCOMPARE(exitStatus, 0);
}

void TestLifetimes::callsWithoutReplyAreLeftToTheEnd()
{
    m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker").holdNext(1);
    m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop").holdNext(1);
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    const Result result = run(LIFETIMES, {"callsUnderWay"}, withoutLeakDetection());
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

void TestLifetimes::endWaitsForTheRequestsOfOtherThreads()
{
    const Faults starts = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    starts.holdNext(1);
    Process program(LIFETIMES, {"requestUnderWay"});
    program.setProcessEnvironment(withoutLeakDetection());
    program.start();
    starts.waitForHeld(1);
    program.write("\n");
    QCOMPARE(program.readLine(), "ending");
    starts.release({0});
    const int exitStatus = program.waitForEnd();
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()), QString());
    QCOMPARE(exitStatus, 0);
}

void TestLifetimes::busThatEndsBeforeTheLoopRunsIsNoticed()
{
    PrivateBus bus;
    Process program(LIFETIMES, {"busEndsBeforeTheLoopRuns"});
    program.start();
    QCOMPARE(program.readLine(), "ready");
    bus.end();
    program.write("\n");
    program.waitForEnd();
    const QString failure = "1 Not connected to D-Bus server\n";
    QCOMPARE(QString::fromUtf8(program.readAllStandardOutput()),
             "start " + failure + failure.repeated(3));
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()), QString());
    QCOMPARE(program.exitCode(), 0);
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8());
}

void TestLifetimes::busThatEndsInTheFirstObjectIsNoticed()
{
    PrivateBus bus;
    Process program(LIFETIMES, {"busEndsInTheFirstObject"});
    program.start();
    QCOMPARE(program.readLine(), "ready");
    bus.suspend();
    program.write("\n");
    QCOMPARE(program.readLine(), "asked");
    ::kill(static_cast<pid_t>(bus.processId()), SIGKILL);
    QCOMPARE(program.waitForEnd(), 0);
    QCOMPARE(QString::fromUtf8(program.readAllStandardOutput()),
             "start 1 Not connected to D-Bus server\nready 1\n");
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toUtf8());
}

OSTREL_TEST_MAIN(TestLifetimes)

#include "tst_lifetimes.moc"
