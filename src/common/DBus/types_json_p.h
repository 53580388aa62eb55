// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_JSON_P_H
#define OSTREL_DBUS_TYPES_JSON_P_H

#include "DBus/message_size_p.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QVariant>
#include <QtDBus/QDBusArgument>

#include <limits>

// JSON values on the bus. The operators are in the global namespace, because Qt's registration
// looks for operators of Qt's own classes nowhere else. They are hidden, so that they do not
// replace the program's own operators.
//
// Writing logs and leaves out what has no form on the bus, and objects and arrays more than 16
// levels deep. A message holds 64 nested containers, an object takes three, and a writer does not
// know how many are around it. Reading accepts every value; an unsupported one becomes Null.

namespace Ostrel
{

// Converts JSON to plain Qt values, which QtDBus marshals. A part of a value that has no form on
// the bus is logged and left out.
class PlainJson
{
public:
    // Objects and arrays below this many levels are left out. The conversion stops when the size
    // exceeds the room: a small value can hold the same part many times.
    explicit PlainJson(int levels, MessageSize size = MessageSize(),
                       qint64 room = std::numeric_limits<qint64>::max())
        : m_levels(levels)
        , m_size(size)
        , m_room(room)
    {
    }

    // The result is invalid if the value has no form on the bus.
    QVariant from(const QJsonValue &value) { return from(value, Anywhere); }

    // The array as a list of variants, even if its elements are of one type.
    QVariantList listFrom(const QJsonArray &array);

    // Why the last value has no form on the bus; null if it has one or is only nested too deeply.
    const char *problem() const { return m_problem; }

    bool isTooDeep() const { return m_isTooDeep; }
    bool isTooLarge() const { return qMax(m_size.bytes(), m_leftOut) > m_room; }

private:
    // Below a mixed array there are no arrays of one type.
    enum Place {
        Anywhere,
        InMixedArray
    };

    QVariant from(const QJsonValue &value, Place place);
    QVariant fromArray(const QJsonArray &array, Place place);
    QVariantMap fromObject(const QJsonObject &object, Place place);
    // A value within another one. If it is left out, the size is reset to the one before.
    QVariant part(const QJsonValue &value, Place place, MessageSize before);
    template <typename List> List parts(const QJsonArray &array, Place place);

    int m_levels;
    MessageSize m_size; // without the types of containers
    const qint64 m_room;
    qint64 m_leftOut = 0; // how many values have no form on the bus
    bool m_isTooDeep = false;
    const char *m_problem = nullptr;
};

} // namespace Ostrel

QDBusArgument &operator<<(QDBusArgument &argument, const QJsonValue &value);
QDBusArgument &operator<<(QDBusArgument &argument, const QJsonObject &object);
QDBusArgument &operator<<(QDBusArgument &argument, const QJsonArray &array);

const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonValue &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonObject &object);
const QDBusArgument &operator>>(const QDBusArgument &argument, QJsonArray &array);

#endif
