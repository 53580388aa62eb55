// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_DESK_ENTERED_VALUES_H
#define MONITOR_DESK_ENTERED_VALUES_H

#include "result.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVariantList>

// What the user has entered, as values for the bus.

// JSON values, separated by commas. With types, a signature, the values have these types. Without
// them, the types follow from the JSON as in the simulator's catalogue and scenarios.
Result<QVariantList> enteredValues(const QString &text, const QString &types);

// Values that fit to the types, as an example; empty for what is no signature.
QString exampleValues(const QString &types);

// Whole numbers from 0, separated by commas or blanks.
Result<QList<uint>> enteredIndexes(const QString &text);

// The path of an object.
Result<QString> enteredPath(const QString &text);

#endif
