// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_PEER_H
#define TESTS_FUZZ_PEER_H

#include "wire_message.h"

#include <QtCore/QEventLoop>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusServer>
#include <QtDBus/QDBusVirtualObject>

#include <optional>

// A connection of this process with itself, over a socket and without a bus. One end is libdbus,
// the other is Qt. Messages cross it as they cross a bus.
class Peer : public QDBusVirtualObject
{
public:
    Peer();
    ~Peer() override;

    // Sends a method call, which wants no reply, from libdbus to Qt. Returns it as it arrives.
    QDBusMessage toQt(DBusMessage *message);

    // Sends a message from Qt to libdbus. Returns it as it arrives.
    MessagePointer fromQt(const QDBusMessage &message);

private:
    Q_DISABLE_COPY(Peer)

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    void awaitDispatch();
    void send(DBusMessage *message);

    QDBusServer m_server;
    std::optional<QDBusConnection> m_qt;
    DBusConnection *m_libdbus;
    QEventLoop m_loop;
    QDBusMessage m_received;
    int m_receivedCount = 0;
};

#endif
