// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "rows.h"

#include "fail.h"

namespace
{

// Counted runs take about as many instructions for every size.
std::size_t runsFor(std::size_t operations, std::size_t budget)
{
    return std::max<std::size_t>(1, budget / operations);
}

std::string named(const char *family, std::size_t size)
{
    return std::string(family) + '/' + std::to_string(size);
}

void addCalls(std::vector<Row> &rows, const Contestant &contestant)
{
    if (contestant.makeControl) {
        rows.push_back({"make control", 1, 50, {}, contestant.makeControl});
    }
    if (contestant.makeInvokers) {
        for (const std::size_t size : {1, 8, 64, 256}) {
            rows.push_back({named("make invokers", size), size, runsFor(size, 64), {}, [=] {
                                expect(contestant.makeInvokers(size) == size, "make invokers");
                            }});
        }
    }
    if (contestant.startApplication) {
        rows.push_back({"start", 1, 200, {}, [=] {
                            expect(contestant.startApplication() == "demo.Viewer.instance_1",
                                   "start");
                        }});
    }
    if (contestant.startAsynchronously) {
        for (const std::size_t size : {1, 64, 10000}) {
            rows.push_back({named("start asynchronously", size), size, runsFor(size, 256), {}, [=] {
                                expect(contestant.startAsynchronously(size) == size,
                                       "start asynchronously");
                            }});
        }
    }
    if (contestant.startTasks) {
        for (const std::size_t size : {1, 64, 10000}) {
            rows.push_back({named("start tasks", size), size, runsFor(size, 256), {}, [=] {
                                expect(contestant.startTasks(size) == size, "start tasks");
                            }});
        }
    }
    if (contestant.updateWindowStatus) {
        rows.push_back({"window status", 1, 200, {}, [=] {
                            expect(contestant.updateWindowStatus() == 2, "window status");
                        }});
    }
}

void addRecords(std::vector<Row> &rows, const Contestant &contestant, const Desk &desk)
{
    constexpr std::size_t budget = 2000;
    // The bus daemon delivers signals only once it has the match rule. It has when the reply to a
    // call arrives that was sent after the rule.
    if (contestant.runningApplications) {
        for (const std::size_t size : {10, 100, 1000, 10000}) {
            rows.push_back({named("running applications", size), 1, runsFor(size, budget),
                            [=, &desk] { desk.order("records " + std::to_string(size)); },
                            [=] {
                                expect(contestant.runningApplications() == size,
                                       "running applications");
                            }});
        }
    }
    if (contestant.hearTasks) {
        for (const std::size_t size : {10, 100, 1000, 10000}) {
            const std::size_t signals = runsFor(size, 1000);
            const std::string order =
                "tasks " + std::to_string(size) + ' ' + std::to_string(signals);
            rows.push_back({named("task lists", size), signals, size == 10000 ? 1U : 2U,
                            [=] {
                                contestant.hearTasks(0);
                                contestant.startApplication();
                            },
                            [=, &desk] {
                                desk.order(order);
                                expect(contestant.hearTasks(signals) == size, "task lists");
                            }});
        }
    }
    if (contestant.hearStates) {
        constexpr std::size_t signals = 200;
        rows.push_back({"state changes", signals, 2,
                        [=] {
                            contestant.hearStates(0);
                            contestant.startApplication();
                        },
                        [=, &desk] {
                            desk.order("states " + std::to_string(signals));
                            expect(contestant.hearStates(signals) == (signals - 1) % 4,
                                   "state changes");
                        }});
    }
}

} // namespace

std::vector<Row> rowsOf(const Contestant &contestant, const Desk &desk)
{
    std::vector<Row> rows;
    addCalls(rows, contestant);
    addRecords(rows, contestant, desk);
    if (contestant.lookUp) {
        rows.push_back({"process lookup", 1, 200, {}, [=] {
                            expect(contestant.lookUp(Lookup::process) == Lookup::applicationId,
                                   "process lookup");
                        }});
    }
    return rows;
}
