// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "simulator.h"
#include "test_main.h"
#include "waiting.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

#include <QtCore/QPointer>
#include <QtCore/QThread>

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

// A request of each kind, with a callback that ignores the outcome, or with an empty one.
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

// A context in a thread with an event loop of its own.
class ContextElsewhere
{
public:
    ContextElsewhere()
    {
        m_context->moveToThread(&m_thread);
        m_thread.start();
    }

    ~ContextElsewhere()
    {
        deleteContext();
        m_thread.quit();
        m_thread.wait();
    }

    QObject *get() const { return m_context; }
    QThread *thread() { return &m_thread; }

    // In its thread; returns when that has happened.
    void deleteContext()
    {
        if (m_context != nullptr) {
            QMetaObject::invokeMethod(
                m_context, [this] { delete m_context; }, Qt::BlockingQueuedConnection);
            m_context = nullptr;
        }
    }

private:
    Q_DISABLE_COPY(ContextElsewhere)

    QThread m_thread;
    QObject *m_context = new QObject;
};

} // namespace

// Requests that do not block: what they send, and when and where their callbacks run.
class TestControlAsynchronous : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void startSendsTheIdentifier();
    void startDebugSendsTheParameters();
    void terminateSendsTheIdentifier();
    void listReceivesBothVectors();
    void callbackRunsOnceAndNotWithinTheCall_data() { eachRequest(); }
    void callbackRunsOnceAndNotWithinTheCall();
    void callbackRunsInTheThreadOfItsContext_data() { eachRequest(); }
    void callbackRunsInTheThreadOfItsContext();
    void deletedContextDropsTheCallback_data() { eachRequest(); }
    void deletedContextDropsTheCallback();
    void deletedContextInAnotherThreadDropsTheCallback();
    void contextMayChangeItsThread();
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

    MethodFaults faults(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    // The only call that was made.
    Call sent() const;
    // Returns when the service has answered this process a second time.
    static void roundTrip();

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Warnings> m_warnings;
};

void TestControlAsynchronous::eachRequest()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < requests().size(); ++i) {
        QTest::newRow(requests().at(i).method) << int(i);
    }
}

void TestControlAsynchronous::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestControlAsynchronous::init()
{
    m_warnings.emplace();
}

void TestControlAsynchronous::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator->reset();
    QCOMPARE(warnings, QStringList());
}

Call TestControlAsynchronous::sent() const
{
    const QVector<Call> calls = m_simulator->calls();
    return calls.size() == 1 ? calls.constFirst() : Call();
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

void TestControlAsynchronous::startSendsTheIdentifier()
{
    faults("Start").answerNext({"demo.Viewer.instance_1", QVariantMap{{"Pid", 17}}});
    Control control;
    std::optional<Control::StartResult> result;
    control.start("demo.Viewer \u00e9", this,
                  [&result](const Control::StartResult &received) { result = received; });
    waitUntil([&result] { return result.has_value(); });
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().interface, OSTREL_SERVICE_NAME ".Control1");
    QCOMPARE(sent().member, "Start");
    QCOMPARE(sent().signature, "s");
    QCOMPARE(sent().arguments, QVariantList{"demo.Viewer \u00e9"});
    QCOMPARE(result->error.code(), Error::NoError);
    QVERIFY(result->error.message().isNull());
    QCOMPARE(result->appInstanceId, "demo.Viewer.instance_1");
    QCOMPARE(text(result->details), "Pid=17");
}

void TestControlAsynchronous::startDebugSendsTheParameters()
{
    faults("StartDebug").answerNext({"one", QVariantMap()});
    DebugParams params;
    params.setEnvironment({"A=1"});
    Control control;
    QString instance;
    control.startDebug(
        "demo.Viewer", params, this,
        [&instance](const Control::StartResult &result) { instance = result.appInstanceId; });
    waitUntil([&instance] { return !instance.isEmpty(); });
    QCOMPARE(instance, "one");
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().member, "StartDebug");
    QCOMPARE(sent().signature, "sa{sv}");
    QCOMPARE(sent().arguments.value(0), QVariant("demo.Viewer"));
    QCOMPARE(qdbus_cast<QVariantMap>(sent().arguments.value(1)),
             (QVariantMap{{"environment", QStringList{"A=1"}}}));
}

void TestControlAsynchronous::terminateSendsTheIdentifier()
{
    faults("Terminate").answerNext({});
    Control control;
    std::optional<Error> error;
    control.terminate("demo.Viewer.instance_1", this,
                      [&error](const Error &received) { error = received; });
    waitUntil([&error] { return error.has_value(); });
    QCOMPARE(error->code(), Error::NoError);
    QVERIFY(error->message().isNull());
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().member, "Terminate");
    QCOMPARE(sent().signature, "s");
    QCOMPARE(sent().arguments, QVariantList{"demo.Viewer.instance_1"});
}

void TestControlAsynchronous::listReceivesBothVectors()
{
    m_simulator->desk("ListNext", {2U, 3U});
    Control control;
    bool received = false;
    control.getRunningApplications(this,
                                   [&received](const QVector<RunningApplication> &applications,
                                               const QVector<RunningService> &services,
                                               const Error &error) {
                                       QVERIFY(!error);
                                       QCOMPARE(applications.size(), 2);
                                       QCOMPARE(services.size(), 3);
                                       received = true;
                                   });
    waitUntil([&received] { return received; });
    QCOMPARE(sent().path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(sent().member, "GetRunningApplications");
    QCOMPARE(sent().signature, QString());
    QCOMPARE(sent().arguments, QVariantList());
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
    ContextElsewhere context;
    Control control;
    std::atomic<QThread *> ranIn{nullptr};
    requests().at(std::size_t(index)).send(control, context.get(), [&ranIn] {
        ranIn = QThread::currentThread();
    });
    waitUntil([&ranIn] { return ranIn != nullptr; });
    QCOMPARE(ranIn.load(), context.thread());
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
    ContextElsewhere deleted;
    ContextElsewhere other;
    Control control;
    std::atomic<bool> ran{false};
    std::atomic<bool> otherRan{false};
    const auto held = std::make_shared<int>();
    const auto &start = requests().front();
    start.send(control, deleted.get(), [&ran, held] { ran = true; });
    start.send(control, other.get(), [&otherRan] { otherRan = true; });
    faults("Start").waitForHeld(2);
    deleted.deleteContext();
    QCOMPARE(held.use_count(), 1);
    faults("Start").release({0, 1});
    waitUntil([&otherRan] { return otherRan.load(); });
    QVERIFY(!ran);
}

// Often: the context is deleted here while its former thread tidies up.
void TestControlAsynchronous::contextMayChangeItsThread()
{
    ContextElsewhere former;
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
    // The call was made all the same.
    QCOMPARE(m_simulator->calls().constFirst().member, request.method);
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
        // What the callback holds is still good.
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
