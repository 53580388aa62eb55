// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QThread>

#include <atomic>
#include <functional>
#include <memory>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

using Done = std::function<void(const Error &)>;

// onReady(), start() and stop(), each with a context.
struct Request
{
    const char *name;
    const char *interface;
    const char *method;
    std::function<void(TaskInvoker &, const QObject *, const Done &)> send;
};

const std::vector<Request> &requests()
{
    static const std::vector<Request> all{
        {"onReady", OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker",
         [](TaskInvoker &invoker, const QObject *context, const Done &done) {
             invoker.onReady(context, done);
         }},
        {"start", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start",
         [](TaskInvoker &invoker, const QObject *context, const Done &done) {
             invoker.start("none", {}, {}, context,
                           done ? std::function<void(int, const Error &)>(
                               [done](int /*number*/, const Error &error) { done(error); })
                                : nullptr);
         }},
        {"stop", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop",
         [](TaskInvoker &invoker, const QObject *context, const Done &done) {
             invoker.stop("none", context, done);
         }},
    };
    return all;
}

} // namespace

// What an invoker says of itself, and callbacks that have a context.
class TestTaskInvokerContexts : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void invokerKnowsItsBus();
    void readinessAndErrorAreThoseOfTheRegistration_data();
    void readinessAndErrorAreThoseOfTheRegistration();
    void callbackRunsOnceInItsThread_data() { eachRequest(); }
    void callbackRunsOnceInItsThread();
    void callbackRunsInTheThreadOfItsContext_data() { eachRequest(); }
    void callbackRunsInTheThreadOfItsContext();
    void readyInvokerCallsAtOnceInItsOwnThread();
    void startAndStopHandOverTheOutcome();
    void deletedContextDropsTheCallback_data() { eachRequest(); }
    void deletedContextDropsTheCallback();
    void deletedContextInAnotherThreadDropsTheCallback_data() { eachRequest(); }
    void deletedContextInAnotherThreadDropsTheCallback();
    void deletedInvokerDropsTheCallback_data() { eachRequest(); }
    void deletedInvokerDropsTheCallback();
    void emptyCallbackIsHarmless_data() { eachRequest(); }
    void emptyCallbackIsHarmless();
    void callbackMayDeleteAnything_data() { eachRequest(); }
    void callbackMayDeleteAnything();

private:
    static void eachRequest();

    // Returns an invoker. The service holds the answer to the request until release() is called.
    std::unique_ptr<TaskInvoker> makeInvoker(const Request &request) const;
    void release(const Request &request) const;
    // Returns when a new invoker has been registered: all earlier messages have been handled.
    static void roundTrip();

    QThread m_thread;
};

void TestTaskInvokerContexts::eachRequest()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < requests().size(); ++i) {
        QTest::newRow(requests().at(i).name) << int(i);
    }
}

void TestTaskInvokerContexts::initTestCase()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address().toUtf8());
}

void TestTaskInvokerContexts::init()
{
    QuietTest::init();
    m_thread.start();
}

void TestTaskInvokerContexts::cleanup()
{
    m_thread.quit();
    m_thread.wait();
    QuietTest::cleanup();
}

std::unique_ptr<TaskInvoker> TestTaskInvokerContexts::makeInvoker(const Request &request) const
{
    const Faults faults = m_simulator.faults(request.interface, request.method);
    faults.holdNext(1);
    auto invoker = std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, "sync");
    if (QString(request.name) != "onReady") {
        waitUntilReady(*invoker);
    }
    return invoker;
}

void TestTaskInvokerContexts::release(const Request &request) const
{
    const Faults faults = m_simulator.faults(request.interface, request.method);
    faults.waitForHeld(1);
    faults.release({0});
}

void TestTaskInvokerContexts::roundTrip()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntil([&invoker] { return invoker.isReady(); });
}

void TestTaskInvokerContexts::invokerKnowsItsBus()
{
    const TaskInvoker onSession(TaskInvoker::SessionBus, "sync");
    const TaskInvoker onSystem(TaskInvoker::SystemBus, "sync");
    QCOMPARE(onSession.busType(), TaskInvoker::SessionBus);
    QCOMPARE(onSystem.busType(), TaskInvoker::SystemBus);
}

void TestTaskInvokerContexts::readinessAndErrorAreThoseOfTheRegistration_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("code");
    QTest::newRow("success") << QString() << 0;
    QTest::newRow("failure") << OSTREL_ERROR_PREFIX "HandlerFailed" << 3;
}

void TestTaskInvokerContexts::readinessAndErrorAreThoseOfTheRegistration()
{
    QFETCH(const QString, error);
    QFETCH(const int, code);
    if (!error.isEmpty()) {
        m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker")
            .failNext(error, "not today");
    }
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QVERIFY(!invoker.isReady());
    QVERIFY(!invoker.error());
    bool readyInCallback = false;
    bool readyInSlot = false;
    connect(&invoker, &TaskInvoker::activeTasksChanged, this,
            [&] { readyInSlot = readyInSlot || invoker.isReady(); });
    invoker.onReady([&](const Error & /*error*/) { readyInCallback = invoker.isReady(); });
    waitUntil([&invoker] { return invoker.isReady(); });
    QVERIFY(readyInCallback);
    QVERIFY(!readyInSlot);
    QCOMPARE(int(invoker.error().code()), code);
    QCOMPARE(invoker.error().busErrorName(), error);
    QCOMPARE(invoker.error().message(), error.isEmpty() ? QString() : "not today");
    if (!error.isEmpty()) {
        QCOMPARE(m_warnings->texts().size(), 1);
        m_warnings.emplace();
    }
}

void TestTaskInvokerContexts::callbackRunsOnceInItsThread()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    const auto invoker = makeInvoker(request);
    int runs = 0;
    QThread *ranIn = nullptr;
    request.send(*invoker, this, [&](const Error & /*error*/) {
        ++runs;
        ranIn = QThread::currentThread();
    });
    QCOMPARE(runs, 0);
    release(request);
    waitUntil([&runs] { return runs > 0; });
    roundTrip();
    QCOMPARE(runs, 1);
    QCOMPARE(ranIn, QThread::currentThread());
}

void TestTaskInvokerContexts::callbackRunsInTheThreadOfItsContext()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    auto *context = new QObject;
    context->moveToThread(&m_thread);
    const auto invoker = makeInvoker(request);
    std::atomic<QThread *> ranIn{nullptr};
    const auto held = std::make_shared<int>();
    request.send(*invoker, context,
                 [&ranIn, held](const Error & /*error*/) { ranIn = QThread::currentThread(); });
    release(request);
    waitUntil([&ranIn] { return ranIn != nullptr; });
    QCOMPARE(ranIn.load(), &m_thread);
    context->deleteLater();
    if (index > 0) {
        // The invoker keeps the callbacks of onReady() until it is deleted.
        waitUntil([&held] { return held.use_count() == 1; });
    }
}

// Without a context, onReady() calls at once as well. In another thread, the event loop calls.
void TestTaskInvokerContexts::readyInvokerCallsAtOnceInItsOwnThread()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntil([&invoker] { return invoker.isReady(); });
    bool ran = false;
    invoker.onReady(this, [&ran](const Error &error) { ran = !error; });
    QVERIFY(ran);
    auto *context = new QObject;
    context->moveToThread(&m_thread);
    std::atomic<QThread *> ranIn{nullptr};
    invoker.onReady(context,
                    [&ranIn](const Error & /*error*/) { ranIn = QThread::currentThread(); });
    waitUntil([&ranIn] { return ranIn != nullptr; });
    QCOMPARE(ranIn.load(), &m_thread);
    context->deleteLater();
}

void TestTaskInvokerContexts::startAndStopHandOverTheOutcome()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start").answerNext({42});
    Events events;
    waitUntilReady(invoker);
    invoker.start("photos", {}, {}, this, events.started());
    invoker.stop("none", this,
                 [&events](const Error &error) { events.add("stopped: " + error.name()); });
    waitUntil([&events] { return events.size() == 2; });
    QCOMPARE(events.all(), (QStringList{"started 42: 0", "stopped: HandlerNotFound"}));
}

void TestTaskInvokerContexts::deletedContextDropsTheCallback()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    const auto invoker = makeInvoker(request);
    bool ran = false;
    auto context = std::make_unique<QObject>();
    request.send(*invoker, context.get(), [&ran](const Error & /*error*/) { ran = true; });
    context.reset();
    release(request);
    roundTrip();
    QVERIFY(!ran);
}

void TestTaskInvokerContexts::deletedContextInAnotherThreadDropsTheCallback()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    const auto invoker = makeInvoker(request);
    auto *deleted = new QObject;
    auto *other = new QObject;
    deleted->moveToThread(&m_thread);
    other->moveToThread(&m_thread);
    std::atomic<bool> ran{false};
    request.send(*invoker, deleted, [&ran](const Error & /*error*/) { ran = true; });
    QMetaObject::invokeMethod(
        deleted, [deleted] { delete deleted; }, Qt::BlockingQueuedConnection);
    release(request);
    roundTrip();
    // Everything that was posted to that thread before has run.
    QMetaObject::invokeMethod(
        other, [other] { delete other; }, Qt::BlockingQueuedConnection);
    QVERIFY(!ran);
}

void TestTaskInvokerContexts::deletedInvokerDropsTheCallback()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    auto invoker = makeInvoker(request);
    bool ran = false;
    const auto held = std::make_shared<int>();
    request.send(*invoker, this, [&ran, held](const Error & /*error*/) { ran = true; });
    invoker.reset();
    QCOMPARE(held.use_count(), 1);
    release(request);
    roundTrip();
    QVERIFY(!ran);
}

void TestTaskInvokerContexts::emptyCallbackIsHarmless()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    const auto invoker = makeInvoker(request);
    request.send(*invoker, this, {});
    release(request);
    roundTrip();
    if (index == 0) {
        waitUntil([&invoker] { return invoker->isReady(); });
        request.send(*invoker, this, {});
    }
}

void TestTaskInvokerContexts::callbackMayDeleteAnything()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    auto invoker = makeInvoker(request);
    auto context = std::make_unique<QObject>();
    const auto held = std::make_shared<int>();
    bool ran = false;
    request.send(*invoker, context.get(), [&, held](const Error & /*error*/) {
        invoker.reset();
        context.reset();
        ran = held.use_count() > 1;
    });
    release(request);
    waitUntil([&ran] { return ran; });
    QCOMPARE(held.use_count(), 1);
}

OSTREL_TEST_MAIN(TestTaskInvokerContexts)

#include "tst_task_invoker_contexts.moc"
