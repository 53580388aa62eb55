// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "program_help.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace
{

struct Program
{
    const char *program;
    const char *completion;
};

const QMap<QString, Program> programs{
    {"ostrelctl", {OSTRELCTL, OSTRELCTL_COMPLETION}},
    {"ostrel-simulator", {SIMULATOR, SIMULATOR_COMPLETION}},
#ifdef MONITOR
    {"ostrel-monitor", {MONITOR, MONITOR_COMPLETION}},
#endif
};

} // namespace

// What bash offers after the names of the programs.
class TestCompletion : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void offersTheProgramsOptions_data();
    void offersTheProgramsOptions();
    void offersTheCommands();
    void offersTheOptionsOfEachCommand();
    void offersWhatBeginsAlike();
    void offersTheHints();
    void offersFiles();
#ifdef MONITOR
    void offersBusesAndFilesToTheMonitor();
#endif
    void offersNothingForAFreeText();
    void offersWhatIsRunning();
    void offersNoUnknownInstance();
    void leavesOutWhatTheShellWouldExpand();
    void waitsForNoService();

private:
    // Returns what bash offers at the end of the line. A word ends at a blank and at "=", as in
    // bash.
    static QStringList offers(const QString &line, const QString &folder = QString(),
                              const QString &program = QString());
};

void TestCompletion::initTestCase()
{
    const QDBusMessage rootFs = m_simulator.desk("RootFs");
    // The monitor has no display here.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("OSTREL_ROOTFS", rootFs.arguments().value(0).toString().toUtf8());
}

QStringList TestCompletion::offers(const QString &line, const QString &folder,
                                   const QString &program)
{
    QStringList words = QString(line).replace('=', " = ").simplified().split(' ');
    if (line.endsWith(' ')) {
        words.append(QString());
    }
    const QString script = R"sh(
        source "$1"
        # A busy machine needs longer than a user likes to wait.
        [[ $2 != */ostrelctl ]] || timeout() { shift; "$@"; }
        program=$2 name=$3
        shift 2
        COMP_WORDS=("$@")
        COMP_CWORD=$(($# - 1))
        read -r -a words <<<"$(complete -p "$name")"
        "${words[2]}" "$program" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
        for each in "${COMPREPLY[@]}"; do printf '%s\n' "$each"; done
    )sh";
    const Program &known = programs.find(words.constFirst()).value();
    Process bash("bash",
                 QStringList{"--norc", "-c", script, "bash", known.completion,
                             program.isNull() ? QString(known.program) : program}
                     + words);
    bash.setWorkingDirectory(folder);
    bash.start();
    if (bash.waitForEnd() != 0) {
        qFatal("bash failed: %s", bash.readAllStandardError().constData());
    }
    const QByteArray errors = bash.readAllStandardError();
    if (!errors.isEmpty()) {
        qFatal("bash complained: %s", errors.constData());
    }
    return QString::fromUtf8(bash.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

void TestCompletion::offersTheProgramsOptions_data()
{
    QTest::addColumn<QString>("name");
    for (auto each = programs.begin(); each != programs.end(); ++each) {
        QTest::newRow(qPrintable(each.key())) << each.key();
    }
}

void TestCompletion::offersTheProgramsOptions()
{
    QFETCH(QString, name);
    QCOMPARE(offers(name + " -"), helpOf(programs.value(name).program).optionNames());
}

void TestCompletion::offersTheCommands()
{
    QCOMPARE(offers("ostrelctl "), helpOf(OSTRELCTL).commands);
    QCOMPARE(offers("ostrelctl task "), helpOf(OSTRELCTL, "task").commands);
    QCOMPARE(offers("ostrelctl task -"), QStringList("--help"));
}

void TestCompletion::offersTheOptionsOfEachCommand()
{
    const auto commands = helpOfCommands(OSTRELCTL);
    for (auto command = commands.cbegin(); command != commands.cend(); ++command) {
        const QStringList names = command->optionNames();
        QCOMPARE(offers(QString("ostrelctl %1 -").arg(command.key())), names);
        // After other words as well.
        QCOMPARE(offers(QString("ostrelctl %1 --json a -").arg(command.key())), names);
    }
}

void TestCompletion::offersWhatBeginsAlike()
{
    QCOMPARE(offers("ostrelctl w"), (QStringList{"wait", "watch", "which", "window"}));
    QCOMPARE(offers("ostrelctl debug --std"), (QStringList{"--stdout", "--stderr"}));
    QCOMPARE(offers("ostrelctl nonsense"), QStringList());
    QCOMPARE(offers("ostrelctl ps "), QStringList());
    QCOMPARE(offers("ostrel-simulator --s"), (QStringList{"--session", "--system", "--scenario"}));
}

void TestCompletion::offersTheHints()
{
    const QString help = helpOf(OSTRELCTL, "task start").text.section("Options:", 0, 0);
    QStringList hints;
    const QStringList lines = help.split('\n').filter(QRegularExpression("^  \\w"));
    for (const QString &line : lines) {
        hints.append(line.simplified().section(' ', 0, 0) + '=');
    }
    const QString start = "ostrelctl task start ";
    QCOMPARE(hints.size(), 10);
    QCOMPARE(offers(start + "--hint "), hints);
    QCOMPARE(offers(start + "--hint Homeless="), (QStringList{"true", "false"}));
    QCOMPARE(offers(start + "--hint Autostart=e"), QStringList("enabled"));
    QCOMPARE(offers(start + "--hint User="), QStringList());
    // After the value, the line continues as before.
    QVERIFY(offers(start + "sync --hint User=a -").contains("--env"));
}

void TestCompletion::offersFiles()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath("one two"), QString());
    QVERIFY(QDir(folder.path()).mkdir("three"));
    QStringList all = offers("ostrelctl debug a --stdout ", folder.path());
    all.sort();
    QCOMPARE(all, (QStringList{"one two", "three"}));
    QCOMPARE(offers("ostrelctl debug a --stderr o", folder.path()), QStringList("one two"));
    QCOMPARE(offers("ostrelctl trace -o o", folder.path()), QStringList("one two"));
    QCOMPARE(offers("ostrelctl trace --from o", folder.path()), QStringList("one two"));
    QCOMPARE(offers("ostrel-simulator --catalogue o", folder.path()), QStringList("one two"));
    QCOMPARE(offers("ostrel-simulator --scenario o", folder.path()), QStringList("one two"));
    QCOMPARE(offers("ostrel-simulator --rootfs ", folder.path()), QStringList("three"));
}

#ifdef MONITOR
void TestCompletion::offersBusesAndFilesToTheMonitor()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath("one two"), QString());
    for (const char *option : {"--open", "--record", "--screenshot"}) {
        QCOMPARE(offers(QString("ostrel-monitor %1 o").arg(option), folder.path()),
                 QStringList("one two"));
    }
    QCOMPARE(offers("ostrel-monitor --bus "), (QStringList{"session", "system"}));
    QCOMPARE(offers("ostrel-monitor --size "), QStringList());
}
#endif

void TestCompletion::offersNothingForAFreeText()
{
    for (const char *line :
         {"ostrelctl debug --param ", "ostrelctl debug --env A=", "ostrelctl debug --wrapper ",
          "ostrelctl task start --cgroup ", "ostrelctl wait --state ", "ostrelctl trace --for ",
          "ostrel-simulator --kill-after ", "ostrel-simulator --address "}) {
        QCOMPARE(offers(line), QStringList());
    }
}

void TestCompletion::offersWhatIsRunning()
{
    const Result started = run(OSTRELCTL, {"start", "demo.Player"});
    QCOMPARE(started.exitStatus, 0);
    const QString instance = started.output.trimmed();

    QCOMPARE(offers("ostrelctl start "), QStringList("demo.Player"));
    QCOMPARE(offers("ostrelctl debug --env A=b d"), QStringList("demo.Player"));
    QCOMPARE(offers("ostrelctl start x"), QStringList());
    QCOMPARE(offers("ostrelctl start demo.Player "), QStringList());
    QCOMPARE(offers("ostrelctl terminate "), QStringList(instance));
    QCOMPARE(offers("ostrelctl wait --state 3 "), QStringList(instance));
    // The application and its two services.
    const QStringList processes = offers("ostrelctl which ");
    QCOMPARE(processes.size(), 3);
    const Result which = run(OSTRELCTL, {"which", processes.constFirst()});
    QVERIFY2(which.output.startsWith("demo.Player "), qPrintable(which.errors));
}

void TestCompletion::offersNoUnknownInstance()
{
    busctlDesk(m_bus, "AnswerNext",
               QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2"}
                   + wordsOf("a(siuua{sv}) 2 a 17 0 0 0 b 18 0 0 1 InstanceId s one "
                             "a(ssiua{sv}) 0"));
    QCOMPARE(offers("ostrelctl terminate "), QStringList("one"));
}

// An identifier comes from the service. The shell must never run it.
void TestCompletion::leavesOutWhatTheShellWouldExpand()
{
    const QTemporaryDir folder;
    const QStringList ids{"$(touch ran)", "`touch ran`", "a;b", "*"};
    for (const QString &id : ids) {
        // "a" shows that the list was read.
        const Result arranged = busctl(m_bus,
                                       {"call",
                                        OSTREL_SERVICE_NAME,
                                        OSTREL_SIMULATOR_PATH,
                                        OSTREL_SIMULATOR_INTERFACE,
                                        "AnswerNext",
                                        "ssav",
                                        OSTREL_CONTROL_INTERFACE,
                                        "GetRunningApplications",
                                        "2",
                                        "a(siuua{sv})",
                                        "2",
                                        id,
                                        "17",
                                        "0",
                                        "0",
                                        "0",
                                        "a",
                                        "18",
                                        "0",
                                        "0",
                                        "0",
                                        "a(ssiua{sv})",
                                        "0"});
        QCOMPARE(arranged.errors, QString());
        QCOMPARE(offers("ostrelctl start ", folder.path()), QStringList("a"));
    }
    QCOMPARE(filesBelow(folder.path()), QStringList());
}

void TestCompletion::waitsForNoService()
{
    const QTemporaryDir folder;
    const QString endless = folder.filePath("endless");
    writeFile(endless, "#!/bin/sh\nexec sleep infinity\n");
    QVERIFY(QFile::setPermissions(endless, QFile::ReadOwner | QFile::ExeOwner));
    // It returns.
    QCOMPARE(offers("ostrelctl start ", QString(), endless), QStringList());
}

OSTREL_TEST_MAIN(TestCompletion)

#include "tst_completion.moc"
