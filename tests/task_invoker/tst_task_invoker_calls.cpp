// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QUrl>
#include <QtDBus/QDBusArgument>

using Ostrel::Error;
using Ostrel::TaskInvoker;

// What start() and stop() send, and when their callbacks run.
class TestTaskInvokerCalls : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void startIsOneMessage();
    void stopIsOneMessage();
    void callsDoNotWaitForTheRegistration();
    void callsAreSentAfterAFailedRegistration();
    void callbacksComeFromTheEventLoop();
    void emptyCallbacksAreSkipped_data();
    void emptyCallbacksAreSkipped();
    void callbacksRunInTheOrderOfTheReplies();
    void callbacksMayCallAgain();
    void unsendableMapsAreNotSent_data();
    void unsendableMapsAreNotSent();

private:
    Faults starts() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
    Faults stops() const
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
    const Faults registration =
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

OSTREL_TEST_MAIN(TestTaskInvokerCalls)

#include "tst_task_invoker_calls.moc"
