// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_CONTROL_CLIENT_H
#define OSTRELCTL_CONTROL_CLIENT_H

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>

// Comes before the first client: until the event loop has run once, a bus that goes away is not
// noticed.
struct SessionBus
{
    SessionBus()
    {
        QDBusConnection::sessionBus();
        QCoreApplication::processEvents();
    }
};

// A Control whose blocking calls end when the bus goes away.
class ControlClient : private SessionBus,
                      public Ostrel::Control // clazy:exclude=missing-qobject-macro
{
};

#endif
