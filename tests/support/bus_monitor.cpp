// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"

#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <algorithm>
#include <functional>

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

QVector<QJsonObject> BusMonitor::ownMessages()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString self = bus.baseService();
    bus.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "GetId"));
    const auto isOwn = [&self](const QJsonObject &message) { return message["sender"] == self; };
    QVector<QJsonObject> messages = messagesUntil([&isOwn](const QJsonObject &message) {
        return isOwn(message) && message["member"] == "GetId";
    });
    messages.removeLast();
    messages.erase(std::remove_if(messages.begin(), messages.end(), std::not_fn(isOwn)),
                   messages.end());
    return messages;
}
