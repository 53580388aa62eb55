// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_SIGNATURE_P_H
#define OSTREL_DBUS_SIGNATURE_P_H

namespace Ostrel
{

// How many containers may stand within one another in an argument of a message.
constexpr int maximumContainers = 64;

// Whether the type that a signature begins with may stand within so many containers, and in a
// variant at all. The signature is moved past it. Variants count by themselves, since what they
// hold does not show.
bool fits(const char *&signature, int containers);

// The size of a number of a type, or 0 for another type.
int numberSize(char type);

} // namespace Ostrel

#endif
