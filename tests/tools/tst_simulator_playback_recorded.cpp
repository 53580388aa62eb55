// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "control_events.h"
#include "run.h"
#include "scenario_test.h"
#include "trace_texts.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <Ostrel/Control>
#include <Ostrel/DebugParams>
#include <Ostrel/TaskInvoker>

#include <QtCore/QRegularExpression>

#include <functional>

namespace
{

// A program, and what it sees of the service.
struct Program
{
    // Runs it. wait: waits until so many answers and signals have been recorded.
    explicit Program(const std::function<void(int answers, int signalCount)> &wait = {});

    QStringList answers;
    QStringList events;
};

QString textOf(const Ostrel::Error &error, const QString &result = QString())
{
    return error ? error.busErrorName() + ' ' + error.message() : result;
}

QString textOf(const Ostrel::Control::StartResult &result)
{
    return textOf(result.error, result.appInstanceId + " {" + text(result.details) + '}');
}

Program::Program(const std::function<void(int answers, int signalCount)> &wait)
{
    using Ostrel::Control;
    Control control;
    ControlEvents signalEvents(control);
    QStringList service;
    QObject::connect(&control, &Control::serviceAvailableChanged, &control,
                     [&service](bool available) { service.append(available ? "came" : "went"); });
    const auto answer = [&](const QString &text, const QString &lastEvent = QString(),
                            int serviceEvents = 0) {
        answers.append(text);
        if (!lastEvent.isNull()) {
            signalEvents.waitFor(lastEvent);
        }
        waitUntil([&] { return service.size() == serviceEvents; });
        if (wait) {
            wait(answers.size(), signalEvents.all().size() + service.size());
        }
    };
    answer(textOf(control.start("demo.Viewer")), "state demo.Viewer.instance_1 1");
    answer(textOf(control.start("demo.Viewer")));
    answer(textOf(control.start("demo.Nonsense")));
    Ostrel::DebugParams parameters;
    parameters.setEnvironment({"A=1", "B=ü"});
    parameters.setSandboxEnabled(true);
    answer(textOf(control.startDebug("demo.Viewer", parameters)), "state demo.Viewer.instance_2 1");
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    const Ostrel::Error listed = control.getRunningApplications(applications, services);
    answer(textOf(listed, text(applications) + " / " + text(services)));
    answer(QString::number(reportWindow("w").state));
    answer(textOf(control.terminate("demo.Viewer.instance_1"), "terminated"), "oom 4711");
    // The service ends during this call, and comes back.
    answer(textOf(reportWindow("v").error), QString(), 2);
    answer(textOf(control.start("demo.Viewer")), QString(), 2);
    answer(textOf(control.terminate("demo.Nonsense"), "terminated"), "oom last", 2);
    events = signalEvents.all() + service;
}

// What the recorded service did besides.
const char *const scenario = R"({"steps": [
    {"at": {"call": "Control1.Start"}, "do": [{"delay": 5}]},
    {"at": {"call": "Control1.Start"}, "do": [{"fail": "HandlerFailed", "message": "not today"}]},
    {"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [77]}]},
    {"at": {"signal": "Terminated"}, "do": [{"emit": "SelectedByOom", "values": ["4711"]}]},
    {"at": {"call": "UpdateWindowStatus"}, "do": [{"restart": 50}]},
    {"at": {"call": "Control1.Start"}, "do": [{"fail": "a.b", "values": []}]},
    {"at": {"call": "Terminate"}, "do": [{"emit": "SelectedByOom", "values": ["last"]}]}
]})";

} // namespace

// A program sees what was recorded when the trace is played back as a scenario.
class TestSimulatorPlaybackRecorded : public QObject, private ScenarioTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_simulator.reset(); }

    void programSeesTheRecordedServiceAgain();
    void messagesOfBusctlArePlayedBack();
    void tasksAreCarriedOut();

private:
    QString m_file = m_folder.filePath("trace.json");
};

void TestSimulatorPlaybackRecorded::programSeesTheRecordedServiceAgain()
{
    const QString file = m_folder.filePath("scenario.json");
    writeFile(file, scenario);
    startFile(file);
    Watcher recorder({"trace", "-o", m_file});
    QCOMPARE(recorder.readLine(), "recording to " + m_file + "; Ctrl-C ends it");
    // The trace also has its own begin, and that of the service.
    const Program recorded([this](int answers, int signalCount) {
        waitUntil([&] {
            const QStringList all = traceOf(m_file, true).all;
            return all.filter(QRegularExpression("^X calls")).size() == answers
                && all.filter(QRegularExpression("^i ")).size() == signalCount + 2;
        });
    });
    QCOMPARE(recorder.interrupt(), 0);
    QCOMPARE(m_simulator->end(), 0);
    QVERIFY(recorded.answers.contains(OSTREL_ERROR_PREFIX "HandlerFailed not today"));
    QCOMPARE(recorded.events.filter("demo.Viewer.instance_2").size(), 2);

    startFile(m_file);
    const Program again;
    QCOMPARE(again.answers, recorded.answers);
    QCOMPARE(again.events, recorded.events);
    m_simulator->desk("WaitForScenario");
    QCOMPARE(m_simulator->end(), 0);
}

// Their replies and signals come on one connection.
void TestSimulatorPlaybackRecorded::messagesOfBusctlArePlayedBack()
{
    const QString messages = m_folder.filePath("messages");
    Process busctl("busctl", {"--address=" + m_bus.address(), "--json=short", "monitor"});
    busctl.setStandardOutputFile(messages);
    busctl.start();
    busctl.setReadChannel(QProcess::StandardError);
    waitUntil([&busctl] { return busctl.canReadLine() || busctl.waitForReadyRead(10); });
    const QString file = m_folder.filePath("scenario.json");
    writeFile(file, scenario);
    startFile(file);
    const Program recorded;
    QCOMPARE(m_simulator->end(), 0);
    waitUntil([&messages] {
        return readFile(messages).count(R"("data":[")" OSTREL_SERVICE_NAME R"(",":1.)") == 2;
    });
    busctl.end();
    QCOMPARE(run(OSTRELCTL, {"trace", "--from", messages, "-o", m_file}).exitStatus, 0);

    startFile(m_file);
    const Program again;
    QCOMPARE(again.answers, recorded.answers);
    QCOMPARE(again.events, recorded.events);
    // It was recorded, too.
    QCOMPARE(m_simulator->waitForEnd(), 1);
}

void TestSimulatorPlaybackRecorded::tasksAreCarriedOut()
{
    const auto useTasks = [] {
        QStringList answers;
        Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SessionBus, "sync");
        QObject context;
        const auto start = [&](const QString &name) {
            const int before = answers.size();
            invoker.start(name, {}, {}, &context, [&](int number, const Ostrel::Error &error) {
                answers.append(textOf(error, QString::number(number)));
            });
            waitUntil([&] { return answers.size() > before; });
        };
        start("contacts");
        waitUntil([&invoker] { return invoker.activeTasks().size() == 1; });
        start("nonsense");
        return answers;
    };
    m_simulator.emplace(m_bus);
    m_simulator->start();
    Watcher recorder({"trace", "-o", m_file});
    recorder.readLine();
    const QStringList recorded = useTasks();
    QCOMPARE(recorded.value(0), "1");
    waitUntil([this] { return readFile(m_file).contains("Start nonsense"); });
    QCOMPARE(recorder.interrupt(), 0);
    m_simulator->end();
    startFile(m_file);
    QCOMPARE(useTasks(), recorded);
    QCOMPARE(m_simulator->end(), 0);
}

OSTREL_TEST_MAIN(TestSimulatorPlaybackRecorded)

#include "tst_simulator_playback_recorded.moc"
