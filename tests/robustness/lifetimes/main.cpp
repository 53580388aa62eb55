// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Programs that use the library early, late or in unusual ways, one for each name. Each writes what
// it sees. A program that reaches its end returns 0.

#include "clients.h"
#include "forks.h"
#include "late_wake_up.h"
#include "only_client.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusConnection>

#include <atomic>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace
{

using Application = std::optional<QCoreApplication>;
using Scenario = std::function<int(int &argc, char **argv)>;

// Created before QtDBus's own static objects, and so destroyed after them.
class AtExit
{
public:
    ~AtExit()
    {
        if (m_calls) {
            useWithoutQtDBus();
        }
    }

    void own(std::unique_ptr<Clients> clients) { m_clients = std::move(clients); }
    void makeCalls() { m_calls = true; }

private:
    void useWithoutQtDBus()
    {
        for (int i = 0; i < 2; ++i) {
            m_clients->start();
            m_clients->sayOtherRequests();
            m_clients->call();
            // Created when QtDBus is gone.
            m_clients = std::make_unique<Clients>();
        }
        m_clients.reset();
        say("destroyed");
    }

    std::unique_ptr<Clients> m_clients;
    bool m_calls = false;
};

// clazy:excludeall=non-pod-global-static
AtExit atExit;

// Created before main() runs, if the environment says so.
const std::unique_ptr<Clients> early =
    qEnvironmentVariableIsSet("EARLY") ? std::make_unique<Clients>() : nullptr;

int applicationComesLater(int &argc, char **argv)
{
    Clients clients;
    clients.start();
    clients.call();
    const QCoreApplication application(argc, argv);
    clients.sayEvents(4);
    return 0;
}

int noApplication(int & /*argc*/, char ** /*argv*/)
{
    Clients clients;
    clients.start();
    clients.call();
    clients.start();
    say(clients.events().join(", "));
    return 0;
}

int anotherApplication(int &argc, char **argv)
{
    Application application;
    application.emplace(argc, argv);
    Clients clients;
    clients.start();
    clients.sayEvents(2);
    application.reset();
    clients.start();
    clients.call();
    application.emplace(argc, argv);
    clients.sayEvents(3);
    return 0;
}

int objectsOutliveTheApplication(int &argc, char **argv)
{
    Application application;
    application.emplace(argc, argv);
    auto clients = std::make_unique<Clients>();
    clients->sayEvents(1);
    clients->call();
    application.reset();
    clients->start();
    clients.reset();
    say("destroyed");
    return 0;
}

int staticObjects(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    auto clients = std::make_unique<Clients>();
    clients->call();
    clients->sayEvents(3);
    clients->call();
    atExit.own(std::move(clients));
    return 0;
}

int callsInStaticDestructors(int &argc, char **argv)
{
    atExit.makeCalls();
    return staticObjects(argc, argv);
}

// The service does not reply to these calls.
int callsUnderWay(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    auto clients = std::make_unique<Clients>();
    clients->call();
    // When this returns, the calls have been sent.
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    clients->control().getRunningApplications(applications, services);
    atExit.own(std::move(clients));
    return 0;
}

// The process ends while another thread waits for a reply.
int requestUnderWay(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    auto *const control = new Ostrel::Control;
    control->terminate("none");

    struct Ending
    {
        ~Ending() { say("ending"); }
    };
    static const Ending ending;
    std::thread([control] { control->start("demo.Viewer"); }).detach();
    // Waits until the service has the call.
    std::cin.get();
    return 0;
}

// Other threads continue their requests while the process ends. Requests that come too late fail.
int requestsWithoutEnd(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    auto *const control = new Ostrel::Control;
    static std::atomic<int> made = 0;
    for (int i = 0; i < 8; ++i) {
        std::thread([control] {
            while (control->terminate("none").code() == Ostrel::Error::ApplicationNotRunning) {
                ++made;
            }
        }).detach();
    }
    while (made < 100) {
        std::this_thread::yield();
    }
    return 0;
}

int staticObjectsFromTheBeginning(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    early->start();
    early->call();
    early->sayEvents(4);
    early->call();
    return 0;
}

// Destroyed after both buses have been closed.
int staticObjectBeforeTheFirstClient(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection::sessionBus();
    struct Late
    {
        ~Late()
        {
            for (const auto &bus : {QDBusConnection::sessionBus(), QDBusConnection::systemBus()}) {
                say(bus.isConnected() ? "connected" : "not connected");
            }
        }
    };
    static const Late late;
    Clients clients;
    const Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SystemBus, "other");
    clients.sayEvents(1);
    return 0;
}

int exitInASlot(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Clients clients;
    QObject::connect(&clients.control(), &Ostrel::Control::started, &application, [&clients] {
        clients.call();
        say("exit");
        std::exit(0); // NOLINT(concurrency-mt-unsafe)
    });
    clients.start();
    clients.sayEvents(100);
    return 1;
}

int exitInACallback(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Clients clients;
    Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SessionBus, "other");
    invoker.onReady([&clients](const Ostrel::Error &) {
        clients.call();
        say("exit");
        std::exit(0); // NOLINT(concurrency-mt-unsafe)
    });
    clients.sayEvents(100);
    return 1;
}

// A request that blocks logs which parameter cannot be sent.
int exitInAMessageHandler(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Ostrel::Control control;
    qInstallMessageHandler(
        [](QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &message) {
            say(message);
            std::exit(0); // NOLINT(concurrency-mt-unsafe)
        });
    const QJsonArray refused{QJsonArray{1}, QJsonArray{2}};
    control.startDebug("demo.Viewer", QVariantMap{{"json", QJsonObject{{"refused", refused}}}});
    return 1;
}

// They are deleted when the thread has no event loop any more. Nothing of Qt's may stay behind in
// it.
int objectsOfAThread(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    for (int i = 0; i < 3; ++i) {
        std::thread thread([] {
            thread_local std::unique_ptr<Clients> clients;
            clients = std::make_unique<Clients>();
            clients->start();
            clients->call();
        });
        thread.join();
    }
    say("joined");
    return 0;
}

// Without the event loop, QtDBus does not report that the bus has ended.
int busEndsBeforeTheLoopRuns(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    Clients clients;
    // On this line, the test kills the bus.
    say("ready");
    std::cin.get();
    while (QDBusConnection::sessionBus().isConnected()) {
        std::this_thread::yield();
    }
    clients.start();
    clients.sayOtherRequests();
    return 0;
}

// Whether to write a line when QtDBus has sent the next call.
std::atomic<bool> saysQuestions{false};

// As the documentation advises.
int busEndsInTheFirstObject(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    // On this line, the test stops the bus. It kills the bus while the object waits for it.
    say("ready");
    std::cin.get();
    saysQuestions = true;
    Clients clients;
    clients.start();
    clients.sayEvents(1);
    return 0;
}

} // namespace

struct DBusConnection;
struct DBusMessage;
struct DBusPendingCall;

// QtDBus calls this function of libdbus here first, in its own thread.
extern "C" Q_DECL_EXPORT unsigned dbus_connection_send_with_reply(DBusConnection *connection,
                                                                  DBusMessage *message,
                                                                  DBusPendingCall **reply,
                                                                  int timeout)
{
    static const auto send = reinterpret_cast<decltype(&dbus_connection_send_with_reply)>(
        dlsym(RTLD_NEXT, "dbus_connection_send_with_reply"));
    const unsigned result = send(connection, message, reply, timeout);
    if (saysQuestions.exchange(false)) {
        say("asked");
    }
    return result;
}

int main(int argc, char **argv)
{
    const std::vector<std::pair<const char *, Scenario>> scenarios{
        {"applicationComesLater", applicationComesLater},
        {"noApplication", noApplication},
        {"anotherApplication", anotherApplication},
        {"objectsOutliveTheApplication", objectsOutliveTheApplication},
        {"staticObjects", staticObjects},
        {"callsInStaticDestructors", callsInStaticDestructors},
        {"callsUnderWay", callsUnderWay},
        {"requestUnderWay", requestUnderWay},
        {"requestsWithoutEnd", requestsWithoutEnd},
        {"staticObjectsFromTheBeginning", staticObjectsFromTheBeginning},
        {"staticObjectBeforeTheFirstClient", staticObjectBeforeTheFirstClient},
        {"onlyControl", onlyControl},
        {"onlyInvoker", onlyInvoker},
        {"onlyWindows", onlyWindows},
        {"lateWakeUp", lateWakeUp},
        {"exitInASlot", exitInASlot},
        {"exitInACallback", exitInACallback},
        {"exitInAMessageHandler", exitInAMessageHandler},
        {"objectsOfAThread", objectsOfAThread},
        {"busEndsBeforeTheLoopRuns", busEndsBeforeTheLoopRuns},
        {"busEndsInTheFirstObject", busEndsInTheFirstObject},
        {"childExecs", childExecs},
        {"childInheritsNothing", childInheritsNothing},
        {"childUsesNothing", childUsesNothing},
        {"childComesFirst", childComesFirst},
    };
    for (const auto &[name, run] : scenarios) {
        if (argc > 1 && qstrcmp(argv[1], name) == 0) {
            return run(argc, argv);
        }
    }
    std::cerr << "unknown" << std::endl;
    return 2;
}
