// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"

#include <QtCore/QJsonDocument>

BusMonitor::BusMonitor(const PrivateBus &bus)
    : m_process("busctl", {QString("--address=%1").arg(bus.address()), "--json=short", "monitor"})
{
    m_process.setReadChannel(QProcess::StandardError);
    m_process.start();
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(forever)) {
            qFatal("the monitor does not start");
        }
    }
}

QVector<QJsonObject> BusMonitor::messagesUntil(
    const std::function<bool(const QJsonObject &)> &isLast)
{
    QVector<QJsonObject> messages;
    do {
        messages.append(QJsonDocument::fromJson(m_process.readLine().toUtf8()).object());
    } while (!isLast(messages.constLast()));
    return messages;
}
