// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "advice.h"

#include "bus_advice.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusReply>

namespace
{

template <typename Answer>
QDBusReply<Answer> ask(const QDBusConnection &bus, const QString &method,
                       const QVariantList &arguments = {})
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), method);
    question.setArguments(arguments);
    return bus.call(question, QDBus::Block, patience);
}

// Nobody owns the service's name, and the bus cannot activate it.
bool isServiceAbsent(const QDBusConnection &bus)
{
    const QString service = QStringLiteral(OSTREL_SERVICE_NAME);
    const auto owned = ask<bool>(bus, QStringLiteral("NameHasOwner"), {service});
    if (!owned.isValid() || owned.value()) {
        return false;
    }
    const auto activatable = ask<QStringList>(bus, QStringLiteral("ListActivatableNames"));
    return activatable.isValid() && !activatable.value().contains(service);
}

} // namespace

QString adviceOn(const Ostrel::Error &error, QDBusConnection::BusType busType)
{
    if (error.code() != Ostrel::Error::Failed) {
        return {};
    }
    const bool isSystemBus = busType == QDBusConnection::SystemBus;
    const QDBusConnection bus =
        isSystemBus ? QDBusConnection::systemBus() : QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return adviceOnMissingBus(busType);
    }
    if (isServiceAbsent(bus)) {
        return adviceOnMissingService(busType);
    }
    return {};
}
