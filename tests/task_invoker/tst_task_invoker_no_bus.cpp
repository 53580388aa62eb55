// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "task_invokers.h"
#include "test_main.h"
#include "warnings.h"

#include <memory>

using Ostrel::TaskInvoker;

namespace
{

const QString disconnected = QStringLiteral("1 \"Not connected to D-Bus server\"");

} // namespace

// A process that never reaches a bus.
class TestTaskInvokerNoBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingFailsOnce_data();
    void everythingFailsOnce();
    void unsendableMapsAreRefusedWithoutABus();
    void invalidTaskTypesFailWithoutABus();
    void deletedInvokerIsNotCalled();
    void invokerMayBeDeletedInACallback();
};

void TestTaskInvokerNoBus::everythingFailsOnce_data()
{
    QTest::addColumn<quint32>("bus");
    QTest::newRow("session bus") << quint32(TaskInvoker::SessionBus);
    QTest::newRow("system bus") << quint32(TaskInvoker::SystemBus);
}

void TestTaskInvokerNoBus::everythingFailsOnce()
{
    QFETCH(quint32, bus);
    const Warnings warnings;
    TaskInvoker invoker(static_cast<TaskInvoker::BusType>(bus), QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready(QStringLiteral("first")));
    invoker.onReady(events.ready(QStringLiteral("second")));
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    invoker.stop(QStringLiteral("photos"), events.stopped());
    invoker.stop(QStringLiteral("photos"), nullptr);
    // The failure is known at once, but comes from the event loop like any other.
    QCOMPARE(events.all(), QStringList());
    QCOMPARE(warnings.texts(), QStringList());
    events.waitFor(4);
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("first ") + disconnected,
                          QStringLiteral("second ") + disconnected,
                          QStringLiteral("started 0: ") + disconnected,
                          QStringLiteral("stopped ") + disconnected}));
    QCOMPARE(warnings.texts(),
             QStringList(QStringLiteral("TaskInvoker registration failed: "
                                        "QDBusError(\"org.freedesktop.DBus.Error.Disconnected\", "
                                        "\"Not connected to D-Bus server\")")));
    invoker.onReady(events.ready(QStringLiteral("third")));
    QCOMPARE(events.all().constLast(), QStringLiteral("third ") + disconnected);
}

void TestTaskInvokerNoBus::unsendableMapsAreRefusedWithoutABus()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    TaskInvoker::Hints hints;
    hints.insert(QStringLiteral("k"), QVariant());
    Events events;
    invoker.start(QStringLiteral("photos"), {}, hints, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(),
             QStringList(QStringLiteral("started 0: 1 \"Marshalling failed: \"k\" holds a value of "
                                        "type none\"")));
}

void TestTaskInvokerNoBus::invalidTaskTypesFailWithoutABus()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("a-b"));
    Events events;
    invoker.onReady(events.ready());
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(2);
    QCOMPARE(events.all().at(0), QStringLiteral("ready ") + disconnected);
    QVERIFY(events.all().at(1).startsWith(QStringLiteral("started 0: 1 ")));
}

void TestTaskInvokerNoBus::deletedInvokerIsNotCalled()
{
    Events events;
    {
        TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
        invoker.onReady(events.ready());
        invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    }
    TaskInvoker other(TaskInvoker::SessionBus, QStringLiteral("other"));
    roundTrip(other);
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerNoBus::invokerMayBeDeletedInACallback()
{
    auto *invoker = new TaskInvoker(TaskInvoker::SystemBus, QStringLiteral("sync"));
    Events events;
    invoker->onReady([&, invoker](const Ostrel::Error &error) {
        delete invoker;
        events.add(Ostrel::text(error));
    });
    invoker->onReady(events.ready());
    invoker->start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(1);
    TaskInvoker other(TaskInvoker::SystemBus, QStringLiteral("other"));
    roundTrip(other);
    QCOMPARE(events.all(), QStringList(disconnected));
}

OSTREL_TEST_MAIN(TestTaskInvokerNoBus)

#include "tst_task_invoker_no_bus.moc"
