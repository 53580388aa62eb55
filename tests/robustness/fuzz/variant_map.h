// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_VARIANT_MAP_H
#define TESTS_FUZZ_VARIANT_MAP_H

#include "bytes.h"

#include <QtCore/QVariantMap>

// Registers the types of the values with QtDBus.
void registerVariantTypes();

struct GivenMap
{
    QVariantMap map;
    // False if the map holds a QDBusArgument that a caller writes, or a caller's own type: only the
    // caller knows how large they are.
    bool isKnown = true;
};

// Returns a map as a caller of the library may pass it, with nested values of any type, sendable or
// not. The received value may be among them.
GivenMap takeMap(Bytes &bytes, const QVariant &received);

#endif
