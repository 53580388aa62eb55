// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <memory>
#include <unistd.h>

namespace
{

// As on a usual system bus: nobody owns a name or calls a service without a policy for it.
const char *const restrictions = "<policy context=\"default\">"
                                 "<deny own=\"*\"/>"
                                 "<deny send_type=\"method_call\"/>"
                                 "<allow send_destination=\"org.freedesktop.DBus\"/>"
                                 "</policy>";

// A dbus-daemon as system bus, also if the other tests run with another program. It has the
// simulator's policy for this user, if one is given.
class SystemBus
{
public:
    explicit SystemBus(const QString &user)
    {
        QString policy = readFile(SYSTEM_BUS_POLICY).section("<busconfig>", 1);
        policy = policy.section("</busconfig>", 0, 0).replace("\"USER\"", '"' + user + '"');
        m_daemon = BusProcess::daemon(m_folder.path(),
                                      restrictions + (user.isEmpty() ? QString() : policy));
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_daemon->address().toUtf8());
    }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<BusProcess> m_daemon;
};

} // namespace

// The simulator on a bus with the policy of a system bus.
class TestSimulatorSystemBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameNeedsAPolicyForTheUser_data();
    void nameNeedsAPolicyForTheUser();
    void policyLetsItsUserServeAndCall();
};

void TestSimulatorSystemBus::nameNeedsAPolicyForTheUser_data()
{
    QTest::addColumn<QString>("user");
    QTest::newRow("no policy") << QString();
    QTest::newRow("policy for another user") << QString::number(getuid() + 1);
}

void TestSimulatorSystemBus::nameNeedsAPolicyForTheUser()
{
    QFETCH(QString, user);
    const SystemBus bus(user);
    const Result result = run(SIMULATOR, {"--system"});
    QCOMPARE(result.exitStatus, 1);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             "ostrel-simulator: cannot own the name " OSTREL_SERVICE_NAME
             ": Connection \":1.0\" is "
             "not allowed to own the service \"" OSTREL_SERVICE_NAME "\" due to security policies "
             "in the configuration file\n"
             "hint: ostrel-simulator(1) says how to allow it on the system bus; or open a shell "
             "whose system bus is a private one: dbus-run-session -- "
             "sh -c 'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS bash'\n");
}

void TestSimulatorSystemBus::policyLetsItsUserServeAndCall()
{
    const SystemBus bus(QString::number(getuid()));
    Process simulator(SIMULATOR, {"--system"});
    simulator.start();
    QVERIFY(simulator.readLine().startsWith("ostrel-simulator: " OSTREL_SERVICE_NAME
                                            " is ready on the system bus"));
    const Result result = run(OSTRELCTL, {"task", "start", "--system", "sync", "contacts"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.output, "1\n");
}

OSTREL_TEST_MAIN(TestSimulatorSystemBus)

#include "tst_simulator_system_bus.moc"
