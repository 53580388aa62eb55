// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_CONTESTANT_H
#define BENCHMARKS_CONTESTANT_H

#include <array>
#include <cstddef>
#include <functional>
#include <string>

// One way to talk to the service. Each contestant is a program of its own, so that none pays for
// another's threads and libraries. A function comes back when its result is there and has been
// decoded; what a contestant has no function for, it is not measured in.
struct Contestant
{
    // Makes a client of application control, which hears the service's four signals, and drops it.
    std::function<void()> makeControl;
    // Makes so many task invokers of different types, waits until all are registered, and drops
    // them. The result is how many were.
    std::function<std::size_t(std::size_t)> makeInvokers;
    // Starts an application, and waits. The result is the identifier of its instance.
    std::function<std::string()> startApplication;
    // Starts so many applications at once, without blocking, and waits for all the replies. The
    // result is how many succeeded.
    std::function<std::size_t(std::size_t)> startAsynchronously;
    // Starts so many tasks at once, with maps as they usually are, and waits for all the answers.
    // The result is how many went well.
    std::function<std::size_t(std::size_t)> startTasks;
    // Asks what is running. The result is the number of records.
    std::function<std::size_t()> runningApplications;
    // Waits for so many changes of state; the result is the last one.
    std::function<unsigned(std::size_t)> hearStates;
    // Waits for so many announcements of tasks; the result is the size of the last list.
    std::function<std::size_t(std::size_t)> hearTasks;
    // Reports the status of a window, and waits. The result is the state.
    std::function<unsigned()> updateWindowStatus;
    // Looks up the application of a process.
    std::function<std::string(int)> lookUp;
};

// What a task is started with, the same for all.
namespace TaskMaps
{
using Strings = std::array<const char *, 2>;
constexpr const char *name = "contacts";
constexpr Strings parameters{"--all", "--verbose"};
constexpr Strings environment{"LANG=C.UTF-8", "HOME=/home/user"};
constexpr int processorLimit = 50;
constexpr const char *user = "user";
constexpr int runningTime = 60;
constexpr int priority = 5;
constexpr Strings permissions{"network", "contacts"};
} // namespace TaskMaps

// The process that is looked up, and the application that it belongs to.
namespace Lookup
{
constexpr int process = 4711;
constexpr const char *applicationId = "demo.Viewer";
} // namespace Lookup

// Each contestant defines this. It connects to the bus and subscribes to the signals.
Contestant makeContestant(int &argc, char **argv);

#endif
