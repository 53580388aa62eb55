// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_NESTING_P_H
#define OSTREL_DBUS_NESTING_P_H

namespace Ostrel
{

// How many containers may stand within one another in an argument of a message.
constexpr int maximumContainers = 64;

// How deep the types of a signature stand in one another. Variants count by themselves, since what
// they hold does not show.
struct Nesting
{
    int arrays = 0;
    int structures = 0;
    int containers = 0;

    // Whether no message may hold such a type. libdbus aborts over a variant of one.
    bool isTooDeep() const { return arrays > 32 || structures > 32; }
};

// That of one complete type, which the signature is moved past. It stays within a signature that
// ends too early.
Nesting nestingOf(const char *&signature);

} // namespace Ostrel

#endif
