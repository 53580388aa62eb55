// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "files.h"
#include "kit.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusArgument>

#include <optional>
#include <sys/stat.h>

namespace
{

// %1 is the folder of the scripts.
const QString catalogue = R"({"applications": [
    {"id": "t.Print", "program": "/bin/sh", "arguments": ["%1/print", "own"]},
    {"id": "t.Where", "program": "/bin/sh", "arguments": ["%1/where"]},
    {"id": "t.One", "program": "sleep", "arguments": ["600"], "singleInstance": true}
]})";

// Prints its parameters and two variables, and writes to standard error.
const QString print = "printf '%s|' \"$@\" \"$VARIABLE\" \"$WRAPPED\"\n"
                      "echo complaint >&2\n";

const QString where = "echo \"$DBUS_SESSION_BUS_ADDRESS\"\n"
                      "echo \"$OSTREL_ROOTFS\"\n"
                      "cat\n";

} // namespace

// Each parameter of the simulator's "StartDebug" has its effect, or is refused.
class TestSimulatorControlDebug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void withoutParametersItIsLikeAStart();
    void parametersAreAppended();
    void wrapperGoesInFront();
    void environmentIsAdded();
    void outputsGoToFiles();
    void bothOutputsMayGoToOneFile();
    void filesAreEmptiedFirst();
    void theRestIsReportedBack();
    void detailsAreTheServicesOwn();
    void programsFindTheirBusAndRootFs();
    void refusesWrongValues_data();
    void refusesWrongValues();
    void refusesFilesThatCannotBeOpened_data();
    void refusesFilesThatCannotBeOpened();
    void refusedStartsLeaveFilesAlone();
    void wrapperThatDoesNotExistFails();

private:
    // Runs the application to its end. Returns what it printed.
    QString printed(const QString &id, QVariantMap parameters);
    QString inFolder(const char *name) const { return m_folder.filePath(name); }

    QTemporaryDir m_folder;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorControlDebug::initTestCase()
{
    writeFile(inFolder("catalogue.json"), catalogue.arg(m_folder.path()));
    writeFile(inFolder("print"), print);
    writeFile(inFolder("where"), where);
    m_bus.emplace();
    m_simulator.emplace(*m_bus, QStringList{"--catalogue", inFolder("catalogue.json")});
    m_simulator->start();
}

void TestSimulatorControlDebug::cleanup()
{
    m_simulator->reset();
}

QString TestSimulatorControlDebug::printed(const QString &id, QVariantMap parameters)
{
    if (!parameters.contains("stdoutFile")) {
        parameters.insert("stdoutFile", inFolder("out"));
    }
    if (!parameters.contains("stderrFile")) {
        parameters.insert("stderrFile", inFolder("err"));
    }
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const QDBusMessage answer = callControl("StartDebug", {id, parameters});
    if (answer.type() != QDBusMessage::ReplyMessage) {
        return answer.errorMessage();
    }
    monitor.textsUntil("Terminated");
    return readFile(parameters.value("stdoutFile").toString());
}

void TestSimulatorControlDebug::withoutParametersItIsLikeAStart()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl("StartDebug", {"t.One", QVariantMap()});
    QCOMPARE(monitor.texts(),
             (QStringList{
                 "reply sa{sv} t.One {AppId=s:t.One Kind=u:0 Pid=i:PID}",
                 "Started sa{sv} t.One {AppId=s:t.One Kind=u:0 Pid=i:PID}",
                 "StateChanged sa{sv} t.One {State=u:1}",
             }));
}

void TestSimulatorControlDebug::parametersAreAppended()
{
    QCOMPARE(
        printed("t.Print", {{"commandLineParams", QStringList{"one", "two words", QString()}}}),
        "own|one|two words||||");
}

void TestSimulatorControlDebug::wrapperGoesInFront()
{
    QCOMPARE(printed("t.Print",
                     {{"applicationWrapper", QStringList{"env", "WRAPPED=yes"}},
                      {"commandLineParams", QStringList("one")}}),
             "own|one||yes|");
    // An empty wrapper is no wrapper.
    QCOMPARE(printed("t.Print", {{"applicationWrapper", QStringList()}}), "own|||");
}

void TestSimulatorControlDebug::environmentIsAdded()
{
    QCOMPARE(printed("t.Print",
                     {{"environment", QStringList{"VARIABLE=first", "VARIABLE=a=b", "WRAPPED="}}}),
             "own|a=b||");
}

void TestSimulatorControlDebug::outputsGoToFiles()
{
    printed("t.Print", {});
    QCOMPARE(readFile(inFolder("out")), "own|||");
    QCOMPARE(readFile(inFolder("err")), "complaint\n");
}

void TestSimulatorControlDebug::bothOutputsMayGoToOneFile()
{
    QCOMPARE(printed("t.Print", {{"stderrFile", inFolder("out")}}), "own|||complaint\n");
}

void TestSimulatorControlDebug::filesAreEmptiedFirst()
{
    writeFile(inFolder("out"), "something long that was there before");
    QCOMPARE(printed("t.Print", {}), "own|||");
}

void TestSimulatorControlDebug::theRestIsReportedBack()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const Result result =
        busctl(*m_bus,
               QString("call -- %1 %2 %3 StartDebug sa{sv} t.One 5 sandbox b false "
                       "firejailParams as 1 --quiet environment as 0 "
                       "Unknown (ias) 3 1 x Another v i 7")
                   .arg(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE)
                   .split(' '));
    QVERIFY2(result.exitStatus == 0, qPrintable(result.errors));
    const QString details = result.output.section("Pid\" i ", 1);
    QCOMPARE(details.section(' ', 1).trimmed(),
             "\"Unknown\" (ias) 3 1 \"x\" \"firejailParams\" as 1 \"--quiet\" "
             "\"sandbox\" b false");
    QVERIFY(result.output.contains("\"Another\" v i 7"));
    // The signal has the same details.
    const QString started = monitor.texts().at(0);
    QVERIFY2(started.startsWith("Started sa{sv} t.One {Another="), qPrintable(started));
    QVERIFY(started.endsWith("firejailParams=as:--quiet sandbox=b:false}"));
}

void TestSimulatorControlDebug::detailsAreTheServicesOwn()
{
    const QDBusMessage answer =
        callControl("StartDebug", {"t.One", QVariantMap{{"AppId", "forged"}, {"Pid", "forged"}}});
    const auto details = qdbus_cast<QVariantMap>(answer.arguments().at(1));
    QCOMPARE(details.value("AppId"), QVariant("t.One"));
    QCOMPARE(details.value("Pid").userType(), int(QMetaType::Int));
}

void TestSimulatorControlDebug::programsFindTheirBusAndRootFs()
{
    const QString rootFs = m_simulator->desk("RootFs").arguments().at(0).toString();
    // The application reads standard input to the end, which is empty.
    QCOMPARE(printed("t.Where", {}), QString("%1\n%2\n").arg(m_bus->address(), rootFs));
}

void TestSimulatorControlDebug::refusesWrongValues_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *key, const QVariant &value, const char *expected,
                        const char *given) {
        QTest::addRow("%s: %s", key, given)
            << key << value << QString("\"%1\" takes \"%2\", not \"%3\"").arg(key, expected, given);
    };
    for (const char *const key :
         {"applicationWrapper", "commandLineParams", "environment", "firejailParams"}) {
        row(key, "x", "as", "s");
        row(key, QVariantList{1}, "as", "av");
    }
    for (const char *const key : {"stdoutFile", "stderrFile"}) {
        row(key, QStringList("x"), "s", "as");
        row(key, QByteArray("x"), "s", "ay");
        row(key, QVariantMap(), "s", "a{sv}");
    }
    row("sandbox", "false", "b", "s");
    row("sandbox", 1, "b", "i");
    for (const char *const entry : {"", "NAME", "=value"}) {
        QTest::addRow("entry \"%s\"", entry)
            << "environment" << QVariant(QStringList(entry))
            << QString("\"environment\" takes entries NAME=VALUE, not \"%1\"").arg(entry);
    }
}

void TestSimulatorControlDebug::refusesWrongValues()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, message);
    const QDBusMessage answer = callControl("StartDebug", {"t.One", QVariantMap{{key, value}}});
    QCOMPARE(answer.errorName(), OSTREL_STANDARD_ERROR_PREFIX "InvalidArgs");
    QCOMPARE(answer.errorMessage(), message);
    // The application has not been started.
    startApplication("t.One");
}

void TestSimulatorControlDebug::refusesFilesThatCannotBeOpened_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("reason");
    const QString pipe = inFolder("pipe");
    mkfifo(qPrintable(pipe), 0600);
    for (const char *const key : {"stdoutFile", "stderrFile"}) {
        QTest::addRow("%s in no folder", key) << key << "/nonexistent/file"
                                              << "No such file or directory";
        QTest::addRow("%s is a folder", key) << key << m_folder.path() << "Is a directory";
        QTest::addRow("%s without a name", key) << key << QString() << "No such file or directory";
        QTest::addRow("%s is a pipe without a reader", key)
            << key << pipe << "No such device or address";
    }
}

void TestSimulatorControlDebug::refusesFilesThatCannotBeOpened()
{
    QFETCH(QString, key);
    QFETCH(QString, file);
    QFETCH(QString, reason);
    const QDBusMessage answer = callControl("StartDebug", {"t.One", QVariantMap{{key, file}}});
    QCOMPARE(answer.errorName(), OSTREL_STANDARD_ERROR_PREFIX "Failed");
    QCOMPARE(answer.errorMessage(), QString("Cannot open \"%1\": %2").arg(file, reason));
    startApplication("t.One");
}

void TestSimulatorControlDebug::refusedStartsLeaveFilesAlone()
{
    startApplication("t.One");
    writeFile(inFolder("kept"), "kept");
    const QDBusMessage answer =
        callControl("StartDebug", {"t.One", QVariantMap{{"stdoutFile", inFolder("kept")}}});
    QCOMPARE(answer.errorName(), OSTREL_ERROR_PREFIX "ApplicationAlreadyRunning");
    QCOMPARE(readFile(inFolder("kept")), "kept");
}

void TestSimulatorControlDebug::wrapperThatDoesNotExistFails()
{
    const QDBusMessage answer = callControl(
        "StartDebug",
        {"t.One", QVariantMap{{"applicationWrapper", QStringList("/nonexistent/wrapper")}}});
    QCOMPARE(answer.errorName(), OSTREL_ERROR_PREFIX "HandlerFailed");
    QCOMPARE(answer.errorMessage(),
             "Cannot start \"/nonexistent/wrapper\": No such file or directory");
}

OSTREL_TEST_MAIN(TestSimulatorControlDebug)

#include "tst_simulator_control_debug.moc"
