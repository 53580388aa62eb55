// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "program_help.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QRegularExpression>

namespace
{

// The page as its author sees it, without the escapes.
QString page(const char *file)
{
    return readFile(QString::fromLatin1(file)).replace("\\-", "-").replace("\\(aq", "'");
}

// The text between a heading and the next one.
QString section(const QString &page, const QString &heading)
{
    const int begin = page.indexOf(QLatin1Char('\n') + heading + QLatin1Char('\n'));
    if (begin < 0) {
        return {};
    }
    const int end = page.indexOf(QRegularExpression("\\n\\.S[HS] "), begin + 1);
    return page.mid(begin, end - begin);
}

// The options that a section describes, as the help writes them.
QStringList options(const QString &section)
{
    static const QRegularExpression tag("^\\.TP\\n\\.B[IR]? (-.*)$",
                                        QRegularExpression::MultilineOption);
    QStringList all;
    auto each = tag.globalMatch(section);
    while (each.hasNext()) {
        // The words of the line are joined; blanks that count stand in quotes.
        QString words;
        const QStringList parts = each.next().captured(1).split(QLatin1Char('"'));
        for (int i = 0; i < parts.size(); ++i) {
            words += i % 2 == 1 ? parts.at(i) : QString(parts.at(i)).remove(QLatin1Char(' '));
        }
        all.append(words);
    }
    return all;
}

} // namespace

// The manual pages, against what the programs tell of themselves.
class TestManualPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pagesNameTheVersion();
    void pagesDescribeTheOptions();
    void pagesDescribeEachCommand();
    void pagesDescribeNoOtherCommand();
    void pagesListTheHints();
    void pagesNameTheService();
};

void TestManualPages::pagesNameTheVersion()
{
    for (const char *file : {OSTRELCTL_PAGE, SIMULATOR_PAGE}) {
        const QString heading = page(file).split(QLatin1Char('\n')).filter(".TH ").value(0);
        QVERIFY2(heading.contains(" " PROJECT_VERSION "\""), qPrintable(heading));
    }
}

void TestManualPages::pagesDescribeTheOptions()
{
    QCOMPARE(options(section(page(OSTRELCTL_PAGE), ".SH OPTIONS")), helpOf(OSTRELCTL).options);
    QCOMPARE(options(section(page(SIMULATOR_PAGE), ".SH OPTIONS")), helpOf(SIMULATOR).options);
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
        expected.append(match.captured(1) + QLatin1Char('\t') + match.captured(2));
    }
    QCOMPARE(expected.size(), 10);
    QCOMPARE(described.split(QLatin1Char('\n')).filter("\t"), expected);
}

void TestManualPages::pagesNameTheService()
{
    for (const char *file : {OSTRELCTL_PAGE, SIMULATOR_PAGE}) {
        QVERIFY(page(file).contains(OSTREL_SERVICE_NAME));
        QVERIFY2(!page(file).contains(QLatin1Char('@')), file);
    }
}

OSTREL_TEST_MAIN(TestManualPages)

#include "tst_manual_pages.moc"
