// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_events.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QThread>
#include <QtDBus/QDBusServiceWatcher>
#include <QtTest/QSignalSpy>

#include <memory>

using Ostrel::Control;

// Who receives the signals of the service: any Control, in any thread, until it is deleted.
class TestControlSignalReceivers : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void signalsOfALaterServiceArrive();
    void everyControlEmitsTheSignals();
    void queuedConnectionsCrossThreads();
    void signalsAreEmittedInTheThreadOfTheControl();
    void controlMayBeDeletedInASlot_data();
    void controlMayBeDeletedInASlot();
    void deletedControlReceivesNothing();
};

void TestControlSignalReceivers::signalsOfALaterServiceArrive()
{
    m_simulator.end();
    const Control control;
    const ControlEvents events(control);
    for (int i = 1; i <= 3; ++i) {
        QDBusServiceWatcher watcher(OSTREL_SERVICE_NAME, QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForRegistration);
        QSignalSpy owned(&watcher, &QDBusServiceWatcher::serviceRegistered);
        m_simulator.start();
        // QtDBus drops signals until it knows the new owner.
        waitUntil([&] { return owned.size() == 1; });
        const QString id = QString::number(i);
        emitControlSignal(m_simulator, "SelectedByOom", {id});
        events.waitFor("oom " + id);
        if (i < 3) {
            m_simulator.end();
        }
    }
    QCOMPARE(events.all(), (QStringList{"oom 1", "oom 2", "oom 3"}));
}

void TestControlSignalReceivers::everyControlEmitsTheSignals()
{
    const Control first;
    const Control second;
    const ControlEvents firstEvents(first);
    const ControlEvents secondEvents(second);
    emitControlSignal(m_simulator, "StateChanged", {"id", QVariantMap{{"State", 3U}}});
    firstEvents.waitForMarker(m_simulator);
    secondEvents.waitFor("oom marker");
    const QStringList expected{"state id 3", "oom marker"};
    QCOMPARE(firstEvents.all(), expected);
    QCOMPARE(secondEvents.all(), expected);
}

// The state is a type of the library, which a queued connection must know.
void TestControlSignalReceivers::queuedConnectionsCrossThreads()
{
    QThread thread;
    QObject receiver;
    receiver.moveToThread(&thread);
    thread.start();
    const Control control;
    const ControlEvents events(control);
    quint32 state = 0;
    QThread *ranIn = nullptr;
    connect(&control, &Control::stateChanged, &receiver,
            [&](const QString & /*id*/, quint32 changed) {
                state = changed;
                ranIn = QThread::currentThread();
            });
    QSignalSpy spy(&control, &Control::stateChanged);
    emitControlSignal(m_simulator, "StateChanged", {"id", QVariantMap{{"State", 4000000000U}}});
    events.waitForMarker(m_simulator);
    // The receiver handles this after the signal.
    QMetaObject::invokeMethod(
        &receiver, [] {}, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
    QCOMPARE(state, 4000000000U);
    QCOMPARE(ranIn, &thread);
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(1).toUInt(), 4000000000U);
}

void TestControlSignalReceivers::signalsAreEmittedInTheThreadOfTheControl()
{
    QThread thread;
    QObject inThread;
    inThread.moveToThread(&thread);
    thread.start();
    QAtomicInt elsewhere = 0;
    QAtomicInt emitted = 0;
    std::unique_ptr<Control> control;
    const auto count = [&] {
        elsewhere += QThread::currentThread() == &thread ? 0 : 1;
        ++emitted;
    };
    QMetaObject::invokeMethod(
        &inThread,
        [&] {
            control = std::make_unique<Control>();
            connect(control.get(), &Control::started, count);
            connect(control.get(), &Control::terminated, count);
            connect(control.get(), &Control::stateChanged, count);
            connect(control.get(), &Control::selectedByOom, count);
        },
        Qt::BlockingQueuedConnection);
    const QString id = "id";
    emitControlSignal(m_simulator, "Started", {id, QVariantMap()});
    emitControlSignal(m_simulator, "Terminated", {id, QVariantMap()});
    emitControlSignal(m_simulator, "StateChanged", {id, QVariantMap{{"State", 3U}}});
    emitControlSignal(m_simulator, "SelectedByOom", {id});
    waitUntil([&] { return emitted == 4; });
    QMetaObject::invokeMethod(
        &inThread, [&] { control.reset(); }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
    QCOMPARE(int(elsewhere), 0);
}

void TestControlSignalReceivers::controlMayBeDeletedInASlot_data()
{
    QTest::addColumn<QString>("member");
    for (const char *member : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
        QTest::newRow(member) << member;
    }
}

// Signals that have been read already reach no one.
void TestControlSignalReceivers::controlMayBeDeletedInASlot()
{
    QFETCH(QString, member);
    const Control other;
    const ControlEvents others(other);
    auto control = std::make_unique<Control>();
    int emitted = 0;
    const auto end = [&] {
        ++emitted;
        control.reset();
    };
    connect(control.get(), &Control::started, this, end);
    connect(control.get(), &Control::terminated, this, end);
    connect(control.get(), &Control::stateChanged, this, end);
    connect(control.get(), &Control::selectedByOom, this, end);
    QVariantList arguments{"id"};
    if (member != "SelectedByOom") {
        arguments.append(QVariantMap{{"State", 3U}});
    }
    for (int i = 0; i < 3; ++i) {
        emitControlSignal(m_simulator, member, arguments);
    }
    others.waitForMarker(m_simulator);
    QCOMPARE(others.all().size(), 4);
    QCOMPARE(emitted, 1);
}

void TestControlSignalReceivers::deletedControlReceivesNothing()
{
    const Control other;
    const ControlEvents others(other);
    auto control = std::make_unique<Control>();
    const ControlEvents events(*control);
    emitControlSignal(m_simulator, "SelectedByOom", {"early"});
    control.reset();
    others.waitForMarker(m_simulator);
    QCOMPARE(events.all(), QStringList());
}

OSTREL_TEST_MAIN(TestControlSignalReceivers)

#include "tst_control_signal_receivers.moc"
