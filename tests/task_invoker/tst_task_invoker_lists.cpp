// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "run.h"
#include "task_invokers.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QVariantMap>

using Ostrel::TaskInvoker;

namespace
{

const QString type = "other";

} // namespace

// The service announces lists of tasks, and the invoker reports them.
class TestTaskInvokerLists : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void replyToTheRegistrationFillsTheLists();
    void replyWithoutListsChangesNothing();
    void changesReplaceTheLists_data();
    void changesReplaceTheLists();
    void recordsArriveUnchanged();
    void aListStaysWhenTheOtherChanges();
    void equalListsEmitTheSignalAgain();
    void activeTasksComeFirst();
    void startAndStopChangeTheLists();
    void changesBeforeTheReplyAreApplied();
    void otherSignalsAreDropped_data();
    void otherSignalsAreDropped();
    void otherSendersAreDropped();
    void newerListsStayWhenASlotRunsAnEventLoop_data();
    void newerListsStayWhenASlotRunsAnEventLoop();
    void longTaskTypesReceiveChanges();

private:
    // Announces the list "end" as a marker, and waits for it.
    void waitForTheEnd(const Events &events) const;
};

void TestTaskInvokerLists::waitForTheEnd(const Events &events) const
{
    emitPropertiesChanged(m_bus, type, "1 ActiveTasks a(sia{sv}) 1 end 0 0");
    waitUntil([&] { return events.all().contains("active [end 0 {}]"); });
    QCOMPARE(events.all().constLast(), "active [end 0 {}]");
}

void TestTaskInvokerLists::replyToTheRegistrationFillsTheLists()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    waitUntilReady(invoker);
    QCOMPARE(events.all(),
             (QStringList{"active []",
                          "available [calendar {Description=Fetches the calendars}; "
                          "contacts {Description=Fetches the contacts}; "
                          "photos {Description=Sends the photos}]"}));
}

void TestTaskInvokerLists::replyWithoutListsChangesNothing()
{
    answerRegistration(m_bus, type, "1 Other i 3");
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    events.watch(invoker);
    QCOMPARE(text(waitUntilReady(invoker)), "0");
    QCOMPARE(events.all(), QStringList());
}

void TestTaskInvokerLists::changesReplaceTheLists_data()
{
    QTest::addColumn<QString>("changed");
    QTest::addColumn<QString>("invalidated");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QStringList>("seen");

    const QString own = OSTREL_TASK_INVOKER_SESSION_INTERFACE;
    const QString none = "0";
    const QString active = "ActiveTasks a(sia{sv}) 1 a 1 0";
    const QString available = "AvailableTasks a(sa{sv}) 1 b 0";
    const QString activeSeen = "active [a 1 {}]";
    const QString availableSeen = "available [b {}]";
    const auto row = [](const char *name, const QString &changed, const QString &invalidated,
                        const QString &interface, const QStringList &seen) {
        QTest::newRow(name) << changed << invalidated << interface << seen;
    };
    row("active tasks alone", "1 " + active, none, own, {activeSeen});
    row("available tasks alone", "1 " + available, none, own, {availableSeen});
    row("both, in either order", QString("2 %1 %2").arg(available, active), none, own,
        {activeSeen, availableSeen});
    row("others around them", QString("4 Z i 1 %1 A a(sa{sv}) 1 c 0 %2").arg(available, active),
        none, own, {activeSeen, availableSeen});
    row("others alone", "2 Tasks a(sa{sv}) 1 c 0 '' i 3", none, own, {});
    row("other letters", "2 activeTasks a(sia{sv}) 1 a 1 0 AVAILABLETASKS i 3", none, own, {});
    row("names with blanks", "1 ActiveTasksX a(sia{sv}) 1 a 1 0", none, own, {});
    row("nothing", none, none, own, {});
    row("invalidated alone", none, "2 ActiveTasks AvailableTasks", own, {});
    row("changed and invalidated", "1 " + active, "2 ActiveTasks AvailableTasks", own,
        {activeSeen});
    row("another interface", QString("2 %1 %2").arg(available, active), none, "a.b",
        {activeSeen, availableSeen});
    row("no interface", "1 " + active, none, "''", {activeSeen});
    row("empty lists", "2 ActiveTasks a(sia{sv}) 0 AvailableTasks a(sa{sv}) 0", none, own,
        {"active []", "available []"});
    // The older value comes last.
    row("twice in one message", "2 ActiveTasks a(sia{sv}) 1 x 1 0 ActiveTasks a(sia{sv}) 1 y 2 0",
        none, own, {"active [y 2 {}]", "active [x 1 {}]"});
}

void TestTaskInvokerLists::changesReplaceTheLists()
{
    QFETCH(QString, changed);
    QFETCH(QString, invalidated);
    QFETCH(QString, interface);
    QFETCH(QStringList, seen);
    answerRegistration(m_bus, type,
                       "2 ActiveTasks a(sia{sv}) 1 old 9 0 AvailableTasks "
                       "a(sa{sv}) 1 old 0");
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    emitPropertiesChanged(m_bus, type, changed, invalidated, interface);
    waitForTheEnd(events);
    QCOMPARE(events.all(), seen + QStringList("active [end 0 {}]"));
    if (!seen.join(QString()).contains("available")) {
        QCOMPARE(text(invoker.availableTasks()), "old {}");
    }
    // The invoker fetches nothing: it has sent only the registration.
    QCOMPARE(m_simulator.calls().size(), 1);
}

void TestTaskInvokerLists::recordsArriveUnchanged()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    emitPropertiesChanged(
        m_bus, type,
        "2 ActiveTasks a(sia{sv}) 3 '' -2147483648 0 one 1 2 A i -1 B as 2 x y "
        "two 2147483647 0 AvailableTasks a(sa{sv}) 2 a 1 K a{sv} 1 k v s deep b 0");
    events.waitFor(2);
    QCOMPARE(text(invoker.activeTasks()), " -2147483648 {}; one 1 {A=-1,B=}; two 2147483647 {}");
    QCOMPARE(invoker.activeTasks().at(1).properties.value("B").toStringList(),
             (QStringList{"x", "y"}));
    QCOMPARE(text(invoker.availableTasks()), "a {K=}; b {}");
}

void TestTaskInvokerLists::aListStaysWhenTheOtherChanges()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    const auto available = text(invoker.availableTasks());
    Events events;
    events.watch(invoker);
    emitPropertiesChanged(m_bus, "sync", "1 ActiveTasks a(sia{sv}) 1 a 1 0");
    events.waitFor(1);
    roundTrip(invoker);
    QCOMPARE(events.all(), QStringList("active [a 1 {}]"));
    QCOMPARE(text(invoker.availableTasks()), available);
}

void TestTaskInvokerLists::equalListsEmitTheSignalAgain()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    for (int i = 0; i < 3; ++i) {
        emitPropertiesChanged(m_bus, type, "1 AvailableTasks a(sa{sv}) 1 a 0");
    }
    waitForTheEnd(events);
    const QString seen = "available [a {}]";
    QCOMPARE(events.all(), (QStringList{seen, seen, seen, "active [end 0 {}]"}));
}

// When the first signal is emitted, the second list is still the old one.
void TestTaskInvokerLists::activeTasksComeFirst()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    int availableWhenActive = -1;
    int availableWhenAvailable = -1;
    connect(&invoker, &TaskInvoker::activeTasksChanged, this,
            [&] { availableWhenActive = invoker.availableTasks().size(); });
    connect(&invoker, &TaskInvoker::availableTasksChanged, this,
            [&] { availableWhenAvailable = invoker.availableTasks().size(); });
    emitPropertiesChanged(m_bus, "sync",
                          "2 AvailableTasks a(sa{sv}) 1 b 0 ActiveTasks a(sia{sv}) 1 a 1 0");
    waitUntil([&] { return availableWhenAvailable == 1; });
    QCOMPARE(availableWhenActive, 3);
}

void TestTaskInvokerLists::startAndStopChangeTheLists()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    TaskInvoker::Hints hints;
    hints.setPriority(5);
    invoker.start("photos", {}, hints, events.started());
    events.waitFor(2);
    invoker.stop("photos", events.stopped());
    events.waitFor(4);
    QCOMPARE(events.sortedWithoutPids(),
             (QStringList{"active []", "active [photos PID {Priority=5}]", "started 1: 0",
                          "stopped 0"}));
}

void TestTaskInvokerLists::changesBeforeTheReplyAreApplied()
{
    const Faults registration =
        m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    registration.waitForHeld(1);
    emitPropertiesChanged(m_bus, type, "1 AvailableTasks a(sa{sv}) 1 early 0");
    events.waitFor(1);
    QCOMPARE(text(invoker.availableTasks()), "early {}");
    registration.release({0});
    events.waitFor(4);
    QCOMPARE(events.all(),
             (QStringList{"available [early {}]", "active []", "available []", "ready 0"}));
}

void TestTaskInvokerLists::otherSignalsAreDropped_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("member");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("arguments");

    const QString own = sessionPath(type);
    const QString properties = "org.freedesktop.DBus.Properties";
    const QString changed = "PropertiesChanged";
    const QString good = "s x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 as 0";
    const auto row = [](const char *name, const QString &path, const QString &interface,
                        const QString &member, int count, const QString &arguments) {
        QTest::newRow(name) << path << interface << member << count << arguments;
    };
    row("another path", sessionPath("others"), properties, changed, 3, good);
    row("a path below", own + "/x", properties, changed, 3, good);
    row("another interface", own, "a.b", changed, 3, good);
    row("another member", own, properties, "Changed", 3, good);
    const auto wrong = [&](const char *signature, int count, const char *arguments) {
        row(signature, own, properties, changed, count, arguments);
    };
    wrong("", 0, "");
    wrong("s", 1, "s x");
    wrong("sa{sv}", 2, "s x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0");
    wrong("sa{sv}asi", 4, "s x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 as 0 i 3");
    wrong("sa{sv}ao", 3, "s x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 ao 0");
    wrong("oa{sv}as", 3, "o /x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 as 0");
    wrong("sa{ss}as", 3, "s x a{ss} 1 ActiveTasks x as 0");
    wrong("sa{is}as", 3, "s x a{is} 1 1 x as 0");
    wrong("sa{sa(sia{sv})}as", 3, "s x a{sa(sia{sv})} 1 ActiveTasks 1 a 1 0 as 0");
    wrong("saias", 3, "s x ai 2 1 2 as 0");
    wrong("saas", 2, "s x aas 1 1 ActiveTasks");
    wrong("s(i)as", 3, "s x (i) 3 as 0");
    wrong("s(sv)as", 3, "s x (sv) ActiveTasks a(sia{sv}) 1 a 1 0 as 0");
    wrong("savas", 3, "s x av 1 a(sia{sv}) 1 a 1 0 as 0");
    wrong("svas", 3, "s x v a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 as 0");
    wrong("sa{sv}ai", 3, "s x a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 ai 1 1");
    wrong("ia{sv}as", 3, "i 3 a{sv} 1 ActiveTasks a(sia{sv}) 1 a 1 0 as 0");
}

void TestTaskInvokerLists::otherSignalsAreDropped()
{
    QFETCH(QString, path);
    QFETCH(QString, interface);
    QFETCH(QString, member);
    QFETCH(int, count);
    QFETCH(QString, arguments);
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    emitSignal(m_bus, path, interface, member, arguments, count);
    waitForTheEnd(events);
    QCOMPARE(events.size(), 1);
}

// Only the service is heard, whether it broadcasts or not.
void TestTaskInvokerLists::otherSendersAreDropped()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    const QString self = QDBusConnection::sessionBus().baseService();
    for (const QString &destination : {QString(), QString("--destination=%1").arg(self)}) {
        QStringList arguments;
        if (!destination.isEmpty()) {
            arguments.append(destination);
        }
        const Result sent =
            busctl(m_bus,
                   arguments
                       + QStringList{"emit", sessionPath(type), "org.freedesktop.DBus.Properties",
                                     "PropertiesChanged", "sa{sv}as"}
                       + wordsOf("x 1 ActiveTasks a(sia{sv}) 1 forged 1 0 0"));
        QVERIFY2(sent.exitStatus == 0, qPrintable(sent.errors));
    }
    waitForTheEnd(events);
    QCOMPARE(events.size(), 1);
}

// A newer announcement is applied first, then the rest of the older one.
void TestTaskInvokerLists::newerListsStayWhenASlotRunsAnEventLoop_data()
{
    QTest::addColumn<QString>("newer");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("the list that comes next in the older announcement")
        << "1 AvailableTasks a(sa{sv}) 1 new 0"
        << QStringList{"available [new {}]", "end", "available [new {}]"};
    QTest::newRow("both lists")
        << "2 ActiveTasks a(sia{sv}) 1 b 2 0 AvailableTasks a(sa{sv}) 1 new 0"
        << QStringList{"active [b 2 {}]", "available [new {}]", "end", "available [new {}]"};
    QTest::newRow("the other list") << "1 ActiveTasks a(sia{sv}) 1 b 2 0"
                                    << QStringList{"active [b 2 {}]", "end", "available [old {}]"};
}

void TestTaskInvokerLists::newerListsStayWhenASlotRunsAnEventLoop()
{
    QFETCH(const QString, newer);
    QFETCH(const QStringList, expected);
    // The older announcement first comes with the reply to the registration, then as a signal.
    const QString older = "2 ActiveTasks a(sia{sv}) 1 a 1 0 AvailableTasks a(sa{sv}) 1 old 0";
    answerRegistration(m_bus, type, older);
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    events.watch(invoker);
    bool first = true;
    connect(&invoker, &TaskInvoker::activeTasksChanged, this, [&] {
        if (first) {
            first = false;
            emitPropertiesChanged(m_bus, type, newer);
            events.waitFor(expected.size() - 1);
            events.add("end");
        }
    });
    const QStringList all = QStringList{"active [a 1 {}]"} + expected;
    events.waitFor(all.size());
    QCOMPARE(events.all(), all);

    events.clear();
    first = true;
    emitPropertiesChanged(m_bus, type, older);
    events.waitFor(all.size());
    QCOMPARE(events.all(), all);
}

// Nearly as long as a message bus allows.
void TestTaskInvokerLists::longTaskTypesReceiveChanges()
{
    const QString longType(800, 'x');
    TaskInvoker invoker(TaskInvoker::SessionBus, longType);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    emitPropertiesChanged(m_bus, longType, "1 ActiveTasks a(sia{sv}) 1 a 1 0");
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("active [a 1 {}]"));
}

OSTREL_TEST_MAIN(TestTaskInvokerLists)

#include "tst_task_invoker_lists.moc"
