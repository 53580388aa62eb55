// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtDBus/QDBusConnectionInterface>

#include <csignal>

// The simulator as a program: its options, its messages, its start and its end.
class TestSimulator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void servesTheBusAskedFor_data();
    void servesTheBusAskedFor();
    void readyLineNamesTheRootFolder();
    void endsOnASignal_data();
    void endsOnASignal();
    void needsABus_data();
    void needsABus();
    void needsTheName();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();
    void helpIsPrinted();
    void builtInCatalogueIsPrinted();
};

void TestSimulator::servesTheBusAskedFor_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("label");

    const QString session = "DBUS_SESSION_BUS_ADDRESS";
    QTest::newRow("by default") << session << QStringList() << "session bus";
    QTest::newRow("--session") << session << QStringList("--session") << "session bus";
    QTest::newRow("--system") << "DBUS_SYSTEM_BUS_ADDRESS" << QStringList("--system")
                              << "system bus";
    QTest::newRow("--address") << QString() << QStringList("--address") << "bus at %1";
}

void TestSimulator::servesTheBusAskedFor()
{
    QFETCH(QString, variable);
    QFETCH(QStringList, options);
    QFETCH(QString, label);
    const PrivateBus bus;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    if (variable.isEmpty()) {
        options.append(bus.address());
        label = label.arg(bus.address());
    } else {
        environment.insert(variable, bus.address());
    }
    Process simulator(SIMULATOR, options);
    simulator.setProcessEnvironment(environment);
    simulator.start();
    const QString ready =
        QString("ostrel-simulator: " OSTREL_SERVICE_NAME " is ready on the %1; ").arg(label);
    QCOMPARE(simulator.readLine().left(ready.size()), ready);

    // When it is ready, it owns the name.
    const QString name = "observer";
    QVERIFY(QDBusConnection::connectToBus(bus.address(), name)
                .interface()
                ->isServiceRegistered(OSTREL_SERVICE_NAME));
    QDBusConnection::disconnectFromBus(name);
    QCOMPARE(simulator.end(), 0);
    QCOMPARE(simulator.readAllStandardOutput(), QByteArray());
    QCOMPARE(simulator.readAllStandardError(), QByteArray());
}

// Processes are looked up in the given folder, or in a temporary one.
void TestSimulator::readyLineNamesTheRootFolder()
{
    const PrivateBus bus;
    const QTemporaryDir folder;
    for (const QString &given : {QString(), folder.filePath("root")}) {
        Process simulator(SIMULATOR,
                          given.isEmpty() ? QStringList() : QStringList{"--rootfs", given});
        simulator.start();
        const QString named = simulator.readLine().section("; its root folder is ", 1);
        QVERIFY2(QDir(named + "/proc").exists(), qPrintable(named));
        if (!given.isEmpty()) {
            QCOMPARE(named, given);
        }
        QCOMPARE(simulator.end(), 0);
    }
}

void TestSimulator::endsOnASignal_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void TestSimulator::endsOnASignal()
{
    QFETCH(int, number);
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    ::kill(static_cast<pid_t>(simulator.process().processId()), number);
    QCOMPARE(simulator.waitForEnd(), 0);
    QCOMPARE(simulator.process().exitStatus(), QProcess::NormalExit);
}

void TestSimulator::needsABus_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("message");
    QTest::newRow("session") << QStringList()
                             << "session bus: Failed to connect to socket "
                                "/nonexistent/session: No such file or directory\n"
                                "hint: no message bus can be reached at "
                                "DBUS_SESSION_BUS_ADDRESS; 'dbus-run-session -- bash' opens a "
                                "shell with a bus of its own";
    QTest::newRow("system") << QStringList("--system")
                            << "system bus: Failed to connect to socket "
                               "/nonexistent/system: No such file or directory\n"
                               "hint: no system message bus can be reached; a device starts it "
                               "with the system, at the address in DBUS_SYSTEM_BUS_ADDRESS if "
                               "that is set";
    QTest::newRow("address") << QStringList{"--address", "unix:path=/nonexistent/other"}
                             << "bus at unix:path=/nonexistent/other: Failed to connect to socket "
                                "/nonexistent/other: No such file or directory";
    QTest::newRow("no address") << QStringList{"--address", "nonsense"}
                                << "bus at nonsense: Address does not contain a colon";
}

void TestSimulator::needsABus()
{
    QFETCH(QStringList, options);
    QFETCH(QString, message);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const Result result = run(SIMULATOR, options);
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors, QString("ostrel-simulator: cannot reach the %1\n").arg(message));
}

void TestSimulator::needsTheName()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const Result result = run(SIMULATOR, {});
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             "ostrel-simulator: the name " OSTREL_SERVICE_NAME " is taken on the session bus\n");
    // The first simulator still runs.
    QCOMPARE(simulator.desk("Calls").type(), QDBusMessage::ReplyMessage);
}

void TestSimulator::wrongOptionsAreReported_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown option") << QStringList("--nonsense") << "Unknown option 'nonsense'.";
    QTest::newRow("argument") << QStringList("nonsense") << "unexpected argument \"nonsense\"";
    QTest::newRow("address without value")
        << QStringList("--address") << "Missing value after '--address'.";
    for (const char *const time : {"", "x", "-1", "1.5", "2147483648"}) {
        QTest::addRow("time \"%s\"", time)
            << QStringList{"--kill-after", time}
            << QString("--kill-after takes milliseconds, not \"%1\"").arg(time);
    }
    for (const char *const option : {"catalogue", "rootfs"}) {
        QTest::addRow("--%s without a name", option)
            << QStringList{QString("--%1").arg(option), QString()}
            << QString("--%1 takes a name, not an empty one").arg(option);
    }
    QTest::newRow("two buses") << QStringList{"--system", "--session"}
                               << "--session, --system and --address exclude one another";
}

void TestSimulator::wrongOptionsAreReported()
{
    QFETCH(QStringList, options);
    QFETCH(QString, message);
    const Result result = run(SIMULATOR, options);
    QCOMPARE(result.exitStatus, 2);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             QString("ostrel-simulator: %1\nTry 'ostrel-simulator --help'.\n").arg(message));
}

void TestSimulator::helpIsPrinted()
{
    for (const char *option : {"--help", "-h"}) {
        const Result help = run(SIMULATOR, {option});
        QCOMPARE(help.exitStatus, 0);
        QVERIFY(help.output.startsWith("Usage: ostrel-simulator [options]\n"));
        for (const char *const told : {OSTREL_SIMULATOR_INTERFACE, "--catalogue <file>",
                                       "--kill-after <milliseconds>", "--rootfs <folder>"}) {
            QVERIFY2(help.output.contains(told), told);
        }
        QCOMPARE(help.errors, QString());
    }
    for (const char *option : {"--version", "-v"}) {
        const Result version = run(SIMULATOR, {option});
        QCOMPARE(version.exitStatus, 0);
        QCOMPARE(version.output, "ostrel-simulator " PROJECT_VERSION "\n");
    }
}

void TestSimulator::builtInCatalogueIsPrinted()
{
    const Result printed = run(SIMULATOR, {"--print-catalogue"});
    QCOMPARE(printed.errors, QString());
    QCOMPARE(printed.exitStatus, 0);
    QCOMPARE(printed.output, readFile(SOURCE_DIR "/tools/simulator/catalogue.json"));
}

OSTREL_TEST_MAIN(TestSimulator)

#include "tst_simulator.moc"
