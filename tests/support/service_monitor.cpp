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
        return parts.join(QLatin1Char(' '));
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            parts.append(QString("%1=%2:%3")
                             .arg(entry.key(), entry.value()[QLatin1String("type")].toString(),
                                  entry.key() == QLatin1String("Pid")
                                      ? "PID"
                                      : textOf(entry.value()[QLatin1String("data")])));
        }
        return QLatin1Char('{') + parts.join(QLatin1Char(' ')) + QLatin1Char('}');
    }
    return value.toVariant().toString();
}

QString textOf(const QJsonObject &message)
{
    const QString type = message.value(QLatin1String("type")).toString();
    const QJsonValue payload = message.value(QLatin1String("payload"));
    const QString what = type == QLatin1String("method_return") ? "reply"
        : type == QLatin1String("error") ? message.value(QLatin1String("error_name")).toString()
                                         : message.value(QLatin1String("member")).toString();
    const QString text = QString("%1 %2 %3")
                             .arg(what, payload[QLatin1String("type")].toString(),
                                  textOf(payload[QLatin1String("data")]));
    return text.trimmed();
}

} // namespace

ServiceMonitor::ServiceMonitor(const PrivateBus &bus, const Simulator &simulator)
    : m_monitor(bus)
    , m_simulator(simulator)
    , m_service(QDBusConnection::sessionBus().interface()->serviceOwner(OSTREL_SERVICE_NAME))
{
}

QStringList ServiceMonitor::textsUntil(const QString &signal)
{
    const QVector<QJsonObject> messages =
        m_monitor.messagesUntil([this, &signal](const QJsonObject &message) {
            return message.value(QLatin1String("sender")) == m_service
                && message.value(QLatin1String("type")) == QLatin1String("signal")
                && message.value(QLatin1String("member")) == signal;
        });
    QStringList texts;
    for (const QJsonObject &message : messages) {
        const QJsonValue destination = message.value(QLatin1String("destination"));
        if (message.value(QLatin1String("sender")) == m_service
            && (message.value(QLatin1String("type")) == QLatin1String("signal")
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
