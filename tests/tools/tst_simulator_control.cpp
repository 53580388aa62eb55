// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "files.h"
#include "kit.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusArgument>

#include <optional>

namespace
{

const QString catalogue = R"({"applications": [
    {"id": "t.Sleep", "program": "sleep", "arguments": ["600"], "kind": 7},
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true},
    {"id": "t.Once", "program": "/bin/sh", "arguments": ["-c", "exit 3"]},
    {"id": "t.Broken", "program": "/nonexistent/program"},
    {"id": "t.Unknown", "program": "no-such-program"},
    {"id": "t.Forbidden", "program": "/etc/passwd"},
    {"id": "t.Family", "program": "sleep", "arguments": ["600"], "services": [
        {"name": "first", "program": "sleep", "arguments": ["600"], "properties": {"Is": "first"}},
        {"name": "second", "program": "sleep", "arguments": ["600"]}]},
    {"id": "t.Short", "program": "sleep", "arguments": ["600"], "services": [
        {"name": "short", "program": "true"}]},
    {"id": "t.Orphans", "program": "true", "services": [
        {"name": "endless", "program": "sleep", "arguments": ["600"]}]},
    {"id": "t.BrokenFamily", "program": "sleep", "arguments": ["600"], "services": [
        {"name": "sound", "program": "sleep", "arguments": ["600"]},
        {"name": "broken", "program": "/nonexistent/service"}]}
]})";

QString serviceError(const char *name)
{
    return OSTREL_ERROR_PREFIX + QLatin1String(name);
}

} // namespace

// What ".Control1" of the simulator answers, and which signals it sends in which order.
class TestSimulatorControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void startAnswersBeforeItsSignals();
    void startRunsTheProgram();
    void instancesAreNumbered();
    void terminateAnswersBeforeItsSignals();
    void terminatesOnlyTheInstanceAskedFor();
    void endByItselfIsNoticed();
    void singleInstanceRunsOnce();
    void refusesWhatDoesNotRun_data();
    void refusesWhatDoesNotRun();
    void refusesWhatCannotBeStarted_data();
    void refusesWhatCannotBeStarted();
    void listsWhatRuns();
    void servicesEndWithTheirApplication();
    void applicationsOutliveTheirServices();
    void startsDoNotWaitForOneAnother();

private:
    QString list() const;

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorControl::initTestCase()
{
    const QString file = m_folder.filePath("catalogue.json");
    writeFile(file, catalogue);
    m_bus.emplace();
    m_simulator.emplace(*m_bus, QStringList{"--catalogue", file});
    m_simulator->start();
}

void TestSimulatorControl::cleanup()
{
    m_simulator->reset();
}

// Returns the answer of "GetRunningApplications".
QString TestSimulatorControl::list() const
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("GetRunningApplications");
    return monitor.texts().join('\n');
}

void TestSimulatorControl::startAnswersBeforeItsSignals()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Sleep");
    QCOMPARE(monitor.texts(),
             (QStringList{
                 "reply sa{sv} t.Sleep.instance_1 "
                 "{AppId=s:t.Sleep Kind=u:7 Pid=i:PID}",
                 "Started sa{sv} t.Sleep.instance_1 "
                 "{AppId=s:t.Sleep Kind=u:7 Pid=i:PID}",
                 "StateChanged sa{sv} t.Sleep.instance_1 {State=u:1}",
             }));
}

void TestSimulatorControl::startRunsTheProgram()
{
    const int pid = startApplication("t.Sleep").value("Pid").toInt();
    QCOMPARE(readFile(QString("/proc/%1/comm").arg(pid)), "sleep\n");
}

void TestSimulatorControl::instancesAreNumbered()
{
    const auto instance = [](const char *id) {
        return callControl("Start", {id}).arguments().at(0).toString();
    };
    QCOMPARE(instance("t.Sleep"), "t.Sleep.instance_1");
    QCOMPARE(instance("t.Sleep"), "t.Sleep.instance_2");
    QCOMPARE(instance("t.Once"), "t.Once.instance_1");
    QCOMPARE(instance("t.One"), "t.One");
    callControl("Terminate", {"t.Sleep.instance_2"});
    // A number is not used again
    QCOMPARE(instance("t.Sleep"), "t.Sleep.instance_3");
    // until the simulator is reset.
    m_simulator->reset();
    QCOMPARE(instance("t.Sleep"), "t.Sleep.instance_1");
}

void TestSimulatorControl::terminateAnswersBeforeItsSignals()
{
    startApplication("t.Sleep");
    ServiceMonitor monitor(*m_bus, *m_simulator);
    QCOMPARE(callControl("Terminate", {"t.Sleep.instance_1"}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(monitor.texts(),
             (QStringList{
                 "reply",
                 "StateChanged sa{sv} t.Sleep.instance_1 {State=u:2}",
                 "Terminated sa{sv} t.Sleep.instance_1 "
                 "{AppId=s:t.Sleep Kind=u:7 Pid=i:PID Signal=i:15}",
             }));
}

void TestSimulatorControl::terminatesOnlyTheInstanceAskedFor()
{
    startApplication("t.Sleep");
    const int pid = startApplication("t.Sleep").value("Pid").toInt();
    callControl("Terminate", {"t.Sleep.instance_1"});
    QCOMPARE(list(),
             QString("reply a(siuua{sv})a(ssiua{sv}) t.Sleep %1 1 7 "
                     "{InstanceId=s:t.Sleep.instance_2}")
                 .arg(pid));
}

void TestSimulatorControl::endByItselfIsNoticed()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Once");
    QCOMPARE(monitor.textsUntil("Terminated"),
             (QStringList{
                 "reply sa{sv} t.Once.instance_1 "
                 "{AppId=s:t.Once Kind=u:0 Pid=i:PID}",
                 "Started sa{sv} t.Once.instance_1 "
                 "{AppId=s:t.Once Kind=u:0 Pid=i:PID}",
                 "StateChanged sa{sv} t.Once.instance_1 {State=u:1}",
                 "StateChanged sa{sv} t.Once.instance_1 {State=u:2}",
                 "Terminated sa{sv} t.Once.instance_1 "
                 "{AppId=s:t.Once ExitStatus=i:3 Kind=u:0 Pid=i:PID}",
             }));
    QCOMPARE(list(), "reply a(siuua{sv})a(ssiua{sv})");
}

void TestSimulatorControl::singleInstanceRunsOnce()
{
    startApplication("t.One");
    const QDBusMessage second = callControl("Start", {"t.One"});
    QCOMPARE(second.errorName(), serviceError("ApplicationAlreadyRunning"));
    QCOMPARE(second.errorMessage(), "\"t.One\" is running already");
    QCOMPARE(callControl("Terminate", {"t.One"}).type(), QDBusMessage::ReplyMessage);
    startApplication("t.One");
}

void TestSimulatorControl::refusesWhatDoesNotRun_data()
{
    QTest::addColumn<QString>("instance");
    for (const char *const instance : {"", "t.Sleep", "t.Sleep.instance_2", "t.Once.instance_1"}) {
        QTest::newRow(instance) << instance;
    }
}

void TestSimulatorControl::refusesWhatDoesNotRun()
{
    QFETCH(QString, instance);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Sleep");
    startApplication("t.Once");
    monitor.textsUntil("Terminated");
    const QDBusMessage answer = callControl("Terminate", {instance});
    QCOMPARE(answer.errorName(), serviceError("ApplicationNotRunning"));
    QCOMPARE(answer.errorMessage(), QString("No instance \"%1\" is running").arg(instance));
}

void TestSimulatorControl::refusesWhatCannotBeStarted_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *id, const char *error, const char *message) {
        QTest::newRow(id) << id << serviceError(error) << message;
    };
    row("t.Nonsense", "HandlerNotFound", "There is no application \"t.Nonsense\"");
    row("", "HandlerNotFound", "There is no application \"\"");
    row("t.Broken", "HandlerFailed",
        "Cannot start \"/nonexistent/program\": No such file or directory");
    row("t.Unknown", "HandlerFailed",
        "Cannot start \"no-such-program\": No such file or directory");
    row("t.Forbidden", "HandlerFailed", "Cannot start \"/etc/passwd\": Permission denied");
    row("t.BrokenFamily", "HandlerFailed",
        "Cannot start \"/nonexistent/service\": No such file or directory");
}

// There is an error, but no signal and no running application.
void TestSimulatorControl::refusesWhatCannotBeStarted()
{
    QFETCH(QString, id);
    QFETCH(QString, error);
    QFETCH(QString, message);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("Start", {id});
    QCOMPARE(monitor.texts(), QStringList(QString("%1 s %2").arg(error, message)));
    QCOMPARE(list(), "reply a(siuua{sv})a(ssiua{sv})");
}

void TestSimulatorControl::listsWhatRuns()
{
    QCOMPARE(list(), "reply a(siuua{sv})a(ssiua{sv})");
    const int one = startApplication("t.One").value("Pid").toInt();
    const int family = startApplication("t.Family").value("Pid").toInt();
    const QDBusMessage answer = callControl("GetRunningApplications");
    QCOMPARE(answer.signature(), "a(siuua{sv})a(ssiua{sv})");
    const auto services = answer.arguments().at(1).value<QDBusArgument>();
    QVector<int> pids;
    services.beginArray();
    while (!services.atEnd()) {
        QString application;
        QString name;
        int pid = 0;
        services.beginStructure();
        services >> application >> name >> pid;
        services.endStructure();
        pids.append(pid);
    }
    services.endArray();
    QCOMPARE(pids.size(), 2);
    for (const int pid : qAsConst(pids)) {
        QCOMPARE(readFile(QString("/proc/%1/comm").arg(pid)), "sleep\n");
    }
    QCOMPARE(list(),
             QString("reply a(siuua{sv})a(ssiua{sv}) "
                     "t.One %1 1 0 {InstanceId=s:t.One} "
                     "t.Family %2 1 0 {InstanceId=s:t.Family.instance_1} "
                     "t.Family first %3 1 {InstanceId=s:t.Family.instance_1 Is=s:first} "
                     "t.Family second %4 1 {InstanceId=s:t.Family.instance_1}")
                 .arg(one)
                 .arg(family)
                 .arg(pids.at(0))
                 .arg(pids.at(1)));
}

void TestSimulatorControl::servicesEndWithTheirApplication()
{
    startApplication("t.Family");
    callControl("Terminate", {"t.Family.instance_1"});
    QCOMPARE(list(), "reply a(siuua{sv})a(ssiua{sv})");

    // Also if the application ends by itself.
    ServiceMonitor monitor(*m_bus, *m_simulator);
    startApplication("t.Orphans");
    QCOMPARE(monitor.textsUntil("Terminated").constLast(),
             "Terminated sa{sv} t.Orphans.instance_1 "
             "{AppId=s:t.Orphans ExitStatus=i:0 Kind=u:0 Pid=i:PID}");
    QCOMPARE(list(), "reply a(siuua{sv})a(ssiua{sv})");
}

void TestSimulatorControl::applicationsOutliveTheirServices()
{
    const int pid = startApplication("t.Short").value("Pid").toInt();
    const QString expected = QString("reply a(siuua{sv})a(ssiua{sv}) t.Short %1 1 0 "
                                     "{InstanceId=s:t.Short.instance_1}")
                                 .arg(pid);
    waitUntil([&] { return list() == expected; });
}

// Many starts are in flight at the same time.
void TestSimulatorControl::startsDoNotWaitForOneAnother()
{
    QVector<QDBusPendingCall> starts;
    for (int i = 0; i < 20; ++i) {
        starts.append(asyncCallControl("Start", {"t.Family"}));
    }
    for (QDBusPendingCall &start : starts) {
        start.waitForFinished();
        QVERIFY(!start.isError());
    }
    QCOMPARE(list().count("InstanceId"), 60);
}

OSTREL_TEST_MAIN(TestSimulatorControl)

#include "tst_simulator_control.moc"
