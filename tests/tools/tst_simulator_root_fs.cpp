// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "files.h"
#include "run.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>

#include <optional>

namespace
{

// %1 is the folder of the script.
const QString catalogue = R"({"applications": [
    {"id": "t.Sleep", "program": "sleep", "arguments": ["600"]},
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true, "services": [
        {"name": "service", "program": "sleep", "arguments": ["600"]}]},
    {"id": "t.Group", "program": "/bin/sh", "arguments": ["%1/group"]},
    {"id": "t.Once", "program": "true"},
    {"id": "t.Broken", "program": "/nonexistent/program"}
]})";

// Prints its own control groups at once.
const QString group = "cat \"$OSTREL_ROOTFS/proc/$$/cgroup\"\n";

int pidOf(const QVariantMap &details)
{
    return details.value("Pid").toInt();
}

} // namespace

// The root file system in which the simulator writes the control groups of its processes.
class TestSimulatorRootFs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void rootFsHoldsRunningProcesses();
    void controlGroupExistsBeforeTheProgramRuns();
    void rootFsLosesEndedProcesses();
    void rootFsIsEmptyAfterAReset();
    void folderIsRemovedWithTheSimulator();
    void folderIsRemovedWhenTheServiceDies();
    void folderMayBeChosen();
    void unusableFoldersAreRefused_data();
    void unusableFoldersAreRefused();

private:
    void restart(const QStringList &options = {});
    QString rootFs() const { return m_simulator->desk("RootFs").arguments().at(0).toString(); }
    QString readLine() { return m_simulator->process().readLine(); }
    QString inFolder(const char *name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorRootFs::initTestCase()
{
    writeFile(inFolder("catalogue.json"), catalogue.arg(m_folder.path()));
    writeFile(inFolder("group"), group);
    m_bus.emplace();
}

void TestSimulatorRootFs::init()
{
    restart();
}

void TestSimulatorRootFs::restart(const QStringList &options)
{
    m_simulator.reset();
    m_simulator.emplace(*m_bus, QStringList{"--catalogue", inFolder("catalogue.json")} + options);
    m_simulator->start();
}

void TestSimulatorRootFs::rootFsHoldsRunningProcesses()
{
    const int first = pidOf(startApplication("t.Sleep"));
    const int second = pidOf(startApplication("t.Sleep"));
    const int one = pidOf(startApplication("t.One"));
    const auto textOf = [this](int pid) {
        return readFile(QString("%1/proc/%2/cgroup").arg(rootFs()).arg(pid));
    };
    const QString expected = "9:pids:/user.slice\n"
                             "8:cpuset:/\n"
                             "7:devices:/user.slice\n"
                             "6:freezer:%1\n"
                             "5:cpu,cpuacct:%1\n"
                             "4:memory:%1\n"
                             "3:blkio:/user.slice\n"
                             "2:net_cls,net_prio:/\n"
                             "1:name=systemd:/user.slice/session.scope\n"
                             "0::/user.slice/session.scope\n";
    QCOMPARE(textOf(first), expected.arg("/ostrel-helper/t.Sleep/instance_1"));
    QCOMPARE(textOf(second), expected.arg("/ostrel-helper/t.Sleep/instance_2"));
    QCOMPARE(textOf(one), expected.arg("/ostrel-helper/t.One/app"));
    // The service is in the group of its application.
    const QStringList files = filesBelow(rootFs());
    QCOMPARE(files.size(), 4);
    int ones = 0;
    for (const QString &file : files) {
        ones +=
            readFile(rootFs() + '/' + file).contains("4:memory:/ostrel-helper/t.One/app\n") ? 1 : 0;
    }
    QCOMPARE(ones, 2);
}

void TestSimulatorRootFs::controlGroupExistsBeforeTheProgramRuns()
{
    for (int i = 1; i <= 20; ++i) {
        startApplication("t.Group");
        QString line;
        do {
            line = readLine();
        } while (!line.startsWith("4:"));
        QCOMPARE(line, QString("4:memory:/ostrel-helper/t.Group/instance_%1").arg(i));
        while (!line.startsWith("0:")) {
            line = readLine();
        }
    }
}

void TestSimulatorRootFs::rootFsLosesEndedProcesses()
{
    const QString proc = rootFs() + "/proc";
    startApplication("t.Sleep");
    const int left = pidOf(startApplication("t.Sleep"));
    callControl("Terminate", {"t.Sleep.instance_1"});
    QCOMPARE(QDir(proc).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QString::number(left)));
    callControl("Start", {"t.Broken"});
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Once");
    monitor.textsUntil("Terminated");
    QCOMPARE(QDir(proc).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QString::number(left)));
}

void TestSimulatorRootFs::rootFsIsEmptyAfterAReset()
{
    startApplication("t.One");
    QCOMPARE(filesBelow(rootFs()).size(), 2);
    m_simulator->reset();
    QCOMPARE(filesBelow(rootFs()), QStringList());
}

void TestSimulatorRootFs::folderIsRemovedWithTheSimulator()
{
    startApplication("t.Sleep");
    const QString folder = rootFs();
    QVERIFY(QDir(folder + "/proc").exists());
    QCOMPARE(m_simulator->end(), 0);
    QVERIFY(!QDir(folder).exists());
}

void TestSimulatorRootFs::folderIsRemovedWhenTheServiceDies()
{
    startApplication("t.Sleep");
    const QString folder = rootFs();
    m_simulator->faults(OSTREL_CONTROL_INTERFACE, "Terminate").dieInNext();
    QDBusPendingCall call = asyncCallControl("Terminate", {QString()});
    call.waitForFinished();
    QVERIFY(call.isError());
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QVERIFY(!QDir(folder).exists());
}

void TestSimulatorRootFs::folderMayBeChosen()
{
    const QString folder = inFolder("new/root");
    restart({"--rootfs", folder});
    QCOMPARE(rootFs(), folder);
    const int pid = pidOf(startApplication("t.Sleep"));
    QCOMPARE(filesBelow(folder), QStringList(QString("proc/%1/cgroup").arg(pid)));
    QCOMPARE(m_simulator->end(), 0);
    // The simulator removes only what it has created.
    QVERIFY(QDir(folder).exists());
    QVERIFY(QDir(folder).isEmpty());
}

void TestSimulatorRootFs::unusableFoldersAreRefused_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("message");
    QTest::newRow("below a file") << inFolder("catalogue.json/root")
                                  << QString("cannot make the folder %1: Not a directory")
                                         .arg(inFolder("catalogue.json/root/proc"));
    QTest::newRow("the system's own") << "/"
                                      << "the folder /proc is not empty";
}

void TestSimulatorRootFs::unusableFoldersAreRefused()
{
    QFETCH(QString, folder);
    QFETCH(QString, message);
    const Result result = run(SIMULATOR, {"--rootfs", folder});
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors, QString("ostrel-simulator: %1\n").arg(message));
}

OSTREL_TEST_MAIN(TestSimulatorRootFs)

#include "tst_simulator_root_fs.moc"
