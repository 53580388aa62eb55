// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_FAIL_H
#define BENCHMARKS_FAIL_H

#include <cstdlib>
#include <iostream>
#include <string>

// Ends the program: a wrong measurement is worse than none.
[[noreturn]] inline void fail(const std::string &why)
{
    std::cerr << "benchmark: " << why << '\n';
    std::exit(EXIT_FAILURE);
}

inline void expect(bool condition, const char *what)
{
    if (!condition) {
        fail(std::string("unexpected result of: ") + what);
    }
}

#endif
