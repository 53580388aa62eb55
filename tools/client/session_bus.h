// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_SESSION_BUS_H
#define TOOLS_SESSION_BUS_H

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>

// Comes before the first client: until the event loop has run once, a bus that ends is not noticed.
struct SessionBus
{
    SessionBus()
    {
        QDBusConnection::sessionBus();
        QCoreApplication::processEvents();
    }
};

#endif
