// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The main() of every contestant's program:
//   PROGRAM --once              makes the client, starts one application, and ends
//   PROGRAM --rows              prints the names of the rows, a line each
//   PROGRAM --count ROW...      runs the rows a fixed number of times and prints, for each, a line
//                               "ROW<tab>OPERATIONS<tab>ALLOCATIONS<tab>BYTES<tab>PEAK"; under
//                               callgrind it writes a dump for each
//   PROGRAM [OPTION...]         measures times, with the options of Google Benchmark

#include "allocations.h"
#include "contestant.h"
#include "desk.h"
#include "fail.h"
#include "rows.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace
{

Allocations allocations()
{
    return benchmarkAllocations != nullptr ? benchmarkAllocations() : Allocations{};
}

// The peak memory of the process since the last call, in KiB.
unsigned long peakMemory()
{
    unsigned long peak = 0;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            status >> peak;
        }
    }
    std::ofstream("/proc/self/clear_refs") << 5;
    return peak;
}

void count(const Row &row)
{
    if (row.prepare) {
        row.prepare();
    }
    CALLGRIND_START_INSTRUMENTATION; // NOLINT(modernize-avoid-c-arrays)
    row.run(); // what is made once is not part of an operation's cost
    peakMemory();

    CALLGRIND_ZERO_STATS; // NOLINT(modernize-avoid-c-arrays)
    const Allocations before = allocations();
    for (std::size_t i = 0; i < row.runs; ++i) {
        row.run();
    }
    const Allocations after = allocations();
    CALLGRIND_DUMP_STATS_AT(row.name.c_str()); // NOLINT(modernize-avoid-c-arrays)
    CALLGRIND_STOP_INSTRUMENTATION; // NOLINT(modernize-avoid-c-arrays)

    std::cout << row.name << '\t' << row.runs * row.operations << '\t' << after.count - before.count
              << '\t' << after.bytes - before.bytes << '\t' << peakMemory() << std::endl;
}

void measure(const Row &row, benchmark::State &state)
{
    if (row.prepare) {
        row.prepare();
    }
    row.run(); // what is made once is not part of an operation's cost
    while (state.KeepRunning()) {
        row.run();
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(row.operations));
    state.counters["operations"] = double(row.operations);
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const Contestant contestant = makeContestant(argc, argv);
    if (!arguments.empty() && arguments.front() == "--once") {
        expect(!contestant.startApplication().empty(), "the first call");
        return 0;
    }

    const Desk desk;
    const std::vector<Row> rows = rowsOf(contestant, desk);
    if (!arguments.empty() && arguments.front() == "--rows") {
        for (const Row &row : rows) {
            std::cout << row.name << '\n';
        }
        return 0;
    }
    if (!arguments.empty() && arguments.front() == "--count") {
        for (const Row &row : rows) {
            if (std::find(arguments.begin(), arguments.end(), row.name) != arguments.end()) {
                count(row);
            }
        }
        return 0;
    }

    for (const Row &row : rows) {
        benchmark::RegisterBenchmark(row.name.c_str(),
                                     [&row](benchmark::State &state) { measure(row, state); })
            ->MeasureProcessCPUTime()
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
