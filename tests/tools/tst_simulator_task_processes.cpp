// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "kit.h"
#include "process_handle.h"
#include "task_invokers.h"
#include "task_texts.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>

#include <optional>

using Ostrel::TaskInvoker;

namespace
{

// With ' instead of ", and FOLDER for the folder of the scripts.
const char *const catalogue =
    "{ 'taskTypes': [ { 'type': 'a/b', 'tasks': ["
    "{ 'name': 'tell', 'program': '/bin/sh', 'arguments': [ 'FOLDER/tell.sh', 'first' ],"
    "  'properties': { 'Title': 'Tells' } },"
    "{ 'name': 'once', 'program': 'true' },"
    "{ 'name': 'broken', 'program': '/nonexistent/task' },"
    "{ 'name': 'stubborn', 'program': '/bin/sh', 'arguments': [ 'FOLDER/stubborn.sh' ] }"
    "] } ] }";

} // namespace

// The simulator's tasks are processes.
class TestSimulatorTaskProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void tasksStartWithParametersAndEnvironment();
    void taskThatEndsLeavesTheList();
    void stopEndsTheProcess();
    void stopKillsStubbornTasks();
    void stopNeedNotWaitForTheStart();
    void brokenProgramsAreRefused();
    void startupInfoIsCheckedForItsTypes_data();
    void startupInfoIsCheckedForItsTypes();
    void processIsFoundByItsControlGroup();
    void resetEndsTheProcesses();

private:
    // Starts the task "tell", and returns its process.
    static int startTelling(TaskInvoker &invoker);
    // Waits until the task's output is this content.
    void waitUntilWritten(const QByteArray &content) const;

    QTemporaryDir m_folder;
    QString m_output = m_folder.filePath("output");
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorTaskProcesses::initTestCase()
{
    const QString file = m_folder.filePath("catalogue.json");
    writeFile(file, QString(catalogue).replace('\'', '"').replace("FOLDER", m_folder.path()));
    writeFile(m_folder.filePath("tell.sh"),
              "printf '%s|' \"$GREETING\" \"$@\" >>\"$OUT\"\nexec sleep 600\n");
    writeFile(m_folder.filePath("stubborn.sh"),
              "trap '' TERM\necho >\"$OUT\"\nwhile :; do sleep 1; done\n");
    qputenv("OUT", QFile::encodeName(m_output));
    m_bus.emplace();
    m_simulator.emplace(*m_bus, QStringList{"--catalogue", file, "--kill-after", "200"});
    m_simulator->start();
}

void TestSimulatorTaskProcesses::cleanup()
{
    m_simulator->reset();
    QFile::remove(m_output);
}

void TestSimulatorTaskProcesses::waitUntilWritten(const QByteArray &content) const
{
    waitUntil([this, &content] {
        QFile file(m_output);
        return file.open(QIODevice::ReadOnly) && file.readAll() == content;
    });
}

int TestSimulatorTaskProcesses::startTelling(TaskInvoker &invoker)
{
    waitUntilReady(invoker);
    bool started = false;
    invoker.start("tell", {}, {},
                  [&started](int /*number*/, const Ostrel::Error &error) { started = !error; });
    waitUntil([&] { return started && !invoker.activeTasks().isEmpty(); });
    return invoker.activeTasks().constFirst().pid;
}

void TestSimulatorTaskProcesses::tasksStartWithParametersAndEnvironment()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    QCOMPARE(text(invoker.availableTasks()), "tell {Title=Tells}; once {}; broken {}; stubborn {}");
    TaskInvoker::StartupInfo info;
    info.setParameters({"second one", "--third"});
    info.addEnvironmentVariable("GREETING", "hello=you");
    TaskInvoker::Hints hints;
    hints.setUser("nemo");
    Events events;
    invoker.start("tell", info, hints, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("started 1: 0"));
    waitUntilWritten("hello=you|first|second one|--third|");
    roundTrip(invoker);
    const int pid = invoker.activeTasks().constFirst().pid;
    QCOMPARE(text(invoker.activeTasks()), QString("tell %1 {User=nemo}").arg(pid));
    QVERIFY(ProcessHandle(pid).exists());
}

void TestSimulatorTaskProcesses::taskThatEndsLeavesTheList()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    invoker.start("once", {}, {}, events.started());
    events.waitFor(3);
    QCOMPARE(events.sorted().at(0), "active []");
    QCOMPARE(events.sorted().at(1).section(' ', 0, 1), "active [once");
    QCOMPARE(events.sorted().at(2), "started 1: 0");
    events.clear();
    // The task can be started again.
    invoker.start("once", {}, {}, events.started());
    events.waitFor(3);
    QCOMPARE(events.sorted().at(2), "started 2: 0");
}

void TestSimulatorTaskProcesses::stopEndsTheProcess()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    const ProcessHandle process(startTelling(invoker));
    Events events;
    invoker.stop("tell", events.stopped());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("stopped 0"));
    QVERIFY(!process.exists());
}

void TestSimulatorTaskProcesses::stopKillsStubbornTasks()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    Events events;
    invoker.start("stubborn", {}, {}, events.started());
    events.waitFor(1);
    waitUntilWritten("\n");
    roundTrip(invoker);
    const ProcessHandle process(invoker.activeTasks().constFirst().pid);
    invoker.stop("stubborn", events.stopped());
    invoker.stop("stubborn", events.stopped());
    events.waitFor(3);
    QCOMPARE(events.all().mid(1), (QStringList{"stopped 0", "stopped 0"}));
    QVERIFY(!process.exists());
}

void TestSimulatorTaskProcesses::stopNeedNotWaitForTheStart()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    invoker.start("tell", {}, {}, events.started());
    invoker.stop("tell", events.stopped());
    events.waitFor(4);
    QCOMPARE(events.sorted().at(0), "active []");
    QCOMPARE(events.sorted().at(2), "started 1: 0");
    QCOMPARE(events.sorted().at(3), "stopped 0");
}

void TestSimulatorTaskProcesses::brokenProgramsAreRefused()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    invoker.start("broken", {}, {}, events.started());
    events.waitFor(1);
    roundTrip(invoker);
    QCOMPARE(events.all(),
             QStringList("started 0: 3 \"Cannot start \"/nonexistent/task\": "
                         "No such file or directory\""));
    // A task that did not start does not count as started.
    invoker.start("broken", {}, {}, events.started());
    events.waitFor(2);
    QCOMPARE(events.all().at(1), events.all().at(0));
}

void TestSimulatorTaskProcesses::startupInfoIsCheckedForItsTypes_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("mistake");
    QTest::newRow("parameters") << "Params" << QVariant("x")
                                << "\"Params\" takes \"as\", not \"s\"";
    QTest::newRow("environment") << "Environment" << QVariant(7)
                                 << "\"Environment\" takes \"as\", not \"i\"";
    QTest::newRow("entry of the environment")
        << "Environment" << QVariant(QStringList{"A"})
        << "\"Environment\" takes entries NAME=VALUE, not \"A\"";
}

void TestSimulatorTaskProcesses::startupInfoIsCheckedForItsTypes()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, mistake);
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    waitUntilReady(invoker);
    TaskInvoker::StartupInfo info;
    info.insert(key, value);
    Events events;
    invoker.start("tell", info, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList(QString("started 0: 4 \"%1\"").arg(mistake)));
}

void TestSimulatorTaskProcesses::processIsFoundByItsControlGroup()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    const int pid = startTelling(invoker);
    const QString root = m_simulator->desk("RootFs").arguments().constFirst().toString();
    QFile file(QString("%1/proc/%2/cgroup").arg(root).arg(pid));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains(":memory:/ostrel-helper/a.b.tell/app\n"));
}

void TestSimulatorTaskProcesses::resetEndsTheProcesses()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "a/b");
    const ProcessHandle process(startTelling(invoker));
    m_simulator->reset();
    QVERIFY(!process.exists());
}

OSTREL_TEST_MAIN(TestSimulatorTaskProcesses)

#include "tst_simulator_task_processes.moc"
