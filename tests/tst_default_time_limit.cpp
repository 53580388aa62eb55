// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"

#include <QtCore/QElapsedTimer>

using Ostrel::Error;
using Ostrel::WindowManagement;

// The library sets no time limit of its own: the bus library's, 25 seconds, is the one that counts.
class TestDefaultTimeLimit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void silentServiceFailsWindowStatus();
};

void TestDefaultTimeLimit::silentServiceFailsWindowStatus()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    simulator.windowStatus().ignoreNext();

    WindowManagement windows;
    Outcomes outcomes;
    QElapsedTimer timer;
    timer.start();
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, this, outcomes.callback());
    QVERIFY(QTest::qWaitFor([&outcomes] { return outcomes.size() == 1; }, 3 * patience));
    QVERIFY(timer.elapsed() > 20000);
    QCOMPARE(outcomes.at(0).state, 255U);
    QCOMPARE(outcomes.at(0).error.code(), Error::Failed);
    QVERIFY2(outcomes.at(0).error.message().startsWith(QStringLiteral("Did not receive a reply.")),
             qPrintable(outcomes.at(0).error.message()));
}

OSTREL_TEST_MAIN(TestDefaultTimeLimit)

#include "tst_default_time_limit.moc"
