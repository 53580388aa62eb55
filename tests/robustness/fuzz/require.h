// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_REQUIRE_H
#define TESTS_FUZZ_REQUIRE_H

#include <cstdlib>
#include <iostream>

// Ends the process if the condition is false; the fuzzer then keeps the input.
inline void require(bool condition, const char *what)
{
    if (!condition) {
        std::cerr << "required: " << what << std::endl;
        std::abort();
    }
}

#endif
