// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_ROWS_H
#define BENCHMARKS_ROWS_H

#include "contestant.h"
#include "desk.h"

#include <functional>
#include <string>
#include <vector>

// One thing to measure.
struct Row
{
    // "family/size", or a family alone.
    std::string name;
    // How many operations one run performs.
    std::size_t operations;
    // How many runs are counted for instructions and allocations.
    std::size_t runs;
    std::function<void()> prepare;
    // Checks its result.
    std::function<void()> run;
};

// All rows that the contestant has a function for. Both arguments must outlive them.
std::vector<Row> rowsOf(const Contestant &contestant, const Desk &desk);

#endif
