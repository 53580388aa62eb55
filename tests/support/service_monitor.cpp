// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "service_monitor.h"

#include "DBus/names_p.h"

#include <QtCore/QJsonArray>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusObjectPath>

namespace
{

const QString marker = "Marker";

QString textOf(const QJsonValue &value)
{
    QStringList parts;
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (const QJsonValue &element : array) {
            parts.append(textOf(element));
        }
        return parts.join(' ');
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            parts.append(QString("%1=%2:%3")
                             .arg(entry.key(), entry.value()["type"].toString(),
                                  entry.key() == "Pid" ? "PID" : textOf(entry.value()["data"])));
        }
        return '{' + parts.join(' ') + '}';
    }
    return value.toVariant().toString();
}

QString textOf(const QJsonObject &message)
{
    const QString type = message.value("type").toString();
    const QJsonValue payload = message.value("payload");
    const QString what = type == "method_return" ? "reply"
        : type == "error"                        ? message.value("error_name").toString()
                                                 : message.value("member").toString();
    const QString text =
        QString("%1 %2 %3").arg(what, payload["type"].toString(), textOf(payload["data"]));
    return text.trimmed();
}

const PrivateBus &afterAllIsSent(const PrivateBus &bus, const Simulator &simulator)
{
    waitUntilAllIsSent(simulator);
    return bus;
}

} // namespace

ServiceMonitor::ServiceMonitor(const PrivateBus &bus, const Simulator &simulator)
    : m_monitor(afterAllIsSent(bus, simulator))
    , m_simulator(simulator)
    , m_service(QDBusConnection::sessionBus().interface()->serviceOwner(OSTREL_SERVICE_NAME))
{
}

QStringList ServiceMonitor::textsUntil(const QString &signal)
{
    const QVector<QJsonObject> messages =
        m_monitor.messagesUntil([this, &signal](const QJsonObject &message) {
            return message.value("sender") == m_service && message.value("type") == "signal"
                && message.value("member") == signal;
        });
    QStringList texts;
    for (const QJsonObject &message : messages) {
        const QJsonValue destination = message.value("destination");
        if (message.value("sender") == m_service
            && (message.value("type") == "signal"
                || destination == QDBusConnection::sessionBus().baseService())) {
            texts.append(textOf(message));
        }
    }
    return texts;
}

QStringList ServiceMonitor::texts()
{
    m_simulator.desk(
        "Emit",
        {QVariant::fromValue(QDBusObjectPath("/marker")), "marker.Marker", marker, QVariantList()});
    QStringList texts = textsUntil(marker);
    texts.removeLast();
    return texts;
}
