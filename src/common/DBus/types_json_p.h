// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_JSON_P_H
#define OSTREL_DBUS_TYPES_JSON_P_H

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtDBus/QDBusArgument>

// JSON values on the bus. The operators stand in the global namespace, because Qt's registration
// looks for those of its own classes nowhere else; they are hidden, so that they do not replace
// operators of the program's own.
//
// What has no form on the bus is logged and left out. Reading takes whatever stands there, and
// leaves a Null in the place of what it refuses.

namespace Ostrel
{

// A message holds 64 containers within one another, and an object takes three. A deeper message
// would cost the process its connection, so that no array and no object is written below this many;
// the rest of the 64 is for what the value itself is put into.
constexpr int maximumJsonDepth = 16;

// Whether an array has elements, all of one type: they are written as that type, and those of
// another array in variants.
bool isJsonOfOneType(const QJsonArray &array);

} // namespace Ostrel

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonValue &value);
QDBusArgument &operator<<(QDBusArgument &argument, const QJsonObject &object);
QDBusArgument &operator<<(QDBusArgument &argument, const QJsonArray &array);

const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonValue &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonObject &object);
const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonArray &array);

#endif
