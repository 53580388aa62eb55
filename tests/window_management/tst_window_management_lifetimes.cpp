// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "other_thread.h"
#include "outcomes.h"
#include "quiet_test.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QSemaphore>
#include <QtCore/QThread>

#include <memory>

using Ostrel::ApplicationState;
using Ostrel::Error;
using Ostrel::WindowManagement;

// Clients and contexts are deleted at every stage of a call, and contexts live in other threads.
// The sanitizers see whether anything is leaked, or used after it is deleted.
class TestWindowManagementLifetimes : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void contextMayBeDeletedBeforeTheReply();
    void contextMayBeDeletedBeforeTheReplyIsHandled();
    void clientMayBeDeletedBeforeTheReply();
    void callbackIsCopied();
    void callbackMayDeleteEverything_data();
    void callbackMayDeleteEverything();
    void callbackMayReportAgain();
    void callbackMayRunAnEventLoop();
    void callbackRunsInTheThreadOfItsContext();
    void errorsReachAContextInAnotherThread();
    void contextInAnotherThreadMayBeDeleted();
    void callbackInAnotherThreadMayDeleteItsContext();
    void contextOutlivesItsThread();
    void contextsMayBeDeletedWhileRepliesArrive();
    void callsFailWhenTheServiceEnds();
    void clientWorksInAnyThread();
    void nullContextIsRefusedByQt();
};

void TestWindowManagementLifetimes::contextMayBeDeletedBeforeTheReply()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    Outcomes outcomes;
    auto context = std::make_unique<QObject>();
    windows.updateWindowStatus("w", 1, 2, 3, context.get(), outcomes.callback());
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    // The watcher belongs to the context.
    QCOMPARE(context->children().size(), 1);
    context.reset();
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
}

void TestWindowManagementLifetimes::contextMayBeDeletedBeforeTheReplyIsHandled()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    Outcomes outcomes;
    auto context = std::make_unique<QObject>();
    windows.updateWindowStatus("w", 1, 2, 3, context.get(), outcomes.callback());
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    context.reset();
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
}

void TestWindowManagementLifetimes::clientMayBeDeletedBeforeTheReply()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    auto windows = std::make_unique<WindowManagement>();
    Outcomes outcomes;
    windows->updateWindowStatus("w", 5, 0, 0, this, outcomes.callback());
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    windows.reset();
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    outcomes.waitFor(1);
    QCOMPARE(outcomes.at(0).state, 5U);
}

void TestWindowManagementLifetimes::callbackIsCopied()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    Outcomes outcomes;
    auto callback = outcomes.callback();
    windows.updateWindowStatus("w", 5, 0, 0, this, callback);
    callback = nullptr;
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    outcomes.waitFor(1);
    QCOMPARE(outcomes.at(0).state, 5U);
    // The watcher is deleted.
    waitUntil([&] { return children().isEmpty(); });
}

void TestWindowManagementLifetimes::callbackMayDeleteEverything_data()
{
    QTest::addColumn<bool>("failing");
    QTest::newRow("after a success") << false;
    QTest::newRow("after a failure") << true;
}

void TestWindowManagementLifetimes::callbackMayDeleteEverything()
{
    QFETCH(bool, failing);
    if (failing) {
        m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "text");
    }
    auto *windows = new WindowManagement;
    auto *context = new QObject;
    const QString kept = "kept";
    QStringList seen;
    windows->updateWindowStatus(
        "w", 1, 2, 3, context,
        [windows, context, kept, &seen](ApplicationState state, const Error &error) {
            delete context;
            delete windows;
            // The callback and its arguments are still valid.
            seen.append(kept + QString::number(state) + error.message());
        });
    waitUntil([&] { return seen.size() == 1; });
    reportWindow();
    QCOMPARE(seen, QStringList(failing ? "kept255text" : "kept1"));
}

void TestWindowManagementLifetimes::callbackMayReportAgain()
{
    WindowManagement windows;
    Outcomes outcomes;
    windows.updateWindowStatus(
        "w", 1, 0, 0, this,
        [this, &windows, &outcomes](ApplicationState state, const Error &error) {
            outcomes.callback()(state, error);
            windows.updateWindowStatus("w", 2, 0, 0, this, outcomes.callback());
            QCOMPARE(outcomes.size(), 1);
        });
    outcomes.waitFor(2);
    QCOMPARE(outcomes.at(0).state, 1U);
    QCOMPARE(outcomes.at(1).state, 2U);
}

void TestWindowManagementLifetimes::callbackMayRunAnEventLoop()
{
    WindowManagement windows;
    int callbacks = 0;
    windows.updateWindowStatus("w", 1, 0, 0, this, [&callbacks](ApplicationState, const Error &) {
        ++callbacks;
        reportWindow();
    });
    waitUntil([&] { return callbacks == 1; });
    reportWindow();
    QCOMPARE(callbacks, 1);
}

void TestWindowManagementLifetimes::callbackRunsInTheThreadOfItsContext()
{
    OtherThread other;
    WindowManagement windows;
    QSemaphore done;
    QThread *thread = nullptr;
    quint32 sum = 0;
    for (int status = 1; status <= 50; ++status) {
        windows.updateWindowStatus("w", status, 0, 0, other.object(),
                                   [&](ApplicationState state, const Error &error) {
                                       thread = QThread::currentThread();
                                       sum += error ? 1000000U : quint32(state);
                                       done.release();
                                   });
    }
    waitUntil([&] { return done.available() == 50; });
    QCOMPARE(thread, other.thread());
    QCOMPARE(sum, 1275U);
}

void TestWindowManagementLifetimes::errorsReachAContextInAnotherThread()
{
    m_simulator.faults(Method::UpdateWindowStatus)
        .failNext("org.freedesktop.DBus.Error.NotSupported", "not here");
    OtherThread other;
    WindowManagement windows;
    QSemaphore done;
    Outcome outcome;
    windows.updateWindowStatus("w", 1, 2, 3, other.object(),
                               [&](ApplicationState state, const Error &error) {
                                   outcome = {state, error};
                                   done.release();
                               });
    waitUntil([&] { return done.available() == 1; });
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::NotSupported);
    QCOMPARE(outcome.error.message(), "not here");
}

void TestWindowManagementLifetimes::contextInAnotherThreadMayBeDeleted()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    OtherThread other;
    WindowManagement windows;
    // Only the callback holds it, so it goes with the callback.
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    windows.updateWindowStatus("w", 1, 2, 3, other.object(),
                               [held](ApplicationState, const Error &) { ++*held; });
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    other.destroyObject();
    QCOMPARE(*held, 0);
    held.reset();
    QVERIFY(watched.expired());
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    reportWindow();
}

void TestWindowManagementLifetimes::callbackInAnotherThreadMayDeleteItsContext()
{
    OtherThread other;
    WindowManagement windows;
    QSemaphore done;
    windows.updateWindowStatus("w", 1, 2, 3, other.object(), [&](ApplicationState, const Error &) {
        delete other.object();
        done.release();
    });
    waitUntil([&] { return done.available() == 1; });
    QVERIFY(other.object() == nullptr);
}

// The thread has no event loop any more: deleting the context ends the call.
void TestWindowManagementLifetimes::contextOutlivesItsThread()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    OtherThread other;
    windows.updateWindowStatus("w", 1, 2, 3, other.object(),
                               [held](ApplicationState, const Error &) { ++*held; });
    held.reset();
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    other.end();
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    reportWindow();
    QVERIFY(!watched.expired());
    delete other.object();
    QVERIFY(watched.expired());
}

void TestWindowManagementLifetimes::contextsMayBeDeletedWhileRepliesArrive()
{
    WindowManagement windows;
    for (int round = 0; round < 100; ++round) {
        OtherThread other;
        int callbacks = 0;
        for (int i = 0; i < 5; ++i) {
            windows.updateWindowStatus(
                "w", i, 0, 0, other.object(),
                [&callbacks](ApplicationState, const Error &) { ++callbacks; });
        }
        other.destroyObject();
        QVERIFY(callbacks <= 5);
    }
    reportWindow();
}

void TestWindowManagementLifetimes::callsFailWhenTheServiceEnds()
{
    constexpr int held = 20;
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(held);
    WindowManagement windows;
    Outcomes outcomes;
    for (int i = 0; i < held; ++i) {
        windows.updateWindowStatus("w", i, 0, 0, this, outcomes.callback());
    }
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(held);
    QCOMPARE(m_simulator.end(), 0);
    outcomes.waitFor(held);
    m_simulator.start();
    reportWindow();
    QCOMPARE(outcomes.size(), held);
    for (int i = 0; i < held; ++i) {
        QCOMPARE(outcomes.at(i).state, 255U);
        QCOMPARE(outcomes.at(i).error.code(), Error::Failed);
    }
}

void TestWindowManagementLifetimes::clientWorksInAnyThread()
{
    OtherThread other;
    QSemaphore done;
    quint32 reported = 0;
    QThread *thread = nullptr;
    QMetaObject::invokeMethod(other.object(), [&] {
        auto *windows = new WindowManagement(other.object());
        windows->updateWindowStatus("w", 8, 0, 0, windows,
                                    [&](ApplicationState state, const Error &) {
                                        reported = state;
                                        thread = QThread::currentThread();
                                        done.release();
                                    });
    });
    waitUntil([&] { return done.tryAcquire(); });
    QCOMPARE(reported, 8U);
    QCOMPARE(thread, other.thread());
}

// An error of the caller: the callback never runs, and nothing crashes.
void TestWindowManagementLifetimes::nullContextIsRefusedByQt()
{
    Outcomes outcomes;
    {
        const Warnings warnings;
        WindowManagement windows;
        windows.updateWindowStatus("w", 1, 2, 3, nullptr, outcomes.callback());
        QCOMPARE(warnings.texts(),
                 QStringList("QObject::connect(QDBusPendingCallWatcher, Unknown): "
                             "invalid nullptr parameter"));
    }
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
}

OSTREL_TEST_MAIN(TestWindowManagementLifetimes)

#include "tst_window_management_lifetimes.moc"
