// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/outgoing_map_p.h"

#include "DBus/outgoing_walk_p.h"

namespace Ostrel
{

QDBusError MessageRoom::take(const QString &text)
{
    return take(text, m_left);
}

QDBusError MessageRoom::take(const PathEnd &end)
{
    return take(end.text, qMin(m_left, MessageSize::maximumPath));
}

QDBusError MessageRoom::take(const QString &text, qint64 room)
{
    const qint64 bytes = MessageSize::utf8Length(text);
    if (bytes > room) {
        return QDBusError(
            QDBusError::Failed,
            QStringLiteral("Marshalling failed: a text of %1 bytes is too large for a message")
                .arg(bytes));
    }
    m_left -= bytes;
    return {};
}

QDBusError MessageRoom::take(QVariantMap &map)
{
    // The map is an array, behind eight bytes. The arrays in it are no larger.
    OutgoingWalk walk(qMin(m_left, 8 + MessageSize::maximumArray));
    if (walk.entries(map, 0) == OutgoingWalk::Unsendable) {
        return QDBusError(QDBusError::Failed, walk.problem());
    }
    m_left -= walk.bytes();
    return {};
}

} // namespace Ostrel
