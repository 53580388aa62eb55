// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "other_thread.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtCore/QPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QUrl>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;

namespace
{

// A request of each kind. done runs in its callback; without it, the callback is empty.
struct Request
{
    const char *method;
    std::function<void(Control &, const QObject *, const std::function<void()> &)> send;
};

const std::vector<Request> &requests()
{
    using Done = std::function<void()>;
    using OnStart = std::function<void(const Control::StartResult &)>;
    using OnTermination = std::function<void(const Error &)>;
    using OnList = std::function<void(const QVector<RunningApplication> &,
                                      const QVector<RunningService> &, const Error &)>;
    static const std::vector<Request> all{
        {"Start",
         [](Control &control, const QObject *context, const Done &done) {
             control.start("a.b", context,
                           done ? OnStart([done](const auto & /*result*/) { done(); }) : OnStart());
         }},
        {"StartDebug",
         [](Control &control, const QObject *context, const Done &done) {
             control.startDebug("a.b", DebugParams(), context,
                                done ? OnStart([done](const auto & /*result*/) { done(); })
                                     : OnStart());
         }},
        {"Terminate",
         [](Control &control, const QObject *context, const Done &done) {
             control.terminate("a.b", context,
                               done ? OnTermination([done](const Error & /*error*/) { done(); })
                                    : OnTermination());
         }},
        {"GetRunningApplications",
         [](Control &control, const QObject *context, const Done &done) {
             control.getRunningApplications(
                 context,
                 done ? OnList([done](const auto & /*applications*/, const auto & /*services*/,
                                      const Error & /*error*/) { done(); })
                      : OnList());
         }},
    };
    return all;
}

} // namespace

// When and where the callbacks of requests run. tst_control_requests shows what they receive.
class TestControlAsynchronous : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void callbackRunsOnceAndNotWithinTheCall_data() { eachRequest(); }
    void callbackRunsOnceAndNotWithinTheCall();
    void callbackRunsInTheThreadOfItsContext_data() { eachRequest(); }
    void callbackRunsInTheThreadOfItsContext();
    void deletedContextDropsTheCallback_data() { eachRequest(); }
    void deletedContextDropsTheCallback();
    void deletedContextInAnotherThreadDropsTheCallback();
    void contextMayChangeItsThread();
    void refusedCallbackFollowsItsContext();
    void deletedChildrenOfTheContextDropTheRefusedCallback();
    void deletedControlStillRunsItsCallbacks_data() { eachRequest(); }
    void deletedControlStillRunsItsCallbacks();
    void emptyCallbackIsHarmless_data() { eachRequest(); }
    void emptyCallbackIsHarmless();
    void callbackMayDeleteAnything_data();
    void callbackMayDeleteAnything();
    void callbackMayMakeARequestThatBlocks();
    void repliesInAnotherOrderReachTheirCallbacks();

private:
    static void eachRequest();

    Faults faults(const char *method) const
    {
        return m_simulator.faults(OSTREL_CONTROL_INTERFACE, method);
    }

    // Returns when all earlier replies have been handled.
    static void roundTrip();
};

void TestControlAsynchronous::eachRequest()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < requests().size(); ++i) {
        QTest::newRow(requests().at(i).method) << int(i);
    }
}

void TestControlAsynchronous::roundTrip()
{
    Control control;
    const QObject context;
    bool answered = false;
    control.terminate("marker", &context,
                      [&answered](const Error & /*error*/) { answered = true; });
    waitUntil([&answered] { return answered; });
}

void TestControlAsynchronous::callbackRunsOnceAndNotWithinTheCall()
{
    QFETCH(const int, index);
    Control control;
    int runs = 0;
    requests().at(std::size_t(index)).send(control, this, [&runs] { ++runs; });
    QCOMPARE(runs, 0);
    waitUntil([&runs] { return runs > 0; });
    roundTrip();
    QCOMPARE(runs, 1);
}

void TestControlAsynchronous::callbackRunsInTheThreadOfItsContext()
{
    QFETCH(const int, index);
    OtherThread other;
    Control control;
    std::atomic<QThread *> ranIn{nullptr};
    requests().at(std::size_t(index)).send(control, other.object(), [&ranIn] {
        ranIn = QThread::currentThread();
    });
    waitUntil([&ranIn] { return ranIn != nullptr; });
    QCOMPARE(ranIn.load(), other.thread());
}

void TestControlAsynchronous::deletedContextDropsTheCallback()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    faults(request.method).holdNext(1);
    Control control;
    bool ran = false;
    const auto held = std::make_shared<int>();
    auto context = std::make_unique<QObject>();
    request.send(control, context.get(), [&ran, held] { ran = true; });
    faults(request.method).waitForHeld(1);
    context.reset();
    QCOMPARE(held.use_count(), 1);
    faults(request.method).release({0});
    roundTrip();
    QVERIFY(!ran);
}

void TestControlAsynchronous::deletedContextInAnotherThreadDropsTheCallback()
{
    faults("Start").holdNext(2);
    OtherThread deleted;
    OtherThread other;
    Control control;
    std::atomic<bool> ran{false};
    std::atomic<bool> otherRan{false};
    const auto held = std::make_shared<int>();
    const auto &start = requests().front();
    start.send(control, deleted.object(), [&ran, held] { ran = true; });
    start.send(control, other.object(), [&otherRan] { otherRan = true; });
    faults("Start").waitForHeld(2);
    deleted.destroyObject();
    QCOMPARE(held.use_count(), 1);
    faults("Start").release({0, 1});
    waitUntil([&otherRan] { return otherRan.load(); });
    QVERIFY(!ran);
}

// Many times: the context is deleted here while its former thread cleans up.
void TestControlAsynchronous::contextMayChangeItsThread()
{
    OtherThread former;
    Control control;
    for (int i = 0; i < 3000; ++i) {
        std::atomic<bool> ran{false};
        auto context = std::make_unique<QObject>();
        context->moveToThread(former.thread());
        requests().at(std::size_t(i) % requests().size()).send(control, context.get(), [&ran] {
            ran = true;
        });
        QMetaObject::invokeMethod(
            context.get(), [&context, this] { context->moveToThread(thread()); },
            Qt::BlockingQueuedConnection);
        if (i % 3 != 0) {
            waitUntil([&ran] { return ran.load(); });
        }
    }
}

// The call is refused at once, while the context is in the other thread.
void TestControlAsynchronous::refusedCallbackFollowsItsContext()
{
    OtherThread former;
    Control control;
    QObject context;
    context.moveToThread(former.thread());
    QSemaphore refused;
    QMetaObject::invokeMethod(&context, [&context, &refused, this] {
        refused.acquire();
        context.moveToThread(thread());
    });
    std::atomic<QThread *> ranIn{nullptr};
    const DebugParams cannotBeSent(QVariantMap{{"url", QUrl()}});
    control.startDebug("a.b", cannotBeSent, &context,
                       [&ranIn](const auto & /*result*/) { ranIn = QThread::currentThread(); });
    refused.release();
    waitUntil([&ranIn] { return ranIn != nullptr; });
    QCOMPARE(ranIn.load(), thread());
}

// A program may clear a window that is the context.
void TestControlAsynchronous::deletedChildrenOfTheContextDropTheRefusedCallback()
{
    Control control;
    QObject context;
    bool ran = false;
    const DebugParams cannotBeSent(QVariantMap{{"url", QUrl()}});
    control.startDebug("a.b", cannotBeSent, &context,
                       [&ran](const auto & /*result*/) { ran = true; });
    qDeleteAll(QObjectList(context.children()));
    QCoreApplication::processEvents();
    QVERIFY(!ran);
}

void TestControlAsynchronous::deletedControlStillRunsItsCallbacks()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    faults(request.method).holdNext(1);
    auto control = std::make_unique<Control>();
    bool ran = false;
    request.send(*control, this, [&ran] { ran = true; });
    faults(request.method).waitForHeld(1);
    control.reset();
    faults(request.method).release({0});
    waitUntil([&ran] { return ran; });
}

void TestControlAsynchronous::emptyCallbackIsHarmless()
{
    QFETCH(const int, index);
    const Request &request = requests().at(std::size_t(index));
    Control control;
    request.send(control, this, {});
    roundTrip();
    // The call was sent nevertheless.
    QCOMPARE(m_simulator.calls().constFirst().member, request.method);
}

void TestControlAsynchronous::callbackMayDeleteAnything_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("control");
    QTest::addColumn<bool>("context");
    for (std::size_t i = 0; i < requests().size(); ++i) {
        const char *method = requests().at(i).method;
        QTest::addRow("%s, the control", method) << int(i) << true << false;
        QTest::addRow("%s, the context", method) << int(i) << false << true;
        QTest::addRow("%s, both", method) << int(i) << true << true;
    }
}

void TestControlAsynchronous::callbackMayDeleteAnything()
{
    QFETCH(const int, index);
    QFETCH(const bool, control);
    QFETCH(const bool, context);
    const QPointer<Control> client(new Control);
    const QPointer<QObject> object(new QObject);
    bool ran = false;
    const auto held = std::make_shared<int>();
    requests().at(std::size_t(index)).send(*client, object, [=, &ran] {
        if (control) {
            delete client.data();
        }
        if (context) {
            delete object.data();
        }
        // What the callback holds is still valid.
        ran = held.use_count() > 1;
    });
    waitUntil([&ran] { return ran; });
    roundTrip();
    QCOMPARE(held.use_count(), 1);
    QCOMPARE(client.isNull(), control);
    QCOMPARE(object.isNull(), context);
    delete client.data();
    delete object.data();
}

void TestControlAsynchronous::callbackMayMakeARequestThatBlocks()
{
    Control control;
    std::optional<Error> inner;
    control.terminate(
        "a", this, [&control, &inner](const Error & /*error*/) { inner = control.terminate("b"); });
    waitUntil([&inner] { return inner.has_value(); });
    QCOMPARE(inner->code(), Error::ApplicationNotRunning);
}

void TestControlAsynchronous::repliesInAnotherOrderReachTheirCallbacks()
{
    faults("Terminate").holdNext(3);
    Control control;
    QStringList order;
    for (const char *name : {"one", "two", "three"}) {
        const QString id = name;
        control.terminate(id, this, [&order, id](const Error &error) {
            QVERIFY2(error.message().contains(id), qPrintable(error.message()));
            order.append(id);
        });
    }
    faults("Terminate").waitForHeld(3);
    faults("Terminate").release({2, 0, 1});
    waitUntil([&order] { return order.size() == 3; });
    QCOMPARE(order, (QStringList{"three", "one", "two"}));
}

OSTREL_TEST_MAIN(TestControlAsynchronous)

#include "tst_control_asynchronous.moc"
