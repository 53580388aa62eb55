// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// libdbus.

#include "contestant.h"
#include "fail.h"
#include "libdbus_values.h"

#include "DBus/names_p.h"

#include <functional>
#include <memory>
#include <utility>

using namespace Plain;
using namespace Values;

namespace
{

constexpr const char *propertiesInterface = "org.freedesktop.DBus.Properties";

DBusConnection *bus = nullptr;

struct Unref
{
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
    void operator()(DBusPendingCall *call) const { dbus_pending_call_unref(call); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

void waitFor(std::size_t &count, std::size_t expected)
{
    while (count < expected) {
        dbus_connection_read_write_dispatch(bus, -1);
    }
    count = 0;
}

Message newCall(const std::string &path, const char *interface, const char *method)
{
    return Message(
        dbus_message_new_method_call(OSTREL_SERVICE_NAME, path.c_str(), interface, method));
}

Message callAndWait(const Message &call)
{
    Message reply(dbus_connection_send_with_reply_and_block(bus, call.get(), -1, nullptr));
    if (!reply) {
        fail("a call has failed");
    }
    return reply;
}

// Sends a call, and passes the reply to a function.
using OnReply = std::function<void(DBusMessage *)>;
void sendAsync(const Message &call, OnReply onReply)
{
    DBusPendingCall *pending = nullptr;
    dbus_connection_send_with_reply(bus, call.get(), &pending, -1);
    const auto notify = [](DBusPendingCall *finished, void *data) {
        const Message reply(dbus_pending_call_steal_reply(finished));
        (*static_cast<OnReply *>(data))(reply.get());
    };
    const auto drop = [](void *data) { delete static_cast<OnReply *>(data); };
    dbus_pending_call_set_notify(pending, notify, new OnReply(std::move(onReply)), drop);
    dbus_pending_call_unref(pending);
}

// Receives a signal of the service as long as it lives.
class Listener
{
public:
    Listener(const std::string &path, const char *interface, const char *signal, OnReply onSignal)
        : m_rule("type='signal',sender='" OSTREL_SERVICE_NAME "',path='" + path + "',interface='"
                 + interface + "',member='" + signal + "'")
        , m_path(path)
        , m_interface(interface)
        , m_signal(signal)
        , m_onSignal(std::move(onSignal))
    {
        dbus_bus_add_match(bus, m_rule.c_str(), nullptr);
        dbus_connection_add_filter(bus, filter, this, nullptr);
    }

    ~Listener()
    {
        dbus_connection_remove_filter(bus, filter, this);
        dbus_bus_remove_match(bus, m_rule.c_str(), nullptr);
    }

    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

private:
    static DBusHandlerResult filter(DBusConnection * /*bus*/, DBusMessage *message, void *data)
    {
        const auto *listener = static_cast<Listener *>(data);
        if (dbus_message_is_signal(message, listener->m_interface, listener->m_signal) != 0
            && dbus_message_has_path(message, listener->m_path.c_str()) != 0) {
            listener->m_onSignal(message);
        }
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    }

    std::string m_rule;
    std::string m_path;
    const char *m_interface;
    const char *m_signal;
    OnReply m_onSignal;
};

void makeControl()
{
    std::vector<std::unique_ptr<Listener>> listeners;
    for (const char *signal : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
        listeners.push_back(std::make_unique<Listener>(OSTREL_CONTROL_PATH,
                                                       OSTREL_CONTROL_INTERFACE, signal,
                                                       [](DBusMessage * /*signal*/) {}));
    }
    dbus_connection_flush(bus);
}

std::string startApplication()
{
    const Message call = newCall(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "Start");
    const char *appId = Lookup::applicationId;
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &appId, DBUS_TYPE_INVALID);
    const Message reply = callAndWait(call);
    DBusMessageIter iterator;
    dbus_message_iter_init(reply.get(), &iterator);
    std::string instance = readString(iterator);
    const Properties details = readProperties(iterator);
    return instance;
}

std::size_t runningApplications()
{
    const Message reply = callAndWait(
        newCall(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "GetRunningApplications"));
    DBusMessageIter iterator;
    dbus_message_iter_init(reply.get(), &iterator);
    std::vector<Application> applications;
    readArray(iterator, applications, [](Application &application, DBusMessageIter &members) {
        application.appId = readString(members);
        application.pid = readNumber<std::int32_t>(members);
        application.state = readNumber<std::uint32_t>(members);
        application.kind = readNumber<std::uint32_t>(members);
    });
    std::vector<Service> services;
    readArray(iterator, services, [](Service &service, DBusMessageIter &members) {
        service.appId = readString(members);
        service.name = readString(members);
        service.pid = readNumber<std::int32_t>(members);
        service.state = readNumber<std::uint32_t>(members);
    });
    return applications.size() + services.size();
}

unsigned hearStates(std::size_t expected)
{
    static std::size_t count = 0;
    static unsigned last = 0;
    static const Listener listener(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "StateChanged",
                                   [](DBusMessage *signal) {
                                       DBusMessageIter iterator;
                                       dbus_message_iter_init(signal, &iterator);
                                       const std::string instance = readString(iterator);
                                       const Properties properties = readProperties(iterator);
                                       last = std::get<std::uint32_t>(properties.at("State"));
                                       ++count;
                                   });
    waitFor(count, expected);
    return last;
}

struct Invoker
{
    Invoker(const std::string &type, std::size_t &ready)
        : listener(OSTREL_TASK_INVOKER_SESSIONS_PATH + type, propertiesInterface,
                   "PropertiesChanged", [this](DBusMessage *signal) {
                       apply(signal);
                       ++lists;
                   })
    {
        const Message call =
            newCall(OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
        const char *name = type.c_str();
        dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
        sendAsync(call, [this, &ready](DBusMessage *reply) {
            apply(reply);
            ++ready;
        });
    }

    // The properties are the second argument of the reply and of the signal.
    void apply(DBusMessage *message)
    {
        DBusMessageIter iterator;
        dbus_message_iter_init(message, &iterator);
        dbus_message_iter_next(&iterator);
        eachEntry(iterator, [this](const std::string &key, DBusMessageIter &value) {
            if (key == "ActiveTasks") {
                DBusMessageIter list;
                dbus_message_iter_recurse(&value, &list);
                readArray(list, tasks, [](Task &task, DBusMessageIter &members) {
                    task.name = readString(members);
                    task.pid = readNumber<std::int32_t>(members);
                });
            }
        });
    }

    std::size_t lists = 0;
    std::vector<Task> tasks;
    Listener listener;
};

std::size_t makeInvokers(std::size_t size)
{
    std::size_t ready = 0;
    std::vector<std::unique_ptr<Invoker>> invokers;
    for (std::size_t i = 0; i < size; ++i) {
        invokers.push_back(std::make_unique<Invoker>("type" + std::to_string(i), ready));
    }
    waitFor(ready, size);
    return size;
}

Invoker &invoker()
{
    static std::size_t ready = 0;
    static Invoker invoker("benchmark", ready);
    static const bool registered = (waitFor(ready, 1), true);
    (void)registered;
    return invoker;
}

std::size_t startTasks(std::size_t size)
{
    invoker();
    std::size_t answered = 0;
    std::size_t good = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const Message call = newCall(OSTREL_TASK_INVOKER_SESSIONS_PATH "benchmark",
                                     OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
        DBusMessageIter iterator;
        DBusMessageIter map;
        dbus_message_iter_init_append(call.get(), &iterator);
        const char *name = TaskMaps::name;
        dbus_message_iter_append_basic(&iterator, DBUS_TYPE_STRING, &name);
        dbus_message_iter_open_container(&iterator, DBUS_TYPE_ARRAY, "{sv}", &map);
        appendStrings(map, "Params", TaskMaps::parameters);
        appendStrings(map, "Environment", TaskMaps::environment);
        dbus_message_iter_close_container(&iterator, &map);
        dbus_message_iter_open_container(&iterator, DBUS_TYPE_ARRAY, "{sv}", &map);
        appendNumber(map, "CPULimit", TaskMaps::processorLimit);
        appendString(map, "User", TaskMaps::user);
        appendNumber(map, "RunningTime", TaskMaps::runningTime);
        appendNumber(map, "Priority", TaskMaps::priority);
        appendStrings(map, "Permissions", TaskMaps::permissions);
        dbus_message_iter_close_container(&iterator, &map);
        sendAsync(call, [&](DBusMessage *reply) {
            good += dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_METHOD_RETURN ? 1 : 0;
            ++answered;
        });
    }
    waitFor(answered, size);
    return good;
}

std::size_t hearTasks(std::size_t expected)
{
    waitFor(invoker().lists, expected);
    return invoker().tasks.size();
}

unsigned updateWindowStatus()
{
    std::size_t answered = 0;
    std::uint32_t state = 0;
    const Message call = newCall(OSTREL_WINDOW_MANAGEMENT_PATH, OSTREL_WINDOW_MANAGEMENT_INTERFACE,
                                 "UpdateWindowStatus");
    const char *window = "main";
    const std::int32_t status = 1;
    const std::int32_t width = 640;
    const std::int32_t height = 480;
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &window, DBUS_TYPE_INT32, &status,
                             DBUS_TYPE_INT32, &width, DBUS_TYPE_INT32, &height, DBUS_TYPE_INVALID);
    sendAsync(call, [&](DBusMessage *reply) {
        dbus_message_get_args(reply, nullptr, DBUS_TYPE_UINT32, &state, DBUS_TYPE_INVALID);
        ++answered;
    });
    waitFor(answered, 1);
    return state;
}

} // namespace

Contestant makeContestant(int & /*argc*/, char ** /*argv*/)
{
    bus = dbus_bus_get(DBUS_BUS_SESSION, nullptr);
    if (bus == nullptr) {
        fail("no bus");
    }
    Contestant contestant;
    contestant.makeControl = makeControl;
    contestant.makeInvokers = makeInvokers;
    contestant.startApplication = startApplication;
    contestant.startTasks = startTasks;
    contestant.runningApplications = runningApplications;
    contestant.hearStates = hearStates;
    contestant.hearTasks = hearTasks;
    contestant.updateWindowStatus = updateWindowStatus;
    return contestant;
}
