// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "record_rows.h"
#include "simulator.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

#include <memory>
#include <optional>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;

// What the requests that change something send, and what becomes of the answers.
class TestControlRequests : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void startSendsTheIdentifier();
    void startReturnsTheReply();
    void startDebugSendsTheParameters_data();
    void startDebugSendsTheParameters();
    void startDebugReturnsTheReply();
    void startDebugRefusesUnsendableValues();
    void terminateSendsTheIdentifier();
    void terminateIgnoresTheValuesOfTheReply();
    void errorNamesAreMappedToCodes_data();
    void errorNamesAreMappedToCodes();
    void repliesOfOtherTypesAreErrors_data();
    void repliesOfOtherTypesAreErrors();
    void repliesInOtherThreadsReachTheirCallers();
    void noEventLoopRunsDuringACall();

private:
    MethodFaults next(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    // The only call that was made.
    Call sent() const;

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Warnings> m_warnings;
};

void TestControlRequests::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestControlRequests::init()
{
    m_warnings.emplace();
}

void TestControlRequests::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator->reset();
    QCOMPARE(warnings, QStringList());
}

Call TestControlRequests::sent() const
{
    const QVector<Call> calls = m_simulator->calls();
    return calls.size() == 1 ? calls.constFirst() : Call();
}

void TestControlRequests::startSendsTheIdentifier()
{
    next("Start").answerNext({"i", QVariantMap()});
    Control().start("demo.Viewer \u00e9");
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().interface, OSTREL_SERVICE_NAME ".Control1");
    QCOMPARE(sent().member, "Start");
    QCOMPARE(sent().signature, "s");
    QCOMPARE(sent().arguments, QVariantList{"demo.Viewer \u00e9"});
}

void TestControlRequests::startReturnsTheReply()
{
    next("Start").answerNext({"demo.Viewer.instance_1", QVariantMap{{"Pid", 17}, {"Name", "n"}}});
    const Control::StartResult result = Control().start("demo.Viewer");
    QCOMPARE(result.error.code(), Error::NoError);
    QVERIFY(result.error.message().isNull());
    QCOMPARE(result.appInstanceId, "demo.Viewer.instance_1");
    QCOMPARE(result.details, (QVariantMap{{"Pid", 17}, {"Name", "n"}}));
}

void TestControlRequests::startDebugSendsTheParameters_data()
{
    QTest::addColumn<QVariantMap>("given");
    QTest::addColumn<QVariantMap>("sent");

    QTest::newRow("nothing") << QVariantMap() << QVariantMap();

    DebugParams all;
    all.setApplicationWrapper({"w", "x y"});
    all.setCommandLineParams({"c"});
    all.setEnvironment({"A=1"});
    all.setFireJailParams({});
    all.setSandboxEnabled(false);
    all.setStdoutFile("/o");
    all.setStderrFile("/e");
    const QVariantMap everything{
        {"applicationWrapper", QStringList{"w", "x y"}},
        {"commandLineParams", QStringList{"c"}},
        {"environment", QStringList{"A=1"}},
        {"firejailParams", QStringList()},
        {"sandbox", false},
        {"stdoutFile", "/o"},
        {"stderrFile", "/e"},
    };
    QTest::newRow("everything") << everything << everything;
    QTest::newRow("unknown key") << QVariantMap{{"other", 1}} << QVariantMap{{"other", 1}};
    // What JSON is on the bus is for other tests to show; here it is that it is sent so.
    QTest::newRow("JSON") << QVariantMap{{"list", QJsonArray{"a", "b"}},
                                         {"value", QJsonValue(true)}}
                          << QVariantMap{{"list", QStringList{"a", "b"}}, {"value", true}};
}

void TestControlRequests::startDebugSendsTheParameters()
{
    QFETCH(QVariantMap, given);
    next("StartDebug").answerNext({"i", QVariantMap()});
    const DebugParams params(given);
    QCOMPARE(Control().startDebug("demo.Viewer", params).error.code(), Error::NoError);
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().interface, OSTREL_SERVICE_NAME ".Control1");
    QCOMPARE(sent().member, "StartDebug");
    QCOMPARE(sent().signature, "sa{sv}");
    QCOMPARE(sent().arguments.value(0), QVariant("demo.Viewer"));
    QTEST(qdbus_cast<QVariantMap>(sent().arguments.value(1)), "sent");
}

void TestControlRequests::startDebugReturnsTheReply()
{
    next("StartDebug").answerNext({"one", QVariantMap{{"Pid", 17}}});
    const Control::StartResult result = Control().startDebug("demo.Viewer", DebugParams());
    QCOMPARE(result.error.code(), Error::NoError);
    QVERIFY(result.error.message().isNull());
    QCOMPARE(result.appInstanceId, "one");
    QCOMPARE(text(result.details), "Pid=17");
}

void TestControlRequests::startDebugRefusesUnsendableValues()
{
    const DebugParams params(QVariantMap{{"a", 1}, {"u", QUrl()}});
    const Control::StartResult result = Control().startDebug("a.b", params);
    QCOMPARE(result.error.code(), Error::Failed);
    QCOMPARE(result.error.message(), "Marshalling failed: \"u\" holds a value of type QUrl");
    QVERIFY(result.appInstanceId.isEmpty());
    QVERIFY(result.details.isEmpty());
    QCOMPARE(m_simulator->calls().size(), 0);
}

void TestControlRequests::terminateSendsTheIdentifier()
{
    next("Terminate").answerNext({});
    const Error error = Control().terminate("demo.Viewer.instance_1");
    QCOMPARE(error.code(), Error::NoError);
    QVERIFY(error.message().isNull());
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().interface, OSTREL_SERVICE_NAME ".Control1");
    QCOMPARE(sent().member, "Terminate");
    QCOMPARE(sent().signature, "s");
    QCOMPARE(sent().arguments, QVariantList{"demo.Viewer.instance_1"});
}

void TestControlRequests::terminateIgnoresTheValuesOfTheReply()
{
    next("Terminate").answerNext({QVariantList{1}, "x"});
    QCOMPARE(Control().terminate("a").code(), Error::NoError);
}

void TestControlRequests::errorNamesAreMappedToCodes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");

    const auto row = [](const char *name, int code) { QTest::newRow(name) << name << code; };
    row(OSTREL_ERROR_PREFIX "NoError", 0);
    row("org.freedesktop.DBus.Error.Failed", 1);
    row(OSTREL_ERROR_PREFIX "HandlerNotFound", 2);
    row(OSTREL_ERROR_PREFIX "HandlerFailed", 3);
    row("org.freedesktop.DBus.Error.InvalidArgs", 4);
    row("org.freedesktop.DBus.Error.NotSupported", 5);
    row("org.freedesktop.DBus.Error.AccessDenied", 6);
    row(OSTREL_ERROR_PREFIX "ProcessNotHandled", 7);
    row(OSTREL_ERROR_PREFIX "ApplicationNotRunning", 8);
    row(OSTREL_ERROR_PREFIX "ApplicationAlreadyRunning", 9);
    row(OSTREL_ERROR_PREFIX "AccessDenied", 1);
    row("org.freedesktop.DBus.Error.HandlerFailed", 1);
    row("com.example.Other", 1);
}

void TestControlRequests::errorNamesAreMappedToCodes()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    const QString message = "what went wrong \u00e9";
    Control control;

    next("Start").failNext(name, message);
    const Control::StartResult started = control.start("a");
    QCOMPARE(int(started.error.code()), code);
    QCOMPARE(started.error.message(), message);
    QVERIFY(started.appInstanceId.isEmpty());
    QVERIFY(started.details.isEmpty());

    next("StartDebug").failNext(name, message);
    const Control::StartResult debugged = control.startDebug("a", DebugParams());
    QCOMPARE(int(debugged.error.code()), code);
    QCOMPARE(debugged.error.message(), message);
    QVERIFY(debugged.appInstanceId.isEmpty());
    QVERIFY(debugged.details.isEmpty());

    next("Terminate").failNext(name, message);
    const Error terminated = control.terminate("a");
    QCOMPARE(int(terminated.code()), code);
    QCOMPARE(terminated.message(), message);
}

void TestControlRequests::repliesOfOtherTypesAreErrors_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("signature");

    const QString id = "id";
    QTest::newRow("nothing") << QVariantList() << QString();
    QTest::newRow("identifier alone") << QVariantList{id} << "s";
    QTest::newRow("array for details")
        << QVariantList{id, QVariant::fromValue(QList<int>{1})} << "sai";
    QTest::newRow("strings for details") << QVariantList{id, QStringList{id}} << "sas";
    QTest::newRow("number for identifier") << QVariantList{1, QVariantMap()} << "ia{sv}";
    QTest::newRow("other order") << QVariantList{QVariantMap(), id} << "a{sv}s";
}

void TestControlRequests::repliesOfOtherTypesAreErrors()
{
    QFETCH(QVariantList, values);
    QFETCH(QString, signature);
    const QString message =
        QString("Unexpected reply signature: got \"%1\", expected \"sa{sv}\"").arg(signature);
    Control control;

    next("Start").answerNext(values);
    const Control::StartResult started = control.start("a");
    QCOMPARE(started.error.code(), Error::Failed);
    QCOMPARE(started.error.message(), message);
    QVERIFY(started.appInstanceId.isEmpty());
    QVERIFY(started.details.isEmpty());

    next("StartDebug").answerNext(values);
    const Control::StartResult debugged = control.startDebug("a", DebugParams());
    QCOMPARE(debugged.error.code(), Error::Failed);
    QCOMPARE(debugged.error.message(), message);

    // What comes behind the two is not looked at.
    next("Start").answerNext({"id", QVariantMap(), 1});
    QCOMPARE(control.start("a").appInstanceId, "id");
}

// A Control belongs to the thread that makes it; any thread may have one.
void TestControlRequests::repliesInOtherThreadsReachTheirCallers()
{
    next("Start").answerNext({"id", QVariantMap()});
    QString instance;
    const std::unique_ptr<QThread> thread(
        QThread::create([&instance] { instance = Control().start("a").appInstanceId; }));
    thread->start();
    thread->wait();
    QCOMPARE(instance, "id");
}

void TestControlRequests::noEventLoopRunsDuringACall()
{
    for (const char *method : {"Start", "StartDebug", "Terminate", "GetRunningApplications"}) {
        next(method).delayNext(50);
    }
    bool ran = false;
    QTimer::singleShot(0, this, [&ran] { ran = true; });
    Control control;
    const QString unknown = "no.such";
    QCOMPARE(control.start(unknown).error.code(), Error::HandlerNotFound);
    QCOMPARE(control.startDebug(unknown, DebugParams()).error.code(), Error::HandlerNotFound);
    QCOMPARE(control.terminate(unknown).code(), Error::ApplicationNotRunning);
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    QCOMPARE(control.getRunningApplications(applications, services).code(), Error::NoError);
    QVERIFY(!ran);
    waitUntil([&ran] { return ran; });
}

OSTREL_TEST_MAIN(TestControlRequests)

#include "tst_control_requests.moc"
