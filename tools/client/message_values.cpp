// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "message_values.h"

#include "trace_event.h"

#include <QtCore/QJsonObject>

#include <algorithm>
#include <cstring>
#include <dbus/dbus.h>

namespace
{

class Values
{
public:
    // From here to the end of the message or container.
    QJsonArray all(DBusMessageIter *iterator);

private:
    QJsonValue value(DBusMessageIter *iterator);
    QJsonValue basic(DBusMessageIter *iterator, int type);
    QJsonObject map(DBusMessageIter *iterator);
    QJsonObject variant(DBusMessageIter *iterator);
    QString string(const char *text);

    bool isFull() const { return m_size > largestValues; }

    // Never more than the bytes of JSON.
    int m_size = 0;
};

QJsonArray Values::all(DBusMessageIter *iterator)
{
    QJsonArray array;
    while (!isFull() && dbus_message_iter_get_arg_type(iterator) != DBUS_TYPE_INVALID) {
        m_size += 2; // at least a digit and a comma
        array.append(value(iterator));
        dbus_message_iter_next(iterator);
    }
    return array;
}

QJsonValue Values::value(DBusMessageIter *iterator)
{
    const int type = dbus_message_iter_get_arg_type(iterator);
    if (dbus_type_is_basic(type) != 0) {
        return basic(iterator, type);
    }
    DBusMessageIter inner;
    dbus_message_iter_recurse(iterator, &inner);
    if (type == DBUS_TYPE_VARIANT) {
        return variant(&inner);
    }
    const bool isMap = type == DBUS_TYPE_ARRAY
        && dbus_message_iter_get_element_type(iterator) == DBUS_TYPE_DICT_ENTRY;
    return isMap ? QJsonValue(map(&inner)) : QJsonValue(all(&inner));
}

QJsonValue Values::basic(DBusMessageIter *iterator, int type)
{
    // Reading a file descriptor would open it here.
    if (type == DBUS_TYPE_UNIX_FD) {
        return {};
    }
    DBusBasicValue read;
    dbus_message_iter_get_basic(iterator, &read);
    switch (type) {
    case DBUS_TYPE_BYTE:
        return read.byt;
    case DBUS_TYPE_BOOLEAN:
        return read.bool_val != 0;
    case DBUS_TYPE_INT16:
        return read.i16;
    case DBUS_TYPE_UINT16:
        return read.u16;
    case DBUS_TYPE_INT32:
        return read.i32;
    case DBUS_TYPE_UINT32:
        return qint64(read.u32);
    case DBUS_TYPE_INT64:
        return qint64(read.i64);
    case DBUS_TYPE_UINT64:
        return double(read.u64);
    case DBUS_TYPE_DOUBLE:
        return read.dbl;
    default: // a string, an object path or a signature
        return string(read.str);
    }
}

QJsonObject Values::map(DBusMessageIter *iterator)
{
    QJsonObject object;
    while (!isFull() && dbus_message_iter_get_arg_type(iterator) == DBUS_TYPE_DICT_ENTRY) {
        DBusMessageIter entry;
        dbus_message_iter_recurse(iterator, &entry);
        const QString key = value(&entry).toVariant().toString();
        dbus_message_iter_next(&entry);
        m_size += 4; // at least the quotes, a colon and a digit
        object.insert(key, value(&entry));
        dbus_message_iter_next(iterator);
    }
    return object;
}

QJsonObject Values::variant(DBusMessageIter *iterator)
{
    char *const signature = dbus_message_iter_get_signature(iterator);
    const QString type = QString::fromUtf8(signature);
    dbus_free(signature);
    return {{QStringLiteral("type"), type}, {QStringLiteral("data"), value(iterator)}};
}

QString Values::string(const char *text)
{
    const std::size_t read = std::min<std::size_t>(std::strlen(text), largestValues + 1);
    m_size += int(read);
    return QString::fromUtf8(text, int(read));
}

} // namespace

QJsonArray valuesOf(DBusMessage *message)
{
    DBusMessageIter iterator;
    dbus_message_iter_init(message, &iterator);
    return Values().all(&iterator);
}
