// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "memory_figures.h"
#include "quiet_test.h"
#include "task_invokers.h"
#include "test_bus.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

using Ostrel::Error;
using Ostrel::TaskInvoker;

// Very many invokers, calls, tasks and callbacks: nothing is lost, mixed up or reported twice.
class TestTaskInvokerLoad : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void thousandInvokersBecomeReady();
    void tenThousandStartsInFlightAreAnswered();
    void tenThousandTasksAreListed();
    void tenThousandReadyCallbacksRun();
    void thousandChangesArrive();
    void serviceEndsWithManyCallsInFlight();
};

void TestTaskInvokerLoad::thousandInvokersBecomeReady()
{
    const Warnings warnings;
    constexpr int count = 1000;
    MemoryFigures figures;
    std::vector<std::unique_ptr<TaskInvoker>> invokers;
    std::vector<int> ready(count, 0);
    std::vector<int> changes(count, 0);
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        invokers.push_back(
            std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, QString("t%1").arg(i)));
        const auto number = static_cast<std::size_t>(i);
        invokers.back()->onReady([&, number](const Error &error) {
            ++ready.at(number);
            failures += error ? 1 : 0;
        });
        connect(invokers.back().get(), &TaskInvoker::availableTasksChanged, this,
                [&, number] { ++changes.at(number); });
    }
    const auto all = [](const std::vector<int> &counts) {
        return std::accumulate(counts.cbegin(), counts.cend(), 0);
    };
    waitUntil([&] { return all(ready) >= count; });
    // Each receives the announcements of its own type only.
    emitPropertiesChanged(m_bus, "t500", "1 AvailableTasks a(sa{sv}) 1 a 0");
    waitUntil([&] { return changes.at(500) == 2; });
    roundTrip(*invokers.at(999));
    QCOMPARE(all(changes), count + 1);
    QCOMPARE(ready, std::vector<int>(count, 1));
    QCOMPARE(failures, 0);
    QCOMPARE(warnings.texts(), QStringList());
    invokers.clear();
    figures.print("1,000 invokers");
}

void TestTaskInvokerLoad::tenThousandStartsInFlightAreAnswered()
{
    constexpr int count = 10000;
    const Faults starts = m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    // The task runs already, so the simulator answers each call at once.
    int started = 0;
    invoker.start("photos", {}, {}, [&](int number, const Error &) { started = number; });
    waitUntil([&] { return started == 1; });
    MemoryFigures figures;
    starts.holdNext(count);
    std::vector<int> callbacks(count, 0);
    QVector<int> order;
    int failures = 0;
    for (int i = 0; i < count; ++i) {
        invoker.start("photos", {}, {}, [&, i](int number, const Error &error) {
            ++callbacks.at(static_cast<std::size_t>(i));
            order.append(i);
            failures += number == 0 && error.code() == Error::ApplicationAlreadyRunning ? 1 : 0;
        });
    }
    starts.waitForHeld(count);
    QCOMPARE(order.size(), 0);
    // The last call is answered first.
    QVector<int> reversed;
    for (uint i = count; i > 0; --i) {
        reversed.append(int(i) - 1);
    }
    starts.release(reversed);
    waitUntil([&] { return order.size() >= count; });
    roundTrip(invoker);
    QCOMPARE(callbacks, std::vector<int>(count, 1));
    QVERIFY(std::is_sorted(order.crbegin(), order.crend()));
    QCOMPARE(failures, count);
    figures.print("10,000 starts in flight");
}

void TestTaskInvokerLoad::tenThousandTasksAreListed()
{
    constexpr int count = 10000;
    QStringList active;
    QStringList available;
    for (int i = 0; i < count; ++i) {
        active.append(QString("t%1 %1 0").arg(i));
        available.append(QString("t%1 0").arg(i));
    }
    const QString blank = " ";
    MemoryFigures figures;
    std::optional<TaskInvoker> owned;
    TaskInvoker &invoker = owned.emplace(TaskInvoker::SessionBus, "other");
    waitUntilReady(invoker);
    emitPropertiesChanged(
        m_bus, "other",
        QString("2 ActiveTasks a(sia{sv}) %1 %2 AvailableTasks "
                "a(sa{sv}) %1 %3")
            .arg(QString::number(count), active.join(blank), available.join(blank)));
    waitUntil([&] { return invoker.availableTasks().size() == count; });
    QCOMPARE(invoker.activeTasks().size(), count);
    for (int i = 0; i < count; ++i) {
        QCOMPARE(invoker.activeTasks().at(i).name, QString("t%1").arg(i));
        QCOMPARE(invoker.activeTasks().at(i).pid, i);
        QCOMPARE(invoker.availableTasks().at(i).name, QString("t%1").arg(i));
    }
    owned.reset();
    figures.print("10,000 active and 10,000 available tasks");
}

void TestTaskInvokerLoad::tenThousandReadyCallbacksRun()
{
    constexpr int count = 10000;
    MemoryFigures figures;
    std::optional<TaskInvoker> owned;
    TaskInvoker &invoker = owned.emplace(TaskInvoker::SessionBus, "sync");
    QVector<int> order;
    for (int i = 0; i < count; ++i) {
        invoker.onReady([&order, i](const Error &) { order.append(i); });
    }
    waitUntil([&] { return order.size() >= count; });
    roundTrip(invoker);
    QCOMPARE(order.size(), count);
    QVERIFY(std::is_sorted(order.cbegin(), order.cend()));
    owned.reset();
    figures.print("10,000 ready callbacks");
}

void TestTaskInvokerLoad::thousandChangesArrive()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "other");
    waitUntilReady(invoker);
    MemoryFigures figures;
    int changes = 0;
    connect(&invoker, &TaskInvoker::activeTasksChanged, this, [&changes] { ++changes; });
    busctlDesk(m_bus, "EmitMany",
               QStringList{"ossavu", sessionPath("other"), "org.freedesktop.DBus.Properties",
                           "PropertiesChanged", "3"}
                   + wordsOf("s x a{sv} 1 ActiveTasks a(sia{sv}) 2 a 1 0 b 2 0 as 0 1000"));
    waitUntil([&] { return changes >= 1000; });
    roundTrip(invoker);
    QCOMPARE(changes, 1000);
    QCOMPARE(text(invoker.activeTasks()), "a 1 {}; b 2 {}");
    figures.print("1,000 announcements");
}

void TestTaskInvokerLoad::serviceEndsWithManyCallsInFlight()
{
    constexpr int held = 20;
    const Faults starts = m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    starts.holdNext(held);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    Events events;
    for (int i = 0; i < held; ++i) {
        invoker.start("photos", {}, {}, events.started());
    }
    starts.waitForHeld(held);
    const QString available = text(invoker.availableTasks());
    QCOMPARE(m_simulator.end(), 0);
    events.waitFor(held);
    roundTrip(invoker);
    QCOMPARE(events.all().count("started 0: 1 \"" + endedServiceText() + '"'), held);
    QCOMPARE(events.size(), held);
    // The list stays until the next service announces another one.
    QCOMPARE(text(invoker.availableTasks()), available);
    m_simulator.start();
    roundTrip(invoker);
    QCOMPARE(text(invoker.availableTasks()), available);
}

OSTREL_TEST_MAIN(TestTaskInvokerLoad)

#include "tst_task_invoker_load.moc"
