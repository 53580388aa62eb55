// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusConnectionInterface>

#include <csignal>

// The simulator as a program: its options, its messages, its beginning and end.
class TestSimulator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void servesTheBusAskedFor_data();
    void servesTheBusAskedFor();
    void endsOnASignal_data();
    void endsOnASignal();
    void needsABus_data();
    void needsABus();
    void needsTheName();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();
    void helpIsPrinted();
};

void TestSimulator::servesTheBusAskedFor_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("label");

    const QString session = QStringLiteral("DBUS_SESSION_BUS_ADDRESS");
    QTest::newRow("by default") << session << QStringList() << QStringLiteral("session bus");
    QTest::newRow("--session") << session << QStringList(QStringLiteral("--session"))
                               << QStringLiteral("session bus");
    QTest::newRow("--system") << QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS")
                              << QStringList(QStringLiteral("--system"))
                              << QStringLiteral("system bus");
    QTest::newRow("--address") << QString() << QStringList(QStringLiteral("--address"))
                               << QStringLiteral("bus at %1");
}

void TestSimulator::servesTheBusAskedFor()
{
    QFETCH(QString, variable);
    QFETCH(QStringList, options);
    QFETCH(QString, label);
    const PrivateBus bus;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    if (variable.isEmpty()) {
        options.append(bus.address());
        label = label.arg(bus.address());
    } else {
        environment.insert(variable, bus.address());
    }
    Process simulator(QStringLiteral(SIMULATOR), options);
    simulator.setProcessEnvironment(environment);
    simulator.start();
    QCOMPARE(simulator.readLine(),
             QStringLiteral("ostrel-simulator: " OSTREL_SERVICE_NAME " is ready on the ") + label);

    // Ready means: the name is owned.
    const QString name = QStringLiteral("observer");
    QVERIFY(QDBusConnection::connectToBus(bus.address(), name)
                .interface()
                ->isServiceRegistered(QStringLiteral(OSTREL_SERVICE_NAME)));
    QDBusConnection::disconnectFromBus(name);
    QCOMPARE(simulator.end(), 0);
    QCOMPARE(simulator.readAllStandardOutput(), QByteArray());
    QCOMPARE(simulator.readAllStandardError(), QByteArray());
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
                             << QStringLiteral("session bus: Failed to connect to socket "
                                               "/nonexistent/session: No such file or directory");
    QTest::newRow("system") << QStringList(QStringLiteral("--system"))
                            << QStringLiteral("system bus: Failed to connect to socket "
                                              "/nonexistent/system: No such file or directory");
    QTest::newRow("address")
        << QStringList{QStringLiteral("--address"), QStringLiteral("unix:path=/nonexistent/other")}
        << QStringLiteral("bus at unix:path=/nonexistent/other: Failed to connect to socket "
                          "/nonexistent/other: No such file or directory");
    QTest::newRow("no address") << QStringList{QStringLiteral("--address"),
                                               QStringLiteral("nonsense")}
                                << QStringLiteral(
                                       "bus at nonsense: Address does not contain a colon");
}

void TestSimulator::needsABus()
{
    QFETCH(QStringList, options);
    QFETCH(QString, message);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const Result result = run(QStringLiteral(SIMULATOR), options);
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors, QStringLiteral("ostrel-simulator: cannot reach the %1\n").arg(message));
}

void TestSimulator::needsTheName()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const Result result = run(QStringLiteral(SIMULATOR), {});
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             QStringLiteral("ostrel-simulator: the name " OSTREL_SERVICE_NAME
                            " is taken on the session bus\n"));
    // The first one goes on.
    QCOMPARE(simulator.desk(QStringLiteral("Calls")).type(), QDBusMessage::ReplyMessage);
}

void TestSimulator::wrongOptionsAreReported_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown option") << QStringList(QStringLiteral("--nonsense"))
                                    << QStringLiteral("Unknown option 'nonsense'.");
    QTest::newRow("argument") << QStringList(QStringLiteral("nonsense"))
                              << QStringLiteral("unexpected argument \"nonsense\"");
    QTest::newRow("address without value") << QStringList(QStringLiteral("--address"))
                                           << QStringLiteral("Missing value after '--address'.");
    for (const char *const time : {"", "x", "-1", "1.5", "2147483648"}) {
        QTest::addRow("time \"%s\"", time)
            << QStringList{QStringLiteral("--kill-after"), QString::fromLatin1(time)}
            << QStringLiteral("--kill-after takes milliseconds, not \"%1\"")
                   .arg(QLatin1String(time));
    }
    for (const char *const option : {"catalogue", "rootfs"}) {
        QTest::addRow("--%s without a name", option)
            << QStringList{QStringLiteral("--%1").arg(QLatin1String(option)), QString()}
            << QStringLiteral("--%1 takes a name, not an empty one").arg(QLatin1String(option));
    }
    QTest::newRow("two buses") << QStringList{QStringLiteral("--system"),
                                              QStringLiteral("--session")}
                               << QStringLiteral(
                                      "--session, --system and --address exclude one another");
}

void TestSimulator::wrongOptionsAreReported()
{
    QFETCH(QStringList, options);
    QFETCH(QString, message);
    const Result result = run(QStringLiteral(SIMULATOR), options);
    QCOMPARE(result.exitStatus, 2);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             QStringLiteral("ostrel-simulator: %1\nTry 'ostrel-simulator --help'.\n").arg(message));
}

void TestSimulator::helpIsPrinted()
{
    for (const QString &option : {QStringLiteral("--help"), QStringLiteral("-h")}) {
        const Result help = run(QStringLiteral(SIMULATOR), {option});
        QCOMPARE(help.exitStatus, 0);
        QVERIFY(help.output.startsWith(QStringLiteral("Usage: ")));
        for (const char *const told : {OSTREL_SIMULATOR_INTERFACE, "--catalogue <file>",
                                       "--kill-after <milliseconds>", "--rootfs <folder>"}) {
            QVERIFY2(help.output.contains(QLatin1String(told)), told);
        }
        QCOMPARE(help.errors, QString());
    }
    for (const QString &option : {QStringLiteral("--version"), QStringLiteral("-v")}) {
        const Result version = run(QStringLiteral(SIMULATOR), {option});
        QCOMPARE(version.exitStatus, 0);
        QCOMPARE(version.output, QStringLiteral("ostrel-simulator " PROJECT_VERSION "\n"));
    }
}

OSTREL_TEST_MAIN(TestSimulator)

#include "tst_simulator.moc"
