// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "connection.h"

#include <QtDBus/QDBusConnection>

namespace
{

// What other programs print after a colon.
QString sentence(QString advice)
{
    if (!advice.isEmpty()) {
        advice[0] = advice.at(0).toUpper();
    }
    return advice;
}

} // namespace

Connection::Connection(const BusChoice &bus)
    : m_bus(bus)
    , m_hadBus(QDBusConnection::sessionBus().isConnected())
{
    connect(&m_control, &Ostrel::Control::serviceAvailableChanged, this, &Connection::stateChanged);
    QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                          QStringLiteral("org.freedesktop.DBus.Local"),
                                          QStringLiteral("Disconnected"), this, SLOT(onBusEnded()));
}

Connection::State Connection::state() const
{
    if (!QDBusConnection::sessionBus().isConnected()) {
        return m_hadBus ? BusEnded : NoBus;
    }
    return m_control.isServiceAvailable() ? Ready : NoService;
}

QString Connection::text() const
{
    switch (state()) {
    case NoBus:
        return tr("There is no bus: %1 cannot be reached.").arg(m_bus.label());
    case BusEnded:
        return tr("The bus has ended: the connection to %1 is lost.").arg(m_bus.label());
    case NoService:
        return tr("The service does not run on %1. The window waits for it.").arg(m_bus.label());
    case Ready:
        break;
    }
    return tr("The service runs on %1.").arg(m_bus.label());
}

QString Connection::advice() const
{
    switch (state()) {
    case NoBus:
        return sentence(m_bus.adviceOnMissingBus());
    case BusEnded:
        return tr("\"Connect again\" starts this window anew when the bus is back");
    case NoService:
        return sentence(m_bus.adviceOnMissingService());
    case Ready:
        break;
    }
    return {};
}

void Connection::onBusEnded()
{
    Q_EMIT stateChanged();
}
