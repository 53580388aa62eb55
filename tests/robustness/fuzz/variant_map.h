// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_VARIANT_MAP_H
#define TESTS_FUZZ_VARIANT_MAP_H

#include "bytes.h"

#include <QtCore/QVariantMap>

// A map as a caller of the library may give it: with values of any type, such that can be sent and
// such that cannot, within one another.
QVariantMap takeMap(Bytes &bytes);

#endif
