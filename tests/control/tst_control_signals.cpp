// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_events.h"
#include "simulator_test.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QThread>
#include <QtDBus/QDBusServiceWatcher>
#include <QtTest/QSignalSpy>

#include <memory>
#include <vector>

using Ostrel::Control;

// The signals of the service arrive. Others that look like them do not.
class TestControlSignals : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void signalsAreDeclaredInTheirOrder();
    void signalsArriveUnchanged();
    void stateIsConvertedToANumber_data();
    void stateIsConvertedToANumber();
    void changesWithoutAStateAreIgnored_data();
    void changesWithoutAStateAreIgnored();
    void signalsOfOtherTypesAreDropped_data();
    void signalsOfOtherTypesAreDropped();
    void signalsOfOtherNamesPathsAndInterfacesAreDropped();
    void signalsOfOtherSendersAreDropped();
    void signalsOfALaterServiceArrive();
    void everyControlEmitsTheSignals();
    void queuedConnectionsCrossThreads();
    void signalsAreEmittedInTheThreadOfTheControl();
    void controlMayBeDeletedInASlot_data();
    void controlMayBeDeletedInASlot();
    void deletedControlReceivesNothing();

private:
    void emitSignal(const QString &member, const QVariantList &arguments) const;
    // Makes the service send a signal with values in busctl's form.
    void emitWithBusctl(const QString &member, const QStringList &values) const;
    // Makes the service send a last signal, and waits for it.
    void waitForMarker(const ControlEvents &events) const;
};

void TestControlSignals::initTestCase()
{
    // Signals that arrive before the event loop first runs may come in another order.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestControlSignals::emitSignal(const QString &member, const QVariantList &arguments) const
{
    m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, arguments);
}

void TestControlSignals::emitWithBusctl(const QString &member, const QStringList &values) const
{
    busctlEmitSignal(m_bus, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, values);
}

void TestControlSignals::waitForMarker(const ControlEvents &events) const
{
    emitSignal("SelectedByOom", {"marker"});
    events.waitFor("oom marker");
}

void TestControlSignals::signalsAreDeclaredInTheirOrder()
{
    const QMetaObject &meta = Control::staticMetaObject;
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        QStringList names;
        const QList<QByteArray> parameters = method.parameterNames();
        for (const QByteArray &name : parameters) {
            names.append(name);
        }
        QCOMPARE(method.methodType(), QMetaMethod::Signal);
        QCOMPARE(method.access(), QMetaMethod::Public);
        found.append(QString("%1: %2").arg(method.methodSignature(), names.join(", ")));
    }
    QCOMPARE(found,
             (QStringList{
                 "started(QString,QVariantMap): appInstanceId, details",
                 "terminated(QString,QVariantMap): appInstanceId, details",
                 "stateChanged(QString,ApplicationState): appInstanceId, state",
                 "selectedByOom(QString): processId",
                 "serviceAvailableChanged(bool): available",
             }));
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.className(), "Ostrel::Control");
}

void TestControlSignals::signalsArriveUnchanged()
{
    const Control control;
    const ControlEvents events(control);
    const QVariantMap details{{"a", 1}, {"b", "\u00e9"}};
    emitSignal("Started", {"x.instance_1", details});
    emitSignal("StateChanged", {"x.instance_1", QVariantMap{{"State", 3U}}});
    emitSignal("Terminated", {"x.instance_1", details});
    emitSignal("Started", {QString(), QVariantMap()});
    emitSignal("SelectedByOom", {"17"});
    events.waitFor("oom 17");
    QCOMPARE(events.all(),
             (QStringList{"started x.instance_1 {a=1,b=\u00e9}", "state x.instance_1 3",
                          "terminated x.instance_1 {a=1,b=\u00e9}", "started  {}", "oom 17"}));
}

void TestControlSignals::stateIsConvertedToANumber_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<quint32>("state");

    const auto row = [](const char *value, quint32 state) {
        QTest::newRow(value) << value << state;
    };
    row("u 3", 3);
    row("u 0", 0);
    row("u 255", 255);
    row("u 256", 256);
    row("u 4294967295", 4294967295);
    row("i 3", 3);
    row("i -1", 4294967295);
    row("y 7", 7);
    row("b true", 1);
    row("d 3.7", 4);
    row("t 4294967299", 3);
    row("s 3", 3);
    row("s -1", 0);
    row("s three", 0);
    row("s ''", 0);
    row("ai 1 3", 0);
    row("(u) 3", 0);
    row("v u 3", 0);
    row("a{sv} 0", 0);
}

void TestControlSignals::stateIsConvertedToANumber()
{
    QFETCH(QString, value);
    QFETCH(quint32, state);
    const Control control;
    const ControlEvents events(control);
    emitWithBusctl("StateChanged", {"s id", QString("a{sv} 3 A i 1 State %1 Z i 1").arg(value)});
    waitForMarker(events);
    QCOMPARE(events.all(), (QStringList{QString("state id %1").arg(state), "oom marker"}));
}

void TestControlSignals::changesWithoutAStateAreIgnored_data()
{
    QTest::addColumn<QString>("map");
    QTest::newRow("empty") << "0";
    QTest::newRow("others") << "2 A u 1 Stat u 2";
    QTest::newRow("other case") << "2 state u 1 STATE u 2";
}

void TestControlSignals::changesWithoutAStateAreIgnored()
{
    QFETCH(QString, map);
    const Control control;
    const ControlEvents events(control);
    emitWithBusctl("StateChanged", {"s id", "a{sv} " + map});
    waitForMarker(events);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

void TestControlSignals::signalsOfOtherTypesAreDropped_data()
{
    QTest::addColumn<QStringList>("values");

    const auto row = [](const std::vector<const char *> &values) {
        QStringList all;
        for (const char *value : values) {
            all.append(value);
        }
        QTest::addRow("%s", qPrintable(all.join(", "))) << all;
    };
    row({});
    row({"s id"});
    row({"s id", "ai 1 1"});
    row({"s id", "as 1 x"});
    row({"s id", "(i) 1"});
    row({"s id", "a{ss} 1 State 3"});
    row({"s id", "a{iv} 1 1 u 3"});
    row({"s id", "av 1 u 3"});
    row({"s id", "v u 3"});
    row({"o /id", "a{sv} 1 State u 3"});
    row({"i 1", "a{sv} 1 State u 3"});
    row({"a{sv} 1 State u 3", "s id"});
    row({"s id", "a{sv} 1 State u 3", "s x"});
    row({"i 1"});
    row({"s id", "s x"});
    row({"o /id"});
    row({"as 1 id"});
    row({"(s) id"});
    row({"v s id"});
}

void TestControlSignals::signalsOfOtherTypesAreDropped()
{
    QFETCH(QStringList, values);
    const Control control;
    const ControlEvents events(control);
    for (const char *member : {"Started", "Terminated", "StateChanged"}) {
        emitWithBusctl(member, values);
    }
    // These values are right for SelectedByOom.
    if (values != QStringList("s id")) {
        emitWithBusctl("SelectedByOom", values);
    }
    waitForMarker(events);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

void TestControlSignals::signalsOfOtherNamesPathsAndInterfacesAreDropped()
{
    const Control control;
    const ControlEvents events(control);
    const QVariantList arguments{"id", QVariantMap()};
    const QString started = "Started";
    emitSignal("started", arguments);
    emitSignal("Began", arguments);
    m_simulator.emitSignal(OSTREL_SERVICE_PATH "/Control2", OSTREL_CONTROL_INTERFACE, started,
                           arguments);
    m_simulator.emitSignal(OSTREL_SERVICE_PATH, OSTREL_CONTROL_INTERFACE, started, arguments);
    m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_SERVICE_NAME ".Control2", started,
                           arguments);
    waitForMarker(events);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

void TestControlSignals::signalsOfOtherSendersAreDropped()
{
    const Control control;
    const ControlEvents events(control);
    QDBusConnection peer = QDBusConnection::connectToBus(m_bus.address(), "peer");
    for (const bool broadcast : {true, false}) {
        for (const char *member : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
            const auto signalOf = [&](const QString &name) {
                return broadcast ? QDBusMessage::createSignal(OSTREL_CONTROL_PATH,
                                                              OSTREL_CONTROL_INTERFACE, name)
                                 : QDBusMessage::createTargetedSignal(
                                     QDBusConnection::sessionBus().baseService(),
                                     OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, name);
            };
            QDBusMessage forged = signalOf(member);
            forged << "forged";
            if (QString(member) != "SelectedByOom") {
                forged << QVariantMap{{"State", 3U}};
            }
            QVERIFY(peer.send(forged));
        }
    }
    // The bus has passed them on when it answers the same sender.
    peer.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                             "org.freedesktop.DBus", "GetId"));
    QDBusConnection::disconnectFromBus("peer");
    waitForMarker(events);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

void TestControlSignals::signalsOfALaterServiceArrive()
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
        emitSignal("SelectedByOom", {id});
        events.waitFor("oom " + id);
        if (i < 3) {
            m_simulator.end();
        }
    }
    QCOMPARE(events.all(), (QStringList{"oom 1", "oom 2", "oom 3"}));
}

void TestControlSignals::everyControlEmitsTheSignals()
{
    const Control first;
    const Control second;
    const ControlEvents firstEvents(first);
    const ControlEvents secondEvents(second);
    emitSignal("StateChanged", {"id", QVariantMap{{"State", 3U}}});
    waitForMarker(firstEvents);
    secondEvents.waitFor("oom marker");
    const QStringList expected{"state id 3", "oom marker"};
    QCOMPARE(firstEvents.all(), expected);
    QCOMPARE(secondEvents.all(), expected);
}

// The state is a type of the library, which a queued connection must know.
void TestControlSignals::queuedConnectionsCrossThreads()
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
    emitSignal("StateChanged", {"id", QVariantMap{{"State", 4000000000U}}});
    waitForMarker(events);
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

void TestControlSignals::signalsAreEmittedInTheThreadOfTheControl()
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
    emitSignal("Started", {id, QVariantMap()});
    emitSignal("Terminated", {id, QVariantMap()});
    emitSignal("StateChanged", {id, QVariantMap{{"State", 3U}}});
    emitSignal("SelectedByOom", {id});
    waitUntil([&] { return emitted == 4; });
    QMetaObject::invokeMethod(
        &inThread, [&] { control.reset(); }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
    QCOMPARE(int(elsewhere), 0);
}

void TestControlSignals::controlMayBeDeletedInASlot_data()
{
    QTest::addColumn<QString>("member");
    for (const char *member : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
        QTest::newRow(member) << member;
    }
}

// Signals that have been read already reach no one.
void TestControlSignals::controlMayBeDeletedInASlot()
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
    if (QString(member) != "SelectedByOom") {
        arguments.append(QVariantMap{{"State", 3U}});
    }
    for (int i = 0; i < 3; ++i) {
        emitSignal(member, arguments);
    }
    waitForMarker(others);
    QCOMPARE(others.all().size(), 4);
    QCOMPARE(emitted, 1);
}

void TestControlSignals::deletedControlReceivesNothing()
{
    const Control other;
    const ControlEvents others(other);
    auto control = std::make_unique<Control>();
    const ControlEvents events(*control);
    emitSignal("SelectedByOom", {"early"});
    control.reset();
    waitForMarker(others);
    QCOMPARE(events.all(), QStringList());
}

OSTREL_TEST_MAIN(TestControlSignals)

#include "tst_control_signals.moc"
