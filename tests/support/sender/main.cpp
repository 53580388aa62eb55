// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "value_writer.h"

// Sends values of any type that a message can hold, also those that no command-line tool sends. It
// shares no code with Qt.
//
// On the bus of the given address it owns the name "test.Sender". Any call to it takes a signature
// and a list of words; the reply holds the values that the words spell.

namespace
{

DBusMessage *answerTo(DBusMessage *call)
{
    const char *signature = nullptr;
    char **array = nullptr;
    int count = 0;
    require(dbus_message_get_args(call, nullptr, DBUS_TYPE_STRING, &signature, DBUS_TYPE_ARRAY,
                                  DBUS_TYPE_STRING, &array, &count, DBUS_TYPE_INVALID)
                != 0,
            "a call takes a signature and words");
    const std::vector<std::string> words(array, array + count);
    dbus_free_string_array(array);
    DBusMessage *reply = dbus_message_new_method_return(call);
    append(reply, signature, words);
    return reply;
}

} // namespace

int main(int argc, char **argv)
{
    require(argc == 2, "usage: sender ADDRESS");
    DBusConnection *bus = dbus_connection_open_private(argv[1], nullptr);
    require(bus != nullptr && dbus_bus_register(bus, nullptr) != 0, "no bus");
    require(dbus_bus_request_name(bus, "test.Sender", 0, nullptr) != -1, "no name");
    std::cout << "ready" << std::endl;
    while (dbus_connection_read_write(bus, -1) != 0) {
        while (DBusMessage *message = dbus_connection_pop_message(bus)) {
            if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL) {
                DBusMessage *reply = answerTo(message);
                dbus_connection_send(bus, reply, nullptr);
                dbus_message_unref(reply);
            }
            dbus_message_unref(message);
        }
    }
    dbus_connection_unref(bus);
    return 0;
}
