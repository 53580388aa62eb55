// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <clocale>

// The commands of application control, as users type them and scripts read them.
class TestOstrelctlControl : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void startPrintsTheInstance();
    void startPrintsAnyDetailsAsJson();
    void debugSendsWhatIsGiven_data();
    void debugSendsWhatIsGiven();
    void terminateSaysNothing();
    void psPrintsATable();
    void psPrintsJson();
    void psFitsTheTerminal_data();
    void psFitsTheTerminal();
    void failuresArePrinted_data();
    void failuresArePrinted();
    void controlCharactersAreEscaped();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();

private:
    static Result ostrelctl(const QStringList &arguments);

    Faults next(const char *method) const
    {
        return m_simulator.faults(OSTREL_CONTROL_INTERFACE, method);
    }
    // Makes the next list hold one application and one service.
    void arrangeList() const;
};

Result TestOstrelctlControl::ostrelctl(const QStringList &arguments)
{
    return run(OSTRELCTL, arguments);
}

void TestOstrelctlControl::arrangeList() const
{
    busctlDesk(m_bus, "AnswerNext",
               QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2"}
                   + wordsOf("a(siuua{sv}) 1 demo.Viewer 17 4294967295 2 2 "
                             "Name s x\ny Size t 18446744073709551615 "
                             "a(ssiua{sv}) 1 demo.Viewer decoder -1 3 0"));
}

void TestOstrelctlControl::startPrintsTheInstance()
{
    next("Start").answerNext({"one", QVariantMap()});
    const Result result = ostrelctl({"start", "a b"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "one\n");
    QCOMPARE(result.exitStatus, 0);
    QCOMPARE(m_simulator.calls().at(0).member, "Start");
    QCOMPARE(m_simulator.calls().at(0).arguments, QVariantList{"a b"});
}

void TestOstrelctlControl::startPrintsAnyDetailsAsJson()
{
    busctlDesk(
        m_bus, "AnswerNext",
        QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "Start", "2"}
            + wordsOf(
                "s one a{sv} 18 a y 7 b n -3 c q 4 d d 1.5 e o /p f g as g v s x "
                "h ay 2 0 255 i (sai) x 2 1 2 j a{is} 1 3 x k a{sv} 1 l b true m as 0 "
                "n x -9007199254740992 o x -9007199254740993 p t 9007199254740992 "
                "q t 9007199254740993 r x -9223372036854775808 t av 1 t 18446744073709551615"));
    const Result result = ostrelctl({"start", "--json", "a.b"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output,
             R"({"appInstanceId":"one","details":{"a":7,"b":-3,"c":4,"d":1.5,"e":"/p",)"
             R"("f":"as","g":"x","h":[0,255],"i":["x",[1,2]],"j":{"3":"x"},)"
             R"("k":{"l":true},"m":[],"n":-9007199254740992,"o":"-9007199254740993",)"
             R"("p":9007199254740992,"q":"9007199254740993",)"
             R"("r":"-9223372036854775808","t":["18446744073709551615"]}})"
             "\n");
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctlControl::debugSendsWhatIsGiven_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QVariantMap>("sent");

    const auto words = [](const char *text) {
        return QString::fromLatin1(text).split(' ', Qt::SkipEmptyParts);
    };
    const QString wrapper = "applicationWrapper";
    const QString params = "commandLineParams";
    QTest::newRow("nothing") << QStringList() << QVariantMap();
    QTest::newRow("wrapper") << QStringList{"--wrapper", "gdb  --args \"a b\""}
                             << QVariantMap{{wrapper, QStringList{"gdb", "--args", "a b"}}};
    QTest::newRow("wrapper with quotes")
        << QStringList{"--wrapper", R"( a "" b" c"d \"e\" "\"f\\" \n )"}
        << QVariantMap{{wrapper, QStringList{"a", QString(), "b cd", "\"e\"", "\"f\\", "\\n"}}};
    QTest::newRow("empty wrapper")
        << QStringList{"--wrapper", QString()} << QVariantMap{{wrapper, QStringList()}};
    QTest::newRow("params") << words("--param one --param --two --param=-3")
                            << QVariantMap{{params, words("one --two -3")}};
    QTest::newRow("environment") << words("--env A=1 --env B==")
                                 << QVariantMap{{"environment", words("A=1 B==")}};
    QTest::newRow("sandbox launcher") << words("--firejail-param --quiet --firejail-param x")
                                      << QVariantMap{{"firejailParams", words("--quiet x")}};
    QTest::newRow("no sandbox") << words("--no-sandbox") << QVariantMap{{"sandbox", false}};
    QTest::newRow("files") << words("--stdout /o --stderr e")
                           << QVariantMap{{"stdoutFile", "/o"},
                                          {"stderrFile", QDir::current().absoluteFilePath("e")}};
    QTest::newRow("file in a folder")
        << words("--stdout a/o")
        << QVariantMap{{"stdoutFile", QDir::current().absoluteFilePath("a/o")}};
}

void TestOstrelctlControl::debugSendsWhatIsGiven()
{
    QFETCH(QStringList, options);
    next("StartDebug").answerNext({"one", QVariantMap()});
    const Result result = ostrelctl(QStringList("debug") + options + QStringList{"a.b"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "one\n");
    QCOMPARE(result.exitStatus, 0);
    const Call call = m_simulator.calls().constFirst();
    QCOMPARE(call.member, "StartDebug");
    QCOMPARE(call.arguments.at(0), QVariant("a.b"));
    QTEST(qdbus_cast<QVariantMap>(call.arguments.at(1)), "sent");
}

void TestOstrelctlControl::terminateSaysNothing()
{
    next("Terminate").answerNext({});
    const Result plain = ostrelctl({"terminate", "one"});
    QCOMPARE(plain.errors, QString());
    QCOMPARE(plain.output, QString());
    QCOMPARE(plain.exitStatus, 0);
    QCOMPARE(m_simulator.calls().at(0).member, "Terminate");
    QCOMPARE(m_simulator.calls().at(0).arguments, QVariantList{"one"});

    next("Terminate").answerNext({});
    const Result json = ostrelctl({"terminate", "--json", "one"});
    QCOMPARE(json.output, "{}\n");
    QCOMPARE(json.exitStatus, 0);
}

void TestOstrelctlControl::psPrintsATable()
{
    arrangeList();
    const Result result = ostrelctl({"ps"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output,
             "APPLICATION  SERVICE  PID  STATE       KIND  INSTANCE  PROPERTIES\n"
             "demo.Viewer  -        17   4294967295  2     -         "
             "Name=\"x\\ny\" Size=18446744073709551615\n"
             "demo.Viewer  decoder  -1   3           -     -\n");
    QCOMPARE(result.exitStatus, 0);

    m_simulator.desk("ListNext", {0U, 0U});
    QCOMPARE(ostrelctl({"ps"}).output,
             "APPLICATION  SERVICE  PID  STATE  KIND  INSTANCE  PROPERTIES\n");
}

void TestOstrelctlControl::psPrintsJson()
{
    arrangeList();
    const Result result = ostrelctl({"ps", "--json"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output,
             R"~({"applications":[{"appId":"demo.Viewer","appInstanceId":null,)~"
             R"~("kind":2,"pid":17,)~"
             R"~("properties":{"Name":"x\ny","Size":"18446744073709551615"},)~"
             R"~("state":4294967295}],"services":[{"appId":"demo.Viewer",)~"
             R"~("appInstanceId":null,)~"
             R"~("name":"decoder","pid":-1,"properties":{},"state":3}]})~"
             "\n");
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctlControl::psFitsTheTerminal_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("UTF-8") << "C.UTF-8";
    QTest::newRow("ASCII") << "C";
}

void TestOstrelctlControl::psFitsTheTerminal()
{
    const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (utf8 == nullptr) {
        QSKIP("the C library has no locale C.UTF-8 of this byte order");
    }
    freelocale(utf8);
    QFETCH(QString, locale);
    // script gives the command a terminal of this width.
    const auto linesAt = [this, &locale](int columns) {
        arrangeList();
        Result result =
            run("script",
                {"--quiet", "--return", "--command",
                 QString("stty cols %1; LC_ALL=%2 " OSTRELCTL " ps").arg(columns).arg(locale),
                 "/dev/null"});
        return result.output.remove('\r').split('\n', Qt::SkipEmptyParts);
    };
    QCOMPARE(linesAt(200).at(1),
             "demo.Viewer  -        17   4294967295  2     -         "
             "Name=\"x\\ny\" Size=18446744073709551615");
    QCOMPARE(linesAt(65),
             (QStringList{
                 "APPLICATION  SERVICE  PID  STATE       KIND  INSTANCE  PROPERTIES",
                 "demo.Viewer  -        17   4294967295  2     -         Name=\"x\\n\u2026",
                 "demo.Viewer  decoder  -1   3           -     -",
             }));
    // The names come before the properties.
    QCOMPARE(linesAt(45),
             (QStringList{"APPLICATION  SERVICE  PID  STATE       KIND",
                          "demo.Viewer  -        17   4294967295  2",
                          "demo.Viewer  decoder  -1   3           -"}));
    QCOMPARE(linesAt(40),
             (QStringList{"APPLICAT\u2026  SERVICE  PID  STATE      KIND",
                          "demo.Vie\u2026  -        17   42949672\u2026  2",
                          "demo.Vie\u2026  decoder  -1   3          -"}));
    const QStringList narrow = linesAt(30);
    QCOMPARE(narrow.size(), 3);
    for (const QString &line : narrow) {
        QVERIFY2(line.size() <= 30, qPrintable(line));
    }
}

void TestOstrelctlControl::failuresArePrinted_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *method, const QStringList &arguments, int code = 3,
                        const char *name = "HandlerFailed") {
        QTest::newRow(method) << arguments << QByteArray(method) << code << name;
    };
    row("Start", {"start", "a"});
    row("StartDebug", {"debug", "a"});
    row("Terminate", {"terminate", "a"});
    // For the list, the library ignores the name of the error.
    row("GetRunningApplications", {"ps"}, 1, "Failed");
}

void TestOstrelctlControl::failuresArePrinted()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, method);
    QFETCH(int, code);
    QFETCH(QString, name);
    for (const bool json : {false, true}) {
        next(method.constData()).failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
        const Result result = ostrelctl(arguments + (json ? QStringList("--json") : QStringList()));
        QCOMPARE(result.output,
                 json ? QString(R"({"error":{"code":%1,"message":"no","name":"%2"}})"
                                "\n")
                            .arg(code)
                            .arg(name)
                      : QString());
        QCOMPARE(result.errors, QString("error: %1: no\n").arg(name));
        QCOMPARE(result.exitStatus, 1);
    }
}

// What the service sends controls neither the terminal nor a reader of JSON.
void TestOstrelctlControl::controlCharactersAreEscaped()
{
    const QString id = "a\x1b[2J\u009b\x7f\u00a0";
    next("Start").answerNext({id, QVariantMap()});
    QCOMPARE(ostrelctl({"start", "a"}).output, id + '\n');

    next("Start").answerNext({id, QVariantMap()});
    const Result terminal =
        run("script", {"--quiet", "--return", "--command", OSTRELCTL " start a", "/dev/null"});
    QCOMPARE(terminal.output, "a\\x1b[2J\\x9b\\x7f\u00a0\r\n");

    next("Start").answerNext({id, QVariantMap()});
    QCOMPARE(ostrelctl({"start", "--json", "a"}).output,
             "{\"appInstanceId\":\"a\\u001b[2J\\u009b\\u007f\u00a0\",\"details\":{}}\n");
}

void TestOstrelctlControl::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("mistake");

    const auto row = [](const char *arguments, const char *mistake) {
        QTest::newRow(arguments) << arguments << mistake;
    };
    row("start", "APP is missing");
    row("start a b", "unexpected argument \"b\"");
    row("debug", "APP is missing");
    row("debug --param", "Missing value after '--param'.");
    row("debug a --param", "Missing value after '--param'.");
    row("debug a --env A", "--env takes NAME=VALUE, not \"A\"");
    row("debug a --wrapper \"x", "a quote in --wrapper does not end: \"\"x\"");
    row("debug a --env =1", "--env takes NAME=VALUE, not \"=1\"");
    row("debug a --no-sandbox=1", "Unexpected value after '--no-sandbox'.");
    row("terminate", "INSTANCE is missing");
    row("ps a", "unexpected argument \"a\"");
    row("watch a", "unexpected argument \"a\"");
    row("which", "PID is missing");
    row("which x", "PID takes a whole number from 1 to 2147483647, not \"x\"");
    row("which 0", "PID takes a whole number from 1 to 2147483647, not \"0\"");
    row("which -1", "PID takes a whole number from 1 to 2147483647, not \"-1\"");
    // A second blank makes an empty word.
    row("start ", "APP is empty");
    row("debug ", "APP is empty");
    row("terminate ", "INSTANCE is empty");
    row("debug --stdout  a", "--stdout takes the name of a file");
    row("debug --stderr  a", "--stderr takes the name of a file");
}

void TestOstrelctlControl::wrongOptionsAreReported()
{
    QFETCH(QString, arguments);
    QFETCH(QString, mistake);
    const QStringList words = arguments.split(' ');
    const Result result = ostrelctl(words);
    QCOMPARE(result.output, QString());
    QCOMPARE(
        result.errors,
        QString("ostrelctl %1: %2\nTry 'ostrelctl %1 --help'.\n").arg(words.constFirst(), mistake));
    QCOMPARE(result.exitStatus, 2);
    QVERIFY(m_simulator.calls().isEmpty());
}

OSTREL_TEST_MAIN(TestOstrelctlControl)

#include "tst_ostrelctl_control.moc"
