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
    // False if it holds a QDBusArgument that a caller writes, or a type of the caller's own: nobody
    // else knows how large that is.
    bool isKnown = true;
};

// A map as a caller of the library may give it: with values of any type, such that can be sent and
// such that cannot, within one another. The received value may be among them.
GivenMap takeMap(Bytes &bytes, const QVariant &received);

#endif
