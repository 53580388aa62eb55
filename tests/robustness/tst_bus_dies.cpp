// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "kit.h"
#include "outcomes.h"
#include "task_invokers.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <memory>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

// The bus of a process ends. The connection never comes back.
class TestBusDies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsInFlightAndLaterOnesFail();
};

void TestBusDies::callsInFlightAndLaterOnesFail()
{
    PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    QCOMPARE(reportWindow().state, 1U);

    auto control = std::make_unique<Control>();
    simulator.desk("ListNext", {2U, 1U});
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    QVERIFY(!control->getRunningApplications(applications, services));
    const QString listed = text(applications) + text(services);
    QCOMPARE(applications.size() + services.size(), 3);

    Events events;
    auto invoker = std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, "photos");
    QVERIFY(!waitUntilReady(*invoker));
    const QString available = text(invoker->availableTasks());
    simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop").holdNext(1);
    invoker->stop("x", events.stopped("held"));
    simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop").waitForHeld(1);

    simulator.faults(Method::UpdateWindowStatus).holdNext(2);
    WindowManagement windows;
    Outcomes outcomes;
    windows.updateWindowStatus("w", 1, 2, 3, this, outcomes.callback());
    windows.updateWindowStatus("w", 1, 2, 3, this, outcomes.callback());
    simulator.faults(Method::UpdateWindowStatus).waitForHeld(2);
    bus.end();
    outcomes.waitFor(2);

    windows.updateWindowStatus("w", 1, 2, 3, this, outcomes.callback());
    outcomes.waitFor(3);
    QCOMPARE(outcomes.at(2).error.message(), "Not connected to D-Bus server");
    reportWindow();
    QCOMPARE(outcomes.size(), 3);
    const QString disconnected = "1 \"Not connected to D-Bus server\"";
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(text(control->start("a.b").error), disconnected);
        QCOMPARE(text(control->startDebug("a.b", {}).error), disconnected);
        QCOMPARE(text(control->terminate("a.b")), disconnected);
        QCOMPARE(text(control->getRunningApplications(applications, services)), disconnected);
        // Then a client that is created without a bus.
        control = std::make_unique<Control>();
    }
    QCOMPARE(text(applications) + text(services), listed);

    events.waitFor(1);
    QVERIFY(events.all().at(0).startsWith("held 1 "));
    events.clear();
    invoker->start("x", {}, {}, events.started());
    invoker->stop("x", events.stopped());
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"started 0: " + disconnected, "stopped " + disconnected}));
    QCOMPARE(text(invoker->availableTasks()), available);
    // Deleting them logs nothing, either.
    control.reset();
    invoker.reset();
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(outcomes.at(i).state, 255U);
        QCOMPARE(outcomes.at(i).error.code(), Error::Failed);
    }

    // The simulator ends with its bus.
    QCOMPARE(simulator.waitForEnd(), 1);
    QCOMPARE(simulator.process().readAllStandardError(),
             QByteArrayLiteral("ostrel-simulator: the bus went away\n"));
}

OSTREL_TEST_MAIN(TestBusDies)

#include "tst_bus_dies.moc"
