// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_events.h"
#include "kit.h"
#include "memory_figures.h"
#include "outcomes.h"
#include "task_invokers.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusServiceWatcher>
#include <QtTest/QSignalSpy>

#include <optional>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

// The service ends and comes back many times; the clients stay. OSTREL_LONG_TESTS in the
// environment makes it ten times as often.
class TestLoadRestarts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void everyRestartedServiceIsReached();

private:
    // Starts the service, and returns when QtDBus knows it. QtDBus drops earlier signals.
    void startService();

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestLoadRestarts::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestLoadRestarts::startService()
{
    QDBusServiceWatcher watcher(OSTREL_SERVICE_NAME, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForRegistration);
    QSignalSpy owned(&watcher, &QDBusServiceWatcher::serviceRegistered);
    m_simulator->start();
    waitUntil([&] { return owned.size() == 1; });
}

void TestLoadRestarts::everyRestartedServiceIsReached()
{
    const int restarts = longTests() ? 200 : 20;
    const Warnings warnings;
    startService();
    Control control;
    const ControlEvents signalsOfControl(control);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QVERIFY(!waitUntilReady(invoker));
    Events events;
    events.watch(invoker);
    // Only one, because each keeps its proxy until the process ends.
    WindowManagement windows;
    QStringList expectedSignals;
    QStringList expectedEvents;

    std::optional<MemoryFigures> figures;
    for (int i = 0; i < restarts; ++i) {
        const QString number = QString::number(i);
        // A call that is lost with the service.
        m_simulator->faults(Method::UpdateWindowStatus).holdNext(1);
        Outcomes outcomes;
        windows.updateWindowStatus("w", 1, 2, 3, this, outcomes.callback());
        m_simulator->faults(Method::UpdateWindowStatus).waitForHeld(1);
        QCOMPARE(m_simulator->end(), 0);
        outcomes.waitFor(1);
        QCOMPARE(outcomes.at(0).error.code(), Error::Failed);
        QCOMPARE(control.terminate("none").code(), Error::Failed);

        startService();
        // The new service's signals reach the old clients.
        m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "SelectedByOom",
                                {number});
        expectedSignals.append("oom " + number);
        emitPropertiesChanged(*m_bus, "sync",
                              QString("1 ActiveTasks a(sia{sv}) 1 t%1 %1 0").arg(number));
        expectedEvents.append(QString("active [t%1 %1 {}]").arg(number));
        signalsOfControl.waitFor(expectedSignals.last());
        events.waitFor(expectedEvents.size());

        // The new service answers. It needs the task type again, from another invoker.
        windows.updateWindowStatus("w", i, 2, 3, this, outcomes.callback());
        outcomes.waitFor(2);
        QCOMPARE(outcomes.at(1).state, quint32(i));
        QCOMPARE(control.terminate("none").code(), Error::ApplicationNotRunning);
        TaskInvoker another(TaskInvoker::SessionBus, "other");
        QVERIFY(!waitUntilReady(another));
        if (i == 0) {
            figures.emplace();
        }
    }
    const qint64 growth = figures->growth() / restarts;
    figures->print(QString("%1 restarts of the service").arg(restarts - 1));
    QCOMPARE(signalsOfControl.all(), expectedSignals);
    QCOMPARE(events.all(), expectedEvents);
    QCOMPARE(warnings.texts(), QStringList());
    // The lists of this test take some of it.
    QVERIFY2(growth < 2048, qPrintable(QString::number(growth)));
}

OSTREL_TEST_MAIN(TestLoadRestarts)

#include "tst_load_restarts.moc"
