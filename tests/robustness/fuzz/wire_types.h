// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_WIRE_TYPES_H
#define TESTS_FUZZ_WIRE_TYPES_H

#include "bytes.h"

#include <string>

// D-Bus signatures, as text.

// How many containers may still be put into one another.
struct Room
{
    int arrays = 32;
    int structures = 32;
    int containers = 64;
};

// One complete type that fits into the room, as the bytes spell it. Any bytes spell one: those that
// are no type code stand for one, and what is missing is added.
std::string takeType(Bytes &bytes, Room room);

// The end of the complete type at the beginning.
const char *endOfType(const char *type);

// How many file descriptors a value of the types needs, however short its arrays are.
int descriptorsIn(const std::string &types);

#endif
