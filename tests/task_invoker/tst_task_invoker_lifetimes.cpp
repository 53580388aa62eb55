// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

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

// There is a session bus, but no system bus.
TaskInvoker *newInvoker(TaskInvoker::BusType bus = TaskInvoker::SessionBus)
{
    return new TaskInvoker(bus, type);
}

} // namespace

// Invokers are deleted at every stage, and live in any thread. The sanitizers see whether anything
// is leaked, or used after it is deleted.
class TestTaskInvokerLifetimes : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void deletedInvokerDropsItsReadyCallbacks_data();
    void deletedInvokerDropsItsReadyCallbacks();
    void invokerIsDeletedWithItsParent();
    void invokerMayBeDeletedWithoutABus();
    void callsInFlightAreDropped_data();
    void callsInFlightAreDropped();
    void callbacksAreCopied();
    void slotsMayMakeRequests();
    void invokersMayBeDeletedWhileRepliesArrive();
    void invokerWorksInAnyThread();

private:
    Faults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
    Faults starts() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
};

void TestTaskInvokerLifetimes::deletedInvokerDropsItsReadyCallbacks_data()
{
    QTest::addColumn<bool>("arrived");
    QTest::newRow("before the answer is sent") << false;
    QTest::newRow("before the answer is handled") << true;
}

void TestTaskInvokerLifetimes::deletedInvokerDropsItsReadyCallbacks()
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
    roundTrip();
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerLifetimes::invokerIsDeletedWithItsParent()
{
    auto parent = std::make_unique<QObject>();
    QPointer<TaskInvoker> invoker = new TaskInvoker(TaskInvoker::SessionBus, type, parent.get());
    Events events;
    invoker->onReady(events.ready());
    invoker->start("photos", {}, {}, events.started());
    parent.reset();
    QVERIFY(invoker.isNull());
    roundTrip();
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerLifetimes::invokerMayBeDeletedWithoutABus()
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
    // No event loop runs here.
    m_simulator.desk("WaitForHeld", {OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start", 2U});
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
    roundTrip();
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

void TestTaskInvokerLifetimes::slotsMayMakeRequests()
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

void TestTaskInvokerLifetimes::invokersMayBeDeletedWhileRepliesArrive()
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
    roundTrip();
    QCOMPARE(callbacks, before);
}

// An invoker may live in any thread that runs an event loop.
void TestTaskInvokerLifetimes::invokerWorksInAnyThread()
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
