// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <optional>

using Ostrel::Error;
using Ostrel::WindowManagement;

// The service is absent, silent, slow, or ends at the wrong moment.
class TestWindowManagementFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void serviceIsAbsent();
    void serviceEndsBeforeItReplies();
    void serviceEndsWithManyCallsInFlight();
    void serviceComesBack();
    void serviceRepliesLate();
    void methodIsUnknown();

private:
    // The session bus of a process is one for its whole life, so all tests share it.
    static PrivateBus &bus();

    std::optional<Simulator> m_simulator;
    std::optional<Warnings> m_warnings;
};

PrivateBus &TestWindowManagementFailures::bus()
{
    static PrivateBus instance;
    return instance;
}

void TestWindowManagementFailures::init()
{
    m_simulator.emplace(bus());
    m_warnings.emplace();
}

void TestWindowManagementFailures::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator.reset();
    QCOMPARE(warnings, QStringList());
}

void TestWindowManagementFailures::serviceIsAbsent()
{
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::Failed);
    QCOMPARE(
        outcome.error.message(),
        QStringLiteral("The name " OSTREL_SERVICE_NAME " was not provided by any .service files"));
}

void TestWindowManagementFailures::serviceEndsBeforeItReplies()
{
    m_simulator->start();
    m_simulator->windowStatus().dieInNext();
    const Outcome outcome = reportWindow();
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::Failed);
    QCOMPARE(outcome.error.message(),
             QStringLiteral("Message recipient disconnected from message bus without replying"));
}

void TestWindowManagementFailures::serviceEndsWithManyCallsInFlight()
{
    m_simulator->start();
    m_simulator->windowStatus().holdNext(20);
    WindowManagement windows;
    Outcomes outcomes;
    for (int i = 0; i < 21; ++i) {
        if (i == 20) {
            m_simulator->windowStatus().dieInNext();
        }
        windows.updateWindowStatus(QStringLiteral("w"), i, 0, 0, this, outcomes.callback());
    }
    outcomes.waitFor(21);
    m_simulator->waitForEnd();
    reportWindow();
    QCOMPARE(outcomes.size(), 21);
    for (int i = 0; i < 21; ++i) {
        QCOMPARE(outcomes.at(i).state, 255U);
        QCOMPARE(outcomes.at(i).error.code(), Error::Failed);
    }
}

void TestWindowManagementFailures::serviceComesBack()
{
    WindowManagement windows;
    Outcomes outcomes;
    windows.updateWindowStatus(QStringLiteral("w"), 1, 0, 0, this, outcomes.callback());
    outcomes.waitFor(1);
    m_simulator->start();
    windows.updateWindowStatus(QStringLiteral("w"), 2, 0, 0, this, outcomes.callback());
    outcomes.waitFor(2);
    m_simulator->end();
    windows.updateWindowStatus(QStringLiteral("w"), 3, 0, 0, this, outcomes.callback());
    outcomes.waitFor(3);
    m_simulator->start();
    windows.updateWindowStatus(QStringLiteral("w"), 4, 0, 0, this, outcomes.callback());
    outcomes.waitFor(4);

    QCOMPARE(outcomes.at(0).state, 255U);
    QCOMPARE(outcomes.at(1).state, 2U);
    QCOMPARE(outcomes.at(2).state, 255U);
    QCOMPARE(outcomes.at(3).state, 4U);
}

void TestWindowManagementFailures::serviceRepliesLate()
{
    m_simulator->start();
    m_simulator->windowStatus().delayNext(100);
    QCOMPARE(reportWindow(QStringLiteral("w"), 7).state, 7U);
}

// Another program may own the name, and know nothing of windows.
void TestWindowManagementFailures::methodIsUnknown()
{
    QDBusConnection other = QDBusConnection::connectToBus(bus().address(), QStringLiteral("other"));
    QVERIFY(other.registerService(QStringLiteral(OSTREL_SERVICE_NAME)));
    const Outcome outcome = reportWindow();
    QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::Failed);
    QCOMPARE(outcome.error.message(),
             QStringLiteral("No such object path '" OSTREL_SERVICE_PATH "/WindowManagement1'"));
}

OSTREL_TEST_MAIN(TestWindowManagementFailures)

#include "tst_window_management_failures.moc"
