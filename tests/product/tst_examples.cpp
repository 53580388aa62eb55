// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "run.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QPair>
#include <QtCore/QRegularExpression>
#include <QtCore/QScopeGuard>

#include <csignal>

// The examples are built with the installed library and the strictest settings of a project, and
// run.
class TestExamples : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void startAndFollowPrintsTheLifeOfTheApplication();
    void taskRunnerRunsATask();
    void windowStatusKeepsTheLatestReply();
    void responsiveGoesOnWhileTheServiceIsSlow();
    void launcherListsWhatRunsAndTheTasks();
    void launcherPrintsWhatIsWrongWithItsFile();
    void testedProgramPassesItsTests();
    void examplesPrintWhyTheyFail_data();
    void examplesPrintWhyTheyFail();
    void examplesEndWithTheService_data();
    void examplesEndWithTheService();

private:
    enum End {
        ServiceIsKilled,
        ServiceStops,
        BusEnds,
    };

    QString program(const QString &example) const;
    Result runExample(const QString &example, const QStringList &arguments) const;

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
};

void TestExamples::initTestCase()
{
    const QString prefix = m_folder.filePath("prefix");
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert("LD_LIBRARY_PATH", prefix + "/" LIBDIR);
    m_environment.insert("CXXFLAGS", STRICT_FLAGS " " SANITIZER_FLAGS);
    m_environment.insert("LSAN_OPTIONS",
                         "suppressions=" SOURCE_DIR "/tests/product/lsan_examples.supp"
                         ":print_suppressions=0");
    const QString build = m_folder.filePath("build");
    const QVector<QStringList> steps{
        {"--install", BUILD_DIR, "--prefix", prefix},
        {"--install", BUILD_DIR, "--prefix", prefix, "--component", "simulator"},
        {"-G", "Ninja", "-S", SOURCE_DIR "/examples", "-B", build, "-DCMAKE_PREFIX_PATH=" + prefix},
        {"--build", build},
    };
    for (const QStringList &step : steps) {
        const Result result = run(CMAKE, step, m_environment);
        QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
    }
}

QString TestExamples::program(const QString &example) const
{
    return m_folder.filePath(QString("build/%1/%1").arg(example));
}

Result TestExamples::runExample(const QString &example, const QStringList &arguments) const
{
    return run(program(example), arguments, m_environment);
}

void TestExamples::startAndFollowPrintsTheLifeOfTheApplication()
{
    const Result result = runExample("start-and-follow", {"demo.Once"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "started as demo.Once.instance_1\nstate 1\nstate 2\nended\n");
    QCOMPARE(result.exitStatus, 0);
}

void TestExamples::taskRunnerRunsATask()
{
    const Result result = runExample("task-runner", {"sync", "contacts"});
    QCOMPARE(result.errors, QString());
    QString output = result.output;
    output.replace(QRegularExpression("\\([1-9][0-9]*\\)"), "(PID)");
    QVERIFY2(output.startsWith("active:\navailable: calendar contacts photos\n"),
             qPrintable(output));
    // The answer to a call and the change of the list come in either order.
    QStringList lines = output.split('\n', Qt::SkipEmptyParts);
    lines.sort();
    QCOMPARE(lines,
             (QStringList{"active:", "active:", "active: contacts (PID)",
                          "available: calendar contacts photos", "started contacts as number 1",
                          "stopped contacts"}));
    QCOMPARE(result.exitStatus, 0);
}

// The answers to the first two reports are out of date when they arrive.
void TestExamples::windowStatusKeepsTheLatestReply()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(3);
    Process example(program("window-status"), {});
    example.setProcessEnvironment(m_environment);
    example.start();
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(3);
    m_simulator.faults(Method::UpdateWindowStatus).release({1, 0, 2});
    QCOMPARE(example.readLine(), "state 2");
    example.waitForEnd();
    QCOMPARE(example.exitCode(), 0);
    QCOMPARE(example.readAllStandardOutput() + example.readAllStandardError(), QByteArray());

    QStringList statuses;
    const QVector<Call> calls = m_simulator.calls();
    for (const Call &call : calls) {
        statuses.append(call.arguments.at(1).toString());
    }
    QCOMPARE(statuses, (QStringList{"2", "1", "2"}));
}

void TestExamples::responsiveGoesOnWhileTheServiceIsSlow()
{
    const Faults start = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    start.holdNext(1);
    Process example(program("responsive"), {"demo.Viewer"});
    example.setProcessEnvironment(m_environment);
    example.start();
    start.waitForHeld(1);
    // The lines that are printed by now may have come before the call.
    const auto before = example.bytesAvailable() / qint64(sizeof "tick");
    for (qint64 i = 0; i < before + 3; ++i) {
        QCOMPARE(example.readLine(), "tick");
    }
    start.release({0});
    QString line = example.readLine();
    while (line == "tick") {
        line = example.readLine();
    }
    QCOMPARE(line, "started as demo.Viewer.instance_1");
    example.waitForEnd();
    QCOMPARE(example.exitCode(), 0);
    QCOMPARE(example.readAllStandardError(), QByteArray());
}

void TestExamples::launcherListsWhatRunsAndTheTasks()
{
    if (!HAS_LAUNCHER) {
        QSKIP("Without the QML module or Qt Quick");
    }
    QProcessEnvironment environment = m_environment;
    environment.insert("QML2_IMPORT_PATH", m_folder.filePath("prefix/" LIBDIR "/qt5/qml"));
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("QT_QUICK_BACKEND", "software");
    Process example(program("launcher"),
                    {SOURCE_DIR "/examples/launcher/applications.json", "sync"});
    example.setProcessEnvironment(environment);
    example.start();
    QStringList received;
    waitUntil([&] {
        received.clear();
        const QVector<Call> calls = m_simulator.calls();
        for (const Call &call : calls) {
            received.append(call.member);
        }
        return received.size() == 2 || example.state() == QProcess::NotRunning;
    });
    received.sort();
    QCOMPARE(received, (QStringList{"GetRunningApplications", "RegisterInvoker"}));
    example.end();
    QCOMPARE(example.readAllStandardError(), QByteArray());
}

void TestExamples::launcherPrintsWhatIsWrongWithItsFile()
{
    if (!HAS_LAUNCHER) {
        QSKIP("Without the QML module or Qt Quick");
    }
    QProcessEnvironment environment = m_environment;
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    // To name the platform, which leaks, the whole stack is needed. Qt has no frame pointers.
    environment.insert("ASAN_OPTIONS", "fast_unwind_on_malloc=0");
    const Result missing = run(program("launcher"), {"/nonexistent", "sync"}, environment);
    QCOMPARE(missing.errors, "/nonexistent: No such file or directory\n");
    QCOMPARE(missing.exitStatus, 1);
    const QString file = SOURCE_DIR "/README.md";
    const Result wrong = run(program("launcher"), {file, "sync"}, environment);
    QCOMPARE(wrong.errors, file + ": no JSON array; illegal value\n");
    QCOMPARE(wrong.exitStatus, 1);
}

// They find the installed simulator.
void TestExamples::testedProgramPassesItsTests()
{
    const Result result = run(
        "ctest", {"--test-dir", m_folder.filePath("build/tested-program"), "--output-on-failure"},
        m_environment);
    QVERIFY2(result.output.contains("100% tests passed, 0 tests failed out of 2"),
             qPrintable(result.output + result.errors));
}

void TestExamples::examplesPrintWhyTheyFail_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("errors");
    const QString control = OSTREL_CONTROL_INTERFACE;
    const QString session = OSTREL_TASK_INVOKER_SESSION_INTERFACE;
    const QStringList sync{"sync", "photos"};
    QTest::newRow("start-and-follow") << QStringList{"demo.Once"} << control << "Start"
                                      << "cannot start demo.Once: not today\n";
    QTest::newRow("task-runner") << sync << session << "Start"
                                 << "cannot start photos: not today\n";
    QTest::newRow("window-status")
        << QStringList() << OSTREL_WINDOW_MANAGEMENT_INTERFACE << "UpdateWindowStatus"
        << "cannot report: not today\n";
    QTest::newRow("responsive") << QStringList{"demo.Once"} << control << "Start"
                                << "cannot start: not today\n";
    QTest::newRow("tested-program") << QStringList{"demo.Once"} << control << "Start"
                                    << "cannot start demo.Once: not today\n";
}

void TestExamples::examplesPrintWhyTheyFail()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, interface);
    QFETCH(const QString, method);
    QFETCH(const QString, errors);
    const Faults faults = m_simulator.faults(interface, method);
    // The window reports three times, and the last reply counts. The keeper tries three times.
    for (int i = 0; i < 3; ++i) {
        faults.failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not today");
    }
    const Result result = runExample(QTest::currentDataTag(), arguments);
    QCOMPARE(result.errors, errors);
    QCOMPARE(result.exitStatus, 1);
}

void TestExamples::examplesEndWithTheService_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("method");
    QTest::addColumn<int>("held");
    QTest::addColumn<QString>("lastLine");
    QTest::addColumn<int>("end");
    QTest::addColumn<QString>("errors");

    const QString control = OSTREL_CONTROL_INTERFACE;
    const QString session = OSTREL_TASK_INVOKER_SESSION_INTERFACE;
    const QString windows = OSTREL_WINDOW_MANAGEMENT_INTERFACE;
    const QVector<QPair<const char *, End>> ends{{"the service is killed", ServiceIsKilled},
                                                 {"the service stops", ServiceStops},
                                                 {"the bus ends", BusEnds}};
    for (const auto &[name, end] : ends) {
        const auto row = [name = name, end = end](const char *command, const QString &interface,
                                                  const char *method, int held,
                                                  const char *lastLine, const QString &errors) {
            const QStringList words = QString::fromLatin1(command).split(' ');
            QTest::addRow("%s, %s, %s", command, held > 0 ? method : lastLine, name)
                << words << interface << method << held << lastLine << int(end) << errors;
        };
        const QString reason =
            end == BusEnds ? "Not connected to D-Bus server\n" : endedServiceText() + '\n';
        row("start-and-follow demo.Viewer", control, "Start", 1, "",
            "cannot start demo.Viewer: " + reason);
        row("start-and-follow demo.Viewer", QString(), "", 0, "state 1",
            "lost the service, cannot follow demo.Viewer.instance_1\n");
        row("responsive demo.Viewer", control, "Start", 1, "", "cannot start: " + reason);
        row("task-runner sync photos", session, "Start", 1, "", "cannot start photos: " + reason);
        // The service answers that it has stopped the task, but announces no other list.
        row("task-runner sync photos", session, "Stop", 0, "stopped photos",
            "lost the service, cannot follow photos\n");
        row("window-status", windows, "UpdateWindowStatus", 3, "", "cannot report: " + reason);
    }
}

void TestExamples::examplesEndWithTheService()
{
    QFETCH(const QStringList, command);
    QFETCH(const QString, interface);
    QFETCH(const QString, method);
    QFETCH(const int, held);
    QFETCH(const QString, lastLine);
    QFETCH(const int, end);
    QFETCH(const QString, errors);
    const auto back = qScopeGuard(
        [address = m_bus.address().toUtf8()] { qputenv("DBUS_SESSION_BUS_ADDRESS", address); });
    PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const Faults faults = simulator.faults(interface, method);
    if (held > 0) {
        faults.holdNext(held);
    } else if (!method.isEmpty()) {
        faults.answerNext({});
    }

    Process example(program(command.constFirst()), command.mid(1));
    QProcessEnvironment environment = m_environment;
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    example.setProcessEnvironment(environment);
    example.start();
    if (held > 0) {
        faults.waitForHeld(held);
    } else {
        while (example.readLine() != lastLine) { }
    }

    switch (end) {
    case ServiceIsKilled:
        simulator.process().kill();
        break;
    case ServiceStops:
        simulator.process().terminate();
        break;
    default:
        // A bus that ends in good order would announce the end of each connection.
        ::kill(pid_t(bus.processId()), SIGKILL);
    }
    QCOMPARE(example.waitForEnd(), 1);
    QCOMPARE(QString::fromUtf8(example.readAllStandardError()), errors);
}

OSTREL_TEST_MAIN(TestExamples)

#include "tst_examples.moc"
