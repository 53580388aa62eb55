// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_OUTGOING_MAPS_H
#define TESTS_OUTGOING_MAPS_H

#include "private_bus.h"
#include "process.h"

#include "DBus/names_p.h"
#include "DBus/outgoing_message_p.h"

#include <QtCore/QVariantMap>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVariant>

// Containers of one type, which the tests register with QtDBus.
using Maps = QList<QVariantMap>;
using NamedMaps = QMap<QString, QVariantMap>;
using NamedVariants = QMap<QString, QDBusVariant>;

inline QVariantMap mapOf(const QVariant &value)
{
    return {{"key", value}};
}

inline QVariantMap oneEntry(const QVariant &value)
{
    return {{"k", value}};
}

inline QVariant inLists(QVariant value, int levels)
{
    for (int level = 0; level < levels; ++level) {
        value = QVariantList{value};
    }
    return value;
}

inline QVariant inMaps(QVariant value, int levels)
{
    for (int level = 0; level < levels; ++level) {
        value = QVariantMap{{"inner", value}};
    }
    return value;
}

// Why the arguments of a call cannot be sent on the session bus. JSON in maps is replaced.
template <typename... Arguments> QDBusError refusalOf(Arguments &&...arguments)
{
    Ostrel::OutgoingMessage message(QDBusConnection::sessionBus(), QString());
    (message.add(arguments), ...);
    return message.refusal();
}

// The error of the message bus, which reads the message and knows no such call; another one if it
// drops the connection.
inline QString answerTo(const QVariantList &arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall("org.freedesktop.DBus", OSTREL_SERVICE_PATH, "a.b", "Take");
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call).errorName();
}

// Sends a map to the simulator on the bus, and returns its contents as the simulator logged them.
inline QString sentOn(const PrivateBus &bus, const QVariantMap &map)
{
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
        << map);
    const Result result =
        run("busctl",
            {QString("--address=%1").arg(bus.address()), "call", OSTREL_SERVICE_NAME,
             OSTREL_SIMULATOR_PATH, OSTREL_SIMULATOR_INTERFACE, "Calls"});
    return result.output.section("\"Take\" \"a{sv}\" 1 a{sv} ", 1).trimmed();
}

#endif
