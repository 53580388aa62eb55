// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "outcomes.h"
#include "task_invokers.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

using Ostrel::Control;
using Ostrel::TaskInvoker;

namespace
{

int threads()
{
    return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

int sockets()
{
    const QFileInfoList files =
        QDir("/proc/self/fd").entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    return int(std::count_if(files.begin(), files.end(), [](const QFileInfo &file) {
        return file.symLinkTarget().contains("socket:");
    }));
}

// Counted after the library has been loaded, and before main().
const int threadsAtFirst = threads();
const int socketsAtFirst = sockets();

} // namespace

// What the library adds to a program without clients, and what the clients add to Qt's own.
class TestIdle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingRunsBeforeTheFirstClient();
    void clientsStartNoThreads();
};

void TestIdle::nothingRunsBeforeTheFirstClient()
{
    QCOMPARE(threadsAtFirst, 1);
    QCOMPARE(socketsAtFirst, 0);

    const int before = threads();
    QVERIFY(!Ostrel::Error());
    QVERIFY(Ostrel::DebugParams().sandboxEnabled());
    QCOMPARE(sockets(), 0);
    QCOMPARE(threads(), before);
}

void TestIdle::clientsStartNoThreads()
{
    const PrivateBus bus;
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
    Simulator simulator(bus);
    simulator.start();
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    QVERIFY(QDBusConnection::systemBus().isConnected());
    const int threadsOfQt = threads();
    const int connectionsOfQt = sockets();

    Control control;
    TaskInvoker onSession(TaskInvoker::SessionBus, "sync");
    TaskInvoker onSystem(TaskInvoker::SystemBus, "sync");
    QCOMPARE(control.terminate("none").code(), Ostrel::Error::ApplicationNotRunning);
    QVERIFY(!waitUntilReady(onSession));
    QVERIFY(!waitUntilReady(onSystem));
    QVERIFY(!reportWindow().error);
    QCOMPARE(threads(), threadsOfQt);
    QCOMPARE(sockets(), connectionsOfQt);
}

OSTREL_TEST_MAIN(TestIdle)

#include "tst_idle.moc"
