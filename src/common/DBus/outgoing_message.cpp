// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_message_p.h"

#include "DBus/names_p.h"

namespace Ostrel
{

namespace
{

// The header of a message is short, except for the path, which is counted.
constexpr qint64 head = 4096;

constexpr qint64 maximumMessage = 128 << 20;
constexpr qint64 maximumArray = 64 << 20;

// By default, a system bus drops the connection of a program that sends more. A session bus is
// configured to accept as much as the protocol allows.
constexpr qint64 maximumSystemMessage = 32 << 20;

// The path of the session of a task type of 32 MiB. The service replies with the path. If the
// service's own connection receives 63 MiB at once, it may never receive anything again.
constexpr qint64 maximumPath = qint64(sizeof OSTREL_TASK_INVOKER_SESSIONS_PATH) - 1 + (32 << 20);

qint64 maximumOf(const QDBusConnection &bus)
{
    return bus.name() == QLatin1String("qt_default_system_bus") ? maximumSystemMessage
                                                                : maximumMessage;
}

} // namespace

QDBusError disconnected()
{
    return QDBusError(QDBusError::Disconnected, QStringLiteral("Not connected to D-Bus server"));
}

OutgoingMessage::OutgoingMessage(const QDBusConnection &bus, const QString &path)
    : OutgoingMessage(maximumOf(bus) - head)
{
    // On a lost connection QtDBus may wait for ever. It does so at the end of the process, when its
    // thread is gone before the caller's static objects.
    m_isLost = !bus.isConnected();
    m_passesDescriptors = m_isLost
        || (bus.connectionCapabilities() & QDBusConnection::UnixFileDescriptorPassing) != 0;
    addString(path, maximumPath);
}

OutgoingMessage::OutgoingMessage(qint64 room)
    : m_limit(room)
    , m_room(room)
{
}

void OutgoingMessage::add(const QString &string)
{
    addString(string, m_limit);
}

void OutgoingMessage::addString(const QString &string, qint64 limit)
{
    const qint64 bytes = MessageSize::utf8Length(string);
    if (bytes > qMin(limit, m_limit - m_size.bytes()) && !m_refusal.isValid()) {
        m_refusal = QDBusError(
            QDBusError::Failed,
            QStringLiteral("Marshalling failed: a text of %1 bytes is too large for a message")
                .arg(bytes));
    }
    m_size.add(bytes);
}

void OutgoingMessage::add(QVariantMap &map)
{
    if (m_refusal.isValid()) {
        return;
    }
    // The arrays within the map are no larger than the map, which is an array itself.
    MessageSize start = m_size;
    start.addLength();
    start.align(8);
    m_room = qMin(m_limit, start.bytes() + maximumArray);
    entries(map, 0);
}

QDBusError OutgoingMessage::refusal()
{
    // QtDBus needs room for its own duplicates now.
    m_duplicates.clear();
    if (m_isLost && !m_refusal.isValid()) {
        return disconnected();
    }
    return m_refusal;
}

bool OutgoingMessage::fits(const QVariant &value)
{
    return m_size.bytes() <= m_room || tooLarge(value);
}

bool OutgoingMessage::tooLarge(const QVariant &value)
{
    return unsendable(value, "is too large for a message, with a value");
}

bool OutgoingMessage::unsendable(const QVariant &value, const char *what)
{
    m_what = what;
    m_refusal = QDBusError(
        QDBusError::Failed,
        QStringLiteral("Marshalling failed: \"%1\" %2 of type %3")
            .arg(m_key, QLatin1String(what),
                 value.isValid() ? QString::fromLatin1(value.typeName()) : QStringLiteral("none")));
    return false;
}

} // namespace Ostrel
