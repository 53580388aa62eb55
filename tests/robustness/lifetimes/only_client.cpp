// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "only_client.h"

#include "clients.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>

namespace
{

struct UserOfBuses
{
    ~UserOfBuses()
    {
        say(QDBusConnection::sessionBus().isConnected() ? "connected" : "not connected");
        // The program has never used this bus.
        const Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SystemBus, "other");
        say("made");
    }
};

struct SessionInvoker : Ostrel::TaskInvoker // clazy:exclude=missing-qobject-macro
{
    SessionInvoker()
        : TaskInvoker(SessionBus, "sync")
    {
    }
};

template <typename Client> int only(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection::sessionBus();
    // Older than what the first client makes, and so destroyed after it.
    static const UserOfBuses user;
    const Client client;
    return 0;
}

} // namespace

int onlyControl(int &argc, char **argv)
{
    return only<Ostrel::Control>(argc, argv);
}

int onlyInvoker(int &argc, char **argv)
{
    return only<SessionInvoker>(argc, argv);
}

int onlyWindows(int &argc, char **argv)
{
    return only<Ostrel::WindowManagement>(argc, argv);
}
