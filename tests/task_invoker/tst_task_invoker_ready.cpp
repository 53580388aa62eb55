// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <memory>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

const QString oneTask = "2 AvailableTasks a(sa{sv}) 1 a 0 ActiveTasks a(sia{sv}) 1 b 7 0";

} // namespace

// Each ready callback runs once, whatever the outcome of the registration.
class TestTaskInvokerReady : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void callbacksRunInOrderAfterTheSignals();
    void laterCallbacksRunAtOnce_data();
    void laterCallbacksRunAtOnce();
    void callbackIsCopied();
    void callbacksAreKeptUntilTheEnd();
    void callbacksMayAddCallbacks();
    void callbacksOfAFailureMayAddCallbacks();
    void callbacksMayRunAnEventLoop();
    void slotsOfTheFirstListsMayAddCallbacks();
    void furtherValuesInAReplyAreAccepted();
    void emptyCallbackThrowsWhenItIsItsTurn_data() { outcomes(); }
    void emptyCallbackThrowsWhenItIsItsTurn();
    void emptyCallbackThrowsAtOnceWhenReady_data() { outcomes(); }
    void emptyCallbackThrowsAtOnceWhenReady();

private:
    // Adds a row for each outcome of the registration.
    static void outcomes();
    // Makes the service answer with this outcome.
    void prepare(const QString &outcome) const;

    Faults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
};

void TestTaskInvokerReady::callbacksRunInOrderAfterTheSignals()
{
    answerRegistration(m_bus, "sync", oneTask);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady(events.ready("first"));
    events.watch(invoker);
    invoker.onReady(events.ready("second"));
    invoker.onReady(events.ready("third"));
    QCOMPARE(events.all(), QStringList());
    events.waitFor(5);
    roundTrip(invoker);
    QCOMPARE(
        events.all(),
        (QStringList{"active [b 7 {}]", "available [a {}]", "first 0", "second 0", "third 0"}));
}

void TestTaskInvokerReady::laterCallbacksRunAtOnce_data()
{
    QTest::addColumn<bool>("failing");
    QTest::newRow("after a success") << false;
    QTest::newRow("after a failure") << true;
}

void TestTaskInvokerReady::laterCallbacksRunAtOnce()
{
    QFETCH(bool, failing);
    if (failing) {
        registration().failNext("a.b", "text");
    }
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady(events.ready("queued"));
    events.waitFor(1);
    for (const char *const label : {"a", "b", "c"}) {
        invoker.onReady(events.ready(label));
        events.add("returned");
    }
    roundTrip(invoker);
    const QString outcome = failing ? " 1 \"text\"" : " 0";
    const QString returned = "returned";
    QCOMPARE(events.all(),
             (QStringList{"queued" + outcome, "a" + outcome, returned, "b" + outcome, returned,
                          "c" + outcome, returned}));
    QCOMPARE(warnings.texts().size(), failing ? 1 : 0);
}

void TestTaskInvokerReady::callbackIsCopied()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    auto callback = events.ready();
    invoker.onReady(callback);
    callback = nullptr;
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("ready 0"));
}

// With all that they hold, if they were given before the outcome was known.
void TestTaskInvokerReady::callbacksAreKeptUntilTheEnd()
{
    auto early = std::make_shared<int>(0);
    auto late = std::make_shared<int>(0);
    const std::weak_ptr<int> watchedEarly = early;
    const std::weak_ptr<int> watchedLate = late;
    {
        TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
        invoker.onReady([early](const Error &) { ++*early; });
        waitUntilReady(invoker);
        invoker.onReady([late](const Error &) { ++*late; });
        QCOMPARE(*early, 1);
        QCOMPARE(*late, 1);
        early.reset();
        late.reset();
        roundTrip(invoker);
        QVERIFY(!watchedEarly.expired());
        QVERIFY(watchedLate.expired());
    }
    QVERIFY(watchedEarly.expired());
}

void TestTaskInvokerReady::callbacksMayAddCallbacks()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady([&](const Error &) {
        events.add("begin");
        invoker.onReady(events.ready("inner"));
        events.add("end");
    });
    invoker.onReady(events.ready("next"));
    events.waitFor(4);
    roundTrip(invoker);
    QCOMPARE(events.all(), (QStringList{"begin", "inner 0", "end", "next 0"}));
}

void TestTaskInvokerReady::callbacksOfAFailureMayAddCallbacks()
{
    prepare("3 \"no\"");
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady([&](const Error &) { invoker.onReady(events.ready("inner")); });
    invoker.onReady(events.ready("next"));
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"inner 3 \"no\"", "next 3 \"no\""}));
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerReady::callbacksMayRunAnEventLoop()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.onReady([&](const Error &) {
        events.add("begin");
        invoker.start("photos", {}, {}, events.started());
        events.waitFor(2);
        events.add("end");
    });
    invoker.onReady(events.ready("next"));
    events.waitFor(4);
    roundTrip(invoker);
    QCOMPARE(events.all(), (QStringList{"begin", "started 1: 0", "end", "next 0"}));
}

void TestTaskInvokerReady::slotsOfTheFirstListsMayAddCallbacks()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    connect(&invoker, &TaskInvoker::availableTasksChanged, this, [&] {
        invoker.onReady(events.ready("from the slot"));
        events.add("slot");
    });
    invoker.onReady(events.ready("first"));
    events.waitFor(3);
    QCOMPARE(events.all(), (QStringList{"slot", "first 0", "from the slot 0"}));
}

void TestTaskInvokerReady::furtherValuesInAReplyAreAccepted()
{
    answerRegistration(
        m_bus, 4, QString("o %1 a{sv} %2 s more a(si) 1 x 3").arg(sessionPath("sync"), oneTask));
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QCOMPARE(text(waitUntilReady(invoker)), "0");
    QCOMPARE(text(invoker.availableTasks()), "a {}");
    QCOMPARE(text(invoker.activeTasks()), "b 7 {}");
}

void TestTaskInvokerReady::outcomes()
{
    QTest::addColumn<QString>("outcome");
    QTest::newRow("success") << "0";
    QTest::newRow("failure") << "3 \"no\"";
}

void TestTaskInvokerReady::prepare(const QString &outcome) const
{
    if (outcome != "0") {
        registration().failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
    }
}

void TestTaskInvokerReady::emptyCallbackThrowsWhenItIsItsTurn()
{
#ifdef __ARM_EABI__
    QSKIP("no exception gets through GLib's event loop on 32-bit ARM");
#endif
    QFETCH(QString, outcome);
    prepare(outcome);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready("first"));
    invoker.onReady(nullptr);
    invoker.onReady(events.ready("never"));
    {
        // Qt warns of exceptions in event handlers; the library logs nothing.
        const Warnings warnings;
        const auto runLoop = [] { waitUntil([] { return false; }); };
        QVERIFY_EXCEPTION_THROWN(runLoop(), std::bad_function_call);
    }

    // The event loop and the invoker, which is ready, still work.
    roundTrip(invoker);
    invoker.onReady(events.ready("later"));
    QStringList told = events.all();
    told = told.mid(told.size() - 2);
    QCOMPARE(told, (QStringList{"first " + outcome, "later " + outcome}));
}

void TestTaskInvokerReady::emptyCallbackThrowsAtOnceWhenReady()
{
    QFETCH(QString, outcome);
    prepare(outcome);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QCOMPARE(text(waitUntilReady(invoker)), outcome);
    QVERIFY_EXCEPTION_THROWN(invoker.onReady(nullptr), std::bad_function_call);
    roundTrip(invoker);
}

OSTREL_TEST_MAIN(TestTaskInvokerReady)

#include "tst_task_invoker_ready.moc"
