// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_CALLS_MONITOR_H
#define TOOLS_CALLS_MONITOR_H

#include "bus_message.h"
#include "result.h"

#include <QtCore/QObject>

struct DBusConnection;
struct DBusMessage;

// Sees all calls to the service on the session bus, their replies, and which connections leave the
// bus. It has a connection of its own, since a monitor must not send anything. QtDBus would reply
// to what it sees, and be thrown off the bus.
class CallsMonitor : public QObject
{
    Q_OBJECT

public:
    CallsMonitor() = default;
    ~CallsMonitor() override;

    // Blocks until the bus has replied. Fails without the right to monitor.
    Result<> open();

    // Emits the signals for what has come already.
    void catchUp();

Q_SIGNALS:
    // Emitted from the event loop.
    void called(const BusMessage &message);
    void replied(const BusMessage &message);
    void left(const QString &connection);
    void lost();

private:
    Q_DISABLE_COPY(CallsMonitor)

    void read();
    void handle(DBusMessage *message);

    DBusConnection *m_connection = nullptr;
};

#endif
