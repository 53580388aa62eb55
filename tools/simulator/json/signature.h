// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_SIGNATURE_H
#define SIMULATOR_SIGNATURE_H

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

// What a message can hold.
constexpr int longestSignature = 255;

// The types of a signature, one for each value. Nothing if it is no signature.
std::optional<QStringList> typesOf(const QString &signature);

// The metatype of elements with this type; 0 if QtDBus writes no array of them.
int elementType(const QString &type);

#endif
