// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "task_invokers.h"

#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusConnection>

#include <atomic>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <poll.h>
#include <sys/wait.h>

struct DBusConnection;
struct DBusError;
struct DBusMessage;
struct DBusPendingCall;

namespace
{

// The bus that is to end, once, and whether it is to end now.
std::atomic<pid_t> victim{0};
std::atomic<bool> now{false};

template <typename Function> Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// QtDBus calls these two functions of libdbus here first, in its own thread: to subscribe to a
// signal, and then to ask for the owner of the service's name.
extern "C" Q_DECL_EXPORT void dbus_bus_add_match(DBusConnection *connection, const char *rule,
                                                 DBusError *error)
{
    next<decltype(dbus_bus_add_match)>("dbus_bus_add_match")(connection, rule, error);
    if (std::strstr(rule, "PropertiesChanged") != nullptr) {
        now = true;
    }
}

extern "C" Q_DECL_EXPORT unsigned dbus_connection_send_with_reply(DBusConnection *connection,
                                                                  DBusMessage *message,
                                                                  DBusPendingCall **reply,
                                                                  int timeout)
{
    const char *const member =
        next<const char *(DBusMessage *)>("dbus_message_get_member")(message);
    siginfo_t info = {};
    if (victim != 0 && std::strcmp(member, "RegisterInvoker") == 0) {
        ::kill(victim, SIGSTOP);
        ::waitid(P_PID, static_cast<id_t>(victim), &info, WSTOPPED | WNOWAIT);
    }
    if (const pid_t bus = now ? victim.exchange(0) : 0) {
        // The reply to the registration waits there unread. libdbus notices the end when it writes.
        ::kill(bus, SIGCONT);
        pollfd socket = {-1, POLLIN, 0};
        next<unsigned(DBusConnection *, int *)>("dbus_connection_get_unix_fd")(connection,
                                                                               &socket.fd);
        ::poll(&socket, 1, -1);
        ::kill(bus, SIGKILL);
        ::waitid(P_PID, static_cast<id_t>(bus), &info, WEXITED | WNOWAIT);
    }
    return next<decltype(dbus_connection_send_with_reply)>("dbus_connection_send_with_reply")(
        connection, message, reply, timeout);
}

using Ostrel::Error;
using Ostrel::TaskInvoker;

// The bus ends while an object is created.
class TestBusDiesEarly : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readyCallbackComesWhenTheBusEndsDuringTheSubscription();
};

void TestBusDiesEarly::readyCallbackComesWhenTheBusEndsDuringTheSubscription()
{
    PrivateBus bus;
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();

    victim = static_cast<pid_t>(bus.processId());
    TaskInvoker invoker(TaskInvoker::SessionBus, "other");
    QCOMPARE(victim.load(), 0);
    QCOMPARE(waitUntilReady(invoker).code(), Error::Failed);

    Events events;
    invoker.stop("x", events.stopped());
    events.waitFor(1);
    QCOMPARE(events.all(), QStringList("stopped 1 \"Not connected to D-Bus server\""));
}

OSTREL_TEST_MAIN(TestBusDiesEarly)

#include "tst_bus_dies_early.moc"
