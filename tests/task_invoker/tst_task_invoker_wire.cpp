// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "quiet_test.h"
#include "task_invokers.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>

#include <algorithm>
#include <iterator>

using Ostrel::TaskInvoker;

// busctl, which shares no code with the library, sees the calls of a task invoker.
class TestTaskInvokerWire : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void callsExpectRepliesAndMayStartTheService_data();
    void callsExpectRepliesAndMayStartTheService();
    void serviceReceivesOnlyTheCalls();

private:
    // What this process sent to anyone but the message bus.
    QVector<QJsonObject> m_calls;
};

void TestTaskInvokerWire::initTestCase()
{
    BusMonitor monitor(m_bus);
    {
        TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
        QVERIFY(!waitUntilReady(invoker));
        TaskInvoker::StartupInfo info;
        info.setParameters({"--all"});
        TaskInvoker::Hints hints;
        hints.setPriority(-5);
        Events events;
        invoker.start("photos", info, hints, events.started());
        events.waitFor(1);
        roundTrip(invoker);
    }
    const QVector<QJsonObject> messages = monitor.ownMessages();
    std::copy_if(messages.cbegin(), messages.cend(), std::back_inserter(m_calls),
                 [](const QJsonObject &message) {
                     return message["destination"] != "org.freedesktop.DBus";
                 });
}

void TestTaskInvokerWire::callsExpectRepliesAndMayStartTheService_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QJsonArray>("arguments");
    const auto variant = [](const char *type, const QJsonValue &data) {
        return QJsonObject{{"type", type}, {"data", data}};
    };
    const QString session = OSTREL_SERVICE_PATH "/TaskInvokerSessions/sync";
    const QString ofSessions = OSTREL_SERVICE_NAME ".TaskInvokerSession1";
    QTest::newRow("RegisterInvoker")
        << 0 << OSTREL_SERVICE_PATH "/TaskInvoker1" << OSTREL_SERVICE_NAME ".TaskInvoker1"
        << "RegisterInvoker"
        << "s" << QJsonArray{"sync"};
    QTest::newRow("Start") << 1 << session << ofSessions << "Start"
                           << "sa{sv}a{sv}"
                           << QJsonArray{
                                  "photos",
                                  QJsonObject{{"Params", variant("as", QJsonArray{"--all"})}},
                                  QJsonObject{{"Priority", variant("i", -5)}}};
    QTest::newRow("Stop") << 2 << session << ofSessions << "Stop"
                          << "s" << QJsonArray{"marker"};
}

void TestTaskInvokerWire::callsExpectRepliesAndMayStartTheService()
{
    QFETCH(int, number);
    QFETCH(QString, signature);
    QFETCH(QJsonArray, arguments);
    QVERIFY(number < m_calls.size());
    const QJsonObject &call = m_calls.at(number);
    QCOMPARE(call.value("type").toString(), "method_call");
    QCOMPARE(call.value("destination").toString(), OSTREL_SERVICE_NAME);
    QTEST(call.value("path").toString(), "path");
    QTEST(call.value("interface").toString(), "interface");
    QTEST(call.value("member").toString(), "member");
    QCOMPARE(call.value("payload").toObject(),
             (QJsonObject{{"type", signature}, {"data", arguments}}));
    // The call may start the service, and the service must answer.
    QCOMPARE(call.value("flags").toInt(-1), 0);
}

// No introspection, no reading of properties, and nothing at the end.
void TestTaskInvokerWire::serviceReceivesOnlyTheCalls()
{
    QCOMPARE(m_calls.size(), 3);
}

OSTREL_TEST_MAIN(TestTaskInvokerWire)

#include "tst_task_invoker_wire.moc"
