// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_CALLS_MONITOR_H
#define TOOLS_CALLS_MONITOR_H

#include "bus_message.h"
#include "result.h"

#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QThread>

#include <vector>

class QSocketNotifier;
struct DBusConnection;

// Sees all calls to the service on the session bus, their replies, and which connections leave the
// bus. It has a connection of its own, since a monitor must not send anything. QtDBus would reply
// to what it sees, and be thrown off the bus.
//
// A thread reads the connection, so that the times are right when the program is busy.
class CallsMonitor : public QObject
{
    Q_OBJECT

public:
    CallsMonitor() = default;
    ~CallsMonitor() override;

    // Blocks until the bus has replied. Fails without the right to monitor.
    Result<> open();

    // Emits the signals for what has come until now.
    void catchUp();

Q_SIGNALS:
    // Emitted from the event loop.
    // time: when the message was read from the bus, in microseconds of the monotonic clock.
    void called(qint64 time, const BusMessage &message);
    void replied(qint64 time, const BusMessage &message);
    void left(qint64 time, const QString &connection);
    void lost();

private:
    Q_DISABLE_COPY(CallsMonitor)

    struct Event
    {
        qint64 time = 0;
        // A signal says in its text which connection has left the bus.
        BusMessage message;
    };

    void read();
    void readSome();
    void deliver();
    bool isFull() const;

    DBusConnection *m_connection = nullptr;
    // A duplicate: the connection closes its own when the bus ends.
    int m_socket = -1;
    QSocketNotifier *m_notifier = nullptr;
    QThread m_thread;

    // Guards the connection, too.
    QMutex m_mutex;
    std::vector<Event> m_events;
    qint64 m_textSize = 0;
    bool m_isConnected = false;
    bool m_isLost = false;
};

#endif
