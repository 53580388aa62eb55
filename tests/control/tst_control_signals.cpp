// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_events.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QMetaMethod>

#include <vector>

using Ostrel::Control;

// The signals of the service arrive. Others that look like them do not.
class TestControlSignals : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
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

private:
    // Makes the service send a signal with values in busctl's form.
    void emitWithBusctl(const QString &member, const QStringList &values) const;
};

void TestControlSignals::emitWithBusctl(const QString &member, const QStringList &values) const
{
    busctlEmitSignal(m_bus, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, values);
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
    emitControlSignal(m_simulator, "Started", {"x.instance_1", details});
    emitControlSignal(m_simulator, "StateChanged", {"x.instance_1", QVariantMap{{"State", 3U}}});
    emitControlSignal(m_simulator, "Terminated", {"x.instance_1", details});
    emitControlSignal(m_simulator, "Started", {QString(), QVariantMap()});
    emitControlSignal(m_simulator, "SelectedByOom", {"17"});
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
    events.waitForMarker(m_simulator);
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
    events.waitForMarker(m_simulator);
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
    events.waitForMarker(m_simulator);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

void TestControlSignals::signalsOfOtherNamesPathsAndInterfacesAreDropped()
{
    const Control control;
    const ControlEvents events(control);
    const QVariantList arguments{"id", QVariantMap()};
    const QString started = "Started";
    emitControlSignal(m_simulator, "started", arguments);
    emitControlSignal(m_simulator, "Began", arguments);
    m_simulator.emitSignal(OSTREL_SERVICE_PATH "/Control2", OSTREL_CONTROL_INTERFACE, started,
                           arguments);
    m_simulator.emitSignal(OSTREL_SERVICE_PATH, OSTREL_CONTROL_INTERFACE, started, arguments);
    m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_SERVICE_NAME ".Control2", started,
                           arguments);
    events.waitForMarker(m_simulator);
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
    events.waitForMarker(m_simulator);
    QCOMPARE(events.all(), QStringList("oom marker"));
}

OSTREL_TEST_MAIN(TestControlSignals)

#include "tst_control_signals.moc"
