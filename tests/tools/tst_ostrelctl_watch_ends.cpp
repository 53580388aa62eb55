// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "test_bus.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <csignal>
#include <optional>

// The watching commands when the service comes and goes, and when the bus ends.
class TestOstrelctlWatchEnds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void watchFollowsTheService();
    void watchFollowsTheServiceInJson();
    void taskWatchRegistersWithEachService_data();
    void taskWatchRegistersWithEachService();
    void taskWatchFollowsTheServiceInJson();
    void taskWatchFailsIfANewServiceRefusesIt();
    void taskWatchGoesOnIfANewServiceEndsAtOnce();
    void taskWatchFailsIfTheFirstServiceEndsAtOnce();
    void endOfTheBusIsAnError_data();
    void endOfTheBusIsAnError();

private:
    // A bus that ends in good order would announce the end of each connection.
    void killBus() { ::kill(pid_t(m_bus->processId()), SIGKILL); }

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

namespace
{

QStringList words(const char *line)
{
    return QString::fromLatin1(line).split(' ');
}

const QString watchingTasks = // clazy:exclude=non-pod-global-static
    "watching the tasks of maintenance; Ctrl-C ends it";

} // namespace

void TestOstrelctlWatchEnds::init()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
}

void TestOstrelctlWatchEnds::cleanup()
{
    m_simulator.reset();
    m_bus.reset();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system");
}

void TestOstrelctlWatchEnds::watchFollowsTheService()
{
    Watcher watcher(words("watch"));
    QCOMPARE(watcher.readLine(), "watching the applications; Ctrl-C ends it");
    QCOMPARE(watcher.readEvent(), "service        not available");
    QCOMPARE(watcher.readLine(),
             "hint: no service owns the name " OSTREL_SERVICE_NAME
             " on the session bus; at a desk, start its stand-in: "
             "ostrel-simulator --session &");
    m_simulator->start();
    QCOMPARE(watcher.readEvent(), "service        available");
    m_simulator->end();
    QCOMPARE(watcher.readEvent(), "service        not available");
    m_simulator->start();
    QCOMPARE(watcher.readEvent(), "service        available");

    const QVariantList arguments{"a", QVariantMap()};
    // The command may still be asking who owns the service's name, and drops signals until it
    // knows.
    waitUntil([&] {
        m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "Started",
                                arguments);
        return watcher.canReadLine() || watcher.waitForReadyRead(10);
    });
    QCOMPARE(watcher.readEvent(), "started        a {}");
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlWatchEnds::watchFollowsTheServiceInJson()
{
    Watcher watcher(words("watch --json"));
    QCOMPARE(watcher.readLine(), "watching the applications; Ctrl-C ends it");
    QCOMPARE(watcher.readJson(), R"({"available":false,"event":"service"})");
    QVERIFY(watcher.readLine().startsWith("hint: "));
    m_simulator->start();
    QCOMPARE(watcher.readJson(), R"({"available":true,"event":"service"})");
    m_simulator->process().kill();
    QCOMPARE(watcher.readJson(), R"({"available":false,"event":"service"})");
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlWatchEnds::taskWatchRegistersWithEachService_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("session bus") << QString();
    QTest::newRow("system bus") << "--system";
}

void TestOstrelctlWatchEnds::taskWatchRegistersWithEachService()
{
    QFETCH(const QString, option);
    if (!option.isEmpty()) {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus->address().toUtf8());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    }
    m_simulator->start();
    Watcher watcher(words("task watch maintenance") + option.split(' ', Qt::SkipEmptyParts));
    QCOMPARE(watcher.readEvent(), "activeTasks    -");
    QCOMPARE(watcher.readEvent(), "availableTasks cleanup");
    QCOMPARE(watcher.readLine(), watchingTasks);
    m_simulator->end();
    QCOMPARE(watcher.readEvent(), "service        not available");
    m_simulator->start();
    QCOMPARE(watcher.readEvent(), "service        available");
    // The new service knows the command.
    QCOMPARE(watcher.readEvent(), "activeTasks    -");
    QCOMPARE(watcher.readEvent(), "availableTasks cleanup");
    QCOMPARE(watcher.interrupt(), 0);
    QCOMPARE(watcher.readAll(), QByteArray());
}

void TestOstrelctlWatchEnds::taskWatchFollowsTheServiceInJson()
{
    m_simulator->start();
    Watcher watcher(words("task watch maintenance --json"));
    while (watcher.readLine() != watchingTasks) { }
    m_simulator->process().kill();
    QCOMPARE(watcher.readJson(), R"({"available":false,"event":"service"})");
    m_simulator->start();
    QCOMPARE(watcher.readJson(), R"({"available":true,"event":"service"})");
    QCOMPARE(watcher.readJson(), R"({"event":"activeTasks","tasks":[]})");
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlWatchEnds::taskWatchFailsIfANewServiceRefusesIt()
{
    m_simulator->start();
    Watcher watcher(words("task watch maintenance"));
    while (watcher.readLine() != watchingTasks) { }
    m_simulator->end();
    QCOMPARE(watcher.readEvent(), "service        not available");
    // The command registers when it continues, after the fault has been arranged.
    ::kill(pid_t(watcher.processId()), SIGSTOP);
    m_simulator->start();
    m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker")
        .failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
    ::kill(pid_t(watcher.processId()), SIGCONT);
    QCOMPARE(watcher.readEvent(), "service        available");
    QCOMPARE(watcher.readLine(), "error: HandlerFailed: no");
    QCOMPARE(watcher.waitForEnd(), 1);
}

void TestOstrelctlWatchEnds::taskWatchGoesOnIfANewServiceEndsAtOnce()
{
    m_simulator->start();
    Watcher watcher(words("task watch maintenance"));
    while (watcher.readLine() != watchingTasks) { }
    m_simulator->end();
    QCOMPARE(watcher.readEvent(), "service        not available");
    ::kill(pid_t(watcher.processId()), SIGSTOP);
    m_simulator->start();
    const Faults registration =
        m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    ::kill(pid_t(watcher.processId()), SIGCONT);
    registration.waitForHeld(1);
    m_simulator->process().kill();
    m_simulator->waitForEnd();
    QCOMPARE(watcher.readEvent(), "service        available");
    QCOMPARE(watcher.readEvent(), "service        not available");
    m_simulator->start();
    QCOMPARE(watcher.readEvent(), "service        available");
    QCOMPARE(watcher.readEvent(), "activeTasks    -");
    QCOMPARE(watcher.interrupt(), 0);
}

// It has not watched anything yet, so it cannot go on.
void TestOstrelctlWatchEnds::taskWatchFailsIfTheFirstServiceEndsAtOnce()
{
    m_simulator->start();
    const Faults registration =
        m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    registration.holdNext(1);
    Watcher watcher(words("task watch maintenance"));
    watcher.waitForStarted(forever);
    registration.waitForHeld(1);
    m_simulator->end();
    QCOMPARE(watcher.readLine(), "error: Failed: " + endedServiceText());
    QCOMPARE(watcher.waitForEnd(), 1);
}

void TestOstrelctlWatchEnds::endOfTheBusIsAnError_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QString>("lastLine");
    QTest::addColumn<bool>("json");
    const QString applications = "watching the applications; Ctrl-C ends it";
    QTest::newRow("watch") << words("watch") << applications << false;
    QTest::newRow("watch, JSON") << words("watch --json") << applications << true;
    QTest::newRow("task watch") << words("task watch maintenance") << watchingTasks << false;
    QTest::newRow("task watch, JSON")
        << words("task watch --json maintenance") << watchingTasks << true;
    QTest::newRow("task watch, unregistered")
        << words("task watch maintenance") << QString() << false;
}

void TestOstrelctlWatchEnds::endOfTheBusIsAnError()
{
    QFETCH(const QStringList, command);
    QFETCH(const QString, lastLine);
    QFETCH(const bool, json);
    m_simulator->start();
    const Faults registration =
        m_simulator->faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
    if (lastLine.isEmpty()) {
        registration.holdNext(1);
    }
    Watcher watcher(command);
    watcher.waitForStarted(forever);
    if (lastLine.isEmpty()) {
        registration.waitForHeld(1);
    } else {
        while (watcher.readLine() != lastLine) { }
    }
    killBus();
    if (json) {
        QCOMPARE(watcher.readJson(),
                 R"({"error":{"code":1,"message":"the message bus has ended",)"
                 R"("name":"Failed"},"event":"error"})");
    }
    QCOMPARE(watcher.readLine(), "error: Failed: the message bus has ended");
    QCOMPARE(watcher.waitForEnd(), 1);
    QCOMPARE(watcher.readAll(), QByteArray());
}

OSTREL_TEST_MAIN(TestOstrelctlWatchEnds)

#include "tst_ostrelctl_watch_ends.moc"
