// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// GDBus.

#include "contestant.h"
#include "fail.h"
#include "plain_records.h"

#include "DBus/names_p.h"

#include <gio/gio.h>
#include <memory>
#include <vector>

using namespace Plain;

namespace
{

GDBusConnection *bus = nullptr;

struct Unref
{
    void operator()(GVariant *value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, Unref>;

void waitFor(std::size_t &count, std::size_t expected)
{
    while (count < expected) {
        g_main_context_iteration(nullptr, TRUE);
    }
    count = 0;
}

Variant checked(GVariant *value, GError *error, const char *what)
{
    if (error != nullptr) {
        fail(std::string(what) + ": " + error->message);
    }
    return Variant(value);
}

Value toValue(GVariant *value)
{
    switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_STRING:
        return std::string(g_variant_get_string(value, nullptr));
    case G_VARIANT_CLASS_BOOLEAN:
        return g_variant_get_boolean(value) != FALSE;
    case G_VARIANT_CLASS_INT32:
        return std::int32_t(g_variant_get_int32(value));
    case G_VARIANT_CLASS_UINT32:
        return std::uint32_t(g_variant_get_uint32(value));
    case G_VARIANT_CLASS_UINT64:
        return std::uint64_t(g_variant_get_uint64(value));
    default:
        return false;
    }
}

Properties toProperties(GVariantIter *entries)
{
    Properties properties;
    const char *key = nullptr;
    GVariant *value = nullptr;
    while (g_variant_iter_loop(entries, "{&sv}", &key, &value) != FALSE) {
        properties.emplace(key, toValue(value));
    }
    g_variant_iter_free(entries);
    return properties;
}

void toTasks(GVariant *value, std::vector<Task> &tasks)
{
    tasks.clear();
    GVariantIter records;
    g_variant_iter_init(&records, value);
    const char *name = nullptr;
    gint32 pid = 0;
    GVariantIter *entries = nullptr;
    while (g_variant_iter_next(&records, "(&sia{sv})", &name, &pid, &entries) != FALSE) {
        tasks.push_back({name, pid, toProperties(entries)});
    }
}

Variant callAndWait(const char *method, GVariant *arguments, const char *type)
{
    GError *error = nullptr;
    GVariant *reply = g_dbus_connection_call_sync(
        bus, OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, method, arguments,
        G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr, &error);
    return checked(reply, error, method);
}

void call(const std::string &path, const char *interface, const char *method, GVariant *arguments,
          const char *type, GAsyncReadyCallback done, void *data)
{
    g_dbus_connection_call(bus, OSTREL_SERVICE_NAME, path.c_str(), interface, method, arguments,
                           G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr, done,
                           data);
}

Variant finish(GAsyncResult *result, const char *what)
{
    GError *error = nullptr;
    GVariant *reply = g_dbus_connection_call_finish(bus, result, &error);
    return checked(reply, error, what);
}

guint listen(const std::string &path, const char *interface, const char *signal,
             GDBusSignalCallback handler, void *data)
{
    return g_dbus_connection_signal_subscribe(bus, OSTREL_SERVICE_NAME, interface, signal,
                                              path.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                              handler, data, nullptr);
}

void makeControl()
{
    const auto ignore = [](GDBusConnection * /*bus*/, const char * /*sender*/,
                           const char * /*path*/, const char * /*interface*/,
                           const char * /*signal*/, GVariant * /*arguments*/, void * /*data*/) {};
    std::vector<guint> subscriptions;
    for (const char *signal : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
        subscriptions.push_back(
            listen(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, signal, ignore, nullptr));
    }
    for (const guint subscription : subscriptions) {
        g_dbus_connection_signal_unsubscribe(bus, subscription);
    }
    // What GDBus puts off until the loop runs would pile up.
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) { }
}

std::string startApplication()
{
    const Variant reply =
        callAndWait("Start", g_variant_new("(s)", Lookup::applicationId), "(sa{sv})");
    const char *instance = nullptr;
    GVariantIter *entries = nullptr;
    g_variant_get(reply.get(), "(&sa{sv})", &instance, &entries);
    const Properties details = toProperties(entries);
    return instance;
}

std::size_t runningApplications()
{
    const Variant reply =
        callAndWait("GetRunningApplications", nullptr, "(a(siuua{sv})a(ssiua{sv}))");
    GVariantIter *records = nullptr;
    GVariantIter *serviceRecords = nullptr;
    g_variant_get(reply.get(), "(a(siuua{sv})a(ssiua{sv}))", &records, &serviceRecords);
    const char *appId = nullptr;
    const char *name = nullptr;
    gint32 pid = 0;
    guint32 state = 0;
    guint32 kind = 0;
    GVariantIter *entries = nullptr;
    std::vector<Application> applications;
    while (g_variant_iter_next(records, "(&siuua{sv})", &appId, &pid, &state, &kind, &entries)
           != FALSE) {
        applications.push_back({appId, pid, state, kind, toProperties(entries)});
    }
    std::vector<Service> services;
    while (
        g_variant_iter_next(serviceRecords, "(&s&siua{sv})", &appId, &name, &pid, &state, &entries)
        != FALSE) {
        services.push_back({appId, name, pid, state, toProperties(entries)});
    }
    g_variant_iter_free(records);
    g_variant_iter_free(serviceRecords);
    return applications.size() + services.size();
}

struct States
{
    States() { listen(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "StateChanged", hear, this); }

    static void hear(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                     const char * /*interface*/, const char * /*signal*/, GVariant *arguments,
                     void *data)
    {
        auto *states = static_cast<States *>(data);
        const char *instance = nullptr;
        GVariantIter *entries = nullptr;
        g_variant_get(arguments, "(&sa{sv})", &instance, &entries);
        const std::string appInstanceId = instance;
        const Properties properties = toProperties(entries);
        states->last = std::get<std::uint32_t>(properties.at("State"));
        ++states->count;
    }

    std::size_t count = 0;
    unsigned last = 0;
};

unsigned hearStates(std::size_t expected)
{
    static States states;
    waitFor(states.count, expected);
    return states.last;
}

struct Invoker
{
    Invoker(const std::string &type, std::size_t &ready)
        : ready(ready)
    {
        call(OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker",
             g_variant_new("(s)", type.c_str()), "(oa{sv})", onRegistered, this);
        subscription =
            listen(OSTREL_TASK_INVOKER_SESSIONS_PATH + type, "org.freedesktop.DBus.Properties",
                   "PropertiesChanged", onChanged, this);
    }

    ~Invoker() { g_dbus_connection_signal_unsubscribe(bus, subscription); }

    Invoker(const Invoker &) = delete;
    Invoker &operator=(const Invoker &) = delete;

    void apply(GVariant *properties)
    {
        const Variant list(
            g_variant_lookup_value(properties, "ActiveTasks", G_VARIANT_TYPE("a(sia{sv})")));
        if (list) {
            toTasks(list.get(), tasks);
        }
    }

    static void onRegistered(GObject * /*source*/, GAsyncResult *result, void *data)
    {
        auto *invoker = static_cast<Invoker *>(data);
        const Variant reply = finish(result, "RegisterInvoker");
        const Variant properties(g_variant_get_child_value(reply.get(), 1));
        invoker->apply(properties.get());
        ++invoker->ready;
    }

    static void onChanged(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                          const char * /*interface*/, const char * /*signal*/, GVariant *arguments,
                          void *data)
    {
        auto *invoker = static_cast<Invoker *>(data);
        const Variant properties(g_variant_get_child_value(arguments, 1));
        invoker->apply(properties.get());
        ++invoker->lists;
    }

    std::size_t &ready;
    std::size_t lists = 0;
    std::vector<Task> tasks;
    guint subscription = 0;
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

struct Answers
{
    std::size_t all = 0;
    std::size_t good = 0;
};

void onStarted(GObject * /*source*/, GAsyncResult *result, void *data)
{
    auto *answers = static_cast<Answers *>(data);
    const Variant reply = finish(result, "Start");
    gint32 number = 0;
    g_variant_get(reply.get(), "(i)", &number);
    answers->good += number != 0 ? 1 : 0;
    ++answers->all;
}

GVariant *strings(TaskMaps::Strings texts)
{
    return g_variant_new_strv(texts.data(), gssize(texts.size()));
}

std::size_t startTasks(std::size_t size)
{
    invoker();
    Answers answers;
    for (std::size_t i = 0; i < size; ++i) {
        GVariantBuilder startupInfo;
        g_variant_builder_init(&startupInfo, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&startupInfo, "{sv}", "Params", strings(TaskMaps::parameters));
        g_variant_builder_add(&startupInfo, "{sv}", "Environment", strings(TaskMaps::environment));
        GVariantBuilder hints;
        g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&hints, "{sv}", "CPULimit",
                              g_variant_new_int32(TaskMaps::processorLimit));
        g_variant_builder_add(&hints, "{sv}", "User", g_variant_new_string(TaskMaps::user));
        g_variant_builder_add(&hints, "{sv}", "RunningTime",
                              g_variant_new_int32(TaskMaps::runningTime));
        g_variant_builder_add(&hints, "{sv}", "Priority", g_variant_new_int32(TaskMaps::priority));
        g_variant_builder_add(&hints, "{sv}", "Permissions", strings(TaskMaps::permissions));
        call(OSTREL_TASK_INVOKER_SESSIONS_PATH "benchmark", OSTREL_TASK_INVOKER_SESSION_INTERFACE,
             "Start", g_variant_new("(sa{sv}a{sv})", TaskMaps::name, &startupInfo, &hints), "(i)",
             onStarted, &answers);
    }
    waitFor(answers.all, size);
    return answers.good;
}

std::size_t hearTasks(std::size_t expected)
{
    waitFor(invoker().lists, expected);
    return invoker().tasks.size();
}

struct Status
{
    std::size_t answered = 0;
    guint32 state = 0;
};

unsigned updateWindowStatus()
{
    Status status;
    const auto onAnswer = [](GObject * /*source*/, GAsyncResult *result, void *data) {
        auto *answer = static_cast<Status *>(data);
        const Variant reply = finish(result, "UpdateWindowStatus");
        g_variant_get(reply.get(), "(u)", &answer->state);
        ++answer->answered;
    };
    call(OSTREL_WINDOW_MANAGEMENT_PATH, OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus",
         g_variant_new("(siii)", "main", 1, 640, 480), "(u)", onAnswer, &status);
    waitFor(status.answered, 1);
    return status.state;
}

} // namespace

Contestant makeContestant(int & /*argc*/, char ** /*argv*/)
{
    GError *error = nullptr;
    bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
    if (error != nullptr) {
        fail(error->message);
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
