// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"
#include "task_invokers.h"
#include "test_main.h"
#include "warnings.h"

#include <optional>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

const QString oneTask =
    QStringLiteral("2 AvailableTasks a(sa{sv}) 1 a 0 ActiveTasks a(sia{sv}) 1 b 7 0");

} // namespace

// Who waits for the answer to the registration learns of it once, whatever it is.
class TestTaskInvokerReady : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void callbacksRunInTheirOrderBehindTheSignals();
    void laterCallbacksRunAtOnce_data();
    void laterCallbacksRunAtOnce();
    void callbackIsCopied();
    void callbacksMayAskAgain();
    void callbacksMayRunAnEventLoop();
    void slotsOfTheFirstListsAskBeforeItIsReady();
    void serviceErrorsAreMapped_data();
    void serviceErrorsAreMapped();
    void errorsWithoutATextAreMapped();
    void otherRepliesAreFailures_data();
    void otherRepliesAreFailures();
    void furtherValuesAreAccepted();
    void foreignPathsAreRefused_data();
    void foreignPathsAreRefused();
    void failuresLeaveTheListsAsTheyAre_data();
    void failuresLeaveTheListsAsTheyAre();
    void emptyCallbackThrowsWhenItIsItsTurn();
    void emptyCallbackThrowsAtOnceWhenReady();

private:
    MethodFaults registration() const
    {
        return m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Warnings> m_warnings;
};

void TestTaskInvokerReady::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestTaskInvokerReady::init()
{
    m_warnings.emplace();
}

void TestTaskInvokerReady::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator->reset();
    QCOMPARE(warnings, QStringList());
}

void TestTaskInvokerReady::callbacksRunInTheirOrderBehindTheSignals()
{
    answerRegistration(*m_bus, QStringLiteral("sync"), oneTask);
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    invoker.onReady(events.ready(QStringLiteral("first")));
    events.watch(invoker);
    invoker.onReady(events.ready(QStringLiteral("second")));
    invoker.onReady(events.ready(QStringLiteral("third")));
    QCOMPARE(events.all(), QStringList());
    QVERIFY(events.waitFor(5));
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("active [b 7 {}]"), QStringLiteral("available [a {}]"),
                          QStringLiteral("first 0"), QStringLiteral("second 0"),
                          QStringLiteral("third 0")}));
}

void TestTaskInvokerReady::laterCallbacksRunAtOnce_data()
{
    QTest::addColumn<bool>("failing");
    QTest::newRow("after a success") << false;
    QTest::newRow("after a failure") << true;
}

void TestTaskInvokerReady::laterCallbacksRunAtOnce()
{
    QFETCH(bool, failing);
    if (failing) {
        registration().failNext(QStringLiteral("a.b"), QStringLiteral("text"));
    }
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    invoker.onReady(events.ready(QStringLiteral("queued")));
    QVERIFY(events.waitFor(1));
    for (const char *const label : {"a", "b", "c"}) {
        invoker.onReady(events.ready(QString::fromLatin1(label)));
        events.add(QStringLiteral("returned"));
    }
    roundTrip(invoker);
    const QString outcome = failing ? QStringLiteral(" 1 \"text\"") : QStringLiteral(" 0");
    const QString returned = QStringLiteral("returned");
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("queued") + outcome, QStringLiteral("a") + outcome,
                          returned, QStringLiteral("b") + outcome, returned,
                          QStringLiteral("c") + outcome, returned}));
    QCOMPARE(warnings.texts().size(), failing ? 1 : 0);
}

void TestTaskInvokerReady::callbackIsCopied()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    auto callback = events.ready();
    invoker.onReady(callback);
    callback = nullptr;
    QVERIFY(events.waitFor(1));
    QCOMPARE(events.all(), QStringList(QStringLiteral("ready 0")));
}

void TestTaskInvokerReady::callbacksMayAskAgain()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    invoker.onReady([&](const Error &) {
        events.add(QStringLiteral("begin"));
        invoker.onReady(events.ready(QStringLiteral("inner")));
        events.add(QStringLiteral("end"));
    });
    invoker.onReady(events.ready(QStringLiteral("next")));
    QVERIFY(events.waitFor(4));
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("begin"), QStringLiteral("inner 0"), QStringLiteral("end"),
                          QStringLiteral("next 0")}));
}

void TestTaskInvokerReady::callbacksMayRunAnEventLoop()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    invoker.onReady([&](const Error &) {
        events.add(QStringLiteral("begin"));
        invoker.start(QStringLiteral("photos"), {}, {}, events.started());
        events.waitFor(2);
        events.add(QStringLiteral("end"));
    });
    invoker.onReady(events.ready(QStringLiteral("next")));
    QVERIFY(events.waitFor(4));
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("begin"), QStringLiteral("started 1: 0"),
                          QStringLiteral("end"), QStringLiteral("next 0")}));
}

void TestTaskInvokerReady::slotsOfTheFirstListsAskBeforeItIsReady()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    connect(&invoker, &TaskInvoker::availableTasksChanged, this, [&] {
        invoker.onReady(events.ready(QStringLiteral("from the slot")));
        events.add(QStringLiteral("slot"));
    });
    invoker.onReady(events.ready(QStringLiteral("first")));
    QVERIFY(events.waitFor(3));
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("slot"), QStringLiteral("first 0"),
                          QStringLiteral("from the slot 0")}));
}

void TestTaskInvokerReady::serviceErrorsAreMapped_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    const QString service = QStringLiteral(OSTREL_ERROR_PREFIX);
    const QString standard = QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX);
    // The lists stay empty, but who waits sees a success.
    QTest::newRow("NoError") << service + QStringLiteral("NoError") << 0;
    QTest::newRow("Failed") << standard + QStringLiteral("Failed") << 1;
    QTest::newRow("HandlerNotFound") << service + QStringLiteral("HandlerNotFound") << 2;
    QTest::newRow("HandlerFailed") << service + QStringLiteral("HandlerFailed") << 3;
    QTest::newRow("InvalidArgs") << standard + QStringLiteral("InvalidArgs") << 4;
    QTest::newRow("NotSupported") << standard + QStringLiteral("NotSupported") << 5;
    QTest::newRow("AccessDenied") << standard + QStringLiteral("AccessDenied") << 6;
    QTest::newRow("ProcessNotHandled") << service + QStringLiteral("ProcessNotHandled") << 7;
    QTest::newRow("ApplicationNotRunning")
        << service + QStringLiteral("ApplicationNotRunning") << 8;
    QTest::newRow("ApplicationAlreadyRunning")
        << service + QStringLiteral("ApplicationAlreadyRunning") << 9;
    QTest::newRow("somebody else's") << QStringLiteral("com.example.Failed") << 1;
}

void TestTaskInvokerReady::serviceErrorsAreMapped()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    registration().failNext(name, QStringLiteral("the service \"says\" so"));
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    QVERIFY(events.waitFor(1));
    QCOMPARE(events.all(),
             QStringList(QStringLiteral("ready %1 \"the service \"says\" so\"").arg(code)));
    QCOMPARE(warnings.texts(),
             QStringList(QStringLiteral("TaskInvoker registration failed: QDBusError(\"%1\", "
                                        "\"the service \\\"says\\\" so\")")
                             .arg(name)));
    QVERIFY(invoker.availableTasks().isEmpty());
    QVERIFY(invoker.activeTasks().isEmpty());
}

void TestTaskInvokerReady::errorsWithoutATextAreMapped()
{
    busctlDesk(*m_bus, QStringLiteral("FailNextWith"),
               {QStringLiteral("sssav"), QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE),
                QStringLiteral("RegisterInvoker"), QStringLiteral("a.b"), QStringLiteral("1"),
                QStringLiteral("a(si)"), QStringLiteral("1"), QStringLiteral("x"),
                QStringLiteral("3")});
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    const Error error = waitUntilReady(invoker);
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.message(), QString());
    QCOMPARE(
        warnings.texts(),
        QStringList(QStringLiteral("TaskInvoker registration failed: QDBusError(\"a.b\", \"\")")));
}

void TestTaskInvokerReady::otherRepliesAreFailures_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("got");
    const QString path = sessionPath(QStringLiteral("sync"));
    const auto row = [](const char *got, int count, const QString &values) {
        QTest::newRow(got) << count << values << QString::fromLatin1(got);
    };
    row("", 0, QString());
    row("o", 1, QStringLiteral("o ") + path);
    row("sa{sv}", 2, QStringLiteral("s %1 a{sv} 0").arg(path));
    row("a{sv}o", 2, QStringLiteral("a{sv} 0 o ") + path);
    row("oa{ss}", 2, QStringLiteral("o %1 a{ss} 1 AvailableTasks x").arg(path));
    row("oa{sas}", 2, QStringLiteral("o %1 a{sas} 0").arg(path));
    row("oav", 2, QStringLiteral("o %1 av 0").arg(path));
    row("ov", 2, QStringLiteral("o %1 v a{sv} 0").arg(path));
    row("(oa{sv})", 1, QStringLiteral("(oa{sv}) %1 0").arg(path));
    row("va{sv}", 2, QStringLiteral("v o %1 a{sv} 0").arg(path));
    row("i", 1, QStringLiteral("i 3"));
}

void TestTaskInvokerReady::otherRepliesAreFailures()
{
    QFETCH(int, count);
    QFETCH(QString, values);
    QFETCH(QString, got);
    answerRegistration(*m_bus, count, values);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    QVERIFY(events.waitFor(1));
    const QString message =
        QStringLiteral("Unexpected reply signature: got \"%1\", expected \"oa{sv}\"").arg(got);
    QCOMPARE(events.all(), QStringList(QStringLiteral("ready 1 \"%1\"").arg(message)));
    QCOMPARE(
        warnings.texts(),
        QStringList(
            QStringLiteral("TaskInvoker registration failed: "
                           "QDBusError(\"org.freedesktop.DBus.Error.InvalidSignature\", \"%1\")")
                .arg(QString(message).replace(QLatin1Char('"'), QLatin1String("\\\"")))));
}

void TestTaskInvokerReady::furtherValuesAreAccepted()
{
    answerRegistration(*m_bus, 4,
                       QStringLiteral("o %1 a{sv} %2 s more a(si) 1 x 3")
                           .arg(sessionPath(QStringLiteral("sync")), oneTask));
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    QCOMPARE(text(waitUntilReady(invoker)), QStringLiteral("0"));
    QCOMPARE(text(invoker.availableTasks()), QStringLiteral("a {}"));
    QCOMPARE(text(invoker.activeTasks()), QStringLiteral("b 7 {}"));
}

void TestTaskInvokerReady::foreignPathsAreRefused_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("another type's") << sessionPath(QStringLiteral("maintenance"));
    QTest::newRow("in other letters") << sessionPath(QStringLiteral("Sync"));
    QTest::newRow("below") << sessionPath(QStringLiteral("sync/x"));
    QTest::newRow("beginning alike") << sessionPath(QStringLiteral("syncx"));
    QTest::newRow("root") << QStringLiteral("/");
}

void TestTaskInvokerReady::foreignPathsAreRefused()
{
    QFETCH(QString, path);
    answerRegistration(*m_bus, 2, QStringLiteral("o %1 a{sv} %2").arg(path, oneTask));
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    QVERIFY(events.waitFor(1));
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    QVERIFY(events.waitFor(2));
    QCOMPARE(events.all().constFirst(), QStringLiteral("ready 1 \"Wrong TaskInvoker path\""));
    QCOMPARE(warnings.texts(),
             QStringList(QStringLiteral("Unexpected object path: \"%1\"").arg(path)));
    QVERIFY(invoker.availableTasks().isEmpty());
    QVERIFY(invoker.activeTasks().isEmpty());
    // It goes on speaking to its own session.
    QCOMPARE(m_simulator->calls().constLast().path, sessionPath(QStringLiteral("sync")));
}

void TestTaskInvokerReady::failuresLeaveTheListsAsTheyAre_data()
{
    QTest::addColumn<bool>("foreign");
    QTest::newRow("error") << false;
    QTest::newRow("foreign path") << true;
}

// A list may have been announced before the answer, and be announced after it.
void TestTaskInvokerReady::failuresLeaveTheListsAsTheyAre()
{
    QFETCH(bool, foreign);
    if (foreign) {
        answerRegistration(*m_bus, 2, QStringLiteral("o /x a{sv} ") + oneTask);
    } else {
        registration().failNext(QStringLiteral("a.b"), QString());
    }
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    // Signals that come before this one has been answered are of another test.
    waitUntilReady(invoker);
    emitPropertiesChanged(*m_bus, QStringLiteral("sync"),
                          QStringLiteral("1 ActiveTasks a(sia{sv}) 1 c 8 0"));
    QVERIFY(events.waitFor(1));

    registration().holdNext(1);
    TaskInvoker early(TaskInvoker::SessionBus, QStringLiteral("early"));
    Events earlyEvents;
    earlyEvents.watch(early);
    early.onReady(earlyEvents.ready());
    registration().waitForHeld(1);
    emitPropertiesChanged(*m_bus, QStringLiteral("early"),
                          QStringLiteral("1 ActiveTasks a(sia{sv}) 1 d 9 0"));
    QVERIFY(earlyEvents.waitFor(1));
    QCOMPARE(earlyEvents.all(), QStringList(QStringLiteral("active [d 9 {}]")));
    registration().release({0});
    QVERIFY(earlyEvents.waitFor(4));
    QCOMPARE(earlyEvents.all().mid(1),
             (QStringList{QStringLiteral("active []"), QStringLiteral("available []"),
                          QStringLiteral("ready 0")}));

    QCOMPARE(events.all(), QStringList(QStringLiteral("active [c 8 {}]")));
    QCOMPARE(text(invoker.activeTasks()), QStringLiteral("c 8 {}"));
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerReady::emptyCallbackThrowsWhenItIsItsTurn()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready(QStringLiteral("first")));
    invoker.onReady(nullptr);
    invoker.onReady(events.ready(QStringLiteral("never")));
    {
        // Qt has something to say about exceptions in event handlers; the library has not.
        const Warnings warnings;
        const auto runLoop = [] {
            const bool ended = QTest::qWaitFor([] { return false; }, patience);
            QVERIFY(!ended);
        };
        QVERIFY_EXCEPTION_THROWN(runLoop(), std::bad_function_call);
    }

    // The event loop works on, and so does the invoker, which is ready.
    roundTrip(invoker);
    invoker.onReady(events.ready(QStringLiteral("later")));
    QCOMPARE(events.all().mid(2),
             (QStringList{QStringLiteral("first 0"), QStringLiteral("later 0")}));
}

void TestTaskInvokerReady::emptyCallbackThrowsAtOnceWhenReady()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, QStringLiteral("sync"));
    waitUntilReady(invoker);
    QVERIFY_EXCEPTION_THROWN(invoker.onReady(nullptr), std::bad_function_call);
    roundTrip(invoker);
}

OSTREL_TEST_MAIN(TestTaskInvokerReady)

#include "tst_task_invoker_ready.moc"
