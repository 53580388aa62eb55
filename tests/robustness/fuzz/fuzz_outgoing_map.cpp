// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "environment.h"
#include "require.h"
#include "variant_map.h"

#include "DBus/outgoing_map_p.h"
#include "DBus/types_p.h"

#include <QtDBus/QDBusMetaType>

#include <algorithm>
#include <cstring>

// A caller's map is sent. Whatever is in it, either it is refused with an error, here or by Qt, or
// it arrives well-formed and with an entry for each key.

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // What the JSON writer leaves out, and what the map's maker is told by Qt.
    Peer &peer =
        sharedPeer({"Unknown JSON value type", "JSON array of arrays are not supported",
                    "JSON value is nested too deeply", "QDBusObjectPath: invalid path",
                    "QDBusSignature: invalid signature", "QDBusConnection: error: could not send"});
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<QList<QVariantMap>>();

    Bytes bytes(data, size);
    QVariantMap map = takeMap(bytes);
    const QVariantMap original = map;
    const QDBusError error = Ostrel::makeSendable(map);
    require(std::equal(map.keyBegin(), map.keyEnd(), original.keyBegin(), original.keyEnd()),
            "nothing is left out or added");
    if (error.isValid()) {
        require(error.type() == QDBusError::Failed
                    && error.message().startsWith(QLatin1String("Marshalling failed: \"")),
                "the error says what is wrong");
        return 0;
    }

    QDBusMessage message = QDBusMessage::createSignal(QStringLiteral("/a"), QStringLiteral("a.b"),
                                                      QStringLiteral("Given"));
    message << map;
    const MessagePointer received = peer.fromQt(message);
    require(std::strcmp(dbus_message_get_signature(received.get()), "a{sv}") == 0,
            "the map arrives as a map");
    require(entriesOf(received.get()) == map.size(), "the map arrives with all its entries");
    return 0;
}
