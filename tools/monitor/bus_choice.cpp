// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_choice.h"

#include "bus_advice.h"

#include "DBus/names_p.h"

#include <QtCore/QCoreApplication>

namespace
{

QString translated(const char *text)
{
    return QCoreApplication::translate("BusChoice", text);
}

} // namespace

BusChoice::BusChoice(const QString &name)
    : m_name(name)
{
}

void BusChoice::apply() const
{
    constexpr const char *variable = "DBUS_SESSION_BUS_ADDRESS";
    if (m_name == QLatin1String("system")) {
        const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        // Where libdbus looks without that variable.
        qputenv(variable,
                address.isEmpty() ? QByteArrayLiteral("unix:path=/var/run/dbus/system_bus_socket")
                                  : address);
    } else if (m_name != QLatin1String("session")) {
        qputenv(variable, m_name.toLocal8Bit());
    }
}

QString BusChoice::label() const
{
    return m_name == QLatin1String("session") ? translated("the session bus")
        : m_name == QLatin1String("system")   ? translated("the system bus")
                                              : translated("the bus at %1").arg(m_name);
}

QString BusChoice::adviceOnMissingBus() const
{
    return m_name == QLatin1String("session") ? ::adviceOnMissingBus(QDBusConnection::SessionBus)
        : m_name == QLatin1String("system")   ? ::adviceOnMissingBus(QDBusConnection::SystemBus)
                                              : translated("nothing accepts connections there");
}

QString BusChoice::adviceOnMissingService() const
{
    return m_name == QLatin1String("session")
        ? ::adviceOnMissingService(QDBusConnection::SessionBus)
        : m_name == QLatin1String("system")
        ? ::adviceOnMissingService(QDBusConnection::SystemBus)
        : translated("no service owns the name %1 there; at a desk, start its stand-in: "
                     "ostrel-simulator --address %2 &")
              .arg(QStringLiteral(OSTREL_SERVICE_NAME), m_name);
}
