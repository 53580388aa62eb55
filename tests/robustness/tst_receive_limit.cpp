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
    void waitingDescriptorsStopNothing();
};

void TestReceiveLimit::waitingDescriptorsStopNothing()
{
    // libdbus takes 4,096 by itself, and each that waits is open in this process. The bus has to
    // hold some of them as well.
    constexpr int count = 6000;
    rlimit limit = {};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_max < rlim_t(count) * 2) {
        QSKIP("The process may not have so many descriptors");
    }
    limit.rlim_cur = limit.rlim_max;
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &limit), 0);

    PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const Control control;
    int heard = 0;
    connect(&control, &Control::stateChanged, this,
            [&heard](const QString & /*id*/, quint32 /*state*/) { ++heard; });
    const QVariantMap changes{
        {QStringLiteral("State"), 3U},
        {QStringLiteral("File"), QVariant::fromValue(QDBusUnixFileDescriptor(STDERR_FILENO))}};
    // Nothing is heard during the calls of the desk.
    constexpr int atOnce = 500;
    for (int sent = 0; sent < count; sent += atOnce) {
        const QDBusMessage answer = simulator.desk(
            QStringLiteral("EmitMany"),
            {QVariant::fromValue(QDBusObjectPath(QStringLiteral(OSTREL_CONTROL_PATH))),
             QStringLiteral(OSTREL_CONTROL_INTERFACE), QStringLiteral("StateChanged"),
             QVariant(QVariantList{QStringLiteral("id"), changes}), uint(atOnce)});
        QCOMPARE(answer.errorMessage(), QString());
    }
    QCOMPARE(heard, 0);
    waitUntil([&heard] { return heard == count; });
}

OSTREL_TEST_MAIN(TestReceiveLimit)

#include "tst_receive_limit.moc"
