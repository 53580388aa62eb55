// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <optional>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

const QString type = "sync";

} // namespace

// A process has invokers on both buses, and each bus has its own service.
class TestTaskInvokerBuses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void busTypeSelectsTheBus_data();
    void busTypeSelectsTheBus();
    void busesAreKeptApart();
    void endOfOneBusLeavesTheOther();

private:
    std::optional<PrivateBus> m_systemBus;
    std::optional<PrivateBus> m_sessionBus;
    std::optional<Simulator> m_systemSimulator;
    std::optional<Simulator> m_sessionSimulator;
};

void TestTaskInvokerBuses::initTestCase()
{
    m_systemBus.emplace();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_systemBus->address().toUtf8());
    m_sessionBus.emplace();
    m_systemSimulator.emplace(*m_systemBus);
    m_systemSimulator->start();
    m_sessionSimulator.emplace(*m_sessionBus);
    m_sessionSimulator->start();
}

void TestTaskInvokerBuses::busTypeSelectsTheBus_data()
{
    QTest::addColumn<quint32>("number");
    QTest::addColumn<bool>("session");
    QTest::newRow("0") << 0U << true;
    QTest::newRow("1") << 1U << false;
    QTest::newRow("2") << 2U << false;
    QTest::newRow("256") << 256U << false;
    QTest::newRow("all bits") << 4294967295U << false;
}

void TestTaskInvokerBuses::busTypeSelectsTheBus()
{
    QFETCH(quint32, number);
    QFETCH(bool, session);
    m_systemSimulator->reset();
    m_sessionSimulator->reset();
    TaskInvoker invoker(static_cast<TaskInvoker::BusType>(number), type);
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), "0");
    roundTrip(invoker);
    QCOMPARE(m_sessionSimulator->calls().size(), session ? 2 : 0);
    QCOMPARE(m_systemSimulator->calls().size(), session ? 0 : 2);
}

void TestTaskInvokerBuses::busesAreKeptApart()
{
    m_systemSimulator->reset();
    m_sessionSimulator->reset();
    TaskInvoker onSession(TaskInvoker::SessionBus, type);
    TaskInvoker onSystem(TaskInvoker::SystemBus, type);
    waitUntilReady(onSession);
    waitUntilReady(onSystem);
    Events sessionEvents;
    Events systemEvents;
    sessionEvents.watch(onSession);
    systemEvents.watch(onSystem);
    onSystem.start("photos", {}, {}, systemEvents.started());
    systemEvents.waitFor(2);
    roundTrip(onSession);
    QCOMPARE(sessionEvents.all(), QStringList());
    onSession.start("contacts", {}, {}, sessionEvents.started());
    sessionEvents.waitFor(2);
    roundTrip(onSystem);
    QCOMPARE(systemEvents.sortedWithoutPids(),
             (QStringList{"active [photos PID {}]", "started 1: 0"}));
    QCOMPARE(sessionEvents.sortedWithoutPids(),
             (QStringList{"active [contacts PID {}]", "started 1: 0"}));
}

// Its calls fail, those in flight and later ones. The other bus works on.
void TestTaskInvokerBuses::endOfOneBusLeavesTheOther()
{
    m_systemSimulator->reset();
    m_sessionSimulator->reset();
    const Warnings warnings;
    TaskInvoker onSession(TaskInvoker::SessionBus, type);
    TaskInvoker onSystem(TaskInvoker::SystemBus, type);
    waitUntilReady(onSession);
    waitUntilReady(onSystem);
    const Faults starts = m_systemSimulator->faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    const Faults registration =
        m_systemSimulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    starts.holdNext(1);
    registration.holdNext(1);
    QCOMPARE(warnings.texts(), QStringList());

    Events events;
    onSystem.start("photos", {}, {}, [&](int number, const Error &error) {
        events.add(QString("started %1 %2").arg(number).arg(error.code()));
    });
    TaskInvoker waiting(TaskInvoker::SystemBus, type);
    waiting.onReady([&](const Error &error) { events.add(QString("ready %1").arg(error.code())); });
    starts.waitForHeld(1);
    registration.waitForHeld(1);
    m_systemBus->end();
    events.waitFor(2);
    QVERIFY(events.all().contains("started 0 1"));
    QVERIFY(events.all().contains("ready 1"));

    events.clear();
    onSystem.start("photos", {}, {}, events.started());
    onSystem.stop("photos", events.stopped());
    TaskInvoker late(TaskInvoker::SystemBus, type);
    late.onReady(events.ready());
    QCOMPARE(events.all(), QStringList());
    events.waitFor(3);
    const QString disconnected = "1 \"Not connected to D-Bus server\"";
    QCOMPARE(events.all(),
             (QStringList{"started 0: " + disconnected, "stopped " + disconnected,
                          "ready " + disconnected}));
    QCOMPARE(warnings.texts().size(), 2);

    events.clear();
    onSession.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("started 1: 0"));
}

OSTREL_TEST_MAIN(TestTaskInvokerBuses)

#include "tst_task_invoker_buses.moc"
