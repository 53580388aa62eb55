// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtTest/QSignalSpy>

#include <optional>
#include <sys/resource.h>
#include <unistd.h>

using Ostrel::Control;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

// Messages wait while a program does not run its event loop.
class TestReceiveLimit : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void stateChanged();

private Q_SLOTS:
    void initTestCase();
    void waitingSignalsStopNothing_data();
    void waitingSignalsStopNothing();
    void waitingDescriptorsStopNothing();

private:
    // Makes the service send so many changes of the instance's state.
    void emitStates(const QString &instance, const QVariantMap &changes, int count);

    rlimit m_descriptors = {};
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestReceiveLimit::initTestCase()
{
    // This process holds each waiting descriptor open, and the bus holds some of them.
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &m_descriptors), 0);
    m_descriptors.rlim_cur = m_descriptors.rlim_max;
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &m_descriptors), 0);
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestReceiveLimit::emitStates(const QString &instance, const QVariantMap &changes, int count)
{
    const QDBusMessage answer = m_simulator->desk(
        "EmitMany",
        {QVariant::fromValue(QDBusObjectPath(OSTREL_CONTROL_PATH)), OSTREL_CONTROL_INTERFACE,
         "StateChanged", QVariant(QVariantList{instance, changes}), uint(count)});
    QCOMPARE(answer.errorMessage(), QString());
}

void TestReceiveLimit::waitingSignalsStopNothing_data()
{
    QTest::addColumn<QString>("client");
    for (const char *client : {"Control", "TaskInvoker", "WindowManagement"}) {
        QTest::newRow(client) << client;
    }
}

// By default, libdbus stops reading at 63 MiB. Each client lifts the limit of the connection, which
// they share, so each is alone in a process of its own.
void TestReceiveLimit::waitingSignalsStopNothing()
{
    QFETCH(const QString, client);
    if (!qEnvironmentVariableIsSet("ONE_CLIENT")) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("ONE_CLIENT", "1");
        const Result result = run(QCoreApplication::applicationFilePath(),
                                  {"waitingSignalsStopNothing:" + client}, environment);
        QVERIFY2(result.exitStatus == 0, qPrintable(result.output));
        return;
    }
    if (client == "Control") {
        new Control(this);
    } else if (client == "TaskInvoker") {
        new TaskInvoker(TaskInvoker::SessionBus, "sync", this);
    } else {
        new WindowManagement(this);
    }
    QSignalSpy heard(this, &TestReceiveLimit::stateChanged);
    QVERIFY(QDBusConnection::sessionBus().connect(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                                  OSTREL_CONTROL_INTERFACE, "StateChanged", this,
                                                  SIGNAL(stateChanged())));
    const QVariantMap changes{{"State", 3U}};
    constexpr int count = 100;
    emitStates(QString(1 << 20, 'x'), changes, count);
    // The reply comes after the signals, and none of them has been handled.
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
    QCOMPARE(heard.size(), 0);
    waitUntil([&heard] { return heard.size() == count; });
    emitStates("last", changes, 1);
    waitUntil([&heard] { return heard.size() == count + 1; });
}

// By default, libdbus stops reading at 4,096 descriptors.
void TestReceiveLimit::waitingDescriptorsStopNothing()
{
    constexpr int count = 6000;
    if (m_descriptors.rlim_max < rlim_t(count) * 2) {
        QSKIP("The process may not have so many descriptors");
    }
    const Control control;
    int heard = 0;
    connect(&control, &Control::stateChanged, this,
            [&heard](const QString & /*id*/, quint32 /*state*/) { ++heard; });
    const QVariantMap changes{
        {"State", 3U}, {"File", QVariant::fromValue(QDBusUnixFileDescriptor(STDERR_FILENO))}};
    // During the calls of the desk, nothing else arrives.
    constexpr int atOnce = 500;
    for (int sent = 0; sent < count; sent += atOnce) {
        emitStates("id", changes, atOnce);
    }
    QCOMPARE(heard, 0);
    waitUntil([&heard] { return heard == count; });
}

OSTREL_TEST_MAIN(TestReceiveLimit)

#include "tst_receive_limit.moc"
