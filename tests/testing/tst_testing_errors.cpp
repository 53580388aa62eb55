// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

#include <map>
#include <memory>

// What a test of another project prints when it fails, and when it cannot be run.
class TestTestingErrors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void testsPass();
    void failureIsExplained_data();
    void failureIsExplained();
    void limitIsOurs_data();
    void limitIsOurs();
    void missingProgramIsNamed_data();
    void missingProgramIsNamed();
    void programThatCannotBeRunIsNamed();
    void folderThatCannotBeMadeIsNamed();

private:
    // Runs a function of the program with the simulator in PATH. Its folders are "~" in the output.
    static Result user(const QString &function, QProcessEnvironment environment);
    // The programs of limitIsOurs(), which wait at the same time.
    std::map<QString, std::unique_ptr<Process>> m_users;
    // Returns the lines that the page shows from where these words are.
    static QString shown(const QString &words, int lines = 1);
    static QProcessEnvironment environment() { return QProcessEnvironment::systemEnvironment(); }
};

Result TestTestingErrors::user(const QString &function, QProcessEnvironment environment)
{
    environment.insert("PATH", QFileInfo(SIMULATOR).path() + ':' + environment.value("PATH"));
    Result result = run(USER, {function}, environment);
    result.output.replace(QRegularExpression("\\S*/ostrel-test-\\w*(/simulator-\\w*)?"), "~");
    return result;
}

QString TestTestingErrors::shown(const QString &words, int lines)
{
    QStringList page = readFile(SOURCE_DIR "/docs/testing.md").split('\n');
    while (!page.isEmpty() && !page.constFirst().startsWith("    " + words)) {
        page.removeFirst();
    }
    QString text = page.isEmpty() ? words + " is not on the page" : QString();
    for (int i = 0; i < lines; ++i) {
        text += page.value(i).mid(4) + '\n';
    }
    return text;
}

void TestTestingErrors::testsPass()
{
    for (const char *function : {"passes", "playsAScenarioThatDiesAtItsEnd"}) {
        const Result result = user(function, environment());
        QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
    }
}

void TestTestingErrors::failureIsExplained_data()
{
    QTest::addColumn<QString>("message");

    QTest::newRow("otherCallsCame") << shown("The calls differ", 4) + "   Loc: [";
    QTest::newRow("arrangesAFaultOfNoMethod")
        << "The fault desk refuses IgnoreNext: The service has no method \"C\" in an interface "
           "\"a.b\"\n";
    QTest::newRow("asksAServiceWithoutAFaultDesk")
        << "The fault desk refuses Calls: No such object path '" OSTREL_SIMULATOR_PATH "'\n";
    QTest::newRow("asksAFaultDeskOfOtherTypes")
        << "The fault desk replies to Calls with the types \"i\". Is it one of another version?\n";
    QTest::newRow("startsWithoutItsFolder")
        << "The test cannot write ~/standard-output: No such file or directory.\n";
    QTest::newRow("asksWithoutASimulator")
        << "Calls: the simulator does not run. Call start() first.\n";
    QTest::newRow("asksWithoutAProcess") << "The simulator has no process. Call start() first.\n";
    QTest::newRow("startsWithoutItsCatalogue")
        << "ostrel-simulator printed no line: ostrel-simulator: "
           "/nonexistent/catalogue.json: No such file or directory\n";
    QTest::newRow("leavesAStepOfItsScenario")
        << "ostrel-simulator: ~/scenario.json:1: steps[1] has not happened\n";
    QTest::newRow("leavesAStepAfterAProgramHasWritten")
        << "ostrel-simulator: ~/scenario.json:1: steps[0] has not happened\n";
    QTest::newRow("waitsForAScenarioThatEnds")
        << "ostrel-simulator: ~/scenario.json:1: No instance \"demo.Viewer\" is running\n";
    QTest::newRow("asksAScenarioThatEnds")
        << "Calls: the simulator has ended: ostrel-simulator: ~/scenario.json:1: No instance "
           "\"demo.Viewer\" is running\n";
    QTest::newRow("leavesAStepWhenTheServiceDies")
        << "ostrel-simulator: ~/scenario.json:1: steps[0] has not happened\n";
    QTest::newRow("waitsForNoScenario")
        << "The fault desk refuses WaitForScenario: The simulator has no scenario\n";
}

void TestTestingErrors::failureIsExplained()
{
    QFETCH(const QString, message);
    const Result result = user(QTest::currentDataTag(), environment());
    QVERIFY(result.exitStatus != 0);
    QVERIFY2(result.output.contains(QString("User::%1() %2").arg(QTest::currentDataTag(), message)),
             qPrintable(result.output + result.errors));
}

// A wait does not hang until something else ends the test.
void TestTestingErrors::limitIsOurs_data()
{
    QTest::addColumn<QString>("message");

    const auto row = [this](const char *function, const char *message) {
        QTest::newRow(function) << message;
        QProcessEnvironment withSimulator = environment();
        withSimulator.insert("PATH",
                             QFileInfo(SIMULATOR).path() + ':' + withSimulator.value("PATH"));
        auto &user = m_users[function] = std::make_unique<Process>(USER, QStringList(function));
        user->setProcessEnvironment(withSimulator);
        user->start();
    };
    row("tooFewCallsCame",
        "The test waited 16 seconds for the calls. The calls differ (- expected, "
        "+ received):\n"
        "  Control1.Start(\"demo.None\")\n"
        "- Control1.Terminate(...)\n   Loc: [");
    row("waitsForCalls",
        "The test waited 16 seconds for 2 calls of Control1.Terminate. These calls "
        "came: Control1.Start(\"demo.None\")\n");
    row("waitsForAStepOfItsScenario",
        "The test waited 16 seconds for the end of the scenario. These calls came: none\n");
    row("waitsForACondition", "The test waited 16 seconds for better times\n");
    row("asksASimulatorThatHangs",
        "The test waited 16 seconds for the simulator's reply to Calls.\n");
    row("waitsForASimulatorThatHangs",
        "The test waited 16 seconds for 1 calls of Control1.Terminate. "
        "The simulator does not reply.\n");
    row("asksAServiceThatIsAway",
        "The test waited 16 seconds for the simulator's reply to Calls.\n");
    row("startsAServiceThatIsAway",
        "The test waited 16 seconds for the service, which has left the bus.\n");
    row("resetsAServiceThatIsAway",
        "The test waited 16 seconds for the simulator's reply to Reset.\n");
}

void TestTestingErrors::limitIsOurs()
{
    QFETCH(const QString, message);
    Process &user = *m_users[QTest::currentDataTag()];
    QVERIFY(user.waitForEnd() != 0);
    const QString output = QString::fromUtf8(user.readAllStandardOutput());
    const auto says = [&output](const QString &text) {
        return output.contains(QString("User::%1() %2").arg(QTest::currentDataTag(), text));
    };
    // The simulator may be late for the last question, which cannot wait long.
    static const QRegularExpression received("These calls came: .*");
    const QString withoutCalls =
        QString(message).replace(received, "The simulator does not reply.");
    QVERIFY2(says(message) || says(withoutCalls), qPrintable(output + user.readAllStandardError()));
}

void TestTestingErrors::missingProgramIsNamed_data()
{
    QTest::addColumn<QString>("present");
    QTest::addColumn<QString>("message");

    QTest::newRow("dbus-daemon") << SIMULATOR << shown("A private message bus needs");
    QTest::newRow("ostrel-simulator")
        << QStandardPaths::findExecutable("dbus-daemon") << shown("The simulator does not start");
}

void TestTestingErrors::missingProgramIsNamed()
{
    QFETCH(const QString, present);
    QFETCH(const QString, message);
    const QTemporaryDir folder;
    QVERIFY(QFile::link(present, folder.filePath(QFileInfo(present).fileName())));
    QProcessEnvironment poor = environment();
    poor.insert("PATH", folder.path());
    const Result result = run(USER, {"passes"}, poor);
    QVERIFY2((result.output + result.errors).contains(message),
             qPrintable(result.output + result.errors));
    QVERIFY(result.exitStatus != 0);
}

void TestTestingErrors::programThatCannotBeRunIsNamed()
{
    const QTemporaryDir folder;
    const QString program = folder.filePath("ostrel-simulator");
    writeFile(program, "#!/nonexistent\n");
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    QProcessEnvironment broken = environment();
    broken.insert("PATH", folder.path() + ':' + broken.value("PATH"));
    const Result result = run(USER, {"passes"}, broken);
    QVERIFY2((result.output + result.errors)
                 .contains("The simulator does not start: ostrel-simulator: execve: No such file "
                           "or directory\n"),
             qPrintable(result.output + result.errors));
    QVERIFY(result.exitStatus != 0);
}

void TestTestingErrors::folderThatCannotBeMadeIsNamed()
{
    QProcessEnvironment full = environment();
    full.insert("TMPDIR", "/proc");
    const Result result = user("passes", full);
    QVERIFY2(result.errors.startsWith(
                 "The test cannot make a folder in /proc: No such file or directory. Set TMPDIR to "
                 "a folder that it can write to.\n"),
             qPrintable(result.errors));
    QVERIFY(result.exitStatus != 0);
}

OSTREL_TEST_MAIN(TestTestingErrors)

#include "tst_testing_errors.moc"
