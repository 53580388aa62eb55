// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_WIRE_MESSAGE_H
#define TESTS_FUZZ_WIRE_MESSAGE_H

#include "wire_types.h"

#include <dbus/dbus.h>

#include <memory>
#include <string>
#include <vector>

struct UnrefMessage
{
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
};
using MessagePointer = std::unique_ptr<DBusMessage, UnrefMessage>;

// A method call with a value of any type that a message can hold, and then the string "marker".
// libdbus makes it, without any code of Qt.
struct WireMessage
{
    MessagePointer message;
    // The type of the value.
    std::string type;
    // How many elements the value has, if it is an array.
    int length = 0;
    // Whether value and marker are in one structure. Otherwise they are two arguments.
    bool isStructure = false;
};

// Any bytes make a well-formed message.
WireMessage takeMessage(Bytes &bytes);

// Appends a few values of any types to the message, at least minimum.
void takeArguments(Bytes &bytes, DBusMessage *message, int minimum = 0);

// Appends a map of properties, "a{sv}". Each key is one of the names, each value is of any type.
void takeProperties(Bytes &bytes, DBusMessage *message, const std::vector<std::string> &names);

#endif
