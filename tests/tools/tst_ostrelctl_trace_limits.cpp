// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "test_bus.h"
#include "trace_texts.h"
#include "tracing_test.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFileInfo>

#include <csignal>

// What limits a trace of the bus, and what ends it.
class TestOstrelctlTraceLimits : public QObject, private TracingTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startAnew(); }

    void goesOnWithoutTheRightToMonitor();
    void killedTraceOpens();
    void fullDiskEndsTheTrace();
    void endsAfterTheGivenTime();
    void endOfTheBusIsAnErrorAndTheTraceIsComplete();
    void hugeStringsAreCut();
};

void TestOstrelctlTraceLimits::goesOnWithoutTheRightToMonitor()
{
    if (busKind() == DBusBroker) {
        QSKIP("dbus-broker is given no policy");
    }
    startAnew(monitorsRefused());
    Watcher watcher({"trace", "-o", path()});
    const QString line = watcher.readLine();
    QVERIFY2(line.startsWith("the calls are not recorded: Rejected send message"),
             qPrintable(line));
    QCOMPARE(watcher.readLine(), "recording to " + path() + "; Ctrl-C ends it");
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitFor("state 1");
    QCOMPARE(watcher.interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    QVERIFY(trace.all.contains("i demo.Viewer.instance_1: Started"));
    QCOMPARE(trace.all.filter("calls"), QStringList());
}

void TestOstrelctlTraceLimits::killedTraceOpens()
{
    const auto watcher = record();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitFor("state 1");
    watcher->kill();
    watcher->waitForEnd();
    const TraceTexts trace = traceOf(path(), true);
    QCOMPARE(trace.faults, QStringList());
    // What was under way is there.
    QVERIFY(trace.all.contains("i demo.Viewer.instance_1: state 1"));
}

void TestOstrelctlTraceLimits::fullDiskEndsTheTrace()
{
    const Result full = run(OSTRELCTL, {"trace", "-o", "/dev/full"});
    QCOMPARE(full.errors, "error: Failed: cannot write /dev/full: No space left on device\n");
    QCOMPARE(full.exitStatus, 1);

    // In blocks of 512 bytes. The limit is reached within an event.
    const QString limited = R"(ulimit -f 4; exec "$0" trace -o "$1")";
    Process process("sh", {"-c", limited, OSTRELCTL, path()});
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start();
    QCOMPARE(process.readLine(), "recording to " + path() + "; Ctrl-C ends it");
    emitSignal("SelectedByOom", {"17"});
    // Signals and calls come on two connections. Calls alone could reach the limit.
    waitFor(R"({"args":{"processId":"17"})");
    while (process.state() == QProcess::Running) {
        emitSignal("SelectedByOom", {"17"});
        process.waitForReadyRead(1);
    }
    QCOMPARE(process.readLine(), "error: Failed: cannot write " + path() + ": File too large");
    QCOMPARE(process.waitForEnd(), 1);
    const TraceTexts trace = traceOf(path(), true);
    QCOMPARE(trace.faults, QStringList());
    QVERIFY(trace.all.contains("i service: SelectedByOom"));
}

void TestOstrelctlTraceLimits::endsAfterTheGivenTime()
{
    const auto watcher = record({"--for", "1"});
    QCOMPARE(watcher->waitForEnd(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    QCOMPARE(trace.all.constLast(), "i service: trace ends");
}

void TestOstrelctlTraceLimits::endOfTheBusIsAnErrorAndTheTraceIsComplete()
{
    const auto watcher = record();
    ::kill(pid_t(m_bus->processId()), SIGKILL);
    QCOMPARE(watcher->waitForEnd(), 1);
    QVERIFY(watcher->readAll().contains("error: Failed: the message bus has ended\n"));
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    QCOMPARE(trace.all.constLast(), "i service: trace ends");
}

void TestOstrelctlTraceLimits::hugeStringsAreCut()
{
    const auto watcher = record();
    const QString huge = QString(20'000'000, 'x');
    emitSignal("Started", {huge, QVariantMap{{"Huge", huge}}});
    emitSignal("SelectedByOom", {huge});
    waitFor("SelectedByOom\"");
    QCOMPARE(watcher->interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    QVERIFY(trace.all.contains("i " + huge.left(200) + "…: Started"));
    QVERIFY(readFile(path()).contains(R"({"leftOut":"20000011 bytes"})"));
    QVERIFY(QFileInfo(path()).size() < 20'000);
}

OSTREL_TEST_MAIN(TestOstrelctlTraceLimits)

#include "tst_ostrelctl_trace_limits.moc"
