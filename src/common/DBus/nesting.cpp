// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/nesting_p.h"

#include <algorithm>
#include <cstring>

namespace Ostrel
{

Nesting nestingOf(const char *&signature)
{
    Nesting nesting;
    switch (*signature++) {
    case 'a':
        nesting = nestingOf(signature);
        ++nesting.arrays;
        ++nesting.containers;
        break;
    case '(':
    case '{': {
        int &level = signature[-1] == '(' ? nesting.structures : nesting.entries;
        while (std::strchr(")}", *signature) == nullptr) { // nor at the end
            const Nesting member = nestingOf(signature);
            nesting.arrays = std::max(nesting.arrays, member.arrays);
            nesting.structures = std::max(nesting.structures, member.structures);
            nesting.entries = std::max(nesting.entries, member.entries);
            nesting.containers = std::max(nesting.containers, member.containers);
        }
        signature += *signature != '\0' ? 1 : 0;
        ++level;
        ++nesting.containers;
        break;
    }
    case 'v':
        ++nesting.containers;
        break;
    case '\0':
        --signature;
        break;
    default:
        break;
    }
    return nesting;
}

bool isSignature(const QByteArray &signature)
{
    if (signature.isEmpty() || signature.size() > maximumSignature) {
        return false;
    }
    const char *rest = signature.constData();
    bool isTooDeep = false;
    while (*rest != '\0' && !isTooDeep) {
        isTooDeep = nestingOf(rest).isTooDeep();
    }
    return !isTooDeep;
}

} // namespace Ostrel
