// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_VALUE_WRITER_H
#define TESTS_VALUE_WRITER_H

#include <dbus/dbus.h>

#include <fcntl.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

// Writes values of any type with libdbus, also those that no command-line tool sends. The words are
// in busctl's form: the number of elements comes before the elements of an array, the signature
// before the content of a variant. The word of a file descriptor is ignored.

[[noreturn]] inline void fail(const std::string &what)
{
    std::cerr << "the test's peer: " << what << std::endl;
    std::exit(1);
}

inline void require(bool condition, const std::string &what)
{
    if (!condition) {
        fail(what);
    }
}

class ValueWriter
{
public:
    explicit ValueWriter(const std::vector<std::string> &words)
        : m_words(words)
    {
    }

    void values(DBusMessageIter *to, DBusSignatureIter *type)
    {
        do {
            value(to, type);
        } while (dbus_signature_iter_next(type) != 0);
    }

    bool isAtEnd() const { return m_next == m_words.size(); }

private:
    const std::string &word()
    {
        require(!isAtEnd(), "words are missing");
        return m_words[m_next++];
    }

    // Writes one value of the type at which the signature stands.
    void value(DBusMessageIter *to, const DBusSignatureIter *type)
    {
        const int code = dbus_signature_iter_get_current_type(type);
        if (dbus_type_is_basic(code) != 0) {
            basic(to, code, word());
            return;
        }
        DBusSignatureIter inner;
        std::string contents;
        if (code == DBUS_TYPE_VARIANT) {
            contents = word();
            require(dbus_signature_validate_single(contents.c_str(), nullptr) != 0,
                    "no type: " + contents);
            dbus_signature_iter_init(&inner, contents.c_str());
        } else {
            dbus_signature_iter_recurse(type, &inner);
            if (code == DBUS_TYPE_ARRAY) {
                char *signature = dbus_signature_iter_get_signature(&inner);
                contents = signature;
                dbus_free(signature);
            }
        }
        DBusMessageIter inside;
        dbus_message_iter_open_container(to, code, contents.empty() ? nullptr : contents.c_str(),
                                         &inside);
        if (code == DBUS_TYPE_ARRAY) {
            for (unsigned long left = std::stoul(word()); left > 0; --left) {
                value(&inside, &inner);
            }
        } else {
            values(&inside, &inner);
        }
        dbus_message_iter_close_container(to, &inside);
    }

    static void basic(DBusMessageIter *to, int code, const std::string &word)
    {
        DBusBasicValue value{};
        const char *text = word.c_str();
        switch (code) {
        case DBUS_TYPE_BOOLEAN:
            value.bool_val = word == "true" ? 1 : 0;
            break;
        case DBUS_TYPE_DOUBLE:
            value.dbl = std::stod(word);
            break;
        case DBUS_TYPE_STRING:
        case DBUS_TYPE_OBJECT_PATH:
        case DBUS_TYPE_SIGNATURE:
            dbus_message_iter_append_basic(to, code, &text);
            return;
        case DBUS_TYPE_UNIX_FD: {
            static const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
            value.fd = descriptor;
            break;
        }
        case DBUS_TYPE_BYTE:
            value.byt = static_cast<unsigned char>(std::stoul(word));
            break;
        case DBUS_TYPE_INT16:
        case DBUS_TYPE_UINT16:
            value.u16 = static_cast<dbus_uint16_t>(std::stol(word));
            break;
        case DBUS_TYPE_INT32:
        case DBUS_TYPE_UINT32:
            value.u32 = static_cast<dbus_uint32_t>(std::stoll(word));
            break;
        case DBUS_TYPE_INT64:
            value.i64 = std::stoll(word);
            break;
        default:
            value.u64 = std::stoull(word);
        }
        dbus_message_iter_append_basic(to, code, &value);
    }

    const std::vector<std::string> &m_words;
    std::size_t m_next = 0;
};

// Appends the values that the words spell. Ends the process if they do not match the signature.
inline void append(DBusMessage *message, const std::string &signature,
                   const std::vector<std::string> &words)
{
    require(dbus_signature_validate(signature.c_str(), nullptr) != 0, "no signature: " + signature);
    ValueWriter writer(words);
    if (!signature.empty()) {
        DBusMessageIter to;
        dbus_message_iter_init_append(message, &to);
        DBusSignatureIter types;
        dbus_signature_iter_init(&types, signature.c_str());
        writer.values(&to, &types);
    }
    require(writer.isAtEnd(), "words are left over");
}

#endif
