// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_ALLOCATIONS_H
#define BENCHMARKS_ALLOCATIONS_H

// What all threads of the process have taken from the heap so far.
struct Allocations
{
    unsigned long long count;
    unsigned long long bytes;
};

// Only there when the counting library is loaded in front of the C library, so that times and
// instructions are those of the C library alone.
extern "C" __attribute__((weak, visibility("default"))) Allocations benchmarkAllocations();

#endif
