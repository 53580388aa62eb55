// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QPointer>

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

} // namespace

// Slots and callbacks may delete the invoker that runs them. The sanitizers see whether anything is
// used after it is deleted.
class TestTaskInvokerDeletion : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void invokerMayBeDeletedInAReadyCallback_data();
    void invokerMayBeDeletedInAReadyCallback();
    void invokerMayBeDeletedInAReadyCallbackThatRunsAtOnce();
    void invokerMayBeDeletedInASlot_data();
    void invokerMayBeDeletedInASlot();
    void invokerMayBeDeletedInTheCallbackOfACall_data();
    void invokerMayBeDeletedInTheCallbackOfACall();
    void invokerMayBeDeletedWhileACallbackRunsAnEventLoop();
    void invokerMayBeDeletedWhileASlotRunsAnEventLoop();

private:
    Faults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
};

void TestTaskInvokerDeletion::invokerMayBeDeletedInAReadyCallback_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("success") << QString();
    QTest::newRow("error") << "error";
    QTest::newRow("foreign path") << "/x";
    QTest::newRow("no bus") << "no bus";
}

void TestTaskInvokerDeletion::invokerMayBeDeletedInAReadyCallback()
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
    roundTrip();
    QVERIFY(invoker.isNull());
    const QString outcome = answer.isEmpty() ? "0"
        : answer == "error"                  ? "1 \"text\""
        : answer == "no bus"                 ? "1 \"Not connected to D-Bus server\""
                                             : "1 \"Wrong TaskInvoker path\"";
    QCOMPARE(events.all(), (QStringList{"first " + outcome, "kept " + outcome}));
    QCOMPARE(warnings.texts().size(), answer.isEmpty() ? 0 : 1);
}

void TestTaskInvokerDeletion::invokerMayBeDeletedInAReadyCallbackThatRunsAtOnce()
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

void TestTaskInvokerDeletion::invokerMayBeDeletedInASlot_data()
{
    QTest::addColumn<bool>("first");
    QTest::addColumn<bool>("active");
    QTest::newRow("activeTasksChanged, first lists") << true << true;
    QTest::newRow("availableTasksChanged, first lists") << true << false;
    QTest::newRow("activeTasksChanged, later lists") << false << true;
    QTest::newRow("availableTasksChanged, later lists") << false << false;
}

void TestTaskInvokerDeletion::invokerMayBeDeletedInASlot()
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
    roundTrip();
    QCOMPARE(events.all(),
             QStringList({"active [a 1 {}]", "available [b {}]"}).mid(0, active ? 1 : 2));
}

void TestTaskInvokerDeletion::invokerMayBeDeletedInTheCallbackOfACall_data()
{
    QTest::addColumn<bool>("start");
    QTest::addColumn<bool>("failing");
    QTest::newRow("start succeeds") << true << false;
    QTest::newRow("start fails") << true << true;
    QTest::newRow("stop succeeds") << false << false;
    QTest::newRow("stop fails") << false << true;
}

void TestTaskInvokerDeletion::invokerMayBeDeletedInTheCallbackOfACall()
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
    roundTrip();
    QCOMPARE(events.all(), QStringList(failing ? "kept 2" : "kept 0"));
    // The service received all the calls.
    QCOMPARE(
        m_simulator
            .desk("WaitForCalls", {OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop", start ? 1U : 2U})
            .type(),
        QDBusMessage::ReplyMessage);
}

void TestTaskInvokerDeletion::invokerMayBeDeletedWhileACallbackRunsAnEventLoop()
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
    roundTrip();
    QCOMPARE(events.all(), (QStringList{"begin", "deleted", "end"}));
}

void TestTaskInvokerDeletion::invokerMayBeDeletedWhileASlotRunsAnEventLoop()
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
    roundTrip();
    QCOMPARE(events.all(), (QStringList{"begin", "deleted", "end"}));
}

OSTREL_TEST_MAIN(TestTaskInvokerDeletion)

#include "tst_task_invoker_deletion.moc"
