// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

#include <QtDBus/QDBusUnixFileDescriptor>

#include <optional>
#include <sys/resource.h>
#include <unistd.h>

using Ostrel::Control;

// What a program that does not listen for a while has waiting.
class TestReceiveLimit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void waitingSignalsStopNothing();
    void waitingDescriptorsStopNothing();

private:
    // The service sends so many changes of the instance's state.
    void emitStates(const QString &instance, const QVariantMap &changes, int count);

    rlimit m_descriptors = {};
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestReceiveLimit::initTestCase()
{
    // Each descriptor that waits is open in this process. The bus has to hold some of them as well.
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

// libdbus takes 63 MiB by itself.
void TestReceiveLimit::waitingSignalsStopNothing()
{
    const Control control;
    int heard = 0;
    connect(&control, &Control::stateChanged, this,
            [&heard](const QString & /*id*/, quint32 /*state*/) { ++heard; });
    const QVariantMap changes{{"State", 3U}};
    constexpr int count = 200;
    emitStates(QString(1 << 20, 'x'), changes, count);
    waitUntil([&heard] { return heard == count; });
    emitStates("last", changes, 1);
    waitUntil([&heard] { return heard == count + 1; });
}

// libdbus takes 4,096 by itself.
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
    // Nothing is heard during the calls of the desk.
    constexpr int atOnce = 500;
    for (int sent = 0; sent < count; sent += atOnce) {
        emitStates("id", changes, atOnce);
    }
    QCOMPARE(heard, 0);
    waitUntil([&heard] { return heard == count; });
}

OSTREL_TEST_MAIN(TestReceiveLimit)

#include "tst_receive_limit.moc"
