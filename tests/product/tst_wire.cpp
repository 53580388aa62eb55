// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QJsonArray>

#include <algorithm>
#include <optional>

using Ostrel::WindowManagement;

namespace
{

bool isReportOf(const QString &window, const QJsonObject &message)
{
    return message.value("member") == "UpdateWindowStatus"
        && message.value("payload")["data"][0] == window;
}

} // namespace

// What the library puts on the wire, as a program sees it that shares no code with it.
class TestWire : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void windowStatusIsOneMessage();
    void serviceReceivesOnlyTheReports();
    void proxyOutlivesItsClient();

private:
    // All messages of this process until it has reported the marker window.
    QVector<QJsonObject> ownMessages(BusMonitor &monitor);

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestWire::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

QVector<QJsonObject> TestWire::ownMessages(BusMonitor &monitor)
{
    reportWindow("marker");
    const QVector<QJsonObject> messages = monitor.messagesUntil(
        [](const QJsonObject &message) { return isReportOf("marker", message); });
    const QString self = QDBusConnection::sessionBus().baseService();
    QVector<QJsonObject> own;
    std::copy_if(messages.cbegin(), messages.cend(), std::back_inserter(own),
                 [&self](const QJsonObject &message) { return message.value("sender") == self; });
    return own;
}

void TestWire::windowStatusIsOneMessage()
{
    BusMonitor monitor(*m_bus);
    reportWindow("main", -1, 2147483647, 3);
    const QVector<QJsonObject> messages = monitor.messagesUntil([](const QJsonObject &message) {
        return message.value("type") == "method_return" && message.value("payload")["type"] == "u"
            && message.value("payload")["data"][0] == 4294967295.0;
    });

    const auto call = std::find_if(messages.cbegin(), messages.cend(), [](const QJsonObject &each) {
        return isReportOf("main", each);
    });
    QVERIFY(call != messages.cend());
    QCOMPARE(call->value("type").toString(), "method_call");
    QCOMPARE(call->value("destination").toString(), OSTREL_SERVICE_NAME);
    QCOMPARE(call->value("path").toString(), OSTREL_SERVICE_PATH "/WindowManagement1");
    QCOMPARE(call->value("interface").toString(), OSTREL_SERVICE_NAME ".WindowManagement1");
    QCOMPARE(call->value("payload").toObject(),
             (QJsonObject{{"type", "siii"}, {"data", QJsonArray{"main", -1, 2147483647, 3}}}));
    // The service may be started by the call, and has to answer.
    QCOMPARE(call->value("flags").toInt(), 0);

    QCOMPARE(messages.constLast().value("reply_cookie"), call->value("cookie"));
}

// No introspection, no properties, no pings: the one call.
void TestWire::serviceReceivesOnlyTheReports()
{
    BusMonitor monitor(*m_bus);
    QStringList members;
    const QVector<QJsonObject> messages = ownMessages(monitor);
    for (const QJsonObject &message : messages) {
        if (message.value("destination") != "org.freedesktop.DBus") {
            members.append(message.value("member").toString());
        }
    }
    QCOMPARE(members, QStringList("UpdateWindowStatus"));
}

// A client's proxy lives until the process ends, so its match rules are never taken back.
void TestWire::proxyOutlivesItsClient()
{
    BusMonitor monitor(*m_bus);
    {
        const WindowManagement windows;
    }
    QStringList members;
    const QVector<QJsonObject> messages = ownMessages(monitor);
    for (const QJsonObject &message : messages) {
        members.append(message.value("member").toString());
    }
    QVERIFY(!members.contains("RemoveMatch"));
    QCOMPARE(members.constLast(), "UpdateWindowStatus");
}

OSTREL_TEST_MAIN(TestWire)

#include "tst_wire.moc"
