// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "program_help.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <optional>

// What bash offers behind the programs' names.
class TestCompletion : public QObject
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
    void offersNothingForAFreeText();
    void offersWhatIsRunning();
    void leavesOutWhatTheShellWouldExpand();
    void waitsForNoService();

private:
    // What is offered at the end of this line. A word ends at a blank, and at a "=" as in bash.
    static QStringList offers(const QString &line, const QString &folder = QString(),
                              const QString &program = QString());

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestCompletion::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
    const QDBusMessage rootFs = m_simulator->desk(QStringLiteral("RootFs"));
    qputenv("OSTREL_ROOTFS", rootFs.arguments().value(0).toString().toUtf8());
}

QStringList TestCompletion::offers(const QString &line, const QString &folder,
                                   const QString &program)
{
    QStringList words = QString(line)
                            .replace(QLatin1Char('='), QStringLiteral(" = "))
                            .simplified()
                            .split(QLatin1Char(' '));
    if (line.endsWith(QLatin1Char(' '))) {
        words.append(QString());
    }
    const bool ofTheSimulator = words.constFirst() == QLatin1String("ostrel-simulator");
    const QString script = QStringLiteral(R"sh(
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
    )sh");
    Process bash(QStringLiteral("bash"),
                 QStringList{QStringLiteral("--norc"), QStringLiteral("-c"), script,
                             QStringLiteral("bash"),
                             ofTheSimulator ? QStringLiteral(SIMULATOR_COMPLETION)
                                            : QStringLiteral(OSTRELCTL_COMPLETION),
                             !program.isNull()    ? program
                                 : ofTheSimulator ? QStringLiteral(SIMULATOR)
                                                  : QStringLiteral(OSTRELCTL)}
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
    return QString::fromUtf8(bash.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void TestCompletion::offersTheProgramsOptions_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("line");
    QTest::newRow("ostrelctl") << QStringLiteral(OSTRELCTL) << QStringLiteral("ostrelctl -");
    QTest::newRow("ostrel-simulator")
        << QStringLiteral(SIMULATOR) << QStringLiteral("ostrel-simulator -");
}

void TestCompletion::offersTheProgramsOptions()
{
    QFETCH(QString, program);
    QFETCH(QString, line);
    QCOMPARE(offers(line), helpOf(program).optionNames());
}

void TestCompletion::offersTheCommands()
{
    QCOMPARE(offers(QStringLiteral("ostrelctl ")), helpOf(QStringLiteral(OSTRELCTL)).commands);
    QCOMPARE(offers(QStringLiteral("ostrelctl task ")),
             helpOf(QStringLiteral(OSTRELCTL), QStringLiteral("task")).commands);
    QCOMPARE(offers(QStringLiteral("ostrelctl task -")), QStringList(QStringLiteral("--help")));
}

void TestCompletion::offersTheOptionsOfEachCommand()
{
    const auto commands = helpOfCommands(QStringLiteral(OSTRELCTL));
    for (auto command = commands.cbegin(); command != commands.cend(); ++command) {
        const QStringList names = command->optionNames();
        QCOMPARE(offers(QStringLiteral("ostrelctl %1 -").arg(command.key())), names);
        // Behind other words, too.
        QCOMPARE(offers(QStringLiteral("ostrelctl %1 --json a -").arg(command.key())), names);
    }
}

void TestCompletion::offersWhatBeginsAlike()
{
    QCOMPARE(
        offers(QStringLiteral("ostrelctl w")),
        (QStringList{QStringLiteral("watch"), QStringLiteral("which"), QStringLiteral("window")}));
    QCOMPARE(offers(QStringLiteral("ostrelctl debug --std")),
             (QStringList{QStringLiteral("--stdout"), QStringLiteral("--stderr")}));
    QCOMPARE(offers(QStringLiteral("ostrelctl nonsense")), QStringList());
    QCOMPARE(offers(QStringLiteral("ostrelctl ps ")), QStringList());
    QCOMPARE(offers(QStringLiteral("ostrel-simulator --s")),
             (QStringList{QStringLiteral("--session"), QStringLiteral("--system")}));
}

void TestCompletion::offersTheHints()
{
    const QString help = helpOf(QStringLiteral(OSTRELCTL), QStringLiteral("task start"))
                             .text.section(QStringLiteral("Options:"), 0, 0);
    QStringList hints;
    const QStringList lines =
        help.split(QLatin1Char('\n')).filter(QRegularExpression(QStringLiteral("^  \\w")));
    for (const QString &line : lines) {
        hints.append(line.simplified().section(QLatin1Char(' '), 0, 0) + QLatin1Char('='));
    }
    const QString start = QStringLiteral("ostrelctl task start ");
    QCOMPARE(hints.size(), 10);
    QCOMPARE(offers(start + QStringLiteral("--hint ")), hints);
    QCOMPARE(offers(start + QStringLiteral("--hint Homeless=")),
             (QStringList{QStringLiteral("true"), QStringLiteral("false")}));
    QCOMPARE(offers(start + QStringLiteral("--hint Autostart=e")),
             QStringList(QStringLiteral("enabled")));
    QCOMPARE(offers(start + QStringLiteral("--hint User=")), QStringList());
    // Behind it, the line goes on as before.
    QVERIFY(
        offers(start + QStringLiteral("sync --hint User=a -")).contains(QStringLiteral("--env")));
}

void TestCompletion::offersFiles()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(QStringLiteral("one two")), QString());
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("three")));
    QStringList all = offers(QStringLiteral("ostrelctl debug a --stdout "), folder.path());
    all.sort();
    QCOMPARE(all, (QStringList{QStringLiteral("one two"), QStringLiteral("three")}));
    QCOMPARE(offers(QStringLiteral("ostrelctl debug a --stderr o"), folder.path()),
             QStringList(QStringLiteral("one two")));
    QCOMPARE(offers(QStringLiteral("ostrel-simulator --catalogue o"), folder.path()),
             QStringList(QStringLiteral("one two")));
    QCOMPARE(offers(QStringLiteral("ostrel-simulator --rootfs "), folder.path()),
             QStringList(QStringLiteral("three")));
}

void TestCompletion::offersNothingForAFreeText()
{
    for (const char *line : {"ostrelctl debug --param ", "ostrelctl debug --env A=",
                             "ostrelctl debug --wrapper ", "ostrelctl task start --cgroup ",
                             "ostrel-simulator --kill-after ", "ostrel-simulator --address "}) {
        QCOMPARE(offers(QString::fromLatin1(line)), QStringList());
    }
}

void TestCompletion::offersWhatIsRunning()
{
    const Result started =
        run(QStringLiteral(OSTRELCTL), {QStringLiteral("start"), QStringLiteral("demo.Player")});
    QCOMPARE(started.exitStatus, 0);
    const QString instance = started.output.trimmed();

    QCOMPARE(offers(QStringLiteral("ostrelctl start ")),
             QStringList(QStringLiteral("demo.Player")));
    QCOMPARE(offers(QStringLiteral("ostrelctl debug --env A=b d")),
             QStringList(QStringLiteral("demo.Player")));
    QCOMPARE(offers(QStringLiteral("ostrelctl start x")), QStringList());
    QCOMPARE(offers(QStringLiteral("ostrelctl start demo.Player ")), QStringList());
    QCOMPARE(offers(QStringLiteral("ostrelctl terminate ")), QStringList(instance));
    const QByteArray rootFs = qgetenv("OSTREL_ROOTFS");
    qunsetenv("OSTREL_ROOTFS");
    QCOMPARE(offers(QStringLiteral("ostrelctl terminate ")), QStringList(instance));
    qputenv("OSTREL_ROOTFS", rootFs);
    // The application and its two services.
    const QStringList processes = offers(QStringLiteral("ostrelctl which "));
    QCOMPARE(processes.size(), 3);
    const Result which =
        run(QStringLiteral(OSTRELCTL), {QStringLiteral("which"), processes.constFirst()});
    QVERIFY2(which.output.startsWith(QStringLiteral("demo.Player ")), qPrintable(which.errors));
}

// An identifier comes from the service. The shell must never run it.
void TestCompletion::leavesOutWhatTheShellWouldExpand()
{
    const QTemporaryDir folder;
    const QStringList ids{QStringLiteral("$(touch ran)"), QStringLiteral("`touch ran`"),
                          QStringLiteral("a;b"), QStringLiteral("*")};
    for (const QString &id : ids) {
        // "a" is there to see that the list was read.
        const Result arranged = busctl(*m_bus,
                                       {QStringLiteral("call"),
                                        QStringLiteral(OSTREL_SERVICE_NAME),
                                        QStringLiteral(OSTREL_SIMULATOR_PATH),
                                        QStringLiteral(OSTREL_SIMULATOR_INTERFACE),
                                        QStringLiteral("AnswerNext"),
                                        QStringLiteral("ssav"),
                                        QStringLiteral(OSTREL_CONTROL_INTERFACE),
                                        QStringLiteral("GetRunningApplications"),
                                        QStringLiteral("2"),
                                        QStringLiteral("a(siuua{sv})"),
                                        QStringLiteral("2"),
                                        id,
                                        QStringLiteral("17"),
                                        QStringLiteral("0"),
                                        QStringLiteral("0"),
                                        QStringLiteral("0"),
                                        QStringLiteral("a"),
                                        QStringLiteral("18"),
                                        QStringLiteral("0"),
                                        QStringLiteral("0"),
                                        QStringLiteral("0"),
                                        QStringLiteral("a(ssiua{sv})"),
                                        QStringLiteral("0")});
        QCOMPARE(arranged.errors, QString());
        QCOMPARE(offers(QStringLiteral("ostrelctl start "), folder.path()),
                 QStringList(QStringLiteral("a")));
    }
    QCOMPARE(filesBelow(folder.path()), QStringList());
}

void TestCompletion::waitsForNoService()
{
    const QTemporaryDir folder;
    const QString endless = folder.filePath(QStringLiteral("endless"));
    writeFile(endless, QStringLiteral("#!/bin/sh\nexec sleep infinity\n"));
    QVERIFY(QFile::setPermissions(endless, QFile::ReadOwner | QFile::ExeOwner));
    // It returns.
    QCOMPARE(offers(QStringLiteral("ostrelctl start "), QString(), endless), QStringList());
}

OSTREL_TEST_MAIN(TestCompletion)

#include "tst_completion.moc"
