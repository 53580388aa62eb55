// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outgoing_maps.h"
#include "task_invokers.h"
#include "test_bus.h"
#include "warnings.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusUnixFileDescriptor>

#include <sys/resource.h>

#include <memory>

using Ostrel::TaskInvoker;

namespace
{

const QString type = "sync";

// What a usual system bus accepts, and what remains of it after the header.
constexpr int largestMessage = 32 * 1024 * 1024;
const int room = largestMessage - 4096 - sessionPath(type).size();

QString letters(int count)
{
    return QString(count, 'x');
}

QVariantMap descriptors(int count)
{
    QVariantList list;
    for (int i = 0; i < count; ++i) {
        list.append(QVariant::fromValue(QDBusUnixFileDescriptor(0)));
    }
    return {{"key", list}};
}

// dbus-daemon with the limits that are built into it, but for that of the time to connect.
std::unique_ptr<BusProcess> daemonAt(const QString &address, const QTemporaryDir &folder,
                                     const QString &busType)
{
    return BusProcess::daemonAt(address, folder.path(),
                                "<type>" + busType
                                    + "</type>"
                                      "<listen>unix:tmpdir=/tmp</listen>"
                                      "<auth>EXTERNAL</auth>"
                                      "<auth>ANONYMOUS</auth>"
                                      "<allow_anonymous/>"
                                      "<policy context=\"default\">"
                                      "<allow send_destination=\"*\"/>"
                                      "<allow receive_sender=\"*\"/>"
                                      "</policy>"
                                      "<limit name=\"auth_timeout\">1000000000</limit>");
}

} // namespace

// The bus limits what a call may carry. It drops the connection of a program that sends more, and
// the connection never comes back.
//
// There is no service, so the bus itself answers the calls that it accepts.
class TestOutgoingBuses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void systemBusAcceptsItsLargestMessage();
    void systemBusAcceptsItsLargestMap();
    void systemBusAcceptsSixteenDescriptors();
    void descriptorsNeedRoomInTheProcess();
    void busWithoutDescriptorsIsSentNone();

private:
    // Starts a task on the system bus, and returns the outcome.
    QString start(const QString &name, const QVariantMap &hints = {});

    const QString m_arrived = "started 0: 1 \"" + absentServiceText() + '"';

    const QTemporaryDir m_systemFolder;
    const QTemporaryDir m_sessionFolder;
    std::unique_ptr<BusProcess> m_systemBus;
    std::unique_ptr<BusProcess> m_sessionBus;
    std::unique_ptr<TaskInvoker> m_invoker;
};

void TestOutgoingBuses::initTestCase()
{
    m_systemBus = busKind() == DBusBroker
        ? brokerIn(m_systemFolder.path(), quotasOfSystemBus())
        : daemonAt("unix:path=" + m_systemFolder.filePath("bus"), m_systemFolder, "system");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_systemBus->address().toUtf8());
    // A TCP bus passes on no file descriptors. Only dbus-daemon has one.
    m_sessionBus = daemonAt("tcp:host=127.0.0.1", m_sessionFolder, "session");
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_sessionBus->address().toUtf8());

    const Warnings warnings;
    m_invoker = std::make_unique<TaskInvoker>(TaskInvoker::SystemBus, type);
    QCOMPARE(waitUntilReady(*m_invoker).code(), Ostrel::Error::Failed);
    QCOMPARE(warnings.texts().size(), 1);
}

void TestOutgoingBuses::cleanup()
{
    QVERIFY(QDBusConnection::systemBus().isConnected());
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

QString TestOutgoingBuses::start(const QString &name, const QVariantMap &hints)
{
    TaskInvoker::Hints all;
    static_cast<QVariantMap &>(all) = hints;
    Events events;
    m_invoker->start(name, {}, all, events.started());
    events.waitFor(1);
    return events.all().constFirst();
}

void TestOutgoingBuses::systemBusAcceptsItsLargestMessage()
{
    QCOMPARE(start(letters(room)), m_arrived);
    for (const int size : {room + 1, largestMessage, 2 * largestMessage}) {
        QCOMPARE(start(letters(size)),
                 QString("started 0: 1 \"Marshalling failed: a text of %1 bytes is too large "
                         "for a message\"")
                     .arg(size));
    }
}

void TestOutgoingBuses::systemBusAcceptsItsLargestMap()
{
    const int before = sessionPath(type).size() + 1;
    // Each map has a length and padding. The entry has its key, its type and its length.
    const int maps = (before + 4 + 7) / 8 * 8 + 8;
    const int largest = largestMessage - 4096 - maps - (4 + 4 + 3 + 1 + 4 + 1);
    QCOMPARE(start(letters(1), {{"key", letters(largest)}}), m_arrived);
    QCOMPARE(start(letters(1), {{"key", letters(largest + 1)}}),
             "started 0: 1 \"Marshalling failed: \"key\" is too large for a message, "
             "with a value of type QString\"");
}

void TestOutgoingBuses::systemBusAcceptsSixteenDescriptors()
{
    QCOMPARE(start("a", descriptors(16)), m_arrived);
    QCOMPARE(start("a", descriptors(17)),
             "started 0: 1 \"Marshalling failed: \"key\" holds one file descriptor "
             "too many, in a value of type QDBusUnixFileDescriptor\"");
}

// libdbus duplicates each descriptor. If it cannot, the message lacks the descriptors that it
// announces.
void TestOutgoingBuses::descriptorsNeedRoomInTheProcess()
{
    TaskInvoker::Hints hints;
    static_cast<QVariantMap &>(hints) = descriptors(1);
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    rlimit none = usual;
    none.rlim_cur = 3;
    Events events;
    setrlimit(RLIMIT_NOFILE, &none);
    m_invoker->start("a", {}, hints, events.started());
    setrlimit(RLIMIT_NOFILE, &usual);
    events.waitFor(1);
    QCOMPARE(events.all().constFirst(),
             "started 0: 1 \"Marshalling failed: \"key\" holds a file descriptor that "
             "cannot be duplicated, in a value of type QDBusUnixFileDescriptor\"");
    QCOMPARE(start("a", hints), m_arrived);
}

void TestOutgoingBuses::busWithoutDescriptorsIsSentNone()
{
    Ostrel::Control control;
    const Ostrel::Error error =
        control.startDebug("a.b", Ostrel::DebugParams(descriptors(1))).error;
    QCOMPARE(error.code(), Ostrel::Error::Failed);
    QCOMPARE(error.message(),
             "Marshalling failed: \"key\" needs a bus that passes file descriptors, "
             "for a value of type QDBusUnixFileDescriptor");
    QVERIFY(!control.startDebug("a.b", {}).error.message().startsWith("Not connected"));
}

OSTREL_TEST_MAIN(TestOutgoingBuses)

#include "tst_outgoing_buses.moc"
