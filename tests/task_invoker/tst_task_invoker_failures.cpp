// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"
#include "task_invokers.h"
#include "test_main.h"
#include "warnings.h"

#include <optional>

using Ostrel::TaskInvoker;

namespace
{

const QString type = QStringLiteral("sync");
const QString absent =
    QStringLiteral("1 \"The name " OSTREL_SERVICE_NAME " was not provided by any .service files\"");
const QString gone =
    QStringLiteral("1 \"Message recipient disconnected from message bus without replying\"");

// Qt has something to say when it learns late that a service has another owner; the library has
// not.
QStringList ownTexts(const Warnings &warnings)
{
    QStringList texts;
    const QStringList all = warnings.texts();
    for (const QString &text : all) {
        if (!text.startsWith(QStringLiteral("QDBusConnection: name "))) {
            texts.append(text);
        }
    }
    return texts;
}

QString noSession()
{
    return QStringLiteral("1 \"No object at the path %1\"").arg(sessionPath(type));
}

} // namespace

// The service is absent, ends at the wrong moment, or comes back.
class TestTaskInvokerFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void serviceIsAbsent();
    void serviceEndsBeforeItReplies();
    void serviceEndsWithManyCallsInFlight();
    void serviceComesLater();
    void serviceComesBack();
    void anotherProgramOwnsTheName();

private:
    // The session bus of a process is one for its whole life, so all tests share it.
    static PrivateBus &bus();

    MethodFaults registration() const
    {
        return m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
    MethodFaults starts() const
    {
        return m_simulator->faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
    MethodFaults stops() const
    {
        return m_simulator->faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop");
    }

    std::optional<Simulator> m_simulator;
};

PrivateBus &TestTaskInvokerFailures::bus()
{
    static PrivateBus instance;
    return instance;
}

void TestTaskInvokerFailures::init()
{
    m_simulator.emplace(bus());
}

void TestTaskInvokerFailures::cleanup()
{
    m_simulator.reset();
}

void TestTaskInvokerFailures::serviceIsAbsent()
{
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    invoker.stop(QStringLiteral("photos"), events.stopped());
    events.waitFor(3);
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QStringLiteral("ready ") + absent, QStringLiteral("started 0: ") + absent,
                          QStringLiteral("stopped ") + absent}));
    QCOMPARE(ownTexts(warnings),
             QStringList(QStringLiteral("TaskInvoker registration failed: "
                                        "QDBusError(\"org.freedesktop.DBus.Error.ServiceUnknown\", "
                                        "\"The name " OSTREL_SERVICE_NAME
                                        " was not provided by any .service files\")")));
}

void TestTaskInvokerFailures::serviceEndsBeforeItReplies()
{
    m_simulator->start();
    registration().dieInNext();
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    invoker.onReady(events.ready());
    events.waitFor(1);
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(events.all(), QStringList(QStringLiteral("ready ") + gone));
    QCOMPARE(ownTexts(warnings).size(), 1);
}

void TestTaskInvokerFailures::serviceEndsWithManyCallsInFlight()
{
    m_simulator->start();
    starts().holdNext(20);
    stops().dieInNext();
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    for (int i = 0; i < 20; ++i) {
        invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    }
    invoker.stop(QStringLiteral("photos"), events.stopped());
    events.waitFor(21);
    QCOMPARE(m_simulator->waitForEnd(), 1);
    roundTrip(invoker);
    QCOMPARE(events.all().count(QStringLiteral("started 0: ") + gone), 20);
    QCOMPARE(events.all().count(QStringLiteral("stopped ") + gone), 1);
    QCOMPARE(events.size(), 21);
    QCOMPARE(ownTexts(warnings), QStringList());
}

// A failed invoker stays failed, but its calls go out, and it hears what is announced.
void TestTaskInvokerFailures::serviceComesLater()
{
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), absent);
    m_simulator->start();
    Events events;
    events.watch(invoker);
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(1);
    TaskInvoker second(TaskInvoker::SessionBus, type);
    QCOMPARE(Ostrel::text(waitUntilReady(second)), QStringLiteral("0"));
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(3);
    invoker.onReady(events.ready());
    QCOMPARE(
        events.sortedWithoutPids(),
        (QStringList{QStringLiteral("active [photos PID {}]"), QStringLiteral("ready ") + absent,
                     QStringLiteral("started 0: ") + noSession(), QStringLiteral("started 1: 0")}));
    QVERIFY(invoker.availableTasks().isEmpty());
    QCOMPARE(ownTexts(warnings).size(), 1);
}

// Nothing is registered again, and the lists stay as they were until something is announced.
void TestTaskInvokerFailures::serviceComesBack()
{
    m_simulator->start();
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(2);
    events.clear();
    const QString active = text(invoker.activeTasks());
    QVERIFY2(active.startsWith(QStringLiteral("photos ")), qPrintable(active));

    QCOMPARE(m_simulator->end(), 0);
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(1);
    m_simulator->start();
    invoker.stop(QStringLiteral("photos"), events.stopped());
    events.waitFor(2);
    QCOMPARE(text(invoker.activeTasks()), active);
    QCOMPARE(m_simulator->calls().size(), 1);

    TaskInvoker second(TaskInvoker::SessionBus, type);
    waitUntilReady(second);
    invoker.start(QStringLiteral("contacts"), {}, {}, events.started());
    events.waitFor(4);
    invoker.onReady(events.ready());
    QCOMPARE(events.sortedWithoutPids(),
             (QStringList{QStringLiteral("active [contacts PID {}]"), QStringLiteral("ready 0"),
                          QStringLiteral("started 0: ") + absent, QStringLiteral("started 1: 0"),
                          QStringLiteral("stopped ") + noSession()}));
    QCOMPARE(ownTexts(warnings), QStringList());
}

// It may know nothing of tasks.
void TestTaskInvokerFailures::anotherProgramOwnsTheName()
{
    QDBusConnection other = QDBusConnection::connectToBus(bus().address(), QStringLiteral("other"));
    QVERIFY(other.registerService(QStringLiteral(OSTREL_SERVICE_NAME)));
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    invoker.onReady(events.ready());
    invoker.start(QStringLiteral("photos"), {}, {}, events.started());
    events.waitFor(2);
    QDBusConnection::disconnectFromBus(QStringLiteral("other"));
    QCOMPARE(
        events.all(),
        (QStringList{
            QStringLiteral("ready 1 \"No such object path '%1'\"")
                .arg(QStringLiteral(OSTREL_TASK_INVOKER_PATH)),
            QStringLiteral("started 0: 1 \"No such object path '%1'\"").arg(sessionPath(type))}));
    QCOMPARE(ownTexts(warnings).size(), 1);
}

OSTREL_TEST_MAIN(TestTaskInvokerFailures)

#include "tst_task_invoker_failures.moc"
