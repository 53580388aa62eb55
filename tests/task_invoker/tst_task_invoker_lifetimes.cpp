// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"
#include "task_invokers.h"
#include "test_main.h"
#include "warnings.h"

#include <QtCore/QPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>

#include <memory>
#include <vector>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

const QString type = "sync";
const QString bothLists = "2 ActiveTasks a(sia{sv}) 1 a 1 0 AvailableTasks a(sa{sv}) 1 b 0";

// There is a session bus, but no system bus.
TaskInvoker *newInvoker(TaskInvoker::BusType bus = TaskInvoker::SessionBus)
{
    return new TaskInvoker(bus, type);
}

// Deletes the invoker in a slot of one of its signals.
void deleteIn(TaskInvoker *invoker, bool active)
{
    const auto end = [invoker] { delete invoker; };
    if (active) {
        QObject::connect(invoker, &TaskInvoker::activeTasksChanged, invoker, end);
    } else {
        QObject::connect(invoker, &TaskInvoker::availableTasksChanged, invoker, end);
    }
}

// Returns when everything that came before has been handled.
void otherRoundTrip()
{
    TaskInvoker other(TaskInvoker::SessionBus, "other");
    roundTrip(other);
}

} // namespace

// Invokers are deleted at every stage, and in everything that they call. The sanitizers see whether
// anything is leaked, or used after it is deleted.
class TestTaskInvokerLifetimes : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void deletedBeforeTheReply_data();
    void deletedBeforeTheReply();
    void deletedWithItsParent();
    void deletedWithoutABus();
    void deletedInAReadyCallback_data();
    void deletedInAReadyCallback();
    void deletedInAReadyCallbackThatRunsAtOnce();
    void deletedInASlot_data();
    void deletedInASlot();
    void deletedInTheCallbackOfACall_data();
    void deletedInTheCallbackOfACall();
    void deletedInAnEventLoopOfACallback();
    void deletedInAnEventLoopOfASlot();
    void callsInFlightAreDropped_data();
    void callsInFlightAreDropped();
    void callbacksAreCopied();
    void slotsMayStartAndStopAndAsk();
    void manyAreDeletedWhileRepliesArrive();
    void worksInAnotherThread();

private:
    MethodFaults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
    MethodFaults starts() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
};

void TestTaskInvokerLifetimes::deletedBeforeTheReply_data()
{
    QTest::addColumn<bool>("arrived");
    QTest::newRow("before the answer is sent") << false;
    QTest::newRow("before the answer is handled") << true;
}

void TestTaskInvokerLifetimes::deletedBeforeTheReply()
{
    QFETCH(bool, arrived);
    registration().holdNext(1);
    std::unique_ptr<TaskInvoker> invoker(newInvoker());
    Events events;
    events.watch(*invoker);
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    invoker->onReady([held](const Error &) { ++*held; });
    held.reset();
    registration().waitForHeld(1);
    if (arrived) {
        registration().release({0});
        invoker.reset();
    } else {
        invoker.reset();
        registration().release({0});
    }
    // The callbacks are gone with the invoker.
    QVERIFY(watched.expired());
    otherRoundTrip();
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerLifetimes::deletedWithItsParent()
{
    auto parent = std::make_unique<QObject>();
    QPointer<TaskInvoker> invoker = new TaskInvoker(TaskInvoker::SessionBus, type, parent.get());
    Events events;
    invoker->onReady(events.ready());
    invoker->start("photos", {}, {}, events.started());
    parent.reset();
    QVERIFY(invoker.isNull());
    otherRoundTrip();
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerLifetimes::deletedWithoutABus()
{
    const Warnings warnings;
    Events events;
    {
        const std::unique_ptr<TaskInvoker> invoker(newInvoker(TaskInvoker::SystemBus));
        invoker->onReady(events.ready());
        invoker->start("photos", {}, {}, events.started());
    }
    TaskInvoker other(TaskInvoker::SystemBus, "other");
    roundTrip(other);
    QCOMPARE(events.all(), QStringList());
    // The warning of the other invoker.
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerLifetimes::deletedInAReadyCallback_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("success") << QString();
    QTest::newRow("error") << "error";
    QTest::newRow("foreign path") << "/x";
    QTest::newRow("no bus") << "no bus";
}

void TestTaskInvokerLifetimes::deletedInAReadyCallback()
{
    QFETCH(QString, answer);
    if (answer == "error") {
        registration().failNext("a.b", "text");
    } else if (answer == "/x") {
        answerRegistration(m_bus, 2, QString("o %1 a{sv} 0").arg(answer));
    }
    const Warnings warnings;
    QPointer<TaskInvoker> invoker =
        newInvoker(answer == "no bus" ? TaskInvoker::SystemBus : TaskInvoker::SessionBus);
    Events events;
    invoker->onReady(events.ready("first"));
    const QString kept = "kept";
    invoker->onReady([invoker, kept, &events](const Error &error) {
        delete invoker.data();
        // The callback and its arguments are still valid.
        events.add(kept + ' ' + Ostrel::text(error));
    });
    invoker->onReady(events.ready("never"));
    invoker->start("photos", {}, {}, nullptr);
    events.waitFor(2);
    otherRoundTrip();
    QVERIFY(invoker.isNull());
    const QString outcome = answer.isEmpty() ? "0"
        : answer == "error"                  ? "1 \"text\""
        : answer == "no bus"                 ? "1 \"Not connected to D-Bus server\""
                                             : "1 \"Wrong TaskInvoker path\"";
    QCOMPARE(events.all(), (QStringList{"first " + outcome, "kept " + outcome}));
    QCOMPARE(warnings.texts().size(), answer.isEmpty() ? 0 : 1);
}

void TestTaskInvokerLifetimes::deletedInAReadyCallbackThatRunsAtOnce()
{
    registration().failNext("a.b", "text");
    const Warnings warnings;
    auto *invoker = newInvoker();
    waitUntilReady(*invoker);
    QString seen;
    invoker->onReady([invoker, &seen](const Error &error) {
        delete invoker;
        seen = Ostrel::text(error);
    });
    QCOMPARE(seen, "1 \"text\"");
}

void TestTaskInvokerLifetimes::deletedInASlot_data()
{
    QTest::addColumn<bool>("first");
    QTest::addColumn<bool>("active");
    QTest::newRow("activeTasksChanged, first lists") << true << true;
    QTest::newRow("availableTasksChanged, first lists") << true << false;
    QTest::newRow("activeTasksChanged, later lists") << false << true;
    QTest::newRow("availableTasksChanged, later lists") << false << false;
}

void TestTaskInvokerLifetimes::deletedInASlot()
{
    QFETCH(const bool, first);
    QFETCH(const bool, active);
    if (first) {
        answerRegistration(m_bus, type, bothLists);
    }
    QPointer<TaskInvoker> invoker = newInvoker();
    if (!first) {
        waitUntilReady(*invoker);
    }
    Events events;
    events.watch(*invoker);
    deleteIn(invoker, active);
    if (first) {
        invoker->onReady(events.ready("never"));
    } else {
        emitPropertiesChanged(m_bus, type, bothLists);
        emitPropertiesChanged(m_bus, type, bothLists);
    }
    waitUntil([&invoker] { return invoker.isNull(); });
    otherRoundTrip();
    QCOMPARE(events.all(),
             QStringList({"active [a 1 {}]", "available [b {}]"}).mid(0, active ? 1 : 2));
}

void TestTaskInvokerLifetimes::deletedInTheCallbackOfACall_data()
{
    QTest::addColumn<bool>("start");
    QTest::addColumn<bool>("failing");
    QTest::newRow("start succeeds") << true << false;
    QTest::newRow("start fails") << true << true;
    QTest::newRow("stop succeeds") << false << false;
    QTest::newRow("stop fails") << false << true;
}

void TestTaskInvokerLifetimes::deletedInTheCallbackOfACall()
{
    QFETCH(bool, start);
    QFETCH(bool, failing);
    auto *invoker = newInvoker();
    waitUntilReady(*invoker);
    Events events;
    const QString task = failing ? "none" : "photos";
    const QString kept = "kept";
    const auto end = [invoker, kept, &events](const Error &error) {
        delete invoker;
        events.add(QString("%1 %2").arg(kept).arg(error.code()));
    };
    if (start) {
        invoker->start(task, {}, {}, [end](int, const Error &error) { end(error); });
    } else {
        invoker->start(task, {}, {}, nullptr);
        invoker->stop(task, end);
    }
    // Its reply comes later.
    invoker->stop(task, events.stopped("never"));
    events.waitFor(1);
    otherRoundTrip();
    QCOMPARE(events.all(), QStringList(failing ? "kept 2" : "kept 0"));
    // The service received all the calls.
    QCOMPARE(
        m_simulator
            .desk("WaitForCalls", {OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop", start ? 1U : 2U})
            .type(),
        QDBusMessage::ReplyMessage);
}

void TestTaskInvokerLifetimes::deletedInAnEventLoopOfACallback()
{
    QPointer<TaskInvoker> invoker = newInvoker();
    Events events;
    invoker->onReady([&, invoker](const Error &) {
        events.add("begin");
        invoker->start("photos", {}, {}, [&, invoker](int, const Error &) {
            delete invoker.data();
            events.add("deleted");
        });
        events.waitFor(2);
        events.add("end");
    });
    invoker->onReady(events.ready("never"));
    events.waitFor(3);
    otherRoundTrip();
    QCOMPARE(events.all(), (QStringList{"begin", "deleted", "end"}));
}

void TestTaskInvokerLifetimes::deletedInAnEventLoopOfASlot()
{
    QPointer<TaskInvoker> invoker = newInvoker();
    Events events;
    connect(invoker, &TaskInvoker::activeTasksChanged, this, [&, invoker] {
        events.add("begin");
        invoker->stop("photos", [&, invoker](const Error &) {
            delete invoker.data();
            events.add("deleted");
        });
        events.waitFor(2);
        events.add("end");
    });
    connect(invoker, &TaskInvoker::availableTasksChanged, this, [&] { events.add("never"); });
    invoker->onReady(events.ready("never"));
    events.waitFor(3);
    otherRoundTrip();
    QCOMPARE(events.all(), (QStringList{"begin", "deleted", "end"}));
}

void TestTaskInvokerLifetimes::callsInFlightAreDropped_data()
{
    QTest::addColumn<bool>("arrived");
    QTest::newRow("before the answers are sent") << false;
    QTest::newRow("before the answers are handled") << true;
}

void TestTaskInvokerLifetimes::callsInFlightAreDropped()
{
    QFETCH(bool, arrived);
    std::unique_ptr<TaskInvoker> invoker(newInvoker());
    waitUntilReady(*invoker);
    starts().holdNext(2);
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    for (int i = 0; i < 2; ++i) {
        invoker->start("photos", {}, {}, [held](int, const Error &) { ++*held; });
    }
    // A failure that is already known is dropped as well.
    TaskInvoker::Hints unsendable;
    unsendable.insert("k", QVariant());
    invoker->start("photos", {}, unsendable, [held](int, const Error &) { ++*held; });
    invoker->stop("none", [held](const Error &) { ++*held; });
    starts().waitForHeld(2);
    // The watchers belong to the invoker.
    QCOMPARE(invoker->children().size(), 4);
    if (arrived) {
        starts().release({1, 0});
    }
    QCOMPARE(*held, 0);
    held.reset();
    invoker.reset();
    QVERIFY(watched.expired());
    if (!arrived) {
        starts().release({1, 0});
    }
    otherRoundTrip();
}

void TestTaskInvokerLifetimes::callbacksAreCopied()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    auto started = events.started();
    auto stopped = events.stopped();
    invoker.start("photos", {}, {}, started);
    invoker.stop("photos", stopped);
    started = nullptr;
    stopped = nullptr;
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"started 1: 0", "stopped 0"}));
}

void TestTaskInvokerLifetimes::slotsMayStartAndStopAndAsk()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    bool first = true;
    connect(&invoker, &TaskInvoker::activeTasksChanged, this, [&] {
        events.add(QString("active %1").arg(invoker.activeTasks().size()));
        if (first) {
            first = false;
            invoker.onReady(events.ready());
            invoker.start("photos", {}, {}, events.started());
            invoker.stop("photos", events.stopped());
        }
    });
    events.waitFor(6);
    QCOMPARE(
        events.sorted(),
        (QStringList{"active 0", "active 0", "active 1", "ready 0", "started 1: 0", "stopped 0"}));
}

void TestTaskInvokerLifetimes::manyAreDeletedWhileRepliesArrive()
{
    int callbacks = 0;
    for (int round = 0; round < 100; ++round) {
        std::vector<std::unique_ptr<TaskInvoker>> invokers;
        for (int i = 0; i < 3; ++i) {
            invokers.emplace_back(newInvoker());
            invokers.back()->onReady([&callbacks](const Error &) { ++callbacks; });
            invokers.back()->start("photos", {}, {},
                                   [&callbacks](int, const Error &) { ++callbacks; });
        }
        if (round % 2 == 0) {
            QCoreApplication::processEvents();
        }
    }
    const int before = callbacks;
    QVERIFY(before <= 600);
    otherRoundTrip();
    QCOMPARE(callbacks, before);
}

// An invoker may live in any thread that runs an event loop.
void TestTaskInvokerLifetimes::worksInAnotherThread()
{
    QThread thread;
    thread.start();
    QObject context;
    context.moveToThread(&thread);
    QSemaphore done;
    std::vector<QThread *> ranIn;
    QStringList seen;
    const auto saw = [&](const QString &event) {
        ranIn.push_back(QThread::currentThread());
        seen.append(event);
        done.release();
    };
    TaskInvoker *invoker = nullptr;
    QMetaObject::invokeMethod(&context, [&] {
        invoker = newInvoker();
        // The invoker is deleted before this function returns.
        connect(invoker, &TaskInvoker::activeTasksChanged, invoker,
                [&saw] { // clazy:exclude=lambda-in-connect
                    saw("active");
                });
        invoker->onReady([&](const Error &error) { saw(Ostrel::text(error)); });
        invoker->start("photos", {}, {},
                       [&](int number, const Error &) { saw(QString::number(number)); });
    });
    done.acquire(4);
    QMetaObject::invokeMethod(
        &context, [&] { delete invoker; }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
    seen.sort();
    QCOMPARE(seen, (QStringList{"0", "1", "active", "active"}));
    QCOMPARE(ranIn, std::vector<QThread *>(4, &thread));
}

OSTREL_TEST_MAIN(TestTaskInvokerLifetimes)

#include "tst_task_invoker_lifetimes.moc"
