// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "files.h"
#include "kit.h"
#include "process_handle.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>

#include <csignal>
#include <optional>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace
{

// %1 is the folder of the scripts.
const QString catalogue = R"({"applications": [
    {"id": "t.Sleep", "program": "sleep", "arguments": ["600"]},
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true, "services": [
        {"name": "service", "program": "sleep", "arguments": ["600"]}]},
    {"id": "t.Polite", "program": "/bin/sh", "arguments": ["%1/polite"]},
    {"id": "t.Stubborn", "program": "/bin/sh", "arguments": ["%1/stubborn"]},
    {"id": "t.Parent", "program": "/bin/sh", "arguments": ["%1/parent"]},
    {"id": "t.Leaver", "program": "/bin/sh", "arguments": ["%1/leaver"]}
]})";

// The scripts by their names.
QMap<QString, QString> scripts()
{
    return {
        {"polite",
         "trap 'echo bye; exit 0' TERM\n"
         "echo ready\n"
         "while :; do sleep 0.1; done\n"},
        {"stubborn",
         "trap '' TERM\n"
         "echo ready\n"
         "while :; do sleep 1; done\n"},
        // These have a child that would survive them.
        {"parent",
         "sleep 600 &\n"
         "echo $!\n"
         "wait\n"},
        {"leaver",
         "sleep 600 &\n"
         "echo $!\n"},
    };
}

// Returns the status of a process that became a child of this one when its parent ended, or -1
// while it runs.
int statusOf(pid_t pid)
{
    int status = -1;
    return waitpid(pid, &status, WNOHANG) == pid ? status : -1;
}

// Whether the process ends by SIGKILL.
bool isKilled(pid_t pid)
{
    int status = -1;
    waitUntil([pid, &status] {
        status = statusOf(pid);
        return status != -1;
    });
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

int pidOf(const QVariantMap &details)
{
    return details.value("Pid").toInt();
}

} // namespace

// How the processes that the simulator runs end.
class TestSimulatorProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void politeProgramsEndInTime();
    void stubbornProgramsAreKilledAfterTheirTime();
    void descendantsEndWithTheirProgram();
    void descendantsAreNotLeftBehind();
    void exitEndsThePrograms();
    void exitKillsStubbornPrograms();
    void endOfTheBusEndsThePrograms();
    void programsEndWithAKilledSimulator();
    void resetKillsAtOnceWithoutASignal();

private:
    void restart(const QStringList &options = {});
    QString readLine() { return m_simulator->process().readLine(); }
    QString inFolder(const char *name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorProcesses::initTestCase()
{
    writeFile(inFolder("catalogue.json"), catalogue.arg(m_folder.path()));
    const QMap<QString, QString> all = scripts();
    for (auto script = all.cbegin(); script != all.cend(); ++script) {
        writeFile(m_folder.filePath(script.key()), script.value());
    }
    m_bus.emplace();
    // A process whose parent has ended becomes a child of this process.
    QCOMPARE(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
}

void TestSimulatorProcesses::init()
{
    restart();
}

void TestSimulatorProcesses::restart(const QStringList &options)
{
    m_simulator.reset();
    m_simulator.emplace(
        *m_bus,
        QStringList{"--catalogue", inFolder("catalogue.json"), "--kill-after", "300"} + options);
    m_simulator->start();
}

void TestSimulatorProcesses::politeProgramsEndInTime()
{
    restart({"--kill-after", "600000"});
    startApplication("t.Polite");
    QCOMPARE(readLine(), "ready");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("Terminate", {"t.Polite.instance_1"});
    QCOMPARE(readLine(), "bye");
    QVERIFY(monitor.texts().constLast().contains(" ExitStatus=i:0 "));
}

void TestSimulatorProcesses::stubbornProgramsAreKilledAfterTheirTime()
{
    startApplication("t.Stubborn");
    QCOMPARE(readLine(), "ready");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    QElapsedTimer timer;
    timer.start();
    callControl("Terminate", {"t.Stubborn.instance_1"});
    QVERIFY(timer.elapsed() >= 300);
    QVERIFY(monitor.texts().constLast().endsWith(" Signal=i:9}"));
}

void TestSimulatorProcesses::descendantsEndWithTheirProgram()
{
    startApplication("t.Parent");
    const int child = readLine().toInt();
    const ProcessHandle process(child);
    QVERIFY(process.exists());
    callControl("Terminate", {"t.Parent.instance_1"});
    // Its parent or this process has reaped it.
    waitUntil([&] { return statusOf(child) != -1 || !process.exists(); });
}

void TestSimulatorProcesses::descendantsAreNotLeftBehind()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Leaver");
    const int child = readLine().toInt();
    monitor.textsUntil("Terminated");
    QVERIFY(isKilled(child));
}

void TestSimulatorProcesses::exitEndsThePrograms()
{
    restart({"--kill-after", "600000"});
    const ProcessHandle process(pidOf(startApplication("t.Polite")));
    QCOMPARE(readLine(), "ready");
    QCOMPARE(m_simulator->end(), 0);
    QCOMPARE(readLine(), "bye");
    QVERIFY(!process.exists());
}

void TestSimulatorProcesses::exitKillsStubbornPrograms()
{
    const ProcessHandle process(pidOf(startApplication("t.Stubborn")));
    QCOMPARE(readLine(), "ready");
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(m_simulator->end(), 0);
    QVERIFY(timer.elapsed() >= 300);
    QVERIFY(!process.exists());
}

void TestSimulatorProcesses::endOfTheBusEndsThePrograms()
{
    // The calls stay on their bus; this one is only for the simulator.
    PrivateBus other;
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().toUtf8());
    Simulator simulator(other,
                        {"--catalogue", inFolder("catalogue.json"), "--kill-after", "600000"});
    simulator.start();
    const Result started = busctl(other,
                                  {"call", OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                   OSTREL_CONTROL_INTERFACE, "Start", "s", "t.Polite"});
    QCOMPARE(started.exitStatus, 0);
    QCOMPARE(simulator.process().readLine(), "ready");
    other.end();
    QCOMPARE(simulator.waitForEnd(), 1);
    QCOMPARE(simulator.process().readLine(), "bye");
}

void TestSimulatorProcesses::programsEndWithAKilledSimulator()
{
    const int sleep = pidOf(startApplication("t.Sleep"));
    const int stubborn = pidOf(startApplication("t.Stubborn"));
    QCOMPARE(readLine(), "ready");
    m_simulator->process().kill();
    m_simulator->waitForEnd();
    QVERIFY(isKilled(sleep));
    QVERIFY(isKilled(stubborn));
}

void TestSimulatorProcesses::resetKillsAtOnceWithoutASignal()
{
    restart({"--kill-after", "600000"});
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const ProcessHandle stubborn(pidOf(startApplication("t.Stubborn")));
    const ProcessHandle one(pidOf(startApplication("t.One")));
    QCOMPARE(readLine(), "ready");
    m_simulator->reset();
    QVERIFY(!stubborn.exists());
    QVERIFY(!one.exists());
    // Six messages report the starts.
    QCOMPARE(monitor.texts().size(), 6);
}

OSTREL_TEST_MAIN(TestSimulatorProcesses)

#include "tst_simulator_processes.moc"
