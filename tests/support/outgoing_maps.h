// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_OUTGOING_MAPS_H
#define TESTS_OUTGOING_MAPS_H

#include "run.h"

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

// Returns why a call with these arguments cannot be sent on the session bus. Replaces JSON in maps.
template <typename... Arguments> QDBusError refusalOf(Arguments &&...arguments)
{
    Ostrel::OutgoingMessage message(QDBusConnection::sessionBus(), QString());
    (message.add(arguments), ...);
    return message.refusal();
}

// Sends a call to the message bus and returns the name of the error. The bus reads the arguments
// and does not know the method. The error is another one if the bus drops the connection.
inline QString answerTo(const QVariantList &arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall("org.freedesktop.DBus", OSTREL_SERVICE_PATH, "a.b", "Take");
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call).errorName();
}

// Sends a map to the simulator and returns its content from the simulator's log.
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
