// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_BUS_MONITOR_H
#define TESTS_BUS_MONITOR_H

#include "private_bus.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVector>

#include <functional>

// Watches the bus with "busctl monitor", which shares no code with Qt: every message as it is on
// the wire, with its signature.
class BusMonitor
{
public:
    // Returns when the monitor sees every message.
    explicit BusMonitor(const PrivateBus &bus);

    // All messages up to and including the first one that is the last.
    QVector<QJsonObject> messagesUntil(const std::function<bool(const QJsonObject &)> &isLast);

    // What this process has sent on the session bus until now.
    QVector<QJsonObject> ownMessages();

private:
    Process m_process;
};

#endif
