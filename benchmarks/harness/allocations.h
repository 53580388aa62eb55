// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_ALLOCATIONS_H
#define BENCHMARKS_ALLOCATIONS_H

// What all threads of the process have allocated so far.
struct Allocations
{
    unsigned long long count;
    unsigned long long bytes;
};

// Null unless the counting library is preloaded. Times and instructions are measured without it.
extern "C" __attribute__((weak, visibility("default"))) Allocations benchmarkAllocations();

#endif
