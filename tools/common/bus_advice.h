// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_BUS_ADVICE_H
#define TOOLS_BUS_ADVICE_H

#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

// What the user can do if this bus cannot be reached.
QString adviceOnMissingBus(QDBusConnection::BusType bus);

// What the user can do if the service does not run on this bus.
QString adviceOnMissingService(QDBusConnection::BusType bus);

#endif
