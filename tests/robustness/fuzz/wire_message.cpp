// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "wire_message.h"

#include "require.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>

namespace
{

// How many descriptors libdbus accepts in a message.
constexpr int maximumDescriptors = 16;

class Writer
{
public:
    explicit Writer(Bytes &bytes, int descriptors = maximumDescriptors)
        : m_bytes(bytes)
        , m_descriptorsLeft(descriptors)
    {
    }

    // A type whose value can be written next.
    std::string takeType(Room room)
    {
        const std::string type = ::takeType(m_bytes, room);
        return reserveDescriptors(type) ? type : "y";
    }

    // Writes a value of the type, which is in so many containers. Returns the number of its
    // elements, if it is an array.
    int write(DBusMessageIter *to, const std::string &type, int containers)
    {
        switch (type.front()) {
        case 'a':
            return array(to, type.substr(1), containers + 1);
        case '(':
            members(to, DBUS_TYPE_STRUCT, type, containers + 1);
            break;
        case '{':
            members(to, DBUS_TYPE_DICT_ENTRY, type, containers + 1);
            break;
        case 'v':
            variant(to, containers + 1);
            break;
        default:
            basic(to, type.front());
        }
        return 0;
    }

    void properties(DBusMessageIter *to, const std::vector<std::string> &names)
    {
        DBusMessageIter map;
        require(dbus_message_iter_open_container(to, DBUS_TYPE_ARRAY, "{sv}", &map) != 0,
                "a map begins");
        const int count = m_bytes.takeCount() % 4;
        for (int i = 0; i < count; ++i) {
            DBusMessageIter entry;
            require(dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry)
                        != 0,
                    "an entry begins");
            string(&entry, 's', names.at(m_bytes.takeCount() % names.size()));
            variant(&entry, 3); // itself, its entry and the map
            require(dbus_message_iter_close_container(&map, &entry) != 0, "an entry ends");
        }
        require(dbus_message_iter_close_container(to, &map) != 0, "a map ends");
    }

private:
    bool reserveDescriptors(const std::string &type)
    {
        const int count = descriptorsIn(type);
        if (count > m_descriptorsLeft) {
            return false;
        }
        m_descriptorsLeft -= count;
        return true;
    }

    int array(DBusMessageIter *to, const std::string &elementType, int containers)
    {
        DBusMessageIter elements;
        require(
            dbus_message_iter_open_container(to, DBUS_TYPE_ARRAY, elementType.c_str(), &elements)
                != 0,
            "an array begins");
        const int wanted = m_bytes.takeCount();
        int written = 0;
        while (written < wanted && reserveDescriptors(elementType)) {
            write(&elements, elementType, containers);
            ++written;
        }
        require(dbus_message_iter_close_container(to, &elements) != 0, "an array ends");
        return written;
    }

    void members(DBusMessageIter *to, int container, const std::string &type, int containers)
    {
        DBusMessageIter inside;
        require(dbus_message_iter_open_container(to, container, nullptr, &inside) != 0,
                "a structure begins");
        for (const char *member = type.c_str() + 1; *member != ')' && *member != '}';) {
            const char *end = endOfType(member);
            write(&inside, std::string(member, end), containers);
            member = end;
        }
        require(dbus_message_iter_close_container(to, &inside) != 0, "a structure ends");
    }

    void variant(DBusMessageIter *to, int containers)
    {
        Room room;
        room.containers -= containers;
        const std::string type = takeType(room);
        DBusMessageIter inside;
        require(dbus_message_iter_open_container(to, DBUS_TYPE_VARIANT, type.c_str(), &inside) != 0,
                "a variant begins");
        write(&inside, type, containers);
        require(dbus_message_iter_close_container(to, &inside) != 0, "a variant ends");
    }

    void basic(DBusMessageIter *to, char code)
    {
        switch (code) {
        case DBUS_TYPE_BOOLEAN: {
            const dbus_bool_t value = m_bytes.take() % 2;
            append(to, code, &value);
            break;
        }
        case DBUS_TYPE_BYTE:
            number<std::uint8_t>(to, code);
            break;
        case DBUS_TYPE_INT16:
        case DBUS_TYPE_UINT16:
            number<std::uint16_t>(to, code);
            break;
        case DBUS_TYPE_INT32:
        case DBUS_TYPE_UINT32:
            number<std::uint32_t>(to, code);
            break;
        case DBUS_TYPE_STRING:
            string(to, code, takeText());
            break;
        case DBUS_TYPE_OBJECT_PATH:
            string(to, code, takePath());
            break;
        case DBUS_TYPE_SIGNATURE:
            string(to, code, m_bytes.takeIf('0') ? std::string() : ::takeType(m_bytes, Room()));
            break;
        case DBUS_TYPE_UNIX_FD: {
            static const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
            append(to, code, &descriptor);
            break;
        }
        default: // 64 bits, also a double
            number<std::uint64_t>(to, code);
        }
    }

    template <typename Number> void number(DBusMessageIter *to, char code)
    {
        const auto value = m_bytes.takeNumber<Number>();
        append(to, code, &value);
    }

    static void string(DBusMessageIter *to, char code, const std::string &text)
    {
        const char *characters = text.c_str();
        append(to, code, &characters);
    }

    static void append(DBusMessageIter *to, char code, const void *value)
    {
        require(dbus_message_iter_append_basic(to, code, value) != 0, "a basic value is written");
    }

    std::string takeText()
    {
        std::string text = m_bytes.takeString();
        std::replace(text.begin(), text.end(), '\0', '0');
        if (dbus_validate_utf8(text.c_str(), nullptr) == 0) {
            std::transform(text.begin(), text.end(), text.begin(), [](char byte) {
                return static_cast<char>('0' + static_cast<std::uint8_t>(byte) % 64);
            });
        }
        return text;
    }

    std::string takePath()
    {
        std::string path = '/' + m_bytes.takeString();
        return dbus_validate_path(path.c_str(), nullptr) != 0
                && path.find('\0') == std::string::npos
            ? path
            : "/";
    }

    Bytes &m_bytes;
    int m_descriptorsLeft;
};

} // namespace

WireMessage takeMessage(Bytes &bytes)
{
    WireMessage result;
    result.message.reset(dbus_message_new_method_call(nullptr, "/a", "a.b", "Take"));
    dbus_message_set_no_reply(result.message.get(), 1);
    result.isStructure = bytes.take() % 2 == 0;

    DBusMessageIter arguments;
    dbus_message_iter_init_append(result.message.get(), &arguments);
    DBusMessageIter structure;
    DBusMessageIter *to = &arguments;
    Room room;
    if (result.isStructure) {
        --room.structures;
        --room.containers;
        require(dbus_message_iter_open_container(&arguments, DBUS_TYPE_STRUCT, nullptr, &structure)
                    != 0,
                "the outer structure begins");
        to = &structure;
    }
    Writer writer(bytes);
    result.type = writer.takeType(room);
    result.length = writer.write(to, result.type, result.isStructure ? 1 : 0);
    const char *marker = "marker";
    dbus_message_iter_append_basic(to, DBUS_TYPE_STRING, &marker);
    if (result.isStructure) {
        dbus_message_iter_close_container(&arguments, &structure);
    }
    return result;
}

void takeArguments(Bytes &bytes, DBusMessage *message, int minimum)
{
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message, &arguments);
    Writer writer(bytes, maximumDescriptors / 2); // a message may hold properties and other values
    const int count = minimum + bytes.takeCount() % 6;
    std::size_t length = std::strlen(dbus_message_get_signature(message));
    for (int i = 0; i < count; ++i) {
        std::string type = writer.takeType(Room());
        if (length + type.size() + std::size_t(count) > DBUS_MAXIMUM_SIGNATURE_LENGTH) {
            type = "y"; // no more descriptors fit
        }
        length += type.size();
        writer.write(&arguments, type, 0);
    }
}

void takeProperties(Bytes &bytes, DBusMessage *message, const std::vector<std::string> &names)
{
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message, &arguments);
    Writer writer(bytes, maximumDescriptors / 2); // a message may hold properties and other values
    writer.properties(&arguments, names);
}
