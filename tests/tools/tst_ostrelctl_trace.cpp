// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_texts.h"
#include "tracing_test.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusSignature>
#include <QtDBus/QDBusVariant>

namespace
{

// What a trace holds of the calls about "demo." applications.
QStringList callDetails(const QString &file)
{
    QStringList all;
    const QJsonArray events = QJsonDocument::fromJson(readFile(file).toUtf8()).array();
    for (const QJsonValue &event : events) {
        if (event["ph"] == "X" && event["name"].toString().contains("t demo.")) {
            all.append(QString::fromUtf8(QJsonDocument(event["args"].toObject()).toJson()));
        }
    }
    return all;
}

} // namespace

// What the command that records a trace of the bus writes.
class TestOstrelctlTrace : public QObject, private TracingTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { startAnew(); }

    void recordsInstancesAndCalls();
    void recordsWhatRunsAlready();
    void overlappingCallsHaveLanesOfTheirOwn();
    void endOfTheTraceEndsWhatHasBegun();
    void callEndsWithItsCaller();
    void recordsTheEndOfTheService();
    void recordsTheOutOfMemoryKiller();
    void convertedMessagesGiveTheSameTrace();

private:
    Faults next(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }
};

void TestOstrelctlTrace::recordsInstancesAndCalls()
{
    const auto watcher = record();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitFor("state 1");
    run(OSTRELCTL, {"start", "demo.Nonsense"});
    run(OSTRELCTL, {"terminate", "demo.Viewer.instance_1"});
    waitFor("Terminated");
    QCOMPARE(watcher->interrupt(), 0);
    QCOMPARE(watcher->readAll(), QByteArray());
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    const QStringList calls = trace.all.filter("X calls");
    QCOMPARE(calls,
             (QStringList{"X calls 1: Start demo.Viewer, success",
                          "X calls 1: Start demo.Nonsense, " OSTREL_ERROR_PREFIX "HandlerNotFound",
                          "X calls 1: Terminate demo.Viewer.instance_1, success"}));
    const QStringList others = trace.all.filter(QRegularExpression("^(?!X calls)"));
    QCOMPARE(others,
             (QStringList{
                 "i service: trace begins",
                 "i service: service available",
                 "i demo.Viewer.instance_1: Started",
                 "C service: running instances 1",
                 "i demo.Viewer.instance_1: state 1",
                 "X demo.Viewer.instance_1: started",
                 "i demo.Viewer.instance_1: state 2",
                 "X demo.Viewer.instance_1: state 1",
                 "X demo.Viewer.instance_1: state 2",
                 "C service: running instances 0",
                 "i demo.Viewer.instance_1: Terminated",
                 "X service: available, the trace has ended",
                 "i service: trace ends",
             }));
}

void TestOstrelctlTrace::recordsWhatRunsAlready()
{
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitUntilAllIsSent(*m_simulator);
    const auto watcher = record();
    waitFor("in the list of what runs");
    run(OSTRELCTL, {"terminate", "demo.Viewer.instance_1"});
    waitFor("Terminated");
    QCOMPARE(watcher->interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    QCOMPARE(
        trace.all.filter("demo.Viewer.instance_1: "),
        (QStringList{"i demo.Viewer.instance_1: state 1, in the list of what runs",
                     "i demo.Viewer.instance_1: state 2", "X demo.Viewer.instance_1: state 1",
                     "X demo.Viewer.instance_1: state 2", "i demo.Viewer.instance_1: Terminated"}));
    // Who recorded has not called the service.
    QCOMPARE(trace.all.filter("GetRunningApplications"), QStringList());
}

void TestOstrelctlTrace::overlappingCallsHaveLanesOfTheirOwn()
{
    const auto watcher = record();
    next("Start").holdNext(2);
    Process first(OSTRELCTL, {"start", "demo.First"});
    first.start();
    next("Start").waitForHeld(1);
    Process second(OSTRELCTL, {"start", "demo.Second"});
    second.start();
    next("Start").waitForHeld(2);
    next("Start").release({0, 1});
    first.waitForEnd();
    second.waitForEnd();
    waitFor("Start demo.First");
    waitFor("Start demo.Second");
    QCOMPARE(watcher->interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    const auto laneOf = [&trace](const QString &application) {
        return trace.all.filter("Start " + application).value(0).section(':', 0, 0);
    };
    // Which ones, depends on the desk's own calls.
    QVERIFY2(laneOf("demo.First").startsWith("X calls "), qPrintable(trace.all.join('\n')));
    QVERIFY(laneOf("demo.Second") != laneOf("demo.First"));
}

void TestOstrelctlTrace::endOfTheTraceEndsWhatHasBegun()
{
    const auto watcher = record();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitFor("state 1");
    next("GetRunningApplications").holdNext(1);
    Process held(OSTRELCTL, {"ps"});
    held.start();
    next("GetRunningApplications").waitForHeld(1);
    waitFor("WaitForHeld");
    QCOMPARE(watcher->interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    const QStringList last = trace.all.mid(trace.all.size() - 4);
    QCOMPARE(last.join('\n').remove(QRegularExpression(" calls \\d")),
             "X demo.Viewer.instance_1: state 1, the trace has ended\n"
             "X: GetRunningApplications, none until the trace ended\n"
             "X service: available, the trace has ended\n"
             "i service: trace ends");
}

void TestOstrelctlTrace::callEndsWithItsCaller()
{
    const auto watcher = record();
    next("Start").holdNext(1);
    Process held(OSTRELCTL, {"start", "demo.Viewer"});
    held.start();
    next("Start").waitForHeld(1);
    held.kill();
    held.waitForEnd();
    waitFor("the caller has left the bus");
    QCOMPARE(watcher->interrupt(), 0);
    QCOMPARE(traceOf(path()).all.filter("demo.Viewer, ").join('\n').section(": ", 1),
             "Start demo.Viewer, none: the caller has left the bus");
}

void TestOstrelctlTrace::recordsTheEndOfTheService()
{
    const auto watcher = record();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    next("Terminate").dieInNext();
    run(OSTRELCTL, {"terminate", "demo.Viewer.instance_1"});
    m_simulator->waitForEnd();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    waitFor("ServiceUnknown");
    m_simulator->start();
    waitUntil([this] { return readFile(path()).count("\"service available\"") == 2; });
    QCOMPARE(watcher->interrupt(), 0);
    const TraceTexts trace = traceOf(path());
    QCOMPARE(trace.faults, QStringList());
    const QStringList errors = trace.all.filter(" org.freedesktop.DBus.Error.");
    QCOMPARE(errors.join('\n').remove(QRegularExpression(" calls \\d")),
             "X: Terminate demo.Viewer.instance_1, org.freedesktop.DBus.Error.NoReply\n"
             "X: Start demo.Viewer, org.freedesktop.DBus.Error.ServiceUnknown");
    QCOMPARE(trace.all.filter("the service has ended").size(), 1);
    QCOMPARE(trace.all.filter(" service: ").filter("available"),
             (QStringList{"i service: service available", "i service: service not available",
                          "X service: available", "i service: service available",
                          "X service: available, the trace has ended"}));
}

void TestOstrelctlTrace::recordsTheOutOfMemoryKiller()
{
    const auto watcher = record();
    emitSignal("SelectedByOom", {"17"});
    // The call of the fault desk, which has the name, may be there before.
    waitFor(R"({"args":{"processId":"17"})");
    QCOMPARE(watcher->interrupt(), 0);
    QVERIFY(traceOf(path()).all.contains("i service: SelectedByOom"));
}

// 'busctl' sees the same as this program.
void TestOstrelctlTrace::convertedMessagesGiveTheSameTrace()
{
    Process busctl("busctl", {"--address=" + m_bus->address(), "--json=short", "monitor"});
    busctl.setStandardOutputFile(path("messages"));
    busctl.start();
    busctl.setReadChannel(QProcess::StandardError);
    waitUntil([&busctl] { return busctl.canReadLine() || busctl.waitForReadyRead(10); });
    const auto watcher = record();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    run(OSTRELCTL, {"start", "demo.Player"});
    run(OSTRELCTL, {"start", "demo.Player"});
    run(OSTRELCTL, {"terminate", "demo.Viewer.instance_1"});
    run(OSTRELCTL, {"ps"});
    next("Start").answerNext(
        {QVariant::fromValue(uchar(255)), true, QVariant::fromValue(short(-3)),
         QVariant::fromValue(ushort(65535)), -7, 4'000'000'000U, qlonglong(-9'007'199'254'740'991),
         qulonglong(9'007'199'254'740'991), 1.5, QVariant::fromValue(QDBusObjectPath("/a")),
         QVariant::fromValue(QDBusSignature("a{sv}")), QByteArray("ab"), QStringList{"ä", "\n"},
         QVariantMap{{"in", QVariantMap{{"list", QVariantList{1, "x"}}}}},
         QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(3))))});
    run(OSTRELCTL, {"start", "demo.AllTypes"});
    next("Start").answerNext({QString(5000, 'x').split("", Qt::SkipEmptyParts)});
    run(OSTRELCTL, {"start", "demo.Large"});
    next("Start").holdNext(1);
    Process held(OSTRELCTL, {"start", "demo.Nonsense"});
    held.start();
    next("Start").waitForHeld(1);
    held.kill();
    held.waitForEnd();
    m_simulator->end();
    waitFor("service not available");
    waitUntil([this] {
        return readFile(path("messages")).contains(R"("data":[")" OSTREL_SERVICE_NAME R"(",":1.)");
    });
    QCOMPARE(watcher->interrupt(), 0);
    busctl.end();

    const Result result =
        run(OSTRELCTL, {"trace", "--from", path("messages"), "-o", path("converted")});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, QString());
    QCOMPARE(result.exitStatus, 0);
    const TraceTexts converted = traceOf(path("converted"));
    QCOMPARE(converted.faults, QStringList());
    const auto comparable = [](const TraceTexts &trace) {
        // Signals and replies come on two connections here. The last calls of the desk may not
        // have ended.
        QStringList texts = trace.all.filter("demo.");
        texts.sort();
        return texts;
    };
    QCOMPARE(comparable(converted), comparable(traceOf(path())));
    const QStringList details = callDetails(path());
    QCOMPARE(callDetails(path("converted")), details);
    QCOMPARE(details.filter(R"("signature": "ybnqiuxtdogayasa{sv}v")").size(), 1);
    QCOMPARE(details.filter(R"("leftOut": "more than 4096 bytes")").size(), 1);
    QVERIFY(converted.all.contains("i service: service not available"));

    // From a pipe as well.
    Process piped("sh",
                  {"-c", R"("$0" trace --from - -o "$2" < "$1")", OSTRELCTL, path("messages"),
                   path("piped")});
    piped.start();
    QCOMPARE(piped.waitForEnd(), 0);
    QCOMPARE(readFile(path("piped")), readFile(path("converted")));
}

OSTREL_TEST_MAIN(TestOstrelctlTrace)

#include "tst_ostrelctl_trace.moc"
