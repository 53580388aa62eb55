// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_CALL_LANES_H
#define TOOLS_CALL_LANES_H

#include "bus_message.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QVector>

#include <optional>

// The calls that wait for a reply, each in a lane of its own until then.
class CallLanes
{
public:
    struct Call
    {
        QString name;
        QString sender;
        qint64 time = 0;
        // From 0; the lowest one that was free.
        int lane = 0;
        QJsonObject arguments;
    };

    // Begins a call. Nothing if there are too many.
    std::optional<Call> begin(qint64 time, const BusMessage &message);

    // Ends the call that was begun with this sender and serial, and returns it.
    std::optional<Call> end(const QString &sender, quint32 serial);

    // Ends all calls, or those of a sender, and returns them.
    QVector<Call> endAll(const QString &sender = QString());

    // The name and the values that a trace has of a call.
    static Call describe(qint64 time, const BusMessage &message);

private:
    using Key = QPair<QString, quint32>;

    QMap<Key, Call> m_calls;
    QVector<bool> m_isTaken;
};

#endif
