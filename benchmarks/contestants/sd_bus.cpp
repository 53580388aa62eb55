// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// sd-bus.

#include "contestant.h"
#include "fail.h"
#include "plain_records.h"

#include "DBus/names_p.h"

#include <memory>
#include <systemd/sd-bus.h>
#include <vector>

using namespace Plain;

namespace
{

struct Unref
{
    void operator()(sd_bus_slot *slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_bus_message *message) const { sd_bus_message_unref(message); }
};
using Slot = std::unique_ptr<sd_bus_slot, Unref>;
using Message = std::unique_ptr<sd_bus_message, Unref>;

sd_bus *bus = nullptr;

void check(int result, const char *what)
{
    if (result < 0) {
        fail(std::string(what) + ": " + std::to_string(result));
    }
}

void waitFor(std::size_t &count, std::size_t expected)
{
    while (count < expected) {
        const int result = sd_bus_process(bus, nullptr);
        check(result, "process");
        if (result == 0 && count < expected) {
            check(sd_bus_wait(bus, UINT64_MAX), "wait");
        }
    }
    count = 0;
}

Message newCall(const std::string &path, const char *interface, const char *method)
{
    sd_bus_message *call = nullptr;
    check(sd_bus_message_new_method_call(bus, &call, OSTREL_SERVICE_NAME, path.c_str(), interface,
                                         method),
          method);
    return Message(call);
}

Message callAndWait(const Message &call)
{
    sd_bus_message *reply = nullptr;
    check(sd_bus_call(bus, call.get(), 0, nullptr, &reply), "call");
    return Message(reply);
}

Slot listen(const std::string &path, const char *interface, const char *signal,
            sd_bus_message_handler_t handler, void *data)
{
    sd_bus_slot *slot = nullptr;
    check(sd_bus_match_signal(bus, &slot, OSTREL_SERVICE_NAME, path.c_str(), interface, signal,
                              handler, data),
          signal);
    return Slot(slot);
}

std::string readString(sd_bus_message *message)
{
    const char *text = nullptr;
    sd_bus_message_read_basic(message, 's', &text);
    return text;
}

Value readValue(sd_bus_message *message)
{
    const char *type = nullptr;
    sd_bus_message_peek_type(message, nullptr, &type);
    sd_bus_message_enter_container(message, 'v', type);
    Value value;
    switch (*type) {
    case 's':
        value = readString(message);
        break;
    case 'b': {
        int truth = 0;
        sd_bus_message_read_basic(message, 'b', &truth);
        value = truth != 0;
        break;
    }
    case 'i':
        sd_bus_message_read_basic(message, 'i', &value.emplace<std::int32_t>());
        break;
    case 'u':
        sd_bus_message_read_basic(message, 'u', &value.emplace<std::uint32_t>());
        break;
    case 't':
        sd_bus_message_read_basic(message, 't', &value.emplace<std::uint64_t>());
        break;
    default:
        sd_bus_message_skip(message, type);
    }
    sd_bus_message_exit_container(message);
    return value;
}

Properties readProperties(sd_bus_message *message)
{
    Properties properties;
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        std::string key = readString(message);
        properties.emplace(std::move(key), readValue(message));
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    return properties;
}

// Reads an array of structures with a function for each.
template <typename Record, typename Read>
void readArray(sd_bus_message *message, const char *contents, std::vector<Record> &records,
               Read read)
{
    records.clear();
    const std::string structure = std::string("(") + contents + ")";
    sd_bus_message_enter_container(message, 'a', structure.c_str());
    while (sd_bus_message_enter_container(message, 'r', contents) > 0) {
        Record record;
        read(record);
        record.properties = readProperties(message);
        sd_bus_message_exit_container(message);
        records.push_back(std::move(record));
    }
    sd_bus_message_exit_container(message);
}

void makeControl()
{
    const auto ignore = [](sd_bus_message * /*signal*/, void * /*data*/, sd_bus_error * /*error*/) {
        return 0;
    };
    std::vector<Slot> slots;
    for (const char *signal : {"Started", "Terminated", "StateChanged", "SelectedByOom"}) {
        slots.push_back(
            listen(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, signal, ignore, nullptr));
    }
}

std::string startApplication()
{
    const Message call = newCall(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "Start");
    check(sd_bus_message_append(call.get(), "s", Lookup::applicationId), "Start");
    const Message reply = callAndWait(call);
    std::string instance = readString(reply.get());
    const Properties details = readProperties(reply.get());
    return instance;
}

std::size_t runningApplications()
{
    const Message reply = callAndWait(
        newCall(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "GetRunningApplications"));
    sd_bus_message *message = reply.get();
    std::vector<Application> applications;
    readArray(message, "siuua{sv}", applications, [&](Application &application) {
        const char *appId = nullptr;
        sd_bus_message_read(message, "siuu", &appId, &application.pid, &application.state,
                            &application.kind);
        application.appId = appId;
    });
    std::vector<Service> services;
    readArray(message, "ssiua{sv}", services, [&](Service &service) {
        const char *appId = nullptr;
        const char *name = nullptr;
        sd_bus_message_read(message, "ssiu", &appId, &name, &service.pid, &service.state);
        service.appId = appId;
        service.name = name;
    });
    return applications.size() + services.size();
}

struct States
{
    States()
        : slot(
            listen(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "StateChanged", onSignal, this))
    {
    }

    static int onSignal(sd_bus_message *signal, void *data, sd_bus_error * /*error*/)
    {
        auto *states = static_cast<States *>(data);
        const std::string instance = readString(signal);
        const Properties properties = readProperties(signal);
        states->last = std::get<std::uint32_t>(properties.at("State"));
        ++states->count;
        return 0;
    }

    std::size_t count = 0;
    unsigned last = 0;
    Slot slot;
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
        const Message call =
            newCall(OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker");
        check(sd_bus_message_append(call.get(), "s", type.c_str()), "RegisterInvoker");
        check(sd_bus_call_async(bus, nullptr, call.get(), onRegistered, this, 0),
              "RegisterInvoker");
        slot = listen(OSTREL_TASK_INVOKER_SESSIONS_PATH + type, "org.freedesktop.DBus.Properties",
                      "PropertiesChanged", onChanged, this);
    }

    void apply(sd_bus_message *message)
    {
        sd_bus_message_enter_container(message, 'a', "{sv}");
        while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
            if (readString(message) == "ActiveTasks") {
                sd_bus_message_enter_container(message, 'v', "a(sia{sv})");
                readArray(message, "sia{sv}", tasks, [&](Task &task) {
                    const char *name = nullptr;
                    sd_bus_message_read(message, "si", &name, &task.pid);
                    task.name = name;
                });
                sd_bus_message_exit_container(message);
            } else {
                sd_bus_message_skip(message, "v");
            }
            sd_bus_message_exit_container(message);
        }
        sd_bus_message_exit_container(message);
    }

    static int onRegistered(sd_bus_message *reply, void *data, sd_bus_error * /*error*/)
    {
        auto *invoker = static_cast<Invoker *>(data);
        sd_bus_message_skip(reply, "o");
        invoker->apply(reply);
        ++invoker->ready;
        return 0;
    }

    static int onChanged(sd_bus_message *signal, void *data, sd_bus_error * /*error*/)
    {
        auto *invoker = static_cast<Invoker *>(data);
        sd_bus_message_skip(signal, "s");
        invoker->apply(signal);
        ++invoker->lists;
        return 0;
    }

    std::size_t &ready;
    std::size_t lists = 0;
    std::vector<Task> tasks;
    Slot slot;
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

int onStarted(sd_bus_message *reply, void *data, sd_bus_error * /*error*/)
{
    auto *answers = static_cast<Answers *>(data);
    int number = 0;
    answers->good += sd_bus_message_read(reply, "i", &number) > 0 ? 1 : 0;
    ++answers->all;
    return 0;
}

void appendStrings(sd_bus_message *call, const char *key, TaskMaps::Strings strings)
{
    check(sd_bus_message_append(call, "{sv}", key, "as", 2, strings[0], strings[1]), key);
}

std::size_t startTasks(std::size_t size)
{
    invoker();
    Answers answers;
    for (std::size_t i = 0; i < size; ++i) {
        const Message call = newCall(OSTREL_TASK_INVOKER_SESSIONS_PATH "benchmark",
                                     OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
        check(sd_bus_message_append(call.get(), "s", TaskMaps::name), "Start");
        sd_bus_message_open_container(call.get(), 'a', "{sv}");
        appendStrings(call.get(), "Params", TaskMaps::parameters);
        appendStrings(call.get(), "Environment", TaskMaps::environment);
        sd_bus_message_close_container(call.get());
        sd_bus_message_open_container(call.get(), 'a', "{sv}");
        sd_bus_message_append(call.get(), "{sv}", "CPULimit", "i", TaskMaps::processorLimit);
        sd_bus_message_append(call.get(), "{sv}", "User", "s", TaskMaps::user);
        sd_bus_message_append(call.get(), "{sv}", "RunningTime", "i", TaskMaps::runningTime);
        sd_bus_message_append(call.get(), "{sv}", "Priority", "i", TaskMaps::priority);
        appendStrings(call.get(), "Permissions", TaskMaps::permissions);
        sd_bus_message_close_container(call.get());
        check(sd_bus_call_async(bus, nullptr, call.get(), onStarted, &answers, 0), "Start");
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
    std::uint32_t state = 0;
};

unsigned updateWindowStatus()
{
    Status status;
    const auto onAnswer = [](sd_bus_message *reply, void *data, sd_bus_error * /*error*/) {
        auto *answer = static_cast<Status *>(data);
        sd_bus_message_read(reply, "u", &answer->state);
        ++answer->answered;
        return 0;
    };
    const Message call = newCall(OSTREL_WINDOW_MANAGEMENT_PATH, OSTREL_WINDOW_MANAGEMENT_INTERFACE,
                                 "UpdateWindowStatus");
    sd_bus_message_append(call.get(), "siii", "main", 1, 640, 480);
    check(sd_bus_call_async(bus, nullptr, call.get(), onAnswer, &status, 0), "UpdateWindowStatus");
    waitFor(status.answered, 1);
    return status.state;
}

} // namespace

Contestant makeContestant(int & /*argc*/, char ** /*argv*/)
{
    check(sd_bus_open_user(&bus), "bus");
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
