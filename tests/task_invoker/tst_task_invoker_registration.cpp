// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMetaMethod>

using Ostrel::TaskInvoker;

// An invoker registers its type. Creating and deleting it puts nothing else on the bus.
class TestTaskInvokerRegistration : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void firstInvokerRegistersTheTypes();
    void classHasTwoSignals();
    void enumerationsHaveTheirNumbers();
    void invokerRegistersItsTypeOnce();
    void constructionDoesNotWaitForTheReply();
    void invokerRegistersBeforeItSubscribes();
    void destructionSendsNothing_data();
    void destructionSendsNothing();
    void validTaskTypesAreRegistered_data();
    void validTaskTypesAreRegistered();
    void stringsThatTheBusAltersDoNotMatch_data();
    void stringsThatTheBusAltersDoNotMatch();
    void invalidTaskTypesAreSentToo_data();
    void invalidTaskTypesAreSentToo();
    void invalidTaskTypesNeverMatchAPath();
    void invokersOfOneTypeShareASession();
};

void TestTaskInvokerRegistration::firstInvokerRegistersTheTypes()
{
    QCOMPARE(QMetaType::type("QVector<AvailableTask>"), 0);
    TaskInvoker first(TaskInvoker::SessionBus, "sync");
    const int id = QMetaType::type("QVector<AvailableTask>");
    QVERIFY(id != 0);
    QCOMPARE(QMetaType::type("TaskState"), QMetaType::type("Ostrel::TaskState"));
    QCOMPARE(QMetaType::type("AvailableTask"), 0);
    const TaskInvoker second(TaskInvoker::SessionBus, "sync");
    QCOMPARE(QMetaType::type("QVector<AvailableTask>"), id);
    waitUntilReady(first);
}

void TestTaskInvokerRegistration::classHasTwoSignals()
{
    const QMetaObject &meta = TaskInvoker::staticMetaObject;
    QCOMPARE(meta.className(), "Ostrel::TaskInvoker");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount(), meta.methodOffset() + 2);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(),
             QByteArray("activeTasksChanged()"));
    QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
    QCOMPARE(meta.method(meta.methodOffset() + 1).methodSignature(),
             QByteArray("availableTasksChanged()"));
    QCOMPARE(meta.method(meta.methodOffset() + 1).methodType(), QMetaMethod::Signal);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(sizeof(TaskInvoker), sizeof(QObject) + sizeof(void *));

    QObject parent;
    auto *invoker = new TaskInvoker(TaskInvoker::SessionBus, "sync", &parent);
    QCOMPARE(invoker->parent(), &parent);
    QVERIFY(invoker->children().isEmpty());
    QVERIFY(invoker->availableTasks().isEmpty());
    QVERIFY(invoker->activeTasks().isEmpty());
    const TaskInvoker orphan(TaskInvoker::SessionBus, "sync");
    QVERIFY(orphan.parent() == nullptr);
}

void TestTaskInvokerRegistration::enumerationsHaveTheirNumbers()
{
    QCOMPARE(int(TaskInvoker::SessionBus), 0);
    QCOMPARE(int(TaskInvoker::SystemBus), 1);
    QCOMPARE(int(TaskInvoker::AutostartDefault), 0);
    QCOMPARE(int(TaskInvoker::AutostartEnabled), 1);
    QCOMPARE(int(TaskInvoker::AutostartDisabled), 2);
}

void TestTaskInvokerRegistration::invokerRegistersItsTypeOnce()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QCOMPARE(invoker.taskType(), "sync");
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), "0");
    roundTrip(invoker);

    // One call, without introspection or reading of properties. The other call is that of
    // roundTrip().
    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 2);
    const Call &call = calls.constFirst();
    QCOMPARE(call.path, OSTREL_SERVICE_PATH "/TaskInvoker1");
    QCOMPARE(call.interface, OSTREL_SERVICE_NAME ".TaskInvoker1");
    QCOMPARE(call.member, "RegisterInvoker");
    QCOMPARE(call.signature, "s");
    QCOMPARE(call.arguments, QVariantList{"sync"});
}

void TestTaskInvokerRegistration::constructionDoesNotWaitForTheReply()
{
    const Faults registration =
        m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());

    // The reply is there, but only the event loop brings it.
    registration.waitForHeld(1);
    registration.release({0});
    QCOMPARE(events.all(), QStringList());
    events.waitFor(3);
}

void TestTaskInvokerRegistration::invokerRegistersBeforeItSubscribes()
{
    BusMonitor monitor(m_bus);
    const TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    int registration = -1;
    int subscription = -1;
    const QVector<QJsonObject> messages = monitor.ownMessages();
    for (int i = 0; i < messages.size(); ++i) {
        const QString member = messages.at(i).value("member").toString();
        const QString argument = messages.at(i).value("payload")["data"][0].toString();
        if (member == "RegisterInvoker") {
            QCOMPARE(registration, -1);
            registration = i;
        } else if (member == "AddMatch" && argument.contains("PropertiesChanged")) {
            QCOMPARE(subscription, -1);
            subscription = i;
            QVERIFY(argument.contains(QString("path='%1'").arg(sessionPath("sync"))));
            QVERIFY(argument.contains("interface='org.freedesktop.DBus.Properties'"));
            QVERIFY(argument.contains("sender='" OSTREL_SERVICE_NAME "'"));
        }
    }
    QVERIFY(registration >= 0);
    QVERIFY(subscription > registration);
}

void TestTaskInvokerRegistration::destructionSendsNothing_data()
{
    QTest::addColumn<bool>("ready");
    QTest::newRow("ready") << true;
    QTest::newRow("not ready yet") << false;
}

void TestTaskInvokerRegistration::destructionSendsNothing()
{
    QFETCH(bool, ready);
    auto invoker = std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, "sync");
    if (ready) {
        waitUntilReady(*invoker);
    }
    BusMonitor monitor(m_bus);
    invoker.reset();
    const QVector<QJsonObject> messages = monitor.ownMessages();
    // It removes its match rules, which concern only the message bus.
    for (const QJsonObject &message : messages) {
        QCOMPARE(message.value("destination").toString(), "org.freedesktop.DBus");
        QCOMPARE(message.value("member").toString(), "RemoveMatch");
    }
}

void TestTaskInvokerRegistration::validTaskTypesAreRegistered_data()
{
    QTest::addColumn<QString>("type");
    for (const char *const type : {"sync", "1x", "_", "A_b_3", "a/b", "a/b/1"}) {
        QTest::newRow(type) << type;
    }
    QTest::newRow("long") << QString(10000, 'x');
}

void TestTaskInvokerRegistration::validTaskTypesAreRegistered()
{
    QFETCH(QString, type);
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    QCOMPARE(invoker.taskType(), type);
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), "0");
    Events events;
    invoker.start("none", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(m_simulator.calls().constLast().path, sessionPath(type));
    QVERIFY(events.all().constFirst().startsWith("started 0: 2 "));
}

void TestTaskInvokerRegistration::stringsThatTheBusAltersDoNotMatch_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantList>("registered");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<QString>("warning");
    // A string on the bus ends at a NUL, so the answer names another session.
    QTest::newRow("NUL") << QString("a") + QChar(0) + 'b' << QVariantList{"a"}
                         << "1 \"Wrong TaskInvoker path\""
                         << QString("Unexpected object path: \"%1\"").arg(sessionPath("a"));
    QTest::newRow("half a character")
        << QString("a") + QChar(0xd83d) << QVariantList{"a?"} << "4 \"\"a?\" makes no object path\""
        << "TaskInvoker registration failed: "
           "QDBusError(\"org.freedesktop.DBus.Error.InvalidArgs\", \"\\\"a?\\\" "
           "makes no object path\")";
}

void TestTaskInvokerRegistration::stringsThatTheBusAltersDoNotMatch()
{
    QFETCH(QString, type);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    QCOMPARE(invoker.taskType(), type);
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    events.waitFor(1);
    QFETCH(QString, outcome);
    QCOMPARE(events.all(), QStringList("ready " + outcome));
    QFETCH(QString, warning);
    QCOMPARE(warnings.texts(), QStringList(warning));
    QCOMPARE(m_simulator.calls().size(), 1);
    QTEST(m_simulator.calls().at(0).arguments, "registered");

    events.clear();
    invoker.start("task", {}, {}, events.started());
    events.waitFor(1);
    QVERIFY(events.all().at(0).startsWith("started 0: 1 \"Invalid object path: "));
    QCOMPARE(m_simulator.calls().size(), 1);
}

void TestTaskInvokerRegistration::invalidTaskTypesAreSentToo_data()
{
    QTest::addColumn<QString>("type");
    for (const char *const type : {"", "-", "a-b", "a b", " ", "/", "/a", "a/", "a//b", "a.b",
                                   "a\n", "\xc3\xa9", "\xf0\x9f\xaa\x9f", "a/\xc3\xa9"}) {
        QTest::addRow("\"%s\"", type) << type;
    }
    QTest::newRow("null") << QString();
}

// The registration is sent. "Start" and "Stop" have no valid path, before and after the answer.
void TestTaskInvokerRegistration::invalidTaskTypesAreSentToo()
{
    QFETCH(QString, type);
    const QString invalidPath = QString("1 \"Invalid object path: %1\"").arg(sessionPath(type));
    const QString refused = QString("4 \"\"%1\" makes no object path\"").arg(type);

    const Faults registration =
        m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    QCOMPARE(invoker.taskType(), type);
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    invoker.start("task", {}, {}, events.started());
    invoker.stop("task", events.stopped());
    QCOMPARE(warnings.texts(), QStringList());
    QCOMPARE(events.all(), QStringList());
    events.waitFor(2);
    registration.waitForHeld(1);
    registration.release({0});
    events.waitFor(3);
    QCOMPARE(
        events.all(),
        (QStringList{"started 0: " + invalidPath, "stopped " + invalidPath, "ready " + refused}));
    QCOMPARE(warnings.texts().size(), 1);

    events.clear();
    invoker.start("task", {}, {}, events.started());
    invoker.stop("task", events.stopped());
    QCOMPARE(events.all(), QStringList());
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"started 0: " + invalidPath, "stopped " + invalidPath}));

    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.constFirst().member, "RegisterInvoker");
    QCOMPARE(calls.constFirst().signature, "s");
    QCOMPARE(calls.constFirst().arguments, QVariantList{type.isNull() ? "" : QVariant(type)});
}

// No path that a service can send matches.
void TestTaskInvokerRegistration::invalidTaskTypesNeverMatchAPath()
{
    answerRegistration(m_bus, "a_b", "0");
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "a-b");
    QCOMPARE(Ostrel::text(waitUntilReady(invoker)), "1 \"Wrong TaskInvoker path\"");
    QCOMPARE(warnings.texts(),
             QStringList(QString("Unexpected object path: \"%1\"").arg(sessionPath("a_b"))));
}

void TestTaskInvokerRegistration::invokersOfOneTypeShareASession()
{
    TaskInvoker first(TaskInvoker::SessionBus, "sync");
    TaskInvoker second(TaskInvoker::SessionBus, "sync");
    TaskInvoker other(TaskInvoker::SessionBus, "maintenance");
    waitUntilReady(first);
    waitUntilReady(second);
    waitUntilReady(other);
    Events events;
    first.start("contacts", {}, {}, events.started());
    waitUntil([&] { return second.activeTasks().size() == 1; });
    waitUntil([&] { return first.activeTasks().size() == 1; });
    roundTrip(other);
    QCOMPARE(other.activeTasks().size(), 0);
    QCOMPARE(events.all(), QStringList("started 1: 0"));
}

OSTREL_TEST_MAIN(TestTaskInvokerRegistration)

#include "tst_task_invoker_registration.moc"
