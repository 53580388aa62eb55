// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "control_calls.h"
#include "service_monitor.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusObjectPath>

#include <optional>

namespace
{

// Counts signals whose one value should be their number.
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
    return QVariant::fromValue(QDBusObjectPath(QLatin1String(name)));
}

// So many values of the type "y".
QVariantList valuesOfBytes(int count)
{
    QVariantList values;
    for (int i = 0; i < count; ++i) {
        values.append(QVariant::fromValue(static_cast<uchar>(i)));
    }
    return values;
}

} // namespace

// What the fault desk does beyond faults: signals of any kind, and a system short of memory.
class TestSimulatorDesk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void emitSendsAnySignal_data();
    void emitSendsAnySignal();
    void emitTakesTextsAsTheyAre();
    void emitManyNumbersItsSignals();
    void emitManySendsAHundredThousand();
    void oomKillsTheProcess();
    void oomTakesTheServicesAlong();
    void longestSignatureIsSent();
    void floodHearsSigterm();
    void callTooDeepToBeReturnedIsReported();
    void wrongOrdersAreRefused_data();
    void wrongOrdersAreRefused();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorDesk::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestSimulatorDesk::cleanup()
{
    m_simulator->reset();
}

void TestSimulatorDesk::emitSendsAnySignal_data()
{
    QTest::addColumn<QString>("values");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *values, const char *text) {
        QTest::newRow(values) << QString::fromLatin1(values) << QString::fromLatin1(text);
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
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const QString answer = busctlDesk(*m_bus, QStringLiteral("Emit"),
                                      QStringList{QStringLiteral("ossav"), QStringLiteral("/a/b"),
                                                  QStringLiteral("c.d"), QStringLiteral("Any")}
                                          + values.split(QLatin1Char(' ')));
    QCOMPARE(answer, QString());
    QCOMPARE(monitor.texts(), QStringList(text));
}

// Path and interface are those asked for; "%n" has no meaning here.
void TestSimulatorDesk::emitTakesTextsAsTheyAre()
{
    BusMonitor monitor(*m_bus);
    m_simulator->desk(QStringLiteral("Emit"),
                      {path("/a/b"), QStringLiteral("c.d"), QStringLiteral("Any"),
                       QVariantList{QStringLiteral("100%n")}});
    const QJsonObject signal =
        monitor
            .messagesUntil([](const QJsonObject &message) {
                return message.value(QLatin1String("type")) == QLatin1String("signal")
                    && message.value(QLatin1String("member")) == QLatin1String("Any");
            })
            .constLast();
    QCOMPARE(signal.value(QLatin1String("path")), QJsonValue(QStringLiteral("/a/b")));
    QCOMPARE(signal.value(QLatin1String("interface")), QJsonValue(QStringLiteral("c.d")));
    QCOMPARE(signal.value(QLatin1String("destination")), QJsonValue(QJsonValue::Undefined));
    QCOMPARE(signal.value(QLatin1String("payload"))[QLatin1String("data")][0],
             QJsonValue(QStringLiteral("100%n")));
}

void TestSimulatorDesk::emitManyNumbersItsSignals()
{
    ServiceMonitor monitor(*m_bus, *m_simulator);
    m_simulator->desk(QStringLiteral("EmitMany"),
                      {path("/a/b"), QStringLiteral("c.d"), QStringLiteral("Any"),
                       QVariantList{QStringLiteral("t.%n and %n"), 7, QStringLiteral("%")}, 3U});
    m_simulator->desk(
        QStringLiteral("EmitMany"),
        {path("/a/b"), QStringLiteral("c.d"), QStringLiteral("None"), QVariantList(), 0U});
    QCOMPARE(monitor.texts(),
             (QStringList{
                 QStringLiteral("Any sis t.0 and 0 7 %"),
                 QStringLiteral("Any sis t.1 and 1 7 %"),
                 QStringLiteral("Any sis t.2 and 2 7 %"),
             }));
}

void TestSimulatorDesk::emitManySendsAHundredThousand()
{
    // What a connection of Qt receives before the loop has run once, may come in another order.
    QDBusConnection bus = QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    Counter counter;
    QVERIFY(bus.connect(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH),
                        QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("SelectedByOom"),
                        QStringLiteral("s"), &counter, SLOT(onSignal(QString))));
    const QDBusMessage answer = m_simulator->desk(
        QStringLiteral("EmitMany"),
        {path(OSTREL_CONTROL_PATH), QStringLiteral(OSTREL_CONTROL_INTERFACE),
         QStringLiteral("SelectedByOom"), QVariantList{QStringLiteral("%n")}, 100000U});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    waitUntil([&] { return counter.count() == 100000U; });
    QCOMPARE(counter.misplaced().join(QLatin1Char(' ')), QString());
}

void TestSimulatorDesk::oomKillsTheProcess()
{
    const int pid =
        startApplication(QStringLiteral("demo.Stubborn")).value(QStringLiteral("Pid")).toInt();
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const QDBusMessage answer = m_simulator->desk(QStringLiteral("KillByOom"),
                                                  {QStringLiteral("demo.Stubborn.instance_1")});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    QVERIFY(!QFileInfo::exists(QStringLiteral("/proc/%1").arg(pid)));
    QCOMPARE(monitor.texts(),
             (QStringList{
                 QStringLiteral("SelectedByOom s %1").arg(pid),
                 QStringLiteral("StateChanged sa{sv} demo.Stubborn.instance_1 {State=u:2}"),
                 QStringLiteral("Terminated sa{sv} demo.Stubborn.instance_1 "
                                "{AppId=s:demo.Stubborn Kind=u:2 Pid=i:PID Signal=i:9}"),
             }));
}

void TestSimulatorDesk::oomTakesTheServicesAlong()
{
    startApplication(QStringLiteral("demo.Player"));
    m_simulator->desk(QStringLiteral("KillByOom"), {QStringLiteral("demo.Player")});
    ServiceMonitor monitor(*m_bus, *m_simulator);
    callControl(QStringLiteral("GetRunningApplications"));
    QCOMPARE(monitor.texts(), QStringList(QStringLiteral("reply a(siuua{sv})a(ssiua{sv})")));
}

void TestSimulatorDesk::longestSignatureIsSent()
{
    Signatures signatures;
    QVERIFY(QDBusConnection::sessionBus().connect(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral("/a"), QStringLiteral("a.b"),
        QStringLiteral("M"), &signatures, SLOT(onSignal(QDBusMessage))));
    m_simulator->desk(
        QStringLiteral("Emit"),
        {path("/a"), QStringLiteral("a.b"), QStringLiteral("M"), QVariant(valuesOfBytes(255))});
    waitUntil([&signatures] { return !signatures.all().isEmpty(); });
    QCOMPARE(signatures.all(), QStringList(QString(255, QLatin1Char('y'))));
}

void TestSimulatorDesk::floodHearsSigterm()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    Counter counter;
    QVERIFY(bus.connect(QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral("/a"),
                        QStringLiteral("a.b"), QStringLiteral("M"), QStringLiteral("s"), &counter,
                        SLOT(onSignal(QString))));
    QDBusMessage flood = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
        QStringLiteral(OSTREL_SIMULATOR_INTERFACE), QStringLiteral("EmitMany"));
    flood.setArguments({path("/a"), QStringLiteral("a.b"), QStringLiteral("M"),
                        QVariantList{QStringLiteral("%n")}, 1000000U});
    bus.asyncCall(flood);
    waitUntil([&counter] { return counter.count() > 0; });
    QCOMPARE(m_simulator->end(), 0);
    const QString errors = QString::fromUtf8(m_simulator->process().readAllStandardError());
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^ostrel-simulator: stopped after \\d+ of 1000000 signals\n$"))
                 .match(errors)
                 .hasMatch(),
             qPrintable(errors));
    m_simulator->start();
}

// A call may be nested as deeply as a message allows. The log returns it within more containers.
void TestSimulatorDesk::callTooDeepToBeReturnedIsReported()
{
    QVariant value = 1;
    for (int depth = 0; depth < 30; ++depth) {
        value = QVariantList{value}; // an array and a variant
    }
    const QDBusMessage answer =
        callControl(QStringLiteral("StartDebug"),
                    {QStringLiteral("demo.None"), QVariantMap{{QStringLiteral("k"), value}}});
    QCOMPARE(answer.errorName(), QStringLiteral(OSTREL_ERROR_PREFIX "HandlerNotFound"));
    const QDBusMessage calls = m_simulator->desk(QStringLiteral("Calls"));
    QCOMPARE(calls.errorName(), QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX "Failed"));
    QCOMPARE(
        calls.errorMessage(),
        QStringLiteral("StartDebug: A value is nested 67 deep, more than the 64 of a message"));
    QVERIFY(m_simulator->desk(QStringLiteral("ClearCalls")).errorName().isEmpty());
}

void TestSimulatorDesk::wrongOrdersAreRefused_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("message");

    const QString local = QStringLiteral("org.freedesktop.DBus.Local");
    const auto emission = [](const char *name, const char *objectPath, const QString &interface,
                             const QString &member, const QString &message) {
        QTest::newRow(name) << QStringLiteral("Emit")
                            << QVariantList{path(objectPath), interface, member, QVariantList()}
                            << message;
    };
    emission("interface of one element", "/a", QStringLiteral("a"), QStringLiteral("M"),
             QStringLiteral("\"a\" is no interface name"));
    emission("empty interface", "/a", QString(), QStringLiteral("M"),
             QStringLiteral("\"\" is no interface name"));
    emission("empty member", "/a", QStringLiteral("a.b"), QString(),
             QStringLiteral("\"\" is no name of a signal"));
    emission("member with a dot", "/a", QStringLiteral("a.b"), QStringLiteral("M.N"),
             QStringLiteral("\"M.N\" is no name of a signal"));
    emission("local interface", "/a", local, QStringLiteral("Disconnected"),
             QStringLiteral("The bus forbids signals of %1").arg(local));
    emission("local path", "/org/freedesktop/DBus/Local", QStringLiteral("a.b"),
             QStringLiteral("M"), QStringLiteral("The bus forbids signals of %1").arg(local));

    const QVariantList values = valuesOfBytes(256);
    const QString tooLong =
        QStringLiteral("The signature of the values has 256 characters, more than 255");
    const QVariantList method{QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("Start")};
    QTest::newRow("too many values in a reply")
        << QStringLiteral("AnswerNext") << method + QVariantList{QVariant(values)} << tooLong;
    QTest::newRow("too many values in an error")
        << QStringLiteral("FailNextWith")
        << method + QVariantList{QStringLiteral("a.b"), QVariant(values)} << tooLong;
    QTest::newRow("too many values in a signal")
        << QStringLiteral("Emit")
        << QVariantList{path("/a"), QStringLiteral("a.b"), QStringLiteral("M"), QVariant(values)}
        << tooLong;
    QTest::newRow("too many values in many signals")
        << QStringLiteral("EmitMany")
        << QVariantList{path("/a"), QStringLiteral("a.b"), QStringLiteral("M"), QVariant(values),
                        1000000U}
        << tooLong;
    QTest::newRow("too many signals") << QStringLiteral("EmitMany")
                                      << QVariantList{path("/a"), QStringLiteral("a.b"),
                                                      QStringLiteral("M"), QVariantList(), 1000001U}
                                      << QStringLiteral("1000001 signals are too many");
    QTest::newRow("too many applications")
        << QStringLiteral("ListNext") << QVariantList{100001U, 0U}
        << QStringLiteral("100001 records are too many for a message");
    QTest::newRow("too many services")
        << QStringLiteral("ListNext") << QVariantList{0U, 100001U}
        << QStringLiteral("100001 records are too many for a message");
    QTest::newRow("not running") << QStringLiteral("KillByOom")
                                 << QVariantList{QStringLiteral("demo.Viewer.instance_1")}
                                 << QStringLiteral(
                                        "No instance \"demo.Viewer.instance_1\" is running");
}

void TestSimulatorDesk::wrongOrdersAreRefused()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    ServiceMonitor monitor(*m_bus, *m_simulator);
    const QDBusMessage answer = m_simulator->desk(method, arguments);
    QCOMPARE(answer.errorName(), QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX "InvalidArgs"));
    QTEST(answer.errorMessage(), "message");
    QCOMPARE(monitor.texts(), QStringList());
}

OSTREL_TEST_MAIN(TestSimulatorDesk)

#include "tst_simulator_desk.moc"
