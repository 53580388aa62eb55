// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_NESTING_P_H
#define OSTREL_DBUS_NESTING_P_H

#include <QtCore/QByteArray>

namespace Ostrel
{

// How many containers may be nested in an argument of a message.
constexpr int maximumContainers = 64;

// How many characters a signature may have.
constexpr int maximumSignature = 255;

// How deeply the types of a signature are nested. It does not show what a variant holds.
struct Nesting
{
    int arrays = 0;
    int structures = 0;
    int entries = 0;
    int containers = 0;

    // Whether the type is too deep for a message. libdbus aborts on a variant of such a type.
    bool isTooDeep() const { return arrays > 32 || structures > 32 || entries > 32; }
};

// Returns the nesting of one complete type, and moves the signature past it. A signature that ends
// too early is not read beyond its end.
Nesting nestingOf(const char *&signature);

// Whether a message may hold the signature as a value. Its characters must be types.
bool isSignature(const QByteArray &signature);

} // namespace Ostrel

#endif
