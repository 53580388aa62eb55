// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "keeper.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>
#include <Ostrel/Testing/waiting.h>

#include <QtTest/QSignalSpy>

using namespace Ostrel::Testing;

class TestKeeper : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void startThatFailsIsTriedAgain();
    void thirdFailureIsReported();
    void slowStartIsTheOnlyOne();
    void endOfTheInstanceIsFollowedByAStart();
    void endOfAnotherInstanceIsIgnored();
    void restartOfTheServiceIsFollowedByAStart();
    void deathOfTheServiceIsAFailure();
    void failureEndAndRestartAreOvercome();

private:
    // Starts the application, and waits until it runs.
    static void run(Keeper &keeper);

    const QString m_clock = QStringLiteral("my.Clock");
};

void TestKeeper::run(Keeper &keeper)
{
    keeper.start();
    QVERIFY(
        waitUntil([&keeper] { return !keeper.instance().isNull(); }, QStringLiteral("the start")));
}

//! [fault]
void TestKeeper::startThatFailsIsTriedAgain()
{
    simulator().faults(Method::Start).failNext(Ostrel::Error::HandlerFailed);
    Keeper keeper(m_clock);
    run(keeper);
    OSTREL_COMPARE_CALLS(simulator(), call(Method::Start).with("my.Clock"),
                         call(Method::Start).with("my.Clock"));
}
//! [fault]

void TestKeeper::thirdFailureIsReported()
{
    for (const char *reason : {"one", "two", "three"}) {
        simulator()
            .faults(Method::Start)
            .failNext(Ostrel::Error::HandlerFailed, QString::fromLatin1(reason));
    }
    Keeper keeper(m_clock);
    QSignalSpy failures(&keeper, &Keeper::failed);
    keeper.start();
    QVERIFY(waitUntil([&failures] { return !failures.isEmpty(); }));
    QCOMPARE(failures.constFirst().constFirst().toString(), QStringLiteral("three"));
    OSTREL_COMPARE_CALLS(simulator(), Method::Start, Method::Start, Method::Start);
}

//! [hold]
void TestKeeper::slowStartIsTheOnlyOne()
{
    const Faults faults = simulator().faults(Method::Start);
    faults.holdNext();
    Keeper keeper(m_clock);
    keeper.start();
    QVERIFY(faults.waitForHeld());
    keeper.start();
    faults.release();
    run(keeper);
    OSTREL_COMPARE_CALLS(simulator(), Method::Start);
}
//! [hold]

//! [signal]
void TestKeeper::endOfTheInstanceIsFollowedByAStart()
{
    Keeper keeper(m_clock);
    run(keeper);
    simulator().emitTerminated(keeper.instance());
    QVERIFY(simulator().faults(Method::Start).waitForCalls(2));
}

void TestKeeper::endOfAnotherInstanceIsIgnored()
{
    Keeper keeper(m_clock);
    run(keeper);
    const QString instance = keeper.instance();
    const Ostrel::Control control;
    QSignalSpy ends(&control, &Ostrel::Control::terminated);
    simulator().emitTerminated(QStringLiteral("another"));
    simulator().emitTerminated(QStringLiteral("a third one"));
    // When the second one comes, the keeper has had the first.
    QVERIFY(waitUntil([&ends] { return ends.size() == 2; }));
    QCOMPARE(keeper.instance(), instance);
}
//! [signal]

//! [restart]
void TestKeeper::restartOfTheServiceIsFollowedByAStart()
{
    Keeper keeper(m_clock);
    run(keeper);
    simulator().restart();
    QVERIFY(simulator().faults(Method::Start).waitForCalls());
}

void TestKeeper::deathOfTheServiceIsAFailure()
{
    simulator().faults(Method::Start).dieInNext();
    Keeper keeper(m_clock);
    QSignalSpy failures(&keeper, &Keeper::failed);
    keeper.start();
    QVERIFY(waitUntil([&failures] { return !failures.isEmpty(); }));
}
//! [restart]

//! [scenario]
void TestKeeper::failureEndAndRestartAreOvercome()
{
    simulator().setScenarioFile(QStringLiteral(SCENARIO));
    simulator().restart();
    Keeper keeper(m_clock);
    keeper.start();
    QVERIFY(simulator().waitForScenario());
}
//! [scenario]

OSTREL_TEST_MAIN(TestKeeper)

#include "tst_keeper.moc"
