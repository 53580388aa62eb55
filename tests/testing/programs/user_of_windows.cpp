// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/PrivateBus>
#include <Ostrel/Testing/Simulator>
#include <Ostrel/Testing/waiting.h>

#include <QtDBus/QDBusConnection>
#include <QtWidgets/QLabel>

using namespace Ostrel::Testing;

namespace
{

// libdbus remembers where the session bus was, so this connects by the address.
bool reachesABus(const char *variable)
{
    return QDBusConnection::connectToBus(qEnvironmentVariable(variable), variable).isConnected();
}

} // namespace

// A test of a program with windows, which makes its bus itself.
class UserOfWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reachesNoBusOfTheUser() const;
    void showsAReply();

private:
    const bool m_reachesSessionBus = reachesABus("DBUS_SESSION_BUS_ADDRESS");
    const bool m_reachesSystemBus = reachesABus("DBUS_SYSTEM_BUS_ADDRESS");
    PrivateBus m_bus;
    Simulator m_simulator{m_bus};
};

void UserOfWindows::reachesNoBusOfTheUser() const
{
    QVERIFY(!m_reachesSessionBus);
    QVERIFY(!m_reachesSystemBus);
}

void UserOfWindows::showsAReply()
{
    m_simulator.start();
    QLabel label;
    label.show();
    Ostrel::Control control;
    control.start("demo.Viewer", &label, [&label](const Ostrel::Control::StartResult &result) {
        label.setText(result.appInstanceId);
    });
    OSTREL_COMPARE_CALLS(m_simulator, call(Method::Start).with("demo.Viewer"));
    QVERIFY(waitUntil([&label] { return label.text() == "demo.Viewer.instance_1"; }));
}

OSTREL_TEST_MAIN(UserOfWindows)

#include "user_of_windows.moc"
