// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_WIRE_TYPES_H
#define TESTS_FUZZ_WIRE_TYPES_H

#include "bytes.h"

#include <string>

// D-Bus signatures as strings.

// How many more containers may be nested.
struct Room
{
    int arrays = 32;
    int structures = 32;
    int containers = 64;
};

// Returns one complete type that fits into the room. Any bytes spell one: a byte that is no type
// code stands for one, and what is missing is added.
std::string takeType(Bytes &bytes, Room room);

// Returns the end of the complete type at the beginning.
const char *endOfType(const char *type);

// Returns how many file descriptors a value of the types needs, however short its arrays are.
int descriptorsIn(const std::string &types);

#endif
