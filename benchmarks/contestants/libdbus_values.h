// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_LIBDBUS_VALUES_H
#define BENCHMARKS_LIBDBUS_VALUES_H

#include "contestant.h"
#include "plain_records.h"

#include <dbus/dbus.h>
#include <string>
#include <utility>
#include <vector>

// Reads and writes the values of messages with libdbus.

namespace Values
{

inline std::string readString(DBusMessageIter &iterator)
{
    const char *text = nullptr;
    dbus_message_iter_get_basic(&iterator, &text);
    dbus_message_iter_next(&iterator);
    return text;
}

template <typename Number> Number readNumber(DBusMessageIter &iterator)
{
    Number number = 0;
    dbus_message_iter_get_basic(&iterator, &number);
    dbus_message_iter_next(&iterator);
    return number;
}

inline Plain::Value readValue(DBusMessageIter &iterator)
{
    DBusMessageIter content;
    dbus_message_iter_recurse(&iterator, &content);
    switch (dbus_message_iter_get_arg_type(&content)) {
    case DBUS_TYPE_STRING:
        return readString(content);
    case DBUS_TYPE_BOOLEAN:
        return readNumber<dbus_bool_t>(content) != 0;
    case DBUS_TYPE_INT32:
        return readNumber<std::int32_t>(content);
    case DBUS_TYPE_UINT32:
        return readNumber<std::uint32_t>(content);
    case DBUS_TYPE_UINT64:
        return readNumber<std::uint64_t>(content);
    default:
        return false;
    }
}

// Calls a function for each entry of a map, with the key and an iterator at the value.
template <typename Run> void eachEntry(DBusMessageIter &iterator, Run run)
{
    DBusMessageIter entries;
    dbus_message_iter_recurse(&iterator, &entries);
    while (dbus_message_iter_get_arg_type(&entries) == DBUS_TYPE_DICT_ENTRY) {
        DBusMessageIter entry;
        dbus_message_iter_recurse(&entries, &entry);
        std::string key = readString(entry);
        run(std::move(key), entry);
        dbus_message_iter_next(&entries);
    }
    dbus_message_iter_next(&iterator);
}

inline Plain::Properties readProperties(DBusMessageIter &iterator)
{
    Plain::Properties properties;
    eachEntry(iterator, [&](std::string &&key, DBusMessageIter &value) {
        properties.emplace(std::move(key), readValue(value));
    });
    return properties;
}

// Reads an array of structures with a function for each.
template <typename Record, typename Read>
void readArray(DBusMessageIter &iterator, std::vector<Record> &records, Read read)
{
    records.clear();
    DBusMessageIter elements;
    dbus_message_iter_recurse(&iterator, &elements);
    while (dbus_message_iter_get_arg_type(&elements) == DBUS_TYPE_STRUCT) {
        DBusMessageIter members;
        dbus_message_iter_recurse(&elements, &members);
        Record record;
        read(record, members);
        record.properties = readProperties(members);
        records.push_back(std::move(record));
        dbus_message_iter_next(&elements);
    }
    dbus_message_iter_next(&iterator);
}

// Writes an entry of a map. A function appends the value.
template <typename Append>
void appendEntry(DBusMessageIter &map, const char *key, const char *type, Append append)
{
    DBusMessageIter entry;
    DBusMessageIter value;
    dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, type, &value);
    append(value);
    dbus_message_iter_close_container(&entry, &value);
    dbus_message_iter_close_container(&map, &entry);
}

inline void appendNumber(DBusMessageIter &map, const char *key, std::int32_t number)
{
    appendEntry(map, key, "i", [&](DBusMessageIter &value) {
        dbus_message_iter_append_basic(&value, DBUS_TYPE_INT32, &number);
    });
}

inline void appendString(DBusMessageIter &map, const char *key, const char *text)
{
    appendEntry(map, key, "s", [&](DBusMessageIter &value) {
        dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &text);
    });
}

inline void appendStrings(DBusMessageIter &map, const char *key, TaskMaps::Strings texts)
{
    appendEntry(map, key, "as", [&](DBusMessageIter &value) {
        DBusMessageIter list;
        dbus_message_iter_open_container(&value, DBUS_TYPE_ARRAY, "s", &list);
        for (const char *text : texts) {
            dbus_message_iter_append_basic(&list, DBUS_TYPE_STRING, &text);
        }
        dbus_message_iter_close_container(&value, &list);
    });
}

} // namespace Values

#endif
