// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <optional>

// The command line, as users type it and scripts read it.
class TestOstrelctl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void windowPrintsTheState_data();
    void windowPrintsTheState();
    void windowFails_data();
    void windowFails();
    void windowSucceedsWithAnErrorNamedNoError();
    void errorsStayOnOneLine();
    void outputThatCannotBeWrittenIsAFailure_data();
    void outputThatCannotBeWrittenIsAFailure();
    void windowWithoutService();
    void windowWithoutBus();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();
    void helpIsPrinted_data();
    void helpIsPrinted();
    void versionIsPrinted();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestOstrelctl::init()
{
    m_simulator.reset();
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestOstrelctl::windowPrintsTheState_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QVariantList>("sent");
    QTest::addColumn<QString>("output");

    const auto sent = [](int status, int arg1, int arg2) {
        return QVariantList{"main", status, arg1, arg2};
    };
    QTest::newRow("plain") << "window main 2 3 4" << sent(2, 3, 4) << "2\n";
    QTest::newRow("negative") << "window main -1 -2 -3" << sent(-1, -2, -3) << "4294967295\n";
    QTest::newRow("extremes") << "window main 0 -2147483648 2147483647"
                              << sent(0, -2147483647 - 1, 2147483647) << "0\n";
    QTest::newRow("JSON") << "window --json main 2 3 4" << sent(2, 3, 4) << "{\"state\":2}\n";
    QTest::newRow("JSON at the end")
        << "window main -1 3 4 --json" << sent(-1, 3, 4) << "{\"state\":4294967295}\n";
    QTest::newRow("behind --") << "window --json -- --json 2 3 4" << QVariantList{"--json", 2, 3, 4}
                               << "{\"state\":2}\n";
}

void TestOstrelctl::windowPrintsTheState()
{
    QFETCH(QString, arguments);
    QFETCH(QVariantList, sent);
    const Result result = run(OSTRELCTL, arguments.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(result.errors, QString());
    QTEST(result.output, "output");
    QCOMPARE(result.exitStatus, 0);
    const QVector<Call> calls = m_simulator->calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.constFirst().signature, "siii");
    QCOMPARE(calls.constFirst().arguments, sent);
}

void TestOstrelctl::windowFails_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");

    const QString service = QString(OSTREL_SERVICE_NAME) + ".Error.";
    const QString standard = "org.freedesktop.DBus.Error.";
    const auto row = [](const QString &prefix, const char *name, int code) {
        QTest::newRow(name) << prefix + QLatin1String(name) << name << code;
    };
    row(standard, "Failed", 1);
    row(service, "HandlerNotFound", 2);
    row(service, "HandlerFailed", 3);
    row(standard, "InvalidArgs", 4);
    row(standard, "NotSupported", 5);
    row(standard, "AccessDenied", 6);
    row(service, "ProcessNotHandled", 7);
    row(service, "ApplicationNotRunning", 8);
    row(service, "ApplicationAlreadyRunning", 9);
}

void TestOstrelctl::windowFails()
{
    QFETCH(QString, error);
    QFETCH(QString, name);
    QFETCH(int, code);
    const QStringList arguments = QString("window main 2 3 4").split(' ');
    const QString errors = QString("error: %1: no \"luck\"\n").arg(name);

    m_simulator->faults(Method::UpdateWindowStatus).failNext(error, "no \"luck\"");
    const Result plain = run(OSTRELCTL, arguments);
    QCOMPARE(plain.output, "255\n");
    QCOMPARE(plain.errors, errors);
    QCOMPARE(plain.exitStatus, 1);

    m_simulator->faults(Method::UpdateWindowStatus).failNext(error, "no \"luck\"");
    const Result json = run(OSTRELCTL, arguments + QStringList("--json"));
    QCOMPARE(json.output,
             QString("{\"error\":{\"code\":%1,\"message\":\"no \\\"luck\\\"\",\"name\":\"%2\"},"
                     "\"state\":255}\n")
                 .arg(code)
                 .arg(name));
    QCOMPARE(json.errors, errors);
    QCOMPARE(json.exitStatus, 1);
}

// For the library, an error reply with this name is a success.
void TestOstrelctl::windowSucceedsWithAnErrorNamedNoError()
{
    m_simulator->faults(Method::UpdateWindowStatus)
        .failNext(OSTREL_SERVICE_NAME ".Error.NoError", "text");
    const Result result = run(OSTRELCTL, QString("window main 2 3 4").split(' '));
    QCOMPARE(result.output, "255\n");
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctl::errorsStayOnOneLine()
{
    m_simulator->faults(Method::UpdateWindowStatus).failNext("a.b", "two\nlines\x1b[1m ü");
    const Result result = run(OSTRELCTL, QString("window main 2 3 4").split(' '));
    QCOMPARE(result.errors, "error: Failed: two\\nlines\\x1b[1m ü\n");
}

void TestOstrelctl::outputThatCannotBeWrittenIsAFailure_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line : {"window main 2 3 4", "window --help", "--help", "--version"}) {
        QTest::newRow(line) << line;
    }
}

void TestOstrelctl::outputThatCannotBeWrittenIsAFailure()
{
    QFETCH(QString, line);
    Process process(OSTRELCTL, line.split(' '));
    process.setStandardOutputFile("/dev/full");
    process.start();
    process.waitForEnd();
    QCOMPARE(process.exitCode(), 1);
    QCOMPARE(process.readAllStandardError(),
             QByteArrayLiteral("ostrelctl: cannot write the output\n"));
}

void TestOstrelctl::windowWithoutService()
{
    QCOMPARE(m_simulator->end(), 0);
    const Result result = run(OSTRELCTL, QString("window main 2 3 4").split(' '));
    QCOMPARE(result.output, "255\n");
    QCOMPARE(result.errors,
             "error: Failed: " + absentServiceText()
                 + "\n"
                   "hint: no service owns the name " OSTREL_SERVICE_NAME
                   " on the session bus; at a desk, start its stand-in: "
                   "ostrel-simulator --session &\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctl::windowWithoutBus()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const Result result = run(OSTRELCTL, QString("window main 2 3 4").split(' '), environment);
    QCOMPARE(result.output, "255\n");
    QCOMPARE(result.errors,
             "error: Failed: Not connected to D-Bus server\n"
             "hint: no message bus can be reached at DBUS_SESSION_BUS_ADDRESS; "
             "'dbus-run-session -- bash' opens a shell with a bus of its own\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctl::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("errors");

    const auto general =
        [](const char *arguments, const char *mistake) {
            QTest::newRow(arguments)
                << arguments << QString("ostrelctl: %1\nTry 'ostrelctl --help'.\n").arg(mistake);
        };
    general("", "a command is missing");
    general("nonsense", "no command \"nonsense\"");
    general("--nonsense", "Unknown option 'nonsense'.");
    general("--json window main 1 2 3", "Unknown option 'json'.");

    const auto window =
        [](const char *arguments, const char *mistake) {
            QTest::newRow(arguments)
                << arguments
                << QString("ostrelctl window: %1\nTry 'ostrelctl window --help'.\n").arg(mistake);
        };
    window("window", "WINDOW is missing");
    window("window main", "STATUS is missing");
    window("window main 1", "ARG1 is missing");
    window("window main 1 2", "ARG2 is missing");
    window("window main 1 2 3 4", "unexpected argument \"4\"");
    window("window main x 2 3",
           "STATUS takes a whole number from -2147483648 to 2147483647, not \"x\"");
    window("window main 1 2.5 3",
           "ARG1 takes a whole number from -2147483648 to 2147483647, not \"2.5\"");
    window("window main 1 2 2147483648",
           "ARG2 takes a whole number from -2147483648 to 2147483647, not \"2147483648\"");
    window("window main -2147483649 2 3",
           "STATUS takes a whole number from -2147483648 to 2147483647, not \"-2147483649\"");
    window("window --nonsense main 1 2 3", "Unknown option 'nonsense'.");
}

void TestOstrelctl::wrongOptionsAreReported()
{
    QFETCH(QString, arguments);
    const Result result = run(OSTRELCTL, arguments.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(result.output, QString());
    QTEST(result.errors, "errors");
    QCOMPARE(result.exitStatus, 2);
    QVERIFY(m_simulator->calls().isEmpty());
}

void TestOstrelctl::helpIsPrinted_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("usage");

    const QString general = "Usage: ostrelctl [options] COMMAND ...\n";
    const QString window = "Usage: ostrelctl window [options] WINDOW STATUS ARG1 ARG2\n";
    QTest::newRow("--help") << "--help" << general;
    QTest::newRow("-h") << "-h" << general;
    QTest::newRow("window --help") << "window --help" << window;
    QTest::newRow("ps --help") << "ps --help"
                               << "Usage: ostrelctl ps [options]\n";
    QTest::newRow("window -h") << "window main -h" << window;
}

void TestOstrelctl::helpIsPrinted()
{
    QFETCH(QString, arguments);
    QFETCH(QString, usage);
    const Result result = run(OSTRELCTL, arguments.split(' '));
    QVERIFY2(result.output.startsWith(usage), qPrintable(result.output));
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctl::versionIsPrinted()
{
    for (const char *option : {"--version", "-v"}) {
        const Result result = run(OSTRELCTL, {option});
        QCOMPARE(result.output, "ostrelctl " PROJECT_VERSION "\n");
        QCOMPARE(result.exitStatus, 0);
    }
}

OSTREL_TEST_MAIN(TestOstrelctl)

#include "tst_ostrelctl.moc"
