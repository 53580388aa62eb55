// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// sdbus-c++.

#include "contestant.h"
#include "fail.h"

#include "DBus/names_p.h"

#include <memory>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <vector>

namespace
{

using Properties = std::map<std::string, sdbus::Variant>;
using Application =
    sdbus::Struct<std::string, std::int32_t, std::uint32_t, std::uint32_t, Properties>;
using Service = sdbus::Struct<std::string, std::string, std::int32_t, std::uint32_t, Properties>;
using Task = sdbus::Struct<std::string, std::int32_t, Properties>;

sdbus::IConnection &bus()
{
    static const std::unique_ptr<sdbus::IConnection> bus = sdbus::createSessionBusConnection();
    return *bus;
}

void waitFor(std::size_t &count, std::size_t expected)
{
    while (count < expected) {
        if (!bus().processPendingRequest() && count < expected) {
            const auto data = bus().getEventLoopPollData();
            pollfd descriptor{data.fd, data.events, 0};
            poll(&descriptor, 1, data.getPollTimeout());
        }
    }
    count = 0;
}

std::unique_ptr<sdbus::IProxy> newProxy(const std::string &path)
{
    return sdbus::createProxy(bus(), OSTREL_SERVICE_NAME, path);
}

sdbus::IProxy &control()
{
    static const auto proxy = newProxy(OSTREL_CONTROL_PATH);
    return *proxy;
}

void makeControl()
{
    const auto proxy = newProxy(OSTREL_CONTROL_PATH);
    for (const char *signal : {"Started", "Terminated", "StateChanged"}) {
        proxy->uponSignal(signal)
            .onInterface(OSTREL_CONTROL_INTERFACE)
            .call([](const std::string & /*instance*/, const Properties & /*details*/) {});
    }
    proxy->uponSignal("SelectedByOom")
        .onInterface(OSTREL_CONTROL_INTERFACE)
        .call([](const std::string & /*process*/) {});
    proxy->finishRegistration();
}

std::string startApplication()
{
    std::string instance;
    Properties details;
    control()
        .callMethod("Start")
        .onInterface(OSTREL_CONTROL_INTERFACE)
        .withArguments(std::string(Lookup::applicationId))
        .storeResultsTo(instance, details);
    return instance;
}

std::size_t runningApplications()
{
    std::vector<Application> applications;
    std::vector<Service> services;
    control()
        .callMethod("GetRunningApplications")
        .onInterface(OSTREL_CONTROL_INTERFACE)
        .storeResultsTo(applications, services);
    return applications.size() + services.size();
}

struct States
{
    States()
    {
        proxy->uponSignal("StateChanged")
            .onInterface(OSTREL_CONTROL_INTERFACE)
            .call([this](const std::string & /*instance*/, const Properties &properties) {
                last = properties.at("State").get<std::uint32_t>();
                ++count;
            });
        proxy->finishRegistration();
    }

    std::unique_ptr<sdbus::IProxy> proxy = newProxy(OSTREL_CONTROL_PATH);
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
        : proxy(newProxy(OSTREL_TASK_INVOKER_SESSIONS_PATH + type))
    {
        registry()
            .callMethodAsync("RegisterInvoker")
            .onInterface(OSTREL_TASK_INVOKER_INTERFACE)
            .withArguments(type)
            .uponReplyInvoke([this, &ready](const sdbus::Error *error,
                                            const sdbus::ObjectPath & /*session*/,
                                            const Properties &properties) {
                if (error != nullptr) {
                    fail(error->getMessage());
                }
                apply(properties);
                ++ready;
            });
        proxy->uponSignal("PropertiesChanged")
            .onInterface("org.freedesktop.DBus.Properties")
            .call([this](const std::string & /*interface*/, const Properties &changed,
                         const std::vector<std::string> & /*invalidated*/) {
                apply(changed);
                ++lists;
            });
        proxy->finishRegistration();
    }

    Invoker(const Invoker &) = delete;
    Invoker &operator=(const Invoker &) = delete;

    static sdbus::IProxy &registry()
    {
        static const auto proxy = newProxy(OSTREL_TASK_INVOKER_PATH);
        return *proxy;
    }

    void apply(const Properties &properties)
    {
        const auto list = properties.find("ActiveTasks");
        if (list != properties.end()) {
            tasks = list->second.get<std::vector<Task>>();
        }
    }

    std::unique_ptr<sdbus::IProxy> proxy;
    std::size_t lists = 0;
    std::vector<Task> tasks;
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
    // Never destroyed: destroying the values of a large list at the end of the process crashes.
    static auto &invoker = []() -> Invoker & {
        std::size_t ready = 0;
        auto *made = new Invoker("benchmark", ready);
        waitFor(ready, 1);
        return *made;
    }();
    return invoker;
}

std::vector<std::string> strings(TaskMaps::Strings texts)
{
    return {texts.begin(), texts.end()};
}

std::size_t startTasks(std::size_t size)
{
    static const Properties startupInfo{
        {"Params", sdbus::Variant(strings(TaskMaps::parameters))},
        {"Environment", sdbus::Variant(strings(TaskMaps::environment))}};
    static const Properties hints{
        {"CPULimit", sdbus::Variant(std::int32_t(TaskMaps::processorLimit))},
        {"User", sdbus::Variant(std::string(TaskMaps::user))},
        {"RunningTime", sdbus::Variant(std::int32_t(TaskMaps::runningTime))},
        {"Priority", sdbus::Variant(std::int32_t(TaskMaps::priority))},
        {"Permissions", sdbus::Variant(strings(TaskMaps::permissions))}};
    std::size_t answered = 0;
    std::size_t good = 0;
    for (std::size_t i = 0; i < size; ++i) {
        invoker()
            .proxy->callMethodAsync("Start")
            .onInterface(OSTREL_TASK_INVOKER_SESSION_INTERFACE)
            .withArguments(std::string(TaskMaps::name), startupInfo, hints)
            .uponReplyInvoke([&](const sdbus::Error *error, std::int32_t /*number*/) {
                good += error == nullptr ? 1 : 0;
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
    static const auto proxy = newProxy(OSTREL_WINDOW_MANAGEMENT_PATH);
    std::size_t answered = 0;
    unsigned last = 0;
    proxy->callMethodAsync("UpdateWindowStatus")
        .onInterface(OSTREL_WINDOW_MANAGEMENT_INTERFACE)
        .withArguments(std::string("main"), std::int32_t(1), std::int32_t(640), std::int32_t(480))
        .uponReplyInvoke([&](const sdbus::Error * /*error*/, std::uint32_t state) {
            last = state;
            ++answered;
        });
    waitFor(answered, 1);
    return last;
}

} // namespace

Contestant makeContestant(int & /*argc*/, char ** /*argv*/)
{
    bus();
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
