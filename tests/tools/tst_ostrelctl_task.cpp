// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "quiet_test.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <csignal>

// The commands for tasks, as users type them and scripts read them.
class TestOstrelctlTask : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void listPrintsATable();
    void listPrintsJson();
    void startSendsWhatIsGiven_data();
    void startSendsWhatIsGiven();
    void startPrintsTheNumber();
    void stopSaysNothing();
    void failuresArePrinted_data();
    void failuresArePrinted();
    void registrationIsAwaited();
    void systemBusIsAnotherOne();
    void watchPrintsLists();
    void watchPrintsJson();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();
    void helpIsPrinted_data();
    void helpIsPrinted();

private:
    static Result ostrelctl(const QString &arguments);
    Faults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
    Faults next(const char *method) const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, method);
    }
    void announce(const char *list, const QString &value) const;
};

namespace
{

// The simulator knows no tasks of this type.
const char *const sessionPath = OSTREL_TASK_INVOKER_SESSIONS_PATH "bare";

} // namespace

Result TestOstrelctlTask::ostrelctl(const QString &arguments)
{
    return run(OSTRELCTL, arguments.split(' ', Qt::SkipEmptyParts));
}

void TestOstrelctlTask::announce(const char *list, const QString &value) const
{
    busctlEmitSignal(m_bus, sessionPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                     {"s x", QString("a{sv} 1 %1 %2").arg(list, value), "as 0"});
}

void TestOstrelctlTask::listPrintsATable()
{
    busctlDesk(
        m_bus, "AnswerNext",
        QStringList{"ssav", OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker", "2", "o", sessionPath}
            + wordsOf("a{sv} 2 AvailableTasks a(sa{sv}) 2 one 1 Key s v "
                      "two 0 ActiveTasks a(sia{sv}) 1 one -17 0"));
    const Result result = ostrelctl("task list bare");
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output,
             "TASK  STATUS     PID  PROPERTIES\n"
             "one   available  -    Key=\"v\"\n"
             "two   available  -\n"
             "one   active     -17\n");
    QCOMPARE(result.exitStatus, 0);
    QCOMPARE(m_simulator.calls().size(), 1);
    QCOMPARE(m_simulator.calls().at(0).arguments, QVariantList{"bare"});
}

void TestOstrelctlTask::listPrintsJson()
{
    const Result result = ostrelctl("task list --json bare");
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "{\"activeTasks\":[],\"availableTasks\":[]}\n");
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctlTask::startSendsWhatIsGiven_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QVariantMap>("startupInfo");
    QTest::addColumn<QVariantMap>("hints");

    const auto row = [](const char *options, const QVariantMap &startupInfo,
                        const QVariantMap &hints) {
        QTest::newRow(options) << options << startupInfo << hints;
    };
    const auto hint = [&row](const char *option, const char *name, const QVariant &value) {
        row(option, {}, {{name, value}});
    };
    row("", {}, {});
    row("--param a --param -b", {{"Params", QStringList{"a", "-b"}}}, {});
    row("--env A=1 --env B=c=d", {{"Environment", QStringList{"A=1", "B=c=d"}}}, {});
    hint("--hint CPULimit=-3", "CPULimit", -3);
    hint("--hint RunningTime=4", "RunningTime", 4);
    hint("--hint Weight=5", "Weight", 5);
    hint("--hint Priority=6", "Priority", 6);
    hint("--hint User=nemo", "User", "nemo");
    hint("--hint DBusService=a.b", "DBusService", "a.b");
    hint("--hint Homeless=true", "Homeless", true);
    hint("--hint Homeless=false", "Homeless", false);
    hint("--hint Permissions=a,b", "Permissions", QStringList{"a", "b"});
    hint("--hint Conditions=", "Conditions", QStringList());
    hint("--hint Autostart=default", "Autostart", 0);
    hint("--hint Autostart=enabled", "Autostart", 1);
    hint("--hint Autostart=disabled", "Autostart", 2);
    row("--hint User=a --hint User=b --hint Weight=1", {}, {{"User", "b"}, {"Weight", 1}});
}

void TestOstrelctlTask::startSendsWhatIsGiven()
{
    QFETCH(QString, options);
    next("Start").answerNext({7});
    const Result result = ostrelctl(QString("task start %1 bare one").arg(options));
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
    const Call call = m_simulator.calls().constLast();
    QCOMPARE(call.path, sessionPath);
    QCOMPARE(call.member, "Start");
    QCOMPARE(call.signature, "sa{sv}a{sv}");
    QCOMPARE(call.arguments.at(0), QVariant("one"));
    QTEST(qdbus_cast<QVariantMap>(call.arguments.at(1)), "startupInfo");
    QTEST(qdbus_cast<QVariantMap>(call.arguments.at(2)), "hints");
}

void TestOstrelctlTask::startPrintsTheNumber()
{
    next("Start").answerNext({-7});
    const Result plain = ostrelctl("task start bare one --cgroup a.b=c=d");
    QCOMPARE(plain.output, "-7\n");
    QCOMPARE(plain.exitStatus, 0);
    const auto hints = qdbus_cast<QVariantMap>(m_simulator.calls().constLast().arguments.at(2));
    QCOMPARE(hints.size(), 1);
    QCOMPARE(qdbus_cast<QVariantMap>(hints.value("CGroups")),
             (QVariantMap{{"a.b", QByteArrayLiteral("c=d")}}));

    next("Start").answerNext({7});
    const Result json = ostrelctl("task start bare one --json");
    QCOMPARE(json.output, "{\"number\":7}\n");
    QCOMPARE(json.exitStatus, 0);
}

void TestOstrelctlTask::stopSaysNothing()
{
    next("Stop").answerNext({});
    const Result plain = ostrelctl("task stop bare one");
    QCOMPARE(plain.output + plain.errors, QString());
    QCOMPARE(plain.exitStatus, 0);
    QCOMPARE(m_simulator.calls().constLast().member, "Stop");
    QCOMPARE(m_simulator.calls().constLast().arguments, QVariantList{"one"});

    next("Stop").answerNext({});
    const Result json = ostrelctl("task stop bare one --json");
    QCOMPARE(json.output, "{}\n");
    QCOMPARE(json.exitStatus, 0);
}

void TestOstrelctlTask::failuresArePrinted_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<bool>("isRegistration");
    QTest::newRow("list") << "task list bare" << true;
    QTest::newRow("start unregistered") << "task start bare one" << true;
    QTest::newRow("stop unregistered") << "task stop bare one" << true;
    QTest::newRow("watch") << "task watch bare" << true;
    QTest::newRow("start") << "task start bare one" << false;
    QTest::newRow("stop") << "task stop bare one" << false;
}

void TestOstrelctlTask::failuresArePrinted()
{
    QFETCH(QString, arguments);
    QFETCH(bool, isRegistration);
    const QByteArray method = arguments.section(' ', 1, 1) == "stop" ? QByteArrayLiteral("Stop")
                                                                     : QByteArrayLiteral("Start");
    for (const bool json : {false, true}) {
        (isRegistration ? registration() : next(method.constData()))
            .failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
        const Result result = ostrelctl(arguments + (json ? " --json" : QString()));
        QCOMPARE(result.output,
                 json ? R"({"error":{"code":3,"message":"no","name":"HandlerFailed"}})"
                        "\n"
                      : QString());
        // The library's warning is suppressed.
        QCOMPARE(result.errors, "error: HandlerFailed: no\n");
        QCOMPARE(result.exitStatus, 1);
    }
}

void TestOstrelctlTask::registrationIsAwaited()
{
    next("Start").answerNext({7});
    registration().holdNext(1);
    Process process(OSTRELCTL, {"task", "start", "bare", "one"});
    process.start();
    registration().waitForHeld(1);
    QCOMPARE(m_simulator.calls().size(), 1);
    registration().release({0});
    QCOMPARE(process.readLine(), "7");
    process.waitForEnd();
    QCOMPARE(process.exitCode(), 0);
}

void TestOstrelctlTask::systemBusIsAnotherOne()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address());
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const QStringList list{"task", "list", "bare"};
    const Result system = run(OSTRELCTL, list + QStringList("--system"), environment);
    QCOMPARE(system.errors, QString());
    QCOMPARE(system.exitStatus, 0);
    const Result session = run(OSTRELCTL, list, environment);
    QCOMPARE(session.errors.section('\n', 0, 0), "error: Failed: Not connected to D-Bus server");
    QCOMPARE(session.exitStatus, 1);
}

void TestOstrelctlTask::watchPrintsLists()
{
    Watcher watcher({"task", "watch", "bare"});
    QCOMPARE(watcher.readEvent(), "activeTasks    -");
    QCOMPARE(watcher.readEvent(), "availableTasks -");
    QCOMPARE(watcher.readLine(), "watching the tasks of bare; Ctrl-C ends it");
    announce("ActiveTasks", "a(sia{sv}) 2 one 17 0 two 18 0");
    QCOMPARE(watcher.readEvent(), "activeTasks    one(17) two(18)");
    announce("AvailableTasks", "a(sa{sv}) 2 one 0 two 0");
    QCOMPARE(watcher.readEvent(), "availableTasks one two");
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlTask::watchPrintsJson()
{
    Watcher watcher({"task", "watch", "bare", "--json"});
    QCOMPARE(watcher.readJson(), R"({"event":"activeTasks","tasks":[]})");
    QCOMPARE(watcher.readJson(), R"({"event":"availableTasks","tasks":[]})");
    QCOMPARE(watcher.readLine(), "watching the tasks of bare; Ctrl-C ends it");
    announce("ActiveTasks", "a(sia{sv}) 1 one 17 1 k as 1 v");
    QCOMPARE(
        watcher.readJson(),
        R"({"event":"activeTasks","tasks":[{"name":"one","pid":17,"properties":{"k":["v"]}}]})");
    watcher.end();
}

void TestOstrelctlTask::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("mistake");

    const auto row = [](const char *arguments, const char *command, const char *mistake) {
        QTest::newRow(arguments) << arguments << command << mistake;
    };
    row("task", "task", "a command is missing");
    row("task nonsense", "task", "no command \"nonsense\"");
    row("task list", "task list", "TYPE is missing");
    row("task list a b", "task list", "unexpected argument \"b\"");
    row("task start", "task start", "TYPE is missing");
    row("task start a", "task start", "NAME is missing");
    row("task stop a", "task stop", "NAME is missing");
    row("task watch", "task watch", "TYPE is missing");
    row("task start a b --env X", "task start", "--env takes NAME=VALUE, not \"X\"");
    row("task start a b --hint X", "task start", "--hint takes NAME=VALUE, not \"X\"");
    row("task start a b --cgroup =X", "task start", "--cgroup takes NAME=VALUE, not \"=X\"");
    row("task start a b --hint X=1", "task start", "no hint \"X\"");
    row("task start a b --hint cpulimit=1", "task start", "no hint \"cpulimit\"");
    row("task start a b --hint CPULimit=1.5", "task start",
        "the hint CPULimit takes a whole number, not \"1.5\"");
    row("task start a b --hint Homeless=yes", "task start",
        "the hint Homeless takes true or false, not \"yes\"");
    row("task start a b --hint Autostart=3", "task start",
        "the hint Autostart takes default, enabled or disabled, not \"3\"");
}

void TestOstrelctlTask::wrongOptionsAreReported()
{
    QFETCH(QString, arguments);
    QFETCH(QString, command);
    QFETCH(QString, mistake);
    const Result result = ostrelctl(arguments);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             QString("ostrelctl %1: %2\nTry 'ostrelctl %1 --help'.\n").arg(command, mistake));
    QCOMPARE(result.exitStatus, 2);
    QVERIFY(m_simulator.calls().isEmpty());
}

void TestOstrelctlTask::helpIsPrinted_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("usage");
    QTest::newRow("task") << "task --help"
                          << "Usage: ostrelctl task COMMAND ...\n";
    QTest::newRow("list") << "task list --help"
                          << "Usage: ostrelctl task list [options] TYPE\n";
    QTest::newRow("start") << "task start -h"
                           << "Usage: ostrelctl task start [options] TYPE NAME\n";
}

void TestOstrelctlTask::helpIsPrinted()
{
    QFETCH(QString, arguments);
    QFETCH(QString, usage);
    const Result result = ostrelctl(arguments);
    QVERIFY2(result.output.startsWith(usage), qPrintable(result.output));
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

OSTREL_TEST_MAIN(TestOstrelctlTask)

#include "tst_ostrelctl_task.moc"
