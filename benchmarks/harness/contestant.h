// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_CONTESTANT_H
#define BENCHMARKS_CONTESTANT_H

#include <array>
#include <cstddef>
#include <functional>
#include <string>

// One way to talk to the service. Each contestant is a program of its own, so none pays for
// another's threads and libraries. A function returns when its result has arrived and has been
// unmarshalled. A contestant is not measured in what it has no function for.
struct Contestant
{
    // Makes and destroys a client of application control that is connected to its four signals.
    std::function<void()> makeControl;
    // Makes this many task invokers of different types, waits until all are registered, and
    // destroys them. Returns how many were registered.
    std::function<std::size_t(std::size_t)> makeInvokers;
    // Starts an application, and waits. Returns the identifier of its instance.
    std::function<std::string()> startApplication;
    // Starts this many applications at once, without blocking, and waits for all the replies.
    // Returns how many calls succeeded.
    std::function<std::size_t(std::size_t)> startAsynchronously;
    // Starts this many tasks at once, with the usual maps, and waits for all the replies. Returns
    // how many calls succeeded.
    std::function<std::size_t(std::size_t)> startTasks;
    // Lists what is running. Returns the number of records.
    std::function<std::size_t()> runningApplications;
    // Waits for this many changes of state. Returns the last state.
    std::function<unsigned(std::size_t)> hearStates;
    // Waits for this many changes of the task list. Returns the size of the last list.
    std::function<std::size_t(std::size_t)> hearTasks;
    // Reports the status of a window, and waits. Returns the state.
    std::function<unsigned()> updateWindowStatus;
    // Looks up the application of a process.
    std::function<std::string(int)> lookUp;
};

// The maps with which every contestant starts a task.
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

// The process that is looked up, and its application.
namespace Lookup
{
constexpr int process = 4711;
constexpr const char *applicationId = "demo.Viewer";
} // namespace Lookup

// Each contestant defines this. It connects to the bus and subscribes to the signals.
Contestant makeContestant(int &argc, char **argv);

#endif
