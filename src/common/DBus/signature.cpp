// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/signature_p.h"

namespace Ostrel
{

namespace
{

// libdbus aborts the process over a variant of a type with more arrays or structures within one
// another.
constexpr int maximumOfAKind = 32;

bool fits(const char *&signature, int containers, int arrays, int structures)
{
    if (containers > maximumContainers || arrays > maximumOfAKind || structures > maximumOfAKind) {
        return false;
    }
    switch (*signature++) {
    case 'a':
        return fits(signature, containers + 1, arrays + 1, structures);
    case '(':
    case '{':
        while (*signature != ')' && *signature != '}') {
            if (!fits(signature, containers + 1, arrays, structures + 1)) {
                return false;
            }
        }
        ++signature;
        return true;
    case 'v':
        return containers < maximumContainers;
    case '\0':
        --signature;
        return false;
    default:
        return true;
    }
}

} // namespace

bool fits(const char *&signature, int containers)
{
    return fits(signature, containers, 0, 0);
}

int numberSize(char type)
{
    switch (type) {
    case 'y':
        return 1;
    case 'n':
    case 'q':
        return 2;
    case 'b':
    case 'i':
    case 'u':
        return 4;
    case 'x':
    case 't':
    case 'd':
        return 8;
    default:
        return 0;
    }
}

} // namespace Ostrel
