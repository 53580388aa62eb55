// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "process_handle.h"
#include "quiet_test.h"
#include "service_monitor.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusObjectPath>

namespace
{

// Counts signals whose only value should be their number.
class Counter : public QObject
{
    Q_OBJECT

public:
    uint count() const { return m_count; }
    QStringList misplaced() const { return m_misplaced; }

public Q_SLOTS:
    void onSignal(const QString &number)
    {
        if (number != QString::number(m_count)) {
            m_misplaced.append(number);
        }
        ++m_count;
    }

private:
    uint m_count = 0;
    QStringList m_misplaced;
};

// Collects the signatures of signals.
class Signatures : public QObject
{
    Q_OBJECT

public:
    QStringList all() const { return m_all; }

public Q_SLOTS:
    void onSignal(const QDBusMessage &signal) { m_all.append(signal.signature()); }

private:
    QStringList m_all;
};

QVariant path(const char *name)
{
    return QVariant::fromValue(QDBusObjectPath(name));
}

// Returns so many values of the type "y".
QVariantList valuesOfBytes(int count)
{
    QVariantList values;
    for (int i = 0; i < count; ++i) {
        values.append(QVariant::fromValue(static_cast<uchar>(i)));
    }
    return values;
}

} // namespace

// The fault desk also sends any signals, and plays a system short of memory.
class TestSimulatorDesk : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void emitSendsAnySignal_data();
    void emitSendsAnySignal();
    void emitSendsStringsUnchanged();
    void emitManyNumbersItsSignals();
    void emitManySendsAHundredThousand();
    void oomKillsTheProcess();
    void oomEndsTheServicesToo();
    void longestSignatureIsSent();
    void floodEndsOnSigterm();
    void callTooDeepToBeReturnedIsReported();
    void wrongOrdersAreRefused_data();
    void wrongOrdersAreRefused();
};

void TestSimulatorDesk::emitSendsAnySignal_data()
{
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *values, const char *text) {
        QTest::newRow(values) << values << text;
    };
    row("0", "Any");
    row("1 s x", "Any s x");
    row("2 s x a{sv} 1 State u 3", "Any sa{sv} x {State=u:3}");
    row("2 s x a{ss} 0", "Any sa{ss} x {}");
    row("2 y 3 t 4294967296", "Any yt 3 4294967296");
    row("1 (sas) x 2 a b", "Any (sas) x a b");
    row("3 s a.b a{sv} 1 k a(ss) 1 x y as 1 k", "Any sa{sv}as a.b {k=a(ss):x y} k");
}

void TestSimulatorDesk::emitSendsAnySignal()
{
    QFETCH(QString, values);
    QFETCH(QString, text);
    ServiceMonitor monitor(m_bus, m_simulator);
    const QString answer =
        busctlDesk(m_bus, "Emit", QStringList{"ossav", "/a/b", "c.d", "Any"} + values.split(' '));
    QCOMPARE(answer, QString());
    QCOMPARE(monitor.texts(), QStringList(text));
}

// Path and interface are sent as given; "%n" has no meaning there.
void TestSimulatorDesk::emitSendsStringsUnchanged()
{
    BusMonitor monitor(m_bus);
    m_simulator.desk("Emit", {path("/a/b"), "c.d", "Any", QVariantList{"100%n"}});
    const QJsonObject signal =
        monitor
            .messagesUntil([](const QJsonObject &message) {
                return message.value("type") == "signal" && message.value("member") == "Any";
            })
            .constLast();
    QCOMPARE(signal.value("path"), QJsonValue("/a/b"));
    QCOMPARE(signal.value("interface"), QJsonValue("c.d"));
    QCOMPARE(signal.value("destination"), QJsonValue(QJsonValue::Undefined));
    QCOMPARE(signal.value("payload")["data"][0], QJsonValue("100%n"));
}

void TestSimulatorDesk::emitManyNumbersItsSignals()
{
    ServiceMonitor monitor(m_bus, m_simulator);
    m_simulator.desk("EmitMany",
                     {path("/a/b"), "c.d", "Any", QVariantList{"t.%n and %n", 7, "%"}, 3U});
    m_simulator.desk("EmitMany", {path("/a/b"), "c.d", "None", QVariantList(), 0U});
    QCOMPARE(monitor.texts(),
             (QStringList{
                 "Any sis t.0 and 0 7 %",
                 "Any sis t.1 and 1 7 %",
                 "Any sis t.2 and 2 7 %",
             }));
}

void TestSimulatorDesk::emitManySendsAHundredThousand()
{
    // Signals that arrive before the event loop first runs may come in another order.
    QDBusConnection bus = QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    Counter counter;
    QVERIFY(bus.connect(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE,
                        "SelectedByOom", "s", &counter, SLOT(onSignal(QString))));
    const QDBusMessage answer =
        m_simulator.desk("EmitMany",
                         {path(OSTREL_CONTROL_PATH), OSTREL_CONTROL_INTERFACE, "SelectedByOom",
                          QVariantList{"%n"}, 100000U});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    waitUntil([&] { return counter.count() == 100000U; });
    QCOMPARE(counter.misplaced().join(' '), QString());
}

void TestSimulatorDesk::oomKillsTheProcess()
{
    const int pid = startApplication("demo.Stubborn").value("Pid").toInt();
    const ProcessHandle process(pid);
    ServiceMonitor monitor(m_bus, m_simulator);
    const QDBusMessage answer = m_simulator.desk("KillByOom", {"demo.Stubborn.instance_1"});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    QVERIFY(!process.exists());
    QCOMPARE(monitor.texts(),
             (QStringList{
                 QString("SelectedByOom s %1").arg(pid),
                 "StateChanged sa{sv} demo.Stubborn.instance_1 {State=u:2}",
                 "Terminated sa{sv} demo.Stubborn.instance_1 "
                 "{AppId=s:demo.Stubborn Kind=u:2 Pid=i:PID Signal=i:9}",
             }));
}

void TestSimulatorDesk::oomEndsTheServicesToo()
{
    startApplication("demo.Player");
    m_simulator.desk("KillByOom", {"demo.Player"});
    ServiceMonitor monitor(m_bus, m_simulator);
    callControl("GetRunningApplications");
    QCOMPARE(monitor.texts(), QStringList("reply a(siuua{sv})a(ssiua{sv})"));
}

void TestSimulatorDesk::longestSignatureIsSent()
{
    Signatures signatures;
    QVERIFY(QDBusConnection::sessionBus().connect(OSTREL_SERVICE_NAME, "/a", "a.b", "M",
                                                  &signatures, SLOT(onSignal(QDBusMessage))));
    m_simulator.desk("Emit", {path("/a"), "a.b", "M", QVariant(valuesOfBytes(255))});
    waitUntil([&signatures] { return !signatures.all().isEmpty(); });
    QCOMPARE(signatures.all(), QStringList(QString(255, 'y')));
}

void TestSimulatorDesk::floodEndsOnSigterm()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    Counter counter;
    QVERIFY(
        bus.connect(OSTREL_SERVICE_NAME, "/a", "a.b", "M", "s", &counter, SLOT(onSignal(QString))));
    QDBusMessage flood = QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH,
                                                        OSTREL_SIMULATOR_INTERFACE, "EmitMany");
    flood.setArguments({path("/a"), "a.b", "M", QVariantList{"%n"}, 1000000U});
    bus.asyncCall(flood);
    waitUntil([&counter] { return counter.count() > 0; });
    QCOMPARE(m_simulator.end(), 0);
    const QString errors = QString::fromUtf8(m_simulator.process().readAllStandardError());
    QVERIFY2(QRegularExpression("^ostrel-simulator: stopped after \\d+ of 1000000 signals\n$")
                 .match(errors)
                 .hasMatch(),
             qPrintable(errors));
    m_simulator.start();
}

// A call may be nested as deeply as a message allows. The log adds containers around it.
void TestSimulatorDesk::callTooDeepToBeReturnedIsReported()
{
    QVariant value = 1;
    for (int depth = 0; depth < 30; ++depth) {
        value = QVariantList{value}; // an array and a variant
    }
    const QDBusMessage answer = callControl("StartDebug", {"demo.None", QVariantMap{{"k", value}}});
    QCOMPARE(answer.errorName(), OSTREL_ERROR_PREFIX "HandlerNotFound");
    const QDBusMessage calls = m_simulator.desk("Calls");
    QCOMPARE(calls.errorName(), OSTREL_STANDARD_ERROR_PREFIX "Failed");
    QCOMPARE(calls.errorMessage(),
             "StartDebug: A value is nested 67 deep, more than the 64 of a message");
    QVERIFY(m_simulator.desk("ClearCalls").errorName().isEmpty());
}

void TestSimulatorDesk::wrongOrdersAreRefused_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("message");

    const QString local = "org.freedesktop.DBus.Local";
    const auto emission = [](const char *name, const char *objectPath, const QString &interface,
                             const QString &member, const QString &message) {
        QTest::newRow(name) << "Emit"
                            << QVariantList{path(objectPath), interface, member, QVariantList()}
                            << message;
    };
    emission("interface of one element", "/a", "a", "M", "\"a\" is no interface name");
    emission("empty interface", "/a", QString(), "M", "\"\" is no interface name");
    emission("empty member", "/a", "a.b", QString(), "\"\" is no name of a signal");
    emission("member with a dot", "/a", "a.b", "M.N", "\"M.N\" is no name of a signal");
    emission("local interface", "/a", local, "Disconnected",
             QString("The bus forbids signals of %1").arg(local));
    emission("local path", "/org/freedesktop/DBus/Local", "a.b", "M",
             QString("The bus forbids signals of %1").arg(local));

    const QVariantList values = valuesOfBytes(256);
    const QString tooLong = "The signature of the values has 256 characters, more than 255";
    const QVariantList method{OSTREL_CONTROL_INTERFACE, "Start"};
    QTest::newRow("too many values in a reply")
        << "AnswerNext" << method + QVariantList{QVariant(values)} << tooLong;
    QTest::newRow("too many values in an error")
        << "FailNextWith" << method + QVariantList{"a.b", QVariant(values)} << tooLong;
    QTest::newRow("too many values in a signal")
        << "Emit" << QVariantList{path("/a"), "a.b", "M", QVariant(values)} << tooLong;
    QTest::newRow("too many values in many signals")
        << "EmitMany" << QVariantList{path("/a"), "a.b", "M", QVariant(values), 1000000U}
        << tooLong;
    QTest::newRow("too many signals")
        << "EmitMany" << QVariantList{path("/a"), "a.b", "M", QVariantList(), 1000001U}
        << "1000001 signals are too many";
    QTest::newRow("too many applications")
        << "ListNext" << QVariantList{100001U, 0U} << "100001 records are too many for a message";
    QTest::newRow("too many services")
        << "ListNext" << QVariantList{0U, 100001U} << "100001 records are too many for a message";
    QTest::newRow("not running") << "KillByOom" << QVariantList{"demo.Viewer.instance_1"}
                                 << "No instance \"demo.Viewer.instance_1\" is running";
}

void TestSimulatorDesk::wrongOrdersAreRefused()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    ServiceMonitor monitor(m_bus, m_simulator);
    const QDBusMessage answer = m_simulator.desk(method, arguments);
    QCOMPARE(answer.errorName(), OSTREL_STANDARD_ERROR_PREFIX "InvalidArgs");
    QTEST(answer.errorMessage(), "message");
    QCOMPARE(monitor.texts(), QStringList());
}

OSTREL_TEST_MAIN(TestSimulatorDesk)

#include "tst_simulator_desk.moc"
