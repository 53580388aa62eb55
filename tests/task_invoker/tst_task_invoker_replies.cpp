// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "error_names.h"
#include "quiet_test.h"
#include "task_invokers.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QPoint>
#include <QtDBus/QDBusArgument>

using Ostrel::TaskInvoker;

// What the callbacks of start() and stop() receive for each reply of the service.
class TestTaskInvokerReplies : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void numberOfTheReplyIsPassedOn_data();
    void numberOfTheReplyIsPassedOn();
    void serviceErrorsAreMapped_data();
    void serviceErrorsAreMapped();
    void errorsMayCarryANumber_data();
    void errorsMayCarryANumber();
    void otherRepliesAreFailures_data();
    void otherRepliesAreFailures();
    void furtherValuesInAReplyAreAccepted();
    void stopAcceptsAnyReply_data();
    void stopAcceptsAnyReply();
    void simulatorRefusesWrongTasks();

private:
    Faults starts() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    }
    Faults stops() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop");
    }
};

void TestTaskInvokerReplies::numberOfTheReplyIsPassedOn_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {42, 0, -1, 2147483647, -2147483647 - 1}) {
        QTest::addRow("%d", number) << number;
    }
}

void TestTaskInvokerReplies::numberOfTheReplyIsPassedOn()
{
    QFETCH(int, number);
    starts().answerNext({number});
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList(QString("started %1: 0").arg(number)));
}

void TestTaskInvokerReplies::serviceErrorsAreMapped_data()
{
    addErrorNames();
}

void TestTaskInvokerReplies::serviceErrorsAreMapped()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    starts().failNext(name, "no start");
    stops().failNext(name, "no stop");
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    QCOMPARE(events.all(),
             (QStringList{QString("started 0: %1 \"no start\"").arg(code),
                          QString("stopped %1 \"no stop\"").arg(code)}));
}

void TestTaskInvokerReplies::errorsMayCarryANumber_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("event");
    const auto row = [](const char *value, const char *event) {
        QTest::newRow(value) << value << "started " + QString::fromLatin1(event);
    };
    row("s 42", "42: 1 \"42\"");
    row("s -7", "-7: 1 \"-7\"");
    row("s 0x1f", "0: 1 \"0x1f\"");
    row("s 4.7", "0: 1 \"4.7\"");
    row("s none", "0: 1 \"none\"");
    row("s ''", "0: 1 \"\"");
    row("i 42", "42: 1 \"42\"");
    row("u 42", "42: 1 \"42\"");
    row("d 42.7", "43: 1 \"42.7\"");
    row("b true", "1: 1 \"true\"");
    row("ay 2 52 50", "42: 1 \"42\"");
    // A container has neither a number nor a message.
    row("ai 2 1 2", "0: 1");
    row("ai 0", "0: 1");
    row("(i) 42", "0: 1");
    row("(ii) 42 43", "0: 1");
    row("a{sv} 1 k i 42", "0: 1");
    row("a{ii} 1 42 43", "0: 1");
    row("a(i) 1 42", "0: 1");
    row("as 2 42 43", "0: 1");
    row("v i 42", "0: 1");
    row("o /a", "0: 1");
    row("g i", "0: 1");
}

void TestTaskInvokerReplies::errorsMayCarryANumber()
{
    QFETCH(QString, value);
    busctlDesk(m_bus, "FailNextWith",
               QStringList{"sssav", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start", "a.b", "1"}
                   + wordsOf(value));
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QTEST(events.all().constFirst(), "event");
}

void TestTaskInvokerReplies::otherRepliesAreFailures_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QVariantList>("values");
    const auto row = [](const char *signature, const QVariantList &values) {
        QTest::newRow(signature) << signature << values;
    };
    row("", {});
    row("s", {"42"});
    row("u", {42U});
    row("x", {42LL});
    row("b", {true});
    row("d", {42.0});
    row("y", {QVariant::fromValue(uchar(42))});
    row("v", {QVariant::fromValue(QDBusVariant(42))});
    row("si", {"42", 42});
    row("ai", {QVariant::fromValue(QList<int>{42})});
    row("(ii)", {QPoint(42, 42)});
    row("a{sv}", {QVariantMap{{"number", 42}}});
    row("as", {QStringList{"42"}});
}

void TestTaskInvokerReplies::otherRepliesAreFailures()
{
    QFETCH(QString, signature);
    QFETCH(QVariantList, values);
    starts().answerNext(values);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(),
             QStringList(QString("started 0: 1 \"Unexpected reply signature: got \"%1\", "
                                 "expected \"i\"\"")
                             .arg(signature)));
}

void TestTaskInvokerReplies::furtherValuesInAReplyAreAccepted()
{
    starts().answerNext({42, "more", QVariantMap()});
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("started 42: 0"));
}

void TestTaskInvokerReplies::stopAcceptsAnyReply_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::newRow("nothing") << QVariantList();
    QTest::newRow("string") << QVariantList{"x"};
    QTest::newRow("number") << QVariantList{-1};
    QTest::newRow("map and more") << QVariantList{QVariantMap(), QPoint(1, 2)};
}

void TestTaskInvokerReplies::stopAcceptsAnyReply()
{
    QFETCH(QVariantList, values);
    stops().answerNext(values);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.stop("photos", events.stopped());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("stopped 0"));
}

void TestTaskInvokerReplies::simulatorRefusesWrongTasks()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    invoker.start(QString(), {}, {}, events.started());
    invoker.stop("photos", events.stopped());
    events.waitFor(2);
    QCOMPARE(events.all(),
             (QStringList{"started 0: 2 \"There is no task \"\" of the type \"sync\"\"",
                          "stopped 8 \"The task \"photos\" is not running\""}));
}

OSTREL_TEST_MAIN(TestTaskInvokerReplies)

#include "tst_task_invoker_replies.moc"
