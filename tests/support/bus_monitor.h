// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_BUS_MONITOR_H
#define TESTS_BUS_MONITOR_H

#include "kit.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVector>

#include <functional>

// Watches the bus with "busctl monitor", which shares no code with Qt. It sees every message as it
// is on the wire.
class BusMonitor
{
public:
    // Returns when the monitor sees every message.
    explicit BusMonitor(const PrivateBus &bus);

    // Returns all messages up to and including the first for which isLast returns true.
    QVector<QJsonObject> messagesUntil(const std::function<bool(const QJsonObject &)> &isLast);

    // Returns what this process has sent on the session bus until now.
    QVector<QJsonObject> ownMessages();

private:
    Process m_process;
};

#endif
