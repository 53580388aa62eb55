// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

namespace
{

const QString noSessionBus = // clazy:exclude=non-pod-global-static
    "error: Failed: Not connected to D-Bus server\n"
    "hint: no message bus can be reached at DBUS_SESSION_BUS_ADDRESS; "
    "'dbus-run-session -- bash' opens a shell with a bus of its own\n";
const QString noSystemBus = // clazy:exclude=non-pod-global-static
    "error: Failed: Not connected to D-Bus server\n"
    "hint: no system message bus can be reached; a device starts it with the "
    "system, at the address in DBUS_SYSTEM_BUS_ADDRESS if that is set\n";

QString noService(const QString &bus)
{
    return "error: Failed: " + absentServiceText()
        + QString("\nhint: no service owns the name " OSTREL_SERVICE_NAME " on the %1 bus; "
                  "at a desk, start its stand-in: ostrel-simulator --%1 &\n")
              .arg(bus);
}

Result ostrelctl(const QString &arguments)
{
    return run(OSTRELCTL, arguments.split(' '));
}

// Every command that needs a bus.
QStringList commands()
{
    return {
        "start a.b",         "debug a.b",      "terminate a.b",     "ps",
        "window main 1 2 3", "task list sync", "task start sync a", "task stop sync a",
        "task watch sync",
    };
}

void addCommands(const QStringList &more = {})
{
    QTest::addColumn<QString>("command");
    const QStringList all = commands() + more;
    for (const QString &command : all) {
        QTest::newRow(qPrintable(command)) << command;
    }
}

} // namespace

// After an error, the command line says the next step if the bus or the service is missing, and
// otherwise nothing.
class TestOstrelctlAdvice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void adviceSaysHowToGetABus_data();
    void adviceSaysHowToGetABus();
    void adviceSaysThatTheSystemBusIsMissing();
    void adviceSaysHowToGetAService_data();
    void adviceSaysHowToGetAService();
    void adviceSaysHowToGetAServiceOnTheSystemBus();
    void adviceIsNotPartOfTheJson();
    void noAdviceForErrorsOfTheService_data();
    void noAdviceForErrorsOfTheService();
    void noAdviceForAnActivatableService();
    void noAdviceWhenTheBusDoesNotReply();
};

void TestOstrelctlAdvice::cleanup()
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
}

void TestOstrelctlAdvice::adviceSaysHowToGetABus_data()
{
    addCommands({"watch"});
}

void TestOstrelctlAdvice::adviceSaysHowToGetABus()
{
    QFETCH(QString, command);
    const Result result = ostrelctl(command);
    QCOMPARE(result.errors, noSessionBus);
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlAdvice::adviceSaysThatTheSystemBusIsMissing()
{
    const PrivateBus session;
    for (const char *command : {"task list --system sync", "task start --system sync a",
                                "task stop --system sync a", "task watch --system sync"}) {
        const Result result = ostrelctl(command);
        QCOMPARE(result.errors, noSystemBus);
        QCOMPARE(result.exitStatus, 1);
    }
}

void TestOstrelctlAdvice::adviceSaysHowToGetAService_data()
{
    addCommands();
}

void TestOstrelctlAdvice::adviceSaysHowToGetAService()
{
    QFETCH(QString, command);
    const PrivateBus bus;
    const Result result = ostrelctl(command);
    QCOMPARE(result.errors, noService("session"));
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlAdvice::adviceSaysHowToGetAServiceOnTheSystemBus()
{
    const PrivateBus bus;
    cleanup();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
    const Result result = ostrelctl("task list --system sync");
    QCOMPARE(result.errors, noService("system"));
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlAdvice::adviceIsNotPartOfTheJson()
{
    const Result result = ostrelctl("ps --json");
    QCOMPARE(result.output,
             "{\"error\":{\"code\":1,\"message\":\"Not connected to D-Bus "
             "server\",\"name\":\"Failed\"}}\n");
    QCOMPARE(result.errors, noSessionBus);
}

void TestOstrelctlAdvice::noAdviceForErrorsOfTheService_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("errors");
    QTest::newRow("of its own") << OSTREL_ERROR_PREFIX "HandlerFailed"
                                << "error: HandlerFailed: no\n";
    // Neither the message nor the name decides.
    QTest::newRow("failed") << "org.freedesktop.DBus.Error.Failed"
                            << "error: Failed: no\n";
    QTest::newRow("the bus's name of an absent service")
        << "org.freedesktop.DBus.Error.ServiceUnknown"
        << "error: Failed: no\n";
}

void TestOstrelctlAdvice::noAdviceForErrorsOfTheService()
{
    QFETCH(QString, error);
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    simulator.faults(Method::UpdateWindowStatus).failNext(error, "no");
    const Result result = ostrelctl("window main 1 2 3");
    QTEST(result.errors, "errors");
    QCOMPARE(result.exitStatus, 1);
}

// The service is installed but does not start, so the simulator would not help.
void TestOstrelctlAdvice::noAdviceForAnActivatableService()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(OSTREL_SERVICE_NAME ".service"),
              "[D-BUS Service]\nName=" OSTREL_SERVICE_NAME "\nExec=/bin/false\n");
    const bool isBroker = busKind() == DBusBroker;
    const auto bus = isBroker
        ? brokerIn(folder.path(), quotasOfSessionBus(), OSTREL_SERVICE_NAME)
        : BusProcess::daemon(folder.path(), "<servicedir>" + folder.path() + "</servicedir>");
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus->address().toUtf8());
    const Result result = ostrelctl("ps");
    QCOMPARE(result.errors,
             isBroker ? "error: Failed: Could not activate remote peer: unit failed.\n"
                      : "error: Failed: Process " OSTREL_SERVICE_NAME " exited with status 1\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlAdvice::noAdviceWhenTheBusDoesNotReply()
{
    if (busKind() == DBusBroker) {
        QSKIP("Only the configuration of dbus-daemon makes a bus refuse a call to itself");
    }
    const QTemporaryDir folder;
    const auto bus = BusProcess::daemon(folder.path(),
                                        "<policy context=\"mandatory\">"
                                        "<deny send_interface=\"org.freedesktop.DBus\""
                                        " send_member=\"NameHasOwner\"/></policy>");
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus->address().toUtf8());
    const Result result = ostrelctl("ps");
    QCOMPARE(result.errors, "error: Failed: " + absentServiceText() + '\n');
    QCOMPARE(result.exitStatus, 1);
}

OSTREL_TEST_MAIN(TestOstrelctlAdvice)

#include "tst_ostrelctl_advice.moc"
