// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "files.h"
#include "kit.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <memory>
#include <optional>

// What the simulator's catalogue may hold, and how errors in it are reported.
class TestCatalogue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void refusesBrokenJson_data();
    void refusesBrokenJson();
    void refusesWhatItDoesNotKnow_data();
    void refusesWhatItDoesNotKnow();
    void refusesAFileThatItCannotRead();
    void propertiesKeepTheirTypes();
    void deepestPropertiesCanBeSent();
    void leavesOutWhatIsOptional();
    void catalogueMayBeEmpty();
    void hasItsOwnApplications();

private:
    // Returns the error message for a file that the simulator refuses.
    QString mistakeIn(const QString &text);
    // Starts a simulator with this catalogue on the test's bus.
    std::unique_ptr<Simulator> simulatorWith(const QString &text);
    // Returns the running applications, as busctl prints them.
    QJsonArray running() const;

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    QString m_file = m_folder.filePath("catalogue.json");
};

void TestCatalogue::initTestCase()
{
    m_bus.emplace();
}

QString TestCatalogue::mistakeIn(const QString &text)
{
    writeFile(m_file, text);
    // The file is refused before the simulator needs a bus.
    const Result result = run(SIMULATOR, {"--catalogue", m_file});
    if (result.exitStatus != 1 || !result.output.isEmpty()) {
        return QString("exit status %1").arg(result.exitStatus);
    }
    return result.errors;
}

std::unique_ptr<Simulator> TestCatalogue::simulatorWith(const QString &text)
{
    writeFile(m_file, text);
    auto simulator = std::make_unique<Simulator>(*m_bus, QStringList{"--catalogue", m_file});
    simulator->start();
    return simulator;
}

QJsonArray TestCatalogue::running() const
{
    const Result result = busctl(*m_bus,
                                 {"--json=short", "call", OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                  OSTREL_CONTROL_INTERFACE, "GetRunningApplications"});
    return QJsonDocument::fromJson(result.output.toUtf8())["data"][0].toArray();
}

void TestCatalogue::refusesBrokenJson_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("place");

    const auto row = [](const char *name, const char *text, const char *place) {
        QTest::newRow(name) << text << place;
    };
    row("empty file", "", "1: column 1: illegal value");
    row("no JSON", "x", "1: column 1: illegal value");
    row("not closed", "{\n  \"applications\": [", "2: column 19: unterminated array");
    row("no comma", "{\n  \"applications\": [\n    {} {}\n]}\n",
        "3: column 8: missing value separator");
    row("a comma too many", "{\n  \"applications\": [],\n}\n",
        "3: column 1: object is missing after a comma");
    row("an unknown word", "{ \"applications\": nothing }", "1: column 20: illegal value");
    row("an unknown value", "{ \"applications\": x }", "1: column 19: illegal number");
    row("no colon", "{\n  \"applications\" []\n}\n", "2: column 18: missing name separator");
    row("behind a character of several bytes", "{ \"ä€\" [] }",
        "1: column 8: missing name separator");
    row("something behind", "{}\n{}\n", "2: column 1: garbage at the end of the document");
    row("a member twice", "{\n  \"taskTypes\": [],\n  \"task\\u0054ypes\": []\n}\n",
        "3: \"taskTypes\" is there already");
}

void TestCatalogue::refusesBrokenJson()
{
    QFETCH(QString, text);
    QFETCH(QString, place);
    QCOMPARE(mistakeIn(text), QString("ostrel-simulator: %1:%2\n").arg(m_file, place));
}

void TestCatalogue::refusesWhatItDoesNotKnow_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("mistake");

    const auto row = [](const QByteArray &text, const QByteArray &mistake) {
        QTest::newRow(mistake.constData())
            << QString::fromUtf8(text).replace('\'', '"') << QString::fromUtf8(mistake);
    };
    row("[]", "the file takes an object, not an array");
    row("{'aplications': []}", "aplications: is not known");
    row("{'applications': {}}", "applications: takes an array, not an object");
    row("{'applications': ['demo.A']}", "applications[0]: takes an object, not a string");

    row("{'taskTypes': {}}", "taskTypes: takes an array, not an object");
    row("{'taskTypes': [{'type': 'a'}]}", "taskTypes[0].tasks: is missing");
    row("{'taskTypes': [{'tasks': []}]}", "taskTypes[0].type: is missing");
    row("{'taskTypes': [{'type': 'a', 'tasks': [], 'kind': 1}]}",
        "taskTypes[0].kind: is not known");
    row("{'taskTypes': [{'type': 'a', 'tasks': []}, {'type': 'a', 'tasks': []}]}",
        "taskTypes[1].type: \"a\" is there already");
    for (const char *const type : {"a-b", "a/", "/a", "a//b", "\xc3\xa9"}) {
        row("{'taskTypes': [{'type': '" + QByteArray(type) + "', 'tasks': []}]}",
            "taskTypes[0].type: \"" + QByteArray(type) + "\" makes no object path");
    }
    row("{'taskTypes': [{'type': 'a', 'tasks': ['b']}]}",
        "taskTypes[0].tasks[0]: takes an object, not a string");
    row("{'taskTypes': [{'type': 'a', 'tasks': [{'name': 'b'}]}]}",
        "taskTypes[0].tasks[0].program: is missing");
    row("{'taskTypes': [{'type': 'a', 'tasks': [{'name': 'b/c', 'program': 'true'}]}]}",
        "taskTypes[0].tasks[0].name: \"b/c\" cannot be a component of a path");
    row("{'taskTypes': [{'type': 'a', 'tasks': [{'name': 'b', 'program': 'true'},"
        "{'name': 'b', 'program': 'true'}]}]}",
        "taskTypes[0].tasks[1].name: \"b\" is there already");

    // In these rows, the error is in the second of two applications.
    const auto application = [&row](const char *text, const char *mistake) {
        row("{'applications': [{'id': 'demo.A', 'program': 'true'}, " + QByteArray(text) + "]}",
            "applications[1]" + QByteArray(mistake));
    };
    application("{'program': 'true'}", ".id: is missing");
    application("{'id': 'demo.B'}", ".program: is missing");
    application("{'id': 'demo.B', 'program': 'true', 'colour': 1}", ".colour: is not known");
    application("{'id': 1, 'program': 'true'}", ".id: takes a string, not a number");
    application("{'id': '', 'program': 'true'}", ".id: is empty");
    application("{'id': 'demo.A', 'program': 'true'}", ".id: \"demo.A\" is there already");
    for (const char *const id : {"a/b", "a:b", ".", "..", "a\\nb"}) {
        const QByteArray shown = QByteArray(id).replace("\\n", "\\u000a");
        application("{'id': '" + QByteArray(id) + "', 'program': 'true'}",
                    ".id: \"" + shown + "\" cannot be a component of a path");
    }
    application("{'id': '" + QByteArray(256, 'a') + "', 'program': 'true'}",
                ".id: \"" + QByteArray(256, 'a') + "\" cannot be a component of a path");
    application("{'id': 'demo.B', 'program': null}", ".program: takes a string, not null");
    application("{'id': 'demo.B', 'program': 'x\\u0000y'}", ".program: has a NUL in a string");
    application("{'id': 'demo.B', 'program': 'x', 'properties': {'A': ['\\u0000']}}",
                ".properties.A[0]: has a NUL in a string");
    application("{'id': 'demo.B', 'program': 'x', 'properties': {'A': {'b\\u0000': 1}}}",
                ".properties.A: has a NUL in a string");
    application("{'id': 'demo.B', 'program': ''}", ".program: is empty");
    application("{'id': 'demo.B', 'program': 'true', 'arguments': 'x'}",
                ".arguments: takes an array, not a string");
    application("{'id': 'demo.B', 'program': 'true', 'arguments': ['x', 1]}",
                ".arguments[1]: takes a string, not a number");
    application("{'id': 'demo.B', 'program': 'true', 'singleInstance': 1}",
                ".singleInstance: takes true or false, not a number");
    application("{'id': 'demo.B', 'program': 'true', 'kind': true}",
                ".kind: takes a number, not true or false");
    for (const char *const kind : {"-1", "1.5", "4294967296"}) {
        application("{'id': 'demo.B', 'program': 'true', 'kind': " + QByteArray(kind) + "}",
                    ".kind: takes a whole number from 0 to 4294967295");
    }
    application("{'id': 'demo.B', 'program': 'true', 'properties': []}",
                ".properties: takes an object, not an array");
    application("{'id': 'demo.B', 'program': 'true', 'properties': {'A': [1, {'B': null}]}}",
                ".properties.A[1].B: is null, which no message holds");
    application("{'id': 'demo.B', 'program': 'true', 'properties': {'A': " + QByteArray(17, '[')
                    + QByteArray(17, ']') + "}}",
                ".properties.A" + QByteArray("[0]").repeated(16) + ": is too deep for a message");
    application("{'id': 'demo.B', 'program': 'true', 'services': {}}",
                ".services: takes an array, not an object");
    application("{'id': 'demo.B', 'program': 'true', 'services': [{'program': 'true'}]}",
                ".services[0].name: is missing");
    application("{'id': 'demo.B', 'program': 'true', 'services': [{'name': 's'}]}",
                ".services[0].program: is missing");
    application("{'id': 'demo.B', 'program': 'true', 'services': [{'name': 's', 'kind': 1}]}",
                ".services[0].kind: is not known");
    application("{'id': 'demo.B', 'program': 'true', 'services': [{'name': 's', 'program': 'true'},"
                " {'name': 's', 'program': 'true'}]}",
                ".services[1].name: \"s\" is there already");
}

void TestCatalogue::refusesWhatItDoesNotKnow()
{
    QFETCH(QString, text);
    QFETCH(QString, mistake);
    QCOMPARE(mistakeIn(text), QString("ostrel-simulator: %1:1: %2\n").arg(m_file, mistake));
}

void TestCatalogue::refusesAFileThatItCannotRead()
{
    const Result missing = run(SIMULATOR, {"--catalogue", "/nonexistent/catalogue.json"});
    QCOMPARE(missing.exitStatus, 1);
    QCOMPARE(missing.errors,
             "ostrel-simulator: /nonexistent/catalogue.json: "
             "No such file or directory\n");
    const Result folder = run(SIMULATOR, {"--catalogue", m_folder.path()});
    QCOMPARE(folder.exitStatus, 1);
    QCOMPARE(folder.errors,
             QString("ostrel-simulator: %1: file to open is a directory\n").arg(m_folder.path()));
    for (const char *const device : {"/dev/zero", "/dev/stdin"}) {
        const Result endless = run(SIMULATOR, {"--catalogue", device});
        QCOMPARE(endless.exitStatus, 1);
        QCOMPARE(endless.errors,
                 QString("ostrel-simulator: %1: is not a regular file\n").arg(device));
    }
    QFile huge(m_file);
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(16 * 1024 * 1024 + 1));
    const Result large = run(SIMULATOR, {"--catalogue", m_file});
    QCOMPARE(large.exitStatus, 1);
    QCOMPARE(large.errors, QString("ostrel-simulator: %1: is larger than 16 MiB\n").arg(m_file));
}

void TestCatalogue::propertiesKeepTheirTypes()
{
    const auto simulator = simulatorWith(R"json({"applications": [{
        "id": "demo.A", "program": "sleep", "arguments": ["600"], "kind": 4294967295,
        "properties": {
            "String": "ä", "Yes": true, "Whole": -2147483648, "Great": 2147483648, "Part": 1.5,
            "Typed": {"type": "a(siuua{sv})", "data": [["x", 1, 2, 3, {}]]},
            "Strings": ["a", "b"], "Mixed": ["a", 1], "None": [], "Map": {"Key": {"Inner": 1}}
        }}]})json");
    const QVariantMap details = startApplication("demo.A");
    const QJsonArray application = running().at(0).toArray();
    const QByteArray expected = R"json(["demo.A",PID,1,4294967295,{
        "Great":{"data":2147483648,"type":"d"},
        "InstanceId":{"data":"demo.A.instance_1","type":"s"},
        "Map":{"data":{"Key":{"data":{"Inner":{"data":1,"type":"i"}},"type":"a{sv}"}},"type":"a{sv}"},
        "Mixed":{"data":[{"data":"a","type":"s"},{"data":1,"type":"i"}],"type":"av"},
        "None":{"data":[],"type":"av"},
        "Part":{"data":1.5,"type":"d"},
        "String":{"data":"ä","type":"s"},
        "Strings":{"data":["a","b"],"type":"as"},
        "Typed":{"data":[["x",1,2,3,{}]],"type":"a(siuua{sv})"},
        "Whole":{"data":-2147483648,"type":"i"},
        "Yes":{"data":true,"type":"b"}}])json";
    QByteArray pid = QByteArray::number(details.value("Pid").toInt());
    QCOMPARE(QJsonDocument(application).toJson(QJsonDocument::Compact),
             QJsonDocument::fromJson(QByteArray(expected).replace("PID", pid))
                 .toJson(QJsonDocument::Compact));
}

void TestCatalogue::deepestPropertiesCanBeSent()
{
    const QString objects = QString("{\"A\":").repeated(16) + '1' + QString("}").repeated(16);
    const auto simulator =
        simulatorWith(QString(R"({"applications": [{"id": "demo.A", "program": "sleep",
                           "arguments": ["600"], "properties": %1}]})")
                          .arg(objects));
    startApplication("demo.A");
    QJsonValue value = running().at(0)[4];
    for (int depth = 0; depth < 16; ++depth) {
        value = value["A"]["data"];
    }
    QCOMPARE(value, QJsonValue(1));
}

void TestCatalogue::leavesOutWhatIsOptional()
{
    const auto simulator =
        simulatorWith(R"({"applications": [{"id": "Dotless", "program": "cat"}]})");
    // Without input, it ends at once.
    const QVariantMap details = startApplication("Dotless");
    QCOMPARE(details.value("Kind"), QVariant(0U));
    QCOMPARE(details.value("AppId"), QVariant("Dotless"));
}

void TestCatalogue::catalogueMayBeEmpty()
{
    const auto simulator = simulatorWith("{}");
    const QDBusMessage answer = callControl("Start", {"demo.Viewer"});
    QCOMPARE(answer.errorName(), OSTREL_ERROR_PREFIX "HandlerNotFound");
}

void TestCatalogue::hasItsOwnApplications()
{
    Simulator simulator(*m_bus, {"--kill-after", "100"});
    simulator.start();
    for (const char *const id : {"demo.Viewer", "demo.Clock", "demo.Player", "demo.Stubborn"}) {
        startApplication(id);
    }
    QCOMPARE(running().size(), 4);
    startApplication("demo.Once");
    const QDBusMessage broken = callControl("Start", {"demo.Broken"});
    QCOMPARE(broken.errorName(), OSTREL_ERROR_PREFIX "HandlerFailed");
}

OSTREL_TEST_MAIN(TestCatalogue)

#include "tst_catalogue.moc"
