// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "kit.h"
#include "test_bus.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <csignal>
#include <optional>

namespace
{

const QString viewer = "demo.Viewer.instance_1"; // clazy:exclude=non-pod-global-static

QStringList words(const QString &line)
{
    return line.split(' ', Qt::SkipEmptyParts);
}

} // namespace

// The command that waits for something in the life of an instance.
class TestOstrelctlWait : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void whatHoldsAlreadySucceedsAtOnce_data();
    void whatHoldsAlreadySucceedsAtOnce();
    void whatCannotComeFailsAtOnce_data();
    void whatCannotComeFailsAtOnce();
    void waitsForTheSignal_data();
    void waitsForTheSignal();
    void signalsBeforeTheListCount_data();
    void signalsBeforeTheListCount();
    void listThatIsOlderThanASignalIsIgnored();
    void otherInstancesDoNotCount();
    void endOfTheInstanceIsAnError_data();
    void endOfTheInstanceIsAnError();
    void endOfServiceOrBusIsAnError_data();
    void endOfServiceOrBusIsAnError();
    void timeoutIsAnError();
    void unknownInstancesAreWaitedFor();
    void failedListIsAnError();
    void waitsForNoServiceThatIsAbsent();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();

private:
    // A waiting command, after it has asked for the list.
    std::unique_ptr<Process> waiting(const QString &options, const QString &instance) const;

    void emitSignal(const QString &member, const QString &instance, uint state = 0) const;

    Faults list() const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications");
    }

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestOstrelctlWait::init()
{
    m_simulator.reset();
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

std::unique_ptr<Process> TestOstrelctlWait::waiting(const QString &options,
                                                    const QString &instance) const
{
    auto process = std::make_unique<Process>(
        OSTRELCTL, QStringList("wait") + words(options) + QStringList(instance));
    process->start();
    list().waitForCalls(1);
    return process;
}

void TestOstrelctlWait::emitSignal(const QString &member, const QString &instance, uint state) const
{
    m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member,
                            {instance, QVariantMap{{"State", state}}});
}

void TestOstrelctlWait::whatHoldsAlreadySucceedsAtOnce_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("output");
    QTest::newRow("runs") << viewer << QString();
    QTest::newRow("JSON") << "--json " + viewer << "{}\n";
    QTest::newRow("state") << "--state 1 " + viewer << QString();
    QTest::newRow("never ran") << "--terminated demo.Viewer.instance_9" << QString();
}

void TestOstrelctlWait::whatHoldsAlreadySucceedsAtOnce()
{
    QFETCH(const QString, line);
    run(OSTRELCTL, {"start", "demo.Viewer"});
    const Result result = run(OSTRELCTL, QStringList("wait") + words(line));
    QCOMPARE(result.errors, QString());
    QTEST(result.output, "output");
    QCOMPARE(result.exitStatus, 0);
}

void TestOstrelctlWait::whatCannotComeFailsAtOnce_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("errors");
    const QString hint = "hint: this takes an instance, not an application or a process: ";
    QTest::newRow("a state")
        << "--state 1 demo.Viewer.instance_9"
        << "error: ApplicationNotRunning: \"demo.Viewer.instance_9\" does not run\n";
    QTest::newRow("a state of an application")
        << "--state 1 demo.Viewer"
        << "error: ApplicationNotRunning: \"demo.Viewer\" does not run\n" + hint + viewer + '\n';
    QTest::newRow("the end of an application")
        << "--terminated demo.Viewer"
        << "error: ApplicationNotRunning: \"demo.Viewer\" does not run\n" + hint + viewer + '\n';
}

void TestOstrelctlWait::whatCannotComeFailsAtOnce()
{
    QFETCH(const QString, line);
    run(OSTRELCTL, {"start", "demo.Viewer"});
    const Result result = run(OSTRELCTL, QStringList("wait") + words(line));
    QTEST(result.errors, "errors");
    QCOMPARE(result.output, QString());
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlWait::waitsForTheSignal_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<bool>("runs");
    QTest::addColumn<QString>("member");
    QTest::addColumn<uint>("state");
    QTest::newRow("start") << QString() << false << "Started" << 0U;
    QTest::newRow("first state") << QString() << false << "StateChanged" << 5U;
    QTest::newRow("state") << "--state 0" << true << "StateChanged" << 0U;
    QTest::newRow("largest state") << "--state 4294967295" << true << "StateChanged" << 4294967295U;
    QTest::newRow("end") << "--terminated" << true << "Terminated" << 0U;
}

void TestOstrelctlWait::waitsForTheSignal()
{
    QFETCH(const QString, options);
    QFETCH(const bool, runs);
    QFETCH(const QString, member);
    QFETCH(const uint, state);
    if (runs) {
        run(OSTRELCTL, {"start", "demo.Viewer"});
    }
    const auto process = waiting(options, viewer);
    if (runs) {
        // These do not count.
        emitSignal("Started", viewer);
        emitSignal("StateChanged", viewer, 17);
    }
    emitSignal(member, viewer, state);
    QCOMPARE(process->waitForEnd(), 0);
    QCOMPARE(process->readAllStandardError(), QByteArray());
    QCOMPARE(process->readAllStandardOutput(), QByteArray());
}

void TestOstrelctlWait::signalsBeforeTheListCount_data()
{
    waitsForTheSignal_data();
}

// It has subscribed before it asks for the list.
void TestOstrelctlWait::signalsBeforeTheListCount()
{
    QFETCH(const QString, options);
    QFETCH(const QString, member);
    QFETCH(const uint, state);
    list().holdNext(1);
    const auto process = waiting(options, viewer);
    list().waitForHeld(1);
    emitSignal(member, viewer, state);
    QCOMPARE(process->waitForEnd(), 0);
    list().release({0});
}

// By the list alone, the instance would not run.
void TestOstrelctlWait::listThatIsOlderThanASignalIsIgnored()
{
    list().holdNext(1);
    const auto process = waiting("--state 4", viewer);
    list().waitForHeld(1);
    emitSignal("Started", viewer);
    list().release({0});
    // Longer than the list needs to arrive.
    run(OSTRELCTL, {"ps"});
    emitSignal("StateChanged", viewer, 4);
    QCOMPARE(process->waitForEnd(), 0);
    QCOMPARE(process->readAllStandardError(), QByteArray());
}

void TestOstrelctlWait::otherInstancesDoNotCount()
{
    const auto process = waiting(QString(), viewer);
    const QString other = "demo.Viewer.instance_10";
    emitSignal("Started", other);
    emitSignal("StateChanged", other, 1);
    emitSignal("Terminated", other);
    emitSignal("Terminated", viewer);
    // The first signal that counts is the last one.
    QCOMPARE(process->waitForEnd(), 1);
    QCOMPARE(process->readAllStandardError(),
             "error: ApplicationNotRunning: \"demo.Viewer.instance_1\" has ended\n");
}

void TestOstrelctlWait::endOfTheInstanceIsAnError_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("state") << "--state 7" << QByteArray();
    QTest::newRow("state, JSON")
        << "--state 7 --json"
        << QByteArray("{\"error\":{\"code\":8,\"message\":\"\\\"demo.Viewer.instance_1\\\" has "
                      "ended\",\"name\":\"ApplicationNotRunning\"}}\n");
}

void TestOstrelctlWait::endOfTheInstanceIsAnError()
{
    QFETCH(const QString, options);
    run(OSTRELCTL, {"start", "demo.Viewer"});
    const auto process = waiting(options, viewer);
    run(OSTRELCTL, {"terminate", viewer});
    QCOMPARE(process->waitForEnd(), 1);
    QCOMPARE(process->readAllStandardError(),
             "error: ApplicationNotRunning: \"demo.Viewer.instance_1\" has ended\n");
    QTEST(process->readAllStandardOutput(), "output");
}

void TestOstrelctlWait::endOfServiceOrBusIsAnError_data()
{
    QTest::addColumn<bool>("endOfBus");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("error");
    QTest::newRow("service, state") << false << "--state 7"
                                    << "the state 7 of \"demo.Viewer.instance_1\" did not come: "
                                       "the service has ended";
    QTest::newRow("service, end") << false << "--terminated"
                                  << "the end of \"demo.Viewer.instance_1\" did not come: "
                                     "the service has ended";
    QTest::newRow("bus") << true << "--state 7"
                         << "the state 7 of \"demo.Viewer.instance_1\" did not come: "
                            "the message bus has ended";
}

void TestOstrelctlWait::endOfServiceOrBusIsAnError()
{
    QFETCH(const bool, endOfBus);
    QFETCH(const QString, options);
    QFETCH(const QString, error);
    run(OSTRELCTL, {"start", "demo.Viewer"});
    const auto process = waiting(options, viewer);
    // It is sent after the reply, so the list does not fail.
    emitSignal("StateChanged", viewer, 17);
    if (endOfBus) {
        ::kill(pid_t(m_bus->processId()), SIGKILL);
    } else {
        m_simulator->process().kill();
    }
    QCOMPARE(process->waitForEnd(), 1);
    QCOMPARE(QString::fromUtf8(process->readAllStandardError()).section('\n', 0, 0),
             "error: Failed: " + error);
}

void TestOstrelctlWait::timeoutIsAnError()
{
    const Result result = run(OSTRELCTL, {"wait", viewer, "--timeout", "1"});
    QCOMPARE(result.errors,
             "error: Failed: the start of \"demo.Viewer.instance_1\" did not come within 1 s\n");
    QCOMPARE(result.exitStatus, 1);
}

// Records without an instance, as a device may send them.
void TestOstrelctlWait::unknownInstancesAreWaitedFor()
{
    for (const char *const options : {"--terminated", "--state 4"}) {
        m_simulator->reset();
        busctlDesk(*m_bus, "AnswerNext",
                   QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2"}
                       + wordsOf("a(siuua{sv}) 1 demo.Other -1 4 1 0 a(ssiua{sv}) 0"));
        Watcher watcher(QStringList("wait") + words(options) + QStringList(viewer));
        QCOMPARE(watcher.readLine(),
                 "hint: the list of what runs does not name all instances, so this waits for a "
                 "signal about \"demo.Viewer.instance_1\"");
        emitSignal("StateChanged", viewer, 4);
        emitSignal("Terminated", viewer);
        QCOMPARE(watcher.waitForEnd(), 0);
    }
}

void TestOstrelctlWait::failedListIsAnError()
{
    list().failNext("org.freedesktop.DBus.Error.AccessDenied", "no");
    const Result result = run(OSTRELCTL, {"wait", viewer});
    QCOMPARE(result.errors, "error: Failed: no\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlWait::waitsForNoServiceThatIsAbsent()
{
    m_simulator->end();
    const Result result = run(OSTRELCTL, {"wait", viewer});
    QCOMPARE(
        result.errors,
        "error: Failed: " + absentServiceText()
            + "\n"
              "hint: no service owns the name " OSTREL_SERVICE_NAME
              " on the session bus; at a desk, start its stand-in: ostrel-simulator --session &\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlWait::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");
    QTest::newRow("no instance") << QString() << "INSTANCE is missing";
    QTest::newRow("two conditions") << "a --state 1 --terminated"
                                    << "--state and --terminated exclude each other";
    for (const char *const number : {"-1", "4294967296", "x"}) {
        QTest::newRow(number)
            << QString("a --state %1").arg(number)
            << QString("--state takes a whole number from 0 to 4294967295, not \"%1\"").arg(number);
    }
    QTest::newRow("timeout") << "a --timeout 0"
                             << "--timeout takes a whole number from 1 to 2147483, not \"0\"";
}

void TestOstrelctlWait::wrongOptionsAreReported()
{
    QFETCH(const QString, line);
    QFETCH(const QString, error);
    const Result result = run(OSTRELCTL, QStringList("wait") + words(line));
    QCOMPARE(result.errors,
             QString("ostrelctl wait: %1\nTry 'ostrelctl wait --help'.\n").arg(error));
    QCOMPARE(result.exitStatus, 2);
    QCOMPARE(m_simulator->calls().size(), 0);
}

OSTREL_TEST_MAIN(TestOstrelctlWait)

#include "tst_ostrelctl_wait.moc"
