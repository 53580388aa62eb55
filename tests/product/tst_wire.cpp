// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "outcomes.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>

#include <algorithm>

using Ostrel::WindowManagement;

namespace
{

bool isReportOf(const QString &window, const QJsonObject &message)
{
    return message.value("member") == "UpdateWindowStatus"
        && message.value("payload")["data"][0] == window;
}

} // namespace

// What the library sends. busctl sees it, which shares no code with the library.
class TestWire : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void windowStatusIsOneMessage();
    void serviceReceivesOnlyTheReports();
    void proxyOutlivesItsClient();
};

void TestWire::windowStatusIsOneMessage()
{
    BusMonitor monitor(m_bus);
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
    // The call may start the service, and the service must answer.
    QCOMPARE(call->value("flags").toInt(), 0);

    QCOMPARE(messages.constLast().value("reply_cookie"), call->value("cookie"));
}

// One call, without introspection, properties or pings.
void TestWire::serviceReceivesOnlyTheReports()
{
    BusMonitor monitor(m_bus);
    reportWindow();
    QStringList members;
    const QVector<QJsonObject> messages = monitor.ownMessages();
    for (const QJsonObject &message : messages) {
        if (message.value("destination") != "org.freedesktop.DBus") {
            members.append(message.value("member").toString());
        }
    }
    QCOMPARE(members, QStringList("UpdateWindowStatus"));
}

// The proxy of a client lives until the process ends, so its match rules are never removed.
void TestWire::proxyOutlivesItsClient()
{
    BusMonitor monitor(m_bus);
    {
        const WindowManagement windows;
    }
    reportWindow();
    QStringList members;
    const QVector<QJsonObject> messages = monitor.ownMessages();
    for (const QJsonObject &message : messages) {
        members.append(message.value("member").toString());
    }
    QVERIFY(!members.contains("RemoveMatch"));
    QCOMPARE(members.constLast(), "UpdateWindowStatus");
}

OSTREL_TEST_MAIN(TestWire)

#include "tst_wire.moc"
