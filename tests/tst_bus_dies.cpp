// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"

#include <Ostrel/Control>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::WindowManagement;

// The bus ends under a process that uses it. The connection does not come back.
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

    simulator.windowStatus().holdNext(2);
    WindowManagement windows;
    Outcomes outcomes;
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, this, outcomes.callback());
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, this, outcomes.callback());
    simulator.windowStatus().waitForHeld(2);
    bus.end();
    QVERIFY(outcomes.waitFor(2));

    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, this, outcomes.callback());
    QVERIFY(outcomes.waitFor(3));
    QCOMPARE(outcomes.at(2).error.message(), QStringLiteral("Not connected to D-Bus server"));
    reportWindow();
    QCOMPARE(outcomes.size(), 3);
    Control control;
    QCOMPARE(control.start(QStringLiteral("a.b")).error.message(),
             QStringLiteral("Not connected to D-Bus server"));
    QCOMPARE(control.terminate(QStringLiteral("a.b")).code(), Error::Failed);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(outcomes.at(i).state, 255U);
        QCOMPARE(outcomes.at(i).error.code(), Error::Failed);
    }

    // The simulator is not left behind without its bus.
    QCOMPARE(simulator.waitForEnd(), 1);
    QCOMPARE(simulator.process().readAllStandardError(),
             QByteArrayLiteral("ostrel-simulator: the bus went away\n"));
}

OSTREL_TEST_MAIN(TestBusDies)

#include "tst_bus_dies.moc"
