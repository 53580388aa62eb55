// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_events.h"
#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>
#include <Ostrel/WindowManagement>

#include <QtCore/QDir>
#include <QtCore/QMetaEnum>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>

#include <csignal>
#include <sys/stat.h>

// The service of a test: its life, its signals, and its faults.
class TestTestingSimulator : public Ostrel::Testing::SimulatorTest
{
    Q_OBJECT

public:
    TestTestingSimulator()
        : SimulatorTest({}, PrivateBus::SessionBus)
    {
    }

private Q_SLOTS:
    void signalsArriveBeforeTheEventLoopHasRun();
    void signalsArrive();
    void otherBusIsNotThere();
    void startDoesNothingWhileItRuns();
    void startFollowsADeathAtOnce();
    void resetWithoutASimulatorDoesNothing();
    void serviceMayDieDuringAReset();
    void resetAndStartWaitForTheEndOfARestart();
    void programsMayWriteWhileNobodyReads();
    void programOfAnEarlierRunWritesElsewhere();
    void processesAreFound();
    void codesBecomeErrors();
    void errorsMayHoldValues();
    void callsAreForgotten();
    void waitForCallsRunsTheEventLoop();
    void scenarioIsPlayedThroughARestart();
    void nextFunctionHasNoScenario();
};

// Until the event loop runs, QtDBus holds back what a new connection receives. It would drop a
// signal that it reads together with the news of the new service. So this is the first function.
void TestTestingSimulator::signalsArriveBeforeTheEventLoopHasRun()
{
    const Ostrel::Control control;
    const ControlEvents events(control);
    simulator().restart();
    simulator().emitTerminated("a");
    events.waitFor("terminated a {}");
}

void TestTestingSimulator::signalsArrive()
{
    const Ostrel::Control control;
    const ControlEvents events(control);
    const QString instance = Ostrel::Control().start("demo.Viewer").appInstanceId;
    events.waitFor("state " + instance + " 1");
    simulator().emitStarted("a", {{"Pid", 1}});
    simulator().emitStateChanged("a", 3);
    simulator().emitTerminated("a");
    events.waitFor("terminated a {}");
    QCOMPARE(events.all().mid(2),
             (QStringList{"started a {Pid=1}", "state a 3", "terminated a {}"}));
    simulator().killByOom(instance);
    events.waitFor("state " + instance + " 2");
    QVERIFY(events.all().at(5).startsWith("oom "));
}

void TestTestingSimulator::otherBusIsNotThere()
{
    const QString systemBus = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    QVERIFY(!QDBusConnection::connectToBus(systemBus, "system").isConnected());
}

void TestTestingSimulator::startDoesNothingWhileItRuns()
{
    const qint64 process = simulator().process().processId();
    simulator().start();
    QCOMPARE(simulator().process().processId(), process);
}

// The caller knows of the death before its process is gone.
void TestTestingSimulator::startFollowsADeathAtOnce()
{
    Ostrel::Control control;
    for (int i = 0; i < 20; ++i) {
        simulator().faults(Method::Terminate).dieInNext();
        QVERIFY(control.terminate("a"));
        simulator().start();
        QCOMPARE(control.terminate("a").code(), Ostrel::Error::ApplicationNotRunning);
    }
}

void TestTestingSimulator::resetWithoutASimulatorDoesNothing()
{
    QCOMPARE(simulator().end(), 0);
    simulator().reset();
    QVERIFY(!Ostrel::Control().isServiceAvailable());
}

void TestTestingSimulator::serviceMayDieDuringAReset()
{
    const QString process = QString::number(simulator().process().processId());
    Process killer("sh",
                   {"-c",
                    "busctl --address=\"$1\" --match=member=Reset monitor 2>&1 "
                    "| { read line; echo \"$line\"; grep -q Member=Reset; kill -KILL \"$2\"; }",
                    "sh", bus().address(), process});
    killer.start();
    killer.readLine();
    ::kill(process.toInt(), SIGSTOP);
    simulator().reset();
    QCOMPARE(simulator().waitForEnd(), -1);
    // Nobody reads what busctl writes now.
    killer.kill();
}

void TestTestingSimulator::resetAndStartWaitForTheEndOfARestart()
{
    const QString file = QDir::home().filePath("scenario.json");
    writeFile(file, R"({"steps": [{"at": {"call": "Terminate"}, "do": [{"restart": 100}]}]})");
    simulator().setScenarioFile(file);
    simulator().restart();
    const qint64 process = simulator().process().processId();
    Ostrel::Control control;
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(control.terminate("a").busErrorName(), "org.freedesktop.DBus.Error.NoReply");
        if (i == 0) {
            simulator().reset(); // The scenario begins again.
        }
    }
    simulator().start();
    QCOMPARE(simulator().process().processId(), process);
    QCOMPARE(control.terminate("a").code(), Ostrel::Error::ApplicationNotRunning);
}

// More than fits into a pipe.
void TestTestingSimulator::programsMayWriteWhileNobodyReads()
{
    const QString fifo = QDir::home().filePath("fifo");
    QCOMPARE(::mkfifo(qPrintable(fifo), S_IRUSR | S_IWUSR), 0);
    const QString write = "yes 2>/dev/null | head -c 200000 >&%1; ";
    Ostrel::Testing::Catalogue catalogue;
    catalogue.addApplication(
        {"a.Writer", "sh", {"-c", write.arg(1) + write.arg(2) + "echo written >'" + fifo + "'"}});
    simulator().setCatalogue(catalogue);
    simulator().restart();
    QVERIFY(!Ostrel::Control().start("a.Writer").error);
    QCOMPARE(run("cat", {fifo}).output, "written\n");
    QCOMPARE(simulator().process().readLine(), "y");
    QCOMPARE(simulator().process().readAllStandardError().size(), 200000);
}

// A program that has left its process group outlives the simulator.
void TestTestingSimulator::programOfAnEarlierRunWritesElsewhere()
{
    const QString from = QDir::home().filePath("from");
    const QString to = QDir::home().filePath("to");
    QCOMPARE(::mkfifo(qPrintable(from), S_IRUSR | S_IWUSR), 0);
    QCOMPARE(::mkfifo(qPrintable(to), S_IRUSR | S_IWUSR), 0);
    const QString script =
        "echo begins >\"$0\"; read line <\"$1\"; echo late >&2; echo ends >\"$0\"";
    Ostrel::Testing::Catalogue catalogue;
    catalogue.addApplication({"a.Daemon", "setsid", {"--wait", "sh", "-c", script, from, to}});
    simulator().setCatalogue(catalogue);
    simulator().restart();
    Ostrel::Control control;
    QVERIFY(!control.start("a.Daemon").error);
    QCOMPARE(run("cat", {from}).output, "begins\n");
    simulator().restart();
    writeFile(to, "go\n");
    QCOMPARE(run("cat", {from}).output, "ends\n");
    QCOMPARE(simulator().process().readAllStandardError(), QByteArray());
}

void TestTestingSimulator::processesAreFound()
{
    Ostrel::Control control;
    for (int i = 0; i < 2; ++i) {
        const int pid = control.start("demo.Viewer").details.value("Pid").toInt();
        QCOMPARE(control.getAppIdByPid(pid), "demo.Viewer");
        simulator().restart();
    }
}

void TestTestingSimulator::codesBecomeErrors()
{
    const auto codes = QMetaEnum::fromType<Ostrel::Error::Code>();
    Ostrel::Control control;
    for (int i = 0; i < codes.keyCount(); ++i) {
        const auto code = static_cast<Ostrel::Error::Code>(codes.value(i));
        simulator().faults(Method::Terminate).failNext(code, "why");
        const Ostrel::Error error = control.terminate("a");
        QCOMPARE(error.code(), code);
        QCOMPARE(error.message(), "why");
    }
}

void TestTestingSimulator::errorsMayHoldValues()
{
    simulator().faults(Method::Terminate).failNextWith("a.b", {42});
    const Ostrel::Error error = Ostrel::Control().terminate("a");
    QCOMPARE(error.busErrorName(), "a.b");
    QCOMPARE(error.message(), "42");
}

void TestTestingSimulator::callsAreForgotten()
{
    Ostrel::Control().terminate("a");
    OSTREL_COMPARE_CALLS(simulator(), Method::Terminate);
    simulator().clearCalls();
    QVERIFY(simulator().calls().isEmpty());
}

// A program may make its calls in its event loop.
void TestTestingSimulator::waitForCallsRunsTheEventLoop()
{
    Ostrel::Control control;
    const auto callLater = [&control, this] {
        QTimer::singleShot(0, this, [&control] {
            control.terminate("a", &control, [](const Ostrel::Error &) {});
        });
    };
    callLater();
    QVERIFY(simulator().faults(Method::Terminate).waitForCalls());
    callLater();
    OSTREL_COMPARE_CALLS(simulator(), Method::Terminate, Method::Terminate);
    simulator().faults(Method::Terminate).holdNext();
    callLater();
    QVERIFY(simulator().faults(Method::Terminate).waitForHeld());
}

// The service leaves the bus while the test waits, and comes back.
void TestTestingSimulator::scenarioIsPlayedThroughARestart()
{
    const QString file = QDir::home().filePath("scenario.json");
    writeFile(file, R"({"steps": [{"at": {"call": "Terminate"}, "do": [{"restart": 0}]},
                                  {"after": 0, "do": [{"restart": 50}]},
                                  {"at": {"call": "UpdateWindowStatus"}}]})");
    simulator().setScenarioFile(file);
    simulator().restart();
    QVERIFY(simulator().hasScenario());
    const Ostrel::Control control;
    Ostrel::WindowManagement windows;
    int times = 0;
    QObject::connect(&control, &Ostrel::Control::serviceAvailableChanged, this,
                     [&](bool available) {
                         times += available ? 1 : 0;
                         if (times == 2) {
                             windows.updateWindowStatus("main", 2, 0, 0, this, [](auto...) {});
                         }
                     });
    QVERIFY(Ostrel::Control().terminate("a"));
    QVERIFY(simulator().waitForScenario());
    QCOMPARE(times, 2);
    QCOMPARE(simulator().end(), 0);
}

void TestTestingSimulator::nextFunctionHasNoScenario()
{
    QVERIFY(!simulator().hasScenario());
    QVERIFY(!simulator().process().arguments().contains("--scenario"));
}

OSTREL_TEST_MAIN(TestTestingSimulator)

#include "tst_testing_simulator.moc"
