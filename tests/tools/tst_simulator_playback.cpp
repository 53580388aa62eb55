// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "control_calls.h"
#include "control_events.h"
#include "files.h"
#include "kit.h"
#include "outcomes.h"
#include "run.h"
#include "test_bus.h"
#include "trace_texts.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <Ostrel/Control>
#include <Ostrel/DebugParams>
#include <Ostrel/TaskInvoker>

#include <QtCore/QElapsedTimer>
#include <QtCore/QRegularExpression>

#include <functional>
#include <optional>

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

// Traces that are played back as scenarios.
class TestSimulatorPlayback : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup() { m_simulator.reset(); }

    void programSeesTheRecordedServiceAgain();
    void messagesOfBusctlArePlayedBack();
    void callsMayComeInAnotherOrder();
    void missingCallIsNamedAndDelaysNothing();
    void replyComesAfterTheRecordedTime();
    void eventsBeforeTheFirstCallHappenAtTheStart();
    void callWithoutReplyHasNoneAgain();
    void callWhileTheServiceWasAwayIsNotWaitedFor();
    void restartsOfTwoCallsComeOneAfterTheOther();
    void serviceEndsAgain();
    void valuesThatWereLeftOutAreTheUsualOnes();
    void tasksAreCarriedOut();
    void cutFileIsPlayedAsFarAsItGoes();

private:
    // Starts the simulator with these events, after the beginning of a trace.
    void play(const QStringList &events);
    void start(const QString &file);

    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath("trace.json");
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

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

void TestSimulatorPlayback::initTestCase()
{
    m_bus.emplace();
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestSimulatorPlayback::start(const QString &file)
{
    m_simulator.emplace(*m_bus, QStringList{"--scenario", file});
    m_simulator->start();
}

void TestSimulatorPlayback::play(const QStringList &events)
{
    writeFile(m_file,
              "[\n" + (serviceMoment(0, "trace begins") + ",\n") + events.join(",\n") + "\n]\n");
    start(m_file);
}

void TestSimulatorPlayback::programSeesTheRecordedServiceAgain()
{
    const QString file = m_folder.filePath("scenario.json");
    writeFile(file, scenario);
    start(file);
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

    start(m_file);
    const Program again;
    QCOMPARE(again.answers, recorded.answers);
    QCOMPARE(again.events, recorded.events);
    m_simulator->desk("WaitForScenario");
    QCOMPARE(m_simulator->end(), 0);
}

// Their replies and signals come on one connection.
void TestSimulatorPlayback::messagesOfBusctlArePlayedBack()
{
    const QString messages = m_folder.filePath("messages");
    Process busctl("busctl", {"--address=" + m_bus->address(), "--json=short", "monitor"});
    busctl.setStandardOutputFile(messages);
    busctl.start();
    busctl.setReadChannel(QProcess::StandardError);
    waitUntil([&busctl] { return busctl.canReadLine() || busctl.waitForReadyRead(10); });
    const QString file = m_folder.filePath("scenario.json");
    writeFile(file, scenario);
    start(file);
    const Program recorded;
    QCOMPARE(m_simulator->end(), 0);
    waitUntil([&messages] {
        return readFile(messages).count(R"("data":[")" OSTREL_SERVICE_NAME R"(",":1.)") == 2;
    });
    busctl.end();
    QCOMPARE(run(OSTRELCTL, {"trace", "--from", messages, "-o", m_file}).exitStatus, 0);

    start(m_file);
    const Program again;
    QCOMPARE(again.answers, recorded.answers);
    QCOMPARE(again.events, recorded.events);
    // It was recorded, too.
    QCOMPARE(m_simulator->waitForEnd(), 1);
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
    play({windowCall("b", 1000, 0, state(12)), oom(400'000, "late"),
          serviceMoment(401'000, "service not available"),
          serviceMoment(411'000, "service available"), oom(412'000, "last"),
          windowCall("a", 500'000, 0, state(11)), serviceMoment(500'001, "service not available"),
          serviceMoment(1'500'000, "service available")});
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

void TestSimulatorPlayback::tasksAreCarriedOut()
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
        start("nonsense");
        return answers;
    };
    m_simulator.emplace(*m_bus);
    m_simulator->start();
    Watcher recorder({"trace", "-o", m_file});
    recorder.readLine();
    const QStringList recorded = useTasks();
    QCOMPARE(recorded.value(0), "1");
    waitUntil([this] { return readFile(m_file).contains("Start nonsense"); });
    QCOMPARE(recorder.interrupt(), 0);
    m_simulator->end();
    start(m_file);
    QCOMPARE(useTasks(), recorded);
    QCOMPARE(m_simulator->end(), 0);
}

void TestSimulatorPlayback::cutFileIsPlayedAsFarAsItGoes()
{
    const QString whole =
        "[\n" + serviceMoment(0, "trace begins") + ",\n" + windowCall("a", 1000, 0, state(11));
    for (const QString &cut :
         {whole, whole + ",", whole + ",\n", whole + ",\n{\"ph\":\"X\",\"na"}) {
        writeFile(m_file, cut);
        start(m_file);
        QCOMPARE(reportWindow("a", 5).state, 11U);
        QCOMPARE(m_simulator->end(), 0);
    }
}

OSTREL_TEST_MAIN(TestSimulatorPlayback)

#include "tst_simulator_playback.moc"
