// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include "DBus/names_p.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

// What is said about a bad scenario, before the simulator needs a bus.
class TestSimulatorScenarioErrors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badFileIsReportedWithItsLine_data();
    void badFileIsReportedWithItsLine();
    void badStepIsReportedWithItsLine_data();
    void badStepIsReportedWithItsLine();
    void badActionIsReportedWithItsLine_data();
    void badActionIsReportedWithItsLine();
    void badTraceIsReportedWithItsLine_data();
    void badTraceIsReportedWithItsLine();
    void hugeFileIsRefused();
    void fileThatIsMissingIsNamed();
    void examplesOfTheDocumentsAreRight();

private:
    // Returns what the simulator prints after the name of the file.
    QString errorIn(const QByteArray &text);

    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath("scenario.json");
};

QString TestSimulatorScenarioErrors::errorIn(const QByteArray &text)
{
    QFile file(m_file);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("cannot write %s", qPrintable(m_file));
    }
    file.close();
    const Result result = run(SIMULATOR, {"--scenario", m_file});
    const QString prefix = QString("ostrel-simulator: %1:").arg(m_file);
    if (result.exitStatus != 1 || !result.output.isEmpty() || !result.errors.startsWith(prefix)
        || !result.errors.endsWith('\n')) {
        return QString("exit status %1: %2").arg(result.exitStatus).arg(result.errors);
    }
    return result.errors.mid(prefix.size()).chopped(1);
}

void TestSimulatorScenarioErrors::badFileIsReportedWithItsLine_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");

    const auto row = [](const QByteArray &text, const char *error) {
        QTest::newRow(error) << text << error;
    };
    row("", "1: column 1: illegal value");
    row("\n\n{\n  \"steps\": [\n    {} {}\n", "5: column 8: missing value separator");
    row(QByteArray("{}\n\0", 4), "2: column 1: garbage at the end of the document");
    row("{\"steps\":\n\"\xff\"}", "2: column 1: invalid UTF8 string");
    row("\n" + QByteArray(2000, '['), "2: column 1025: too deeply nested document");
    row("{\n\"steps\": [],\n\"steps\": []}", "3: \"steps\" is there already");
    row("{\"steps\": [{\n\"after\": 1,\n\"\\u0061fter\": 2}]}", "3: \"after\" is there already");
    row("{\n\"step\": []}", "2: step: is not known");
    row("{\n\"a\\nb\": []}", "2: a\\u000ab: is not known");
    row("{\n\"a\\u0000b\": []}", "1: the file has a NUL in a string");
    row("{\n\"steps\":\n{}}", "3: steps: takes an array, not an object");
    row("{\n\"always\":\n[7]}", "3: always[0]: takes an object, not a number");
    row("{\"always\": [\n{\"at\": {\"call\": \"Terminate\"}}]}", "2: always[0].do: is missing");
    row("{\"always\": [\n{\"after\": 1}]}", "2: always[0].after: is not known");
    row("{\"always\": [{\"at\": {\"call\": \"Terminate\"},\n\"do\": [{\"restart\": 0}]}]}",
        "2: always[0].do: only steps have \"release\" and \"restart\"");
    row("{\"comment\":\n1}", "2: comment: takes a string, not a number");
    row("\xef\xbb\xbf{\"steps\": [{},\n{\"at\":\n{}\n}]}",
        "3: steps[1].at: takes either a call or a signal");
}

void TestSimulatorScenarioErrors::badFileIsReportedWithItsLine()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    QCOMPARE(errorIn(text), error);
}

void TestSimulatorScenarioErrors::badStepIsReportedWithItsLine_data()
{
    QTest::addColumn<QString>("step");
    QTest::addColumn<QString>("error");

    const auto row = [](const char *step, const char *error) {
        QTest::newRow(error) << QString(step).replace('\'', '"') << error;
    };
    row("{'when': 1}", ".when: is not known");
    row("{'at': {'call': 'Terminate'}, 'after': 1}", ".after: excludes \"at\"");
    row("{'after': -1}", ".after: takes a whole number from 0 to 2147483647");
    row("{'after': '1s'}", ".after: takes a number, not a string");
    row("{'at': {'call': 'Terminate', 'signal': 'Started'}}",
        ".at: takes either a call or a signal");
    row("{'at': {'call': 1}}", ".at.call: takes a string, not a number");
    row("{'at': {'call': 'Strat'}}", ".at.call: the service has no method \"Strat\"");
    row("{'at': {'call': 'Window1.Start'}}",
        ".at.call: the service has no method \"Window1.Start\"");
    row("{'at': {'call': 'Start'}}",
        ".at.call: \"Start\" can be Control1.Start or TaskInvokerSession1.Start");
    row("{'at': {'signal': 'Startled'}}", ".at.signal: the service has no signal \"Startled\"");
    row("{'at': {'call': 'Terminate', 'arguments': {}}}",
        ".at.arguments: takes an array, not an object");
    row("{'at': {'call': 'Terminate', 'arguments': ['a', 'b']}}",
        ".at.arguments: there are 1 arguments at most");
    row("{'at': {'call': 'Terminate', 'path': 'x'}}", ".at.path: \"x\" is no object path");
    row("{'at': {'call': 'Terminate', 'interface': 'x'}}", ".at.interface: is not known");
    row("{'do': {}}", ".do: takes an array, not an object");
}

void TestSimulatorScenarioErrors::badStepIsReportedWithItsLine()
{
    QFETCH(QString, step);
    QFETCH(QString, error);
    QCOMPARE(errorIn("{\"steps\": [\n{},\n" + step.toUtf8() + "]}"), "3: steps[1]" + error);
}

void TestSimulatorScenarioErrors::badActionIsReportedWithItsLine_data()
{
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("error");

    const auto row = [](const QByteArray &actions, const char *error) {
        QTest::newRow(error) << QString(actions).replace('\'', '"') << error;
    };
    row("{}",
        "[0]: has none of answer, fail, ignore, emit, release, killByOom, die, restart, delay, "
        "hold");
    row("{'fail': 'a.b', 'emit': 'x'}", "[0].emit: is not known");
    row("{'answer': [1], 'delay': 1, 'hold': true}", "[0].hold: excludes \"delay\"");
    row("{'answer': [1], 'hold': false}", "[0].hold: takes true");
    row("{'answer': []}", "[0].answer: takes the values of \"u\", not 0");
    row("{'answer': [-1]}", "[0].answer[0]: takes a whole number from 0 to 4294967295");
    row("{'answer': ['1']}", "[0].answer[0]: takes a number, not a string");
    row("{'answer': [1], 'signature': 'a('}", "[0].signature: \"a(\" is no signature");
    row("{'answer': [1], 'signature': 'h'}", "[0].answer[0]: no file holds a value of the type h");
    row("{'answer': [[]], 'signature': 'a(xx)'}",
        "[0].answer[0]: no file holds a value of the type a(xx)");
    row("{'answer': [{}], 'signature': 'a{us}'}",
        "[0].answer[0]: no file holds a value of the type a{us}");
    row("{'answer': [[[1]]], 'signature': '((ii))'}",
        "[0].answer[0][0]: takes the values of \"(ii)\", not 1");
    row("{'answer': ['a', ['b', null]], 'signature': 's(sv)'}",
        "[0].answer[1][1]: is null, which no message holds");
    row("{'answer': [{'a': {'type': 'ii', 'data': 1}}], 'signature': 'a{sv}'}",
        "[0].answer[0].a.type: \"ii\" is not the signature of one value");
    row("{'answer': [9007199254740994], 'signature': 't'}",
        "[0].answer[0]: takes a whole number from 0 to 9007199254740992");
    row("{'answer': ['\\u0000'], 'signature': 's'}", "[0].answer[0]: has a NUL in a string");
    row("{'answer': [" + QByteArray(18, '[') + QByteArray(18, ']') + "], 'signature': 'v'}",
        "[0].answer[0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0]: is too deep for a "
        "message");
    row("{'fail': 'no name'}", "[0].fail: \"no name\" is no error name");
    row("{'fail': 'a.b', 'message': 'x', 'values': []}",
        "[0].message: is the only value of an error");
    row("{'answer': [1]}, {'ignore': true}", "[1].ignore: is a second reply");
    row("{'restart': 0}, {'answer': [1]}", "[1].answer: has to come first in the step");
    row("{'die': 1}", "[0].die: takes true or false, not a number");
    row("{'restart': true}", "[0].restart: takes a number, not true or false");
    row("{'release': 'Terminate', 'order': [1, 1]}", "[0].order[1]: is there already");
    row("{'release': 'Terminate', 'order': [100001]}",
        "[0].order[0]: takes a whole number from 0 to 100000");
    row("{'killByOom': 17}", "[0].killByOom: takes a string, not a number");
    row("{'emit': 'Started', 'values': ['x']}",
        "[0].values: takes the values of \"sa{sv}\", not 1");
    row("{'emit': 'a.b.C'}", "[0].path: is missing");
    row("{'emit': 'org.freedesktop.DBus.Local.C', 'path': '/'}",
        "[0].emit: The bus forbids signals of org.freedesktop.DBus.Local");
}

void TestSimulatorScenarioErrors::badActionIsReportedWithItsLine()
{
    QFETCH(QString, actions);
    QFETCH(QString, error);
    QCOMPARE(errorIn("{\"steps\": [{\"at\": {\"call\": \"UpdateWindowStatus\"}, \"do\":\n\n["
                     + actions.toUtf8() + "]}]}"),
             "3: steps[0].do" + error);
    if (error.contains("reply")) {
        QCOMPARE(errorIn("{\"steps\": [{\"do\": [{\"answer\": []}]}]}"),
                 "1: steps[0].do[0].answer: is a reply, and the step waits for no call");
    }
}

void TestSimulatorScenarioErrors::badTraceIsReportedWithItsLine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");

    const auto row = [](QString text, const char *error) {
        text.replace("{CALL", R"({'ph':'X','pid':2,'ts':1,'dur':1,'name':'UpdateWindowStatus w')");
        text.replace("{TO",
                     "{'interface':'" OSTREL_WINDOW_MANAGEMENT_INTERFACE
                     "','path':'" OSTREL_WINDOW_MANAGEMENT_PATH "'");
        QTest::newRow(error) << text.replace('\'', '"') << error;
    };
    const QString begin = "[\n{'ph':'i','pid':1,'ts':0,'name':'trace begins'},\n";
    row("[{'ph'", "1: column 6: unterminated string");
    row("[]", "1: the file is an array, and no trace of 'ostrelctl trace'");
    row("[{'ph':'i','pid':9}]", "1: the file is an array, and no trace of 'ostrelctl trace'");
    row("[\n{'ph': 'B'},\n{'ph' 1},\n{'ph': 'B'}\n]", "3: column 7: missing name separator");
    row("[\n1]", "2: [0]: is no event of a trace");
    row("[{}]", "1: [0].ph: takes a string, not nothing");
    row("[{'ph':'M','name':'thread_name','tid':-1,'args':{'name':'a'}}]",
        "1: [0].tid: takes a whole number from 0 to 4294967295");
    row("[{'ph':'i','pid':1,'name':'trace begins','ts':1e300}]",
        "1: [0].ts: takes a whole number from -9007199254740992 to 9007199254740992");
    row(begin + "{'ph':'i','pid':3,'tid':1,'ts':1,'name':'Started','args':{'A':[null]}}]",
        "3: [1].args.A[0]: is null, which no message holds");
    row(begin + "{'ph':'X','pid':2,'name':'Start'}]",
        "3: [1].args.reply: takes a string, not nothing");
    row(begin + "{CALL,'args':{TO,'path':'x','reply':'success'}}]", "3: \"path\" is there already");
    row(begin + "{CALL,'args':{TO,'reply':'success','values':[1],\n'signature':'u('}}]",
        "4: [1].args.signature: \"u(\" is no signature");
    row(begin + "{CALL,'args':{TO,'reply':'success','values':[-1],'signature':'u'}}]",
        "3: [1].args.values[0]: takes a whole number from 0 to 4294967295");
    row(begin + "{CALL,'args':{TO,'reply':'a.b','values':[],'signature':'u'}}]",
        "3: [1].args.values: takes the values of \"u\", not 0");
}

void TestSimulatorScenarioErrors::badTraceIsReportedWithItsLine()
{
    QFETCH(QString, text);
    QFETCH(QString, error);
    QCOMPARE(errorIn(text.toUtf8()), error);
}

void TestSimulatorScenarioErrors::hugeFileIsRefused()
{
    QCOMPARE(errorIn("["
                     + QByteArray(R"({"ph":"i","pid":1,"ts":1,"name":"SelectedByOom",)"
                                  R"("args":{"processId":"1"}},)")
                           .repeated(100'001)),
             "1: [100000]: is too much: a scenario has 100000 steps at most");
    QCOMPARE(errorIn("{\"steps\": [{}" + QByteArray(",{}").repeated(100'000) + "]}"),
             "1: steps: has more than 100000 steps");
    QCOMPARE(errorIn(QByteArray(16 * 1024 * 1024 + 1, ' ')), " is larger than 16 MiB");
}

void TestSimulatorScenarioErrors::fileThatIsMissingIsNamed()
{
    const Result result = run(SIMULATOR, {"--scenario", "/nonexistent/scenario.json"});
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.errors,
             "ostrel-simulator: /nonexistent/scenario.json: No such file or directory\n");
}

void TestSimulatorScenarioErrors::examplesOfTheDocumentsAreRight()
{
    const QStringList parts = readFile(SOURCE_DIR "/docs/scenarios.md").split("```");
    int count = 0;
    for (const QString &part : parts) {
        if (part.startsWith("json\n")) {
            writeFile(m_file, part.mid(5));
            const Result result = run(SIMULATOR, {"--scenario", m_file});
            QVERIFY2(result.errors.startsWith("ostrel-simulator: cannot reach the session bus"),
                     qPrintable(result.errors));
            ++count;
        }
    }
    QCOMPARE(count, 2);
}

OSTREL_TEST_MAIN(TestSimulatorScenarioErrors)

#include "tst_simulator_scenario_errors.moc"
