// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_VALUE_TEXT_P_H
#define OSTREL_TESTING_VALUE_TEXT_P_H

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace Ostrel::Testing
{

// The kit judges the library that a test uses, so it reads values without that library's code.

// Returns the value without D-Bus types, at any depth: arrays and structures as lists, maps with
// strings as keys.
QVariant plain(const QVariant &value);

// Returns the value as GLib writes it. Two values are equal if their texts are.
QString textOf(const QVariant &value);

} // namespace Ostrel::Testing

#endif
