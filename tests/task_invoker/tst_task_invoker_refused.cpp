// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "error_names.h"
#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QLoggingCategory>
#include <QtCore/QScopeGuard>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusObjectPath>

#include <csignal>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

const QString oneTask = "2 AvailableTasks a(sa{sv}) 1 a 0 ActiveTasks a(sia{sv}) 1 b 7 0";

} // namespace

// A registration fails: the callbacks receive the reason, it is logged, and the lists stay.
class TestTaskInvokerRefused : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void serviceErrorsAreMapped_data();
    void serviceErrorsAreMapped();
    void errorsWithoutAMessageAreMapped();
    void otherRepliesAreFailures_data();
    void otherRepliesAreFailures();
    void otherSessionPathsAreErrors_data();
    void otherSessionPathsAreErrors();
    void failuresKeepTheLists_data();
    void failuresKeepTheLists();
    void failuresKeepEarlierChanges_data();
    void failuresKeepEarlierChanges();
    void failuresAreLoggedBeforeTheCallbackRuns_data();
    void failuresAreLoggedBeforeTheCallbackRuns();
    void warningsAreOfTheDefaultCategory_data();
    void warningsAreOfTheDefaultCategory();

private:
    Faults registration() const
    {
        return m_simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    }
    // Makes the next registration fail, by another type's path or by an error.
    void failRegistration(bool foreign) const;
};

void TestTaskInvokerRefused::failRegistration(bool foreign) const
{
    if (foreign) {
        answerRegistration(m_bus, 2, "o /x a{sv} " + oneTask);
    } else {
        registration().failNext("a.b", QString());
    }
}

void TestTaskInvokerRefused::serviceErrorsAreMapped_data()
{
    // With "NoError" the lists stay empty, but the callbacks see a success.
    addErrorNames();
}

void TestTaskInvokerRefused::serviceErrorsAreMapped()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    registration().failNext(name, "the service \"says\" so");
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList(QString("ready %1 \"the service \"says\" so\"").arg(code)));
    QCOMPARE(warnings.texts(),
             QStringList(QString("TaskInvoker registration failed: QDBusError(\"%1\", "
                                 "\"the service \\\"says\\\" so\")")
                             .arg(name)));
    QVERIFY(invoker.availableTasks().isEmpty());
    QVERIFY(invoker.activeTasks().isEmpty());
}

void TestTaskInvokerRefused::errorsWithoutAMessageAreMapped()
{
    busctlDesk(m_bus, "FailNextWith",
               {"sssav", OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker", "a.b", "1", "a(si)", "1",
                "x", "3"});
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    const Error error = waitUntilReady(invoker);
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.message(), QString());
    QCOMPARE(warnings.texts(),
             QStringList("TaskInvoker registration failed: QDBusError(\"a.b\", \"\")"));
}

void TestTaskInvokerRefused::otherRepliesAreFailures_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("got");
    const QString path = sessionPath("sync");
    const auto row = [](const char *got, int count, const QString &values) {
        QTest::newRow(got) << count << values << got;
    };
    row("", 0, QString());
    row("o", 1, "o " + path);
    row("sa{sv}", 2, QString("s %1 a{sv} 0").arg(path));
    row("a{sv}o", 2, "a{sv} 0 o " + path);
    row("oa{ss}", 2, QString("o %1 a{ss} 1 AvailableTasks x").arg(path));
    row("oa{sas}", 2, QString("o %1 a{sas} 0").arg(path));
    row("oav", 2, QString("o %1 av 0").arg(path));
    row("ov", 2, QString("o %1 v a{sv} 0").arg(path));
    row("(oa{sv})", 1, QString("(oa{sv}) %1 0").arg(path));
    row("va{sv}", 2, QString("v o %1 a{sv} 0").arg(path));
    row("i", 1, "i 3");
}

void TestTaskInvokerRefused::otherRepliesAreFailures()
{
    QFETCH(int, count);
    QFETCH(QString, values);
    QFETCH(QString, got);
    answerRegistration(m_bus, count, values);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    events.waitFor(1);
    const QString message =
        QString("Unexpected reply signature: got \"%1\", expected \"oa{sv}\"").arg(got);
    QCOMPARE(events.all(), QStringList(QString("ready 1 \"%1\"").arg(message)));
    QCOMPARE(
        warnings.texts(),
        QStringList(QString("TaskInvoker registration failed: "
                            "QDBusError(\"org.freedesktop.DBus.Error.InvalidSignature\", \"%1\")")
                        .arg(QString(message).replace('"', "\\\""))));
}

void TestTaskInvokerRefused::otherSessionPathsAreErrors_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("another type's") << sessionPath("maintenance");
    QTest::newRow("in other letters") << sessionPath("Sync");
    QTest::newRow("below") << sessionPath("sync/x");
    QTest::newRow("beginning alike") << sessionPath("syncx");
    QTest::newRow("root") << "/";
}

void TestTaskInvokerRefused::otherSessionPathsAreErrors()
{
    QFETCH(QString, path);
    answerRegistration(m_bus, 2, QString("o %1 a{sv} %2").arg(path, oneTask));
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    events.waitFor(1);
    invoker.start("photos", {}, {}, events.started());
    events.waitFor(2);
    QCOMPARE(events.all().constFirst(), "ready 1 \"Wrong TaskInvoker path\"");
    QCOMPARE(warnings.texts(), QStringList(QString("Unexpected object path: \"%1\"").arg(path)));
    QVERIFY(invoker.availableTasks().isEmpty());
    QVERIFY(invoker.activeTasks().isEmpty());
    // The invoker still calls its own session.
    QCOMPARE(m_simulator.calls().constLast().path, sessionPath("sync"));
}

void TestTaskInvokerRefused::failuresKeepTheLists_data()
{
    QTest::addColumn<bool>("foreign");
    QTest::newRow("error") << false;
    QTest::newRow("foreign path") << true;
}

// The service may announce a list before its answer and after it.
void TestTaskInvokerRefused::failuresKeepTheLists()
{
    QFETCH(bool, foreign);
    failRegistration(foreign);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    // Another test shows signals that come before the answer.
    waitUntilReady(invoker);
    emitPropertiesChanged(m_bus, "sync", "1 ActiveTasks a(sia{sv}) 1 c 8 0");
    events.waitFor(1);

    registration().holdNext(1);
    TaskInvoker early(TaskInvoker::SessionBus, "early");
    Events earlyEvents;
    earlyEvents.watch(early);
    early.onReady(earlyEvents.ready());
    registration().waitForHeld(1);
    emitPropertiesChanged(m_bus, "early", "1 ActiveTasks a(sia{sv}) 1 d 9 0");
    earlyEvents.waitFor(1);
    QCOMPARE(earlyEvents.all(), QStringList("active [d 9 {}]"));
    registration().release({0});
    earlyEvents.waitFor(4);
    QCOMPARE(earlyEvents.all().mid(1), (QStringList{"active []", "available []", "ready 0"}));

    QCOMPARE(events.all(), QStringList("active [c 8 {}]"));
    QCOMPARE(text(invoker.activeTasks()), "c 8 {}");
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerRefused::failuresKeepEarlierChanges_data()
{
    failuresKeepTheLists_data();
}

// The service sends a list, then the answer.
void TestTaskInvokerRefused::failuresKeepEarlierChanges()
{
    QFETCH(bool, foreign);
    // It registers the types of the announcement.
    const TaskInvoker other(TaskInvoker::SessionBus, "other");
    registration().waitForCalls(1);
    failRegistration(foreign);
    const auto process = pid_t(m_simulator.process().processId());
    const auto resume = qScopeGuard([process] { ::kill(process, SIGCONT); });
    ::kill(process, SIGSTOP);
    const QVariantMap changed{
        {"ActiveTasks", QVariant::fromValue(QVector<Ostrel::ActiveTask>{{"early", 7, {}}})}};
    QDBusMessage announcement = QDBusMessage::createMethodCall(
        OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH, OSTREL_SIMULATOR_INTERFACE, "Emit");
    announcement << QVariant::fromValue(QDBusObjectPath(sessionPath("sync")))
                 << "org.freedesktop.DBus.Properties"
                 << "PropertiesChanged" << QVariant(QVariantList{"a.b", changed, QStringList()});
    QVERIFY(QDBusConnection::sessionBus().send(announcement));

    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    Events events;
    events.watch(invoker);
    invoker.onReady([&](const Error &error) { events.add(QString::number(error.code())); });
    // The bus knows the subscription when it has answered this.
    QDBusConnection::sessionBus().interface()->serviceOwner(OSTREL_SERVICE_NAME);
    ::kill(process, SIGCONT);
    events.waitFor(2);
    roundTrip(invoker);
    QCOMPARE(events.all(), (QStringList{"active [early 7 {}]", "1"}));
    QCOMPARE(text(invoker.activeTasks()), "early 7 {}");
    QVERIFY(invoker.availableTasks().isEmpty());
    QCOMPARE(warnings.texts().size(), 1);
}

void TestTaskInvokerRefused::failuresAreLoggedBeforeTheCallbackRuns_data()
{
    failuresKeepTheLists_data();
}

void TestTaskInvokerRefused::failuresAreLoggedBeforeTheCallbackRuns()
{
    QFETCH(bool, foreign);
    failRegistration(foreign);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    int warningsWhenTold = -1;
    invoker.onReady([&](const Error &) { warningsWhenTold = warnings.texts().size(); });
    waitUntilReady(invoker);
    QCOMPARE(warningsWhenTold, 1);
}

void TestTaskInvokerRefused::warningsAreOfTheDefaultCategory_data()
{
    failuresKeepTheLists_data();
}

// A program can turn them off like its own.
void TestTaskInvokerRefused::warningsAreOfTheDefaultCategory()
{
    QFETCH(bool, foreign);
    failRegistration(foreign);
    QLoggingCategory::setFilterRules("default.warning=false");
    const auto restore = qScopeGuard([] { QLoggingCategory::setFilterRules(QString()); });
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QCOMPARE(waitUntilReady(invoker).code(), Error::Failed);
    QCOMPARE(warnings.texts(), QStringList());
}

OSTREL_TEST_MAIN(TestTaskInvokerRefused)

#include "tst_task_invoker_refused.moc"
