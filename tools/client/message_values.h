// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_MESSAGE_VALUES_H
#define TOOLS_MESSAGE_VALUES_H

#include <QtCore/QJsonArray>

struct DBusMessage;

// The values of a message, as 'busctl --json' prints them: a structure is an array, and a variant
// an object with its type. If they are too large for a trace, only the first ones.
QJsonArray valuesOf(DBusMessage *message);

#endif
