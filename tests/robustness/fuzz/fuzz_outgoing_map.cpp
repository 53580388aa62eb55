// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"
#include "variant_map.h"

#include "DBus/outgoing_message_p.h"

#include <algorithm>
#include <cstring>

// A caller's map is sent. The library or Qt refuses it with an error, or it arrives well-formed and
// with an entry for each key.

namespace
{

int entriesOf(DBusMessage *message)
{
    DBusMessageIter argument;
    DBusMessageIter entry;
    dbus_message_iter_init(message, &argument);
    dbus_message_iter_recurse(&argument, &entry);
    int count = 0;
    while (dbus_message_iter_get_arg_type(&entry) != DBUS_TYPE_INVALID) {
        ++count;
        dbus_message_iter_next(&entry);
    }
    return count;
}

// Returns how many bytes the arguments of a message take.
qint64 bodyOf(DBusMessage *message)
{
    char *bytes = nullptr;
    int size = 0;
    require(dbus_message_marshal(message, &bytes, &size) != 0, "the message is marshalled");
    std::uint32_t body = 0;
    std::memcpy(&body, bytes + 4, sizeof body);
    dbus_free(bytes);
    return body;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // Warnings of the JSON writer, and Qt's own while the map is made.
    Peer &peer =
        sharedPeer({"Unknown JSON value type", "JSON array of arrays are not supported",
                    "JSON value is nested too deeply", "QDBusObjectPath: invalid path",
                    "QDBusSignature: invalid signature", "QDBusConnection: error: could not send"});
    registerVariantTypes();

    Bytes bytes(data, size);
    // A value that came from the bus may be sent on.
    QVariant received;
    if (bytes.takeIf('Z')) {
        const WireMessage wire = takeMessage(bytes);
        received = peer.toQt(wire.message.get()).arguments().value(0);
    }
    const GivenMap given = takeMap(bytes, received);
    QVariantMap map = given.map;
    Ostrel::OutgoingMessage outgoing(128 << 20);
    outgoing.add(map);
    const QDBusError error = outgoing.refusal();
    require(std::equal(map.keyBegin(), map.keyEnd(), given.map.keyBegin(), given.map.keyEnd()),
            "nothing is left out or added");
    if (error.isValid()) {
        require(error.type() == QDBusError::Failed
                    && error.message().startsWith("Marshalling failed: \""),
                "the error says what is wrong");
        return 0;
    }

    QDBusMessage message = QDBusMessage::createSignal("/a", "a.b", "Given");
    message << map;
    const MessagePointer sent = peer.fromQt(message);
    require(std::strcmp(dbus_message_get_signature(sent.get()), "a{sv}") == 0,
            "the map arrives as a map");
    require(entriesOf(sent.get()) == map.size(), "the map arrives with all its entries");
    require(!given.isKnown || outgoing.bytes() >= bodyOf(sent.get()),
            "the map is no larger than it was counted");
    return 0;
}
