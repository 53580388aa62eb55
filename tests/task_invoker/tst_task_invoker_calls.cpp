// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "error_names.h"
#include "simulator_test.h"
#include "task_invokers.h"
#include "test_main.h"
#include "warnings.h"

#include <QtCore/QPoint>
#include <QtCore/QUrl>
#include <QtDBus/QDBusArgument>

using Ostrel::Error;
using Ostrel::TaskInvoker;

// Tasks are started and stopped, and the outcomes arrive.
class TestTaskInvokerCalls : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void startIsOneMessage();
    void stopIsOneMessage();
    void callsDoNotWaitForTheRegistration();
    void callsAreSentAfterAFailedRegistration();
    void callbacksComeFromTheEventLoop();
    void numberOfTheReplyIsPassedOn_data();
    void numberOfTheReplyIsPassedOn();
    void serviceErrorsAreMapped_data();
    void serviceErrorsAreMapped();
    void errorsMayCarryANumber_data();
    void errorsMayCarryANumber();
    void otherRepliesAreFailures_data();
    void otherRepliesAreFailures();
    void furtherValuesInAReplyAreAccepted();
    void stopAcceptsAnyReply_data();
    void stopAcceptsAnyReply();
    void emptyCallbacksAreSkipped_data();
    void emptyCallbacksAreSkipped();
    void callbacksRunInTheOrderOfTheReplies();
    void callbacksMayCallAgain();
    void unsendableMapsAreNotSent_data();
    void unsendableMapsAreNotSent();
    void simulatorRefusesWrongTasks();

private:
    MethodFaults starts() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
    MethodFaults stops() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop");
    }
    // The calls of the session, without the registration.
    QVector<Call> sessionCalls() const;
};

QVector<Call> TestTaskInvokerCalls::sessionCalls() const
{
    QVector<Call> calls = m_simulator.calls();
    calls.removeFirst();
    return calls;
}

void TestTaskInvokerCalls::startIsOneMessage()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("started 1: 0"));

    const QVector<Call> calls = sessionCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).path, OSTREL_SERVICE_PATH "/TaskInvokerSessions/sync");
    QCOMPARE(calls.at(0).interface, OSTREL_SERVICE_NAME ".TaskInvokerSession1");
    QCOMPARE(calls.at(0).member, "Start");
    QCOMPARE(calls.at(0).signature, "sa{sv}a{sv}");
    QCOMPARE(calls.at(0).arguments.at(0).toString(), "photos");
    for (const int map : {1, 2}) {
        QCOMPARE(qdbus_cast<QVariantMap>(calls.at(0).arguments.at(map)), QVariantMap());
    }
}

void TestTaskInvokerCalls::stopIsOneMessage()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, nullptr);
    invoker.stop("photos", events.stopped());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("stopped 0"));

    const QVector<Call> calls = sessionCalls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(1).path, sessionPath("sync"));
    QCOMPARE(calls.at(1).interface, OSTREL_TASK_INVOKER_SESSION_INTERFACE);
    QCOMPARE(calls.at(1).member, "Stop");
    QCOMPARE(calls.at(1).signature, "s");
    QCOMPARE(calls.at(1).arguments, QVariantList{"photos"});
}

void TestTaskInvokerCalls::callsDoNotWaitForTheRegistration()
{
    const MethodFaults registration =
        m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady(events.ready());
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    registration.release({0});
    events.waitFor(3);
    QCOMPARE(events.all(), (QStringList{"started 1: 0", "stopped 0", "ready 0"}));
}

void TestTaskInvokerCalls::callsAreSentAfterAFailedRegistration()
{
    m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker").failNext("a.b", QString());
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QVERIFY(waitUntilReady(invoker).isError());
    QCOMPARE(warnings.texts().size(), 1);
    Events events;
    invoker.start("photos", {}, {}, events.started());
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    const QString noSession = QString("1 \"No object at the path %1\"").arg(sessionPath("sync"));
    QCOMPARE(events.all(), (QStringList{"started 0: " + noSession, "stopped " + noSession}));
    QCOMPARE(sessionCalls().size(), 2);
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerCalls::callbacksComeFromTheEventLoop()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    starts().holdNext(1);
    stops().holdNext(1);
    Events events;
    invoker.start("photos", {}, {}, events.started());
    invoker.stop("photos", events.stopped());

    // The replies are there, but only the event loop brings them.
    starts().waitForHeld(1);
    stops().waitForHeld(1);
    starts().release({0});
    stops().release({0});
    QCOMPARE(events.all(), QStringList());
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"started 1: 0", "stopped 0"}));
    // The watchers are deleted.
    waitUntil([&] { return invoker.children().isEmpty(); });
}

void TestTaskInvokerCalls::numberOfTheReplyIsPassedOn_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {42, 0, -1, 2147483647, -2147483647 - 1}) {
        QTest::addRow("%d", number) << number;
    }
}

void TestTaskInvokerCalls::numberOfTheReplyIsPassedOn()
{
    QFETCH(int, number);
    starts().answerNext({number});
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList(QString("started %1: 0").arg(number)));
}

void TestTaskInvokerCalls::serviceErrorsAreMapped_data()
{
    addErrorNames();
}

void TestTaskInvokerCalls::serviceErrorsAreMapped()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    starts().failNext(name, "no start");
    stops().failNext(name, "no stop");
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    QCOMPARE(events.all(),
             (QStringList{QString("started 0: %1 \"no start\"").arg(code),
                          QString("stopped %1 \"no stop\"").arg(code)}));
}

void TestTaskInvokerCalls::errorsMayCarryANumber_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("event");
    const auto row = [](const char *value, const char *event) {
        QTest::newRow(value) << value << "started " + QString::fromLatin1(event);
    };
    row("s 42", "42: 1 \"42\"");
    row("s -7", "-7: 1 \"-7\"");
    row("s 0x1f", "0: 1 \"0x1f\"");
    row("s 4.7", "0: 1 \"4.7\"");
    row("s none", "0: 1 \"none\"");
    row("s ''", "0: 1 \"\"");
    row("i 42", "42: 1 \"42\"");
    row("u 42", "42: 1 \"42\"");
    row("d 42.7", "43: 1 \"42.7\"");
    row("b true", "1: 1 \"true\"");
    row("ay 2 52 50", "42: 1 \"42\"");
    // A container has neither a number nor a message.
    row("ai 2 1 2", "0: 1");
    row("ai 0", "0: 1");
    row("(i) 42", "0: 1");
    row("(ii) 42 43", "0: 1");
    row("a{sv} 1 k i 42", "0: 1");
    row("a{ii} 1 42 43", "0: 1");
    row("a(i) 1 42", "0: 1");
    row("as 2 42 43", "0: 1");
    row("v i 42", "0: 1");
    row("o /a", "0: 1");
    row("g i", "0: 1");
}

void TestTaskInvokerCalls::errorsMayCarryANumber()
{
    QFETCH(QString, value);
    busctlDesk(m_bus, "FailNextWith",
               QStringList{"sssav", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start", "a.b", "1"}
                   + wordsOf(value));
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QTEST(events.all().constFirst(), "event");
}

void TestTaskInvokerCalls::otherRepliesAreFailures_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QVariantList>("values");
    const auto row = [](const char *signature, const QVariantList &values) {
        QTest::newRow(signature) << signature << values;
    };
    row("", {});
    row("s", {"42"});
    row("u", {42U});
    row("x", {42LL});
    row("b", {true});
    row("d", {42.0});
    row("y", {QVariant::fromValue(uchar(42))});
    row("v", {QVariant::fromValue(QDBusVariant(42))});
    row("si", {"42", 42});
    row("ai", {QVariant::fromValue(QList<int>{42})});
    row("(ii)", {QPoint(42, 42)});
    row("a{sv}", {QVariantMap{{"number", 42}}});
    row("as", {QStringList{"42"}});
}

void TestTaskInvokerCalls::otherRepliesAreFailures()
{
    QFETCH(QString, signature);
    QFETCH(QVariantList, values);
    starts().answerNext(values);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(),
             QStringList(QString("started 0: 1 \"Unexpected reply signature: got \"%1\", "
                                 "expected \"i\"\"")
                             .arg(signature)));
}

void TestTaskInvokerCalls::furtherValuesInAReplyAreAccepted()
{
    starts().answerNext({42, "more", QVariantMap()});
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("started 42: 0"));
}

void TestTaskInvokerCalls::stopAcceptsAnyReply_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::newRow("nothing") << QVariantList();
    QTest::newRow("string") << QVariantList{"x"};
    QTest::newRow("number") << QVariantList{-1};
    QTest::newRow("map and more") << QVariantList{QVariantMap(), QPoint(1, 2)};
}

void TestTaskInvokerCalls::stopAcceptsAnyReply()
{
    QFETCH(QVariantList, values);
    stops().answerNext(values);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.stop("photos", events.stopped());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("stopped 0"));
}

void TestTaskInvokerCalls::emptyCallbacksAreSkipped_data()
{
    QTest::addColumn<bool>("failing");
    QTest::newRow("success") << false;
    QTest::newRow("failure") << true;
}

void TestTaskInvokerCalls::emptyCallbacksAreSkipped()
{
    QFETCH(bool, failing);
    if (failing) {
        starts().failNext("a.b", QString());
        stops().failNext("a.b", QString());
    }
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    invoker.start("photos", {}, {}, nullptr);
    invoker.stop("photos", nullptr);
    invoker.start("photos", {}, {}, {});
    roundTrip(invoker);
    QCOMPARE(sessionCalls().size(), 4);
    waitUntil([&] { return invoker.children().isEmpty(); });
}

void TestTaskInvokerCalls::callbacksRunInTheOrderOfTheReplies()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    starts().holdNext(3);
    Events events;
    const auto start = [&](const QString &task) {
        invoker.start(task, {}, {}, events.started(task));
    };
    // None of them exists, so the service answers them in order, and holds the answers.
    start("x");
    start("y");
    start("z");
    starts().waitForHeld(3);
    starts().release({2, 0, 1});
    events.waitFor(3);
    roundTrip(invoker);
    const QString none = "%1 0: 2 \"There is no task \"%1\" of the type \"sync\"\"";
    QCOMPARE(events.all(), (QStringList{none.arg("z"), none.arg("x"), none.arg("y")}));
}

void TestTaskInvokerCalls::callbacksMayCallAgain()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, [&](int number, const Error &error) {
        events.started()(number, error);
        invoker.stop("photos", [&](const Error &stopError) {
            events.stopped()(stopError);
            invoker.start("photos", {}, {}, events.started());
            // This runs the event loop inside the callback.
            events.waitFor(3);
            events.add("end");
        });
    });
    events.waitFor(4);
    QCOMPARE(events.all(), (QStringList{"started 1: 0", "stopped 0", "started 2: 0", "end"}));
}

void TestTaskInvokerCalls::unsendableMapsAreNotSent_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("innerKey");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *name, const QVariant &value, const char *problem,
                        const char *innerKey = "") {
        QTest::newRow(name) << value << innerKey << problem;
    };
    row("nothing", QVariant(), "holds a value of type none");
    row("float", 1.5F, "holds a value of type float");
    row("address", QUrl("a:b"), "holds a value of type QUrl");
    row("character", QChar('x'), "holds a value of type QChar");
    row("empty argument", QVariant::fromValue(QDBusArgument()),
        "holds a value of type QDBusArgument");
    row("in depth", QVariantList{QVariantMap{{"k", QVariant()}}}, "holds a value of type none",
        "k");
    QVariant deep = 3;
    for (int i = 0; i < 40; ++i) {
        deep = QVariantList{deep};
    }
    row("too deep", deep, "is nested too deeply for a message, with a value of type QVariantList");
}

// The failure arrives like any other, and the connection still works.
void TestTaskInvokerCalls::unsendableMapsAreNotSent()
{
    QFETCH(QVariant, value);
    QFETCH(QString, innerKey);
    QFETCH(QString, problem);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    TaskInvoker::StartupInfo info;
    TaskInvoker::Hints hints;
    info.setParameters({"good"});
    info.insert("one", value);
    hints.insert("two", value);
    Events events;
    invoker.start("photos", info, {}, events.started());
    invoker.start("photos", {}, hints, events.started());
    invoker.start("photos", info, hints, events.started());
    invoker.start("photos", info, hints, nullptr);
    QCOMPARE(events.all(), QStringList());
    events.waitFor(3);
    const auto failure = [&](const char *key) {
        return QString("started 0: 1 \"Marshalling failed: \"%1\" %2\"")
            .arg(innerKey.isEmpty() ? key : innerKey, problem);
    };
    QCOMPARE(events.all(), (QStringList{failure("one"), failure("two"), failure("one")}));
    QCOMPARE(sessionCalls().size(), 0);
    // The caller's maps are unchanged.
    QCOMPARE(info.size(), 2);
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(4);
    QCOMPARE(events.all().constLast(), "started 1: 0");
}

void TestTaskInvokerCalls::simulatorRefusesWrongTasks()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start(QString(), {}, {}, events.started());
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    QCOMPARE(events.all(),
             (QStringList{"started 0: 2 \"There is no task \"\" of the type \"sync\"\"",
                          "stopped 8 \"The task \"photos\" is not running\""}));
}

OSTREL_TEST_MAIN(TestTaskInvokerCalls)

#include "tst_task_invoker_calls.moc"
