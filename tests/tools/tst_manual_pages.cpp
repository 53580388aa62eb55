// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "kit.h"
#include "program_help.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

namespace
{

struct Program
{
    const char *page;
    const char *program;
};

const std::vector<Program> programs{
    {OSTRELCTL_PAGE, OSTRELCTL},
    {SIMULATOR_PAGE, SIMULATOR},
#ifdef MONITOR
    {MONITOR_PAGE, MONITOR},
#endif
};

// Returns the page without escapes.
QString page(const char *file)
{
    return readFile(file).replace("\\-", "-").replace("\\(aq", "'");
}

// Returns the text between a heading and the next one.
QString section(const QString &page, const QString &heading)
{
    const int begin = page.indexOf('\n' + heading + '\n');
    if (begin < 0) {
        return {};
    }
    const int end = page.indexOf(QRegularExpression("\\n\\.S[HS] "), begin + 1);
    return page.mid(begin, end - begin);
}

// Returns the options in a section, as the help writes them.
QStringList options(const QString &section)
{
    static const QRegularExpression tag("^\\.TP\\n\\.B[IR]? (-.*)$",
                                        QRegularExpression::MultilineOption);
    QStringList all;
    auto each = tag.globalMatch(section);
    while (each.hasNext()) {
        // The words of the line are joined; significant blanks are in quotes.
        QString words;
        const QStringList parts = each.next().captured(1).split('"');
        for (int i = 0; i < parts.size(); ++i) {
            words += i % 2 == 1 ? parts.at(i) : QString(parts.at(i)).remove(' ');
        }
        all.append(words);
    }
    return all;
}

// Returns the section about a command.
QString sectionOf(const QString &command)
{
    return section(page(OSTRELCTL_PAGE),
                   QString(".SS \"%1\"").arg(helpOf(OSTRELCTL, command).usage));
}

// Whether the section has this name in bold.
bool names(const QString &section, const QString &name)
{
    return section.contains(QRegularExpression(QString("(\\n\\.BR? |\\\\fB)%1\\b").arg(name)));
}

// Returns all keys of a document, except those that the service chooses.
QStringList keysIn(const QJsonValue &value)
{
    QStringList keys;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        keys += keysIn(element);
    }
    const QJsonObject object = value.toObject();
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        keys.append(member.key());
        if (member.key() != "properties" && member.key() != "details") {
            keys += keysIn(member.value());
        }
    }
    return keys;
}

} // namespace

// The manual pages say what --help says.
class TestManualPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void pagesNameTheVersion();
    void pagesDescribeTheOptions();
    void pagesDescribeEachCommand();
    void pagesDescribeNoOtherCommand();
    void pagesListTheHints();
    void pageAndHelpAgreeWhereInstancesComeFrom();
    void pageListsTheKeysOfJson_data();
    void pageListsTheKeysOfJson();
    void pageListsTheKeysOfErrors();
    void pageListsTheKeysOfEvents();
    void pagesNameTheService();
};

void TestManualPages::initTestCase()
{
    // The monitor has no display here.
    qputenv("QT_QPA_PLATFORM", "offscreen");
}

void TestManualPages::pagesNameTheVersion()
{
    for (const Program &each : programs) {
        const QString heading = page(each.page).split('\n').filter(".TH ").value(0);
        QVERIFY2(heading.contains(" " PROJECT_VERSION "\""), qPrintable(heading));
    }
}

void TestManualPages::pagesDescribeTheOptions()
{
    for (const Program &each : programs) {
        QCOMPARE(options(section(page(each.page), ".SH OPTIONS")), helpOf(each.program).options);
    }
}

void TestManualPages::pagesDescribeEachCommand()
{
    const QString text = page(OSTRELCTL_PAGE);
    const auto commands = helpOfCommands(OSTRELCTL);
    QVERIFY(commands.contains("task start"));
    for (const ProgramHelp &help : commands) {
        const QString described = section(text, QString(".SS \"%1\"").arg(help.usage));
        QVERIFY2(!described.isEmpty(), qPrintable(help.usage));
        QCOMPARE(options(described), help.ownOptions());
    }
}

void TestManualPages::pagesDescribeNoOtherCommand()
{
    static const QRegularExpression heading("^\\.SS \"(.*)\"$",
                                            QRegularExpression::MultilineOption);
    QStringList described;
    auto each = heading.globalMatch(page(OSTRELCTL_PAGE));
    while (each.hasNext()) {
        described.append(each.next().captured(1));
    }
    QStringList usages;
    const auto commands = helpOfCommands(OSTRELCTL);
    for (const ProgramHelp &help : commands) {
        usages.append(help.usage);
    }
    described.sort();
    usages.sort();
    QCOMPARE(described, usages);
}

void TestManualPages::pagesListTheHints()
{
    static const QRegularExpression hint("^  (\\w+) +(\\S.*)$",
                                         QRegularExpression::MultilineOption);
    const ProgramHelp help = helpOf(OSTRELCTL, "task start");
    const QString described = section(page(OSTRELCTL_PAGE), QString(".SS \"%1\"").arg(help.usage));
    QStringList expected;
    auto each = hint.globalMatch(help.text.section("Options:", 0, 0));
    while (each.hasNext()) {
        const auto match = each.next();
        expected.append(match.captured(1) + '\t' + match.captured(2));
    }
    QCOMPARE(expected.size(), 10);
    QCOMPARE(described.split('\n').filter("\t"), expected);
}

void TestManualPages::pageAndHelpAgreeWhereInstancesComeFrom()
{
    const ProgramHelp help = helpOf(OSTRELCTL, "terminate");
    const QString described =
        section(page(OSTRELCTL_PAGE), QString(".SS \"%1\"").arg(help.usage)).section("\n.TP", 0, 0);
    const auto all = [](const char *pattern, const QString &text) {
        QStringList found;
        auto each = QRegularExpression(pattern).globalMatch(text);
        while (each.hasNext()) {
            found.append(each.next().captured(1));
        }
        return found;
    };
    QCOMPARE(all("\\n\\.B (\\w+)", described), all("'(\\w+)'", help.text));
}

void TestManualPages::pageListsTheKeysOfJson_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("lines");
    const auto commands = helpOfCommands(OSTRELCTL);
    const QMap<QString, QStringList> lines{
        {"start", {"start --json demo.Viewer"}},
        {"debug", {"debug --json demo.Viewer"}},
        {"terminate", {"start demo.Player", "terminate --json demo.Player"}},
        {"wait", {"start demo.Player", "wait --json demo.Player"}},
        {"ps", {"start demo.Player", "ps --json"}},
        {"which", {"which --json 2147483647"}},
        {"task list", {"task start sync photos", "task list --json sync"}},
        {"task start", {"task start --json sync photos"}},
        {"task stop", {"task start sync photos", "task stop --json sync photos"}},
        {"window", {"window --json main 1 2 3"}},
    };
    for (auto command = commands.cbegin(); command != commands.cend(); ++command) {
        const QString &name = command.key();
        // Another test looks at the events.
        if (!name.endsWith("watch") && command->optionNames().contains("--json")) {
            QTest::newRow(qPrintable(name)) << name << lines.value(name);
        }
    }
    QTest::newRow("start, measured")
        << "start" << QStringList("start --json --timings demo.Viewer");
    QTest::newRow("starts, measured")
        << "start" << QStringList("start --json --timings --repeat 1 demo.Viewer");
}

void TestManualPages::pageListsTheKeysOfJson()
{
    QFETCH(const QString, command);
    QFETCH(const QStringList, lines);
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    Result result;
    for (const QString &line : lines) {
        result = run(OSTRELCTL, line.split(' '));
    }
    QJsonObject document = QJsonDocument::fromJson(result.output.toUtf8()).object();
    // An error has the same keys everywhere.
    document.remove("error");
    const QString described = sectionOf(command);
    const QStringList keys = keysIn(document);
    if (keys.isEmpty()) {
        QCOMPARE(result.output, "{}\n");
        QVERIFY(described.contains("is empty on success"));
    }
    for (const QString &key : keys) {
        QVERIFY2(names(described, key), qPrintable(key));
    }
}

void TestManualPages::pageListsTheKeysOfErrors()
{
    const Result result = run(OSTRELCTL, {"ps", "--json"});
    const QStringList keys = keysIn(QJsonDocument::fromJson(result.output.toUtf8()).object());
    QCOMPARE(keys.size(), 4);
    const QString described = section(page(OSTRELCTL_PAGE), ".SH DIAGNOSTICS");
    for (const QString &key : keys) {
        QVERIFY2(names(described, key), qPrintable(key));
    }
}

void TestManualPages::pageListsTheKeysOfEvents()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    Watcher watcher({"watch", "--json"});
    Watcher taskWatcher({"task", "watch", "sync", "--json"});
    watcher.readLine();
    while (!taskWatcher.readLine().startsWith("watching ")) { }
    run(OSTRELCTL, QString("task start sync photos").split(' '));
    run(OSTRELCTL, {"start", "demo.Player"});
    simulator.desk("KillByOom", {"demo.Player"});
    simulator.end();
    simulator.start();

    // Wait until the service is there again.
    for (Watcher *const each : {&watcher, &taskWatcher}) {
        const QString described =
            sectionOf(each->arguments().contains("task") ? "task watch" : "watch");
        QSet<QString> events;
        QJsonObject event;
        do {
            event = QJsonDocument::fromJson(each->readLine().toUtf8()).object();
            const QString name = event.value("event").toString();
            events.insert(name);
            QVERIFY2(described.contains(name), qPrintable(name));
            const QStringList keys = keysIn(event);
            for (const QString &key : keys) {
                QVERIFY2(names(described, key), qPrintable(key));
            }
        } while (!event.value("available").toBool());
        QCOMPARE(events.size(), each == &watcher ? 5 : 2);
    }
}

void TestManualPages::pagesNameTheService()
{
    for (const Program &each : programs) {
        QVERIFY(page(each.page).contains(OSTREL_SERVICE_NAME));
        QVERIFY2(!page(each.page).contains('@'), each.page);
    }
}

OSTREL_TEST_MAIN(TestManualPages)

#include "tst_manual_pages.moc"
