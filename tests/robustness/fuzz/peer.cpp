// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "peer.h"

#include "require.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QThread>

Peer::Peer()
    : m_server("unix:dir=" + QDir::tempPath())
    , m_libdbus(dbus_connection_open_private(m_server.address().toUtf8().constData(), nullptr))
{
    require(m_libdbus != nullptr, "the connection opens");
    dbus_connection_set_exit_on_disconnect(m_libdbus, 0);
    connect(&m_server, &QDBusServer::newConnection, this,
            [this](const QDBusConnection &connection) { m_qt = connection; });
    while (!m_qt || dbus_connection_get_is_authenticated(m_libdbus) == 0) {
        require(dbus_connection_read_write(m_libdbus, 1) != 0, "the connection is accepted");
        QCoreApplication::processEvents();
    }
    require(m_qt->registerVirtualObject("/a", this), "the object is registered");
    require(dbus_connection_can_send_type(m_libdbus, DBUS_TYPE_UNIX_FD) != 0,
            "file descriptors can be sent");
    awaitDispatch();
}

Peer::~Peer()
{
    dbus_connection_close(m_libdbus);
    dbus_connection_unref(m_libdbus);
}

// Qt begins to dispatch messages some time after it has announced the connection. A message that
// arrives before waits for the next one.
void Peer::awaitDispatch()
{
    const MessagePointer message(dbus_message_new_method_call(nullptr, "/a", "a.b", "Take"));
    dbus_message_set_no_reply(message.get(), 1);
    int sent = 0;
    while (m_receivedCount == 0) {
        send(message.get());
        ++sent;
        QThread::yieldCurrentThread(); // QtDBus's thread takes it
        QCoreApplication::processEvents();
    }
    while (m_receivedCount < sent) {
        QCoreApplication::processEvents();
    }
}

void Peer::send(DBusMessage *message)
{
    require(dbus_connection_send(m_libdbus, message, nullptr) != 0, "the message is sent");
    dbus_connection_flush(m_libdbus);
}

// If the message is malformed, Qt closes the connection, and this waits until the fuzzer's timeout.
QDBusMessage Peer::toQt(DBusMessage *message)
{
    send(message);
    m_loop.exec();
    return m_received;
}

MessagePointer Peer::fromQt(const QDBusMessage &message)
{
    require(m_qt->send(message), "Qt marshals the message");
    for (;;) {
        MessagePointer received(dbus_connection_pop_message(m_libdbus));
        if (received) {
            require(dbus_message_is_signal(received.get(), DBUS_INTERFACE_LOCAL, "Disconnected")
                        == 0,
                    "the message is well-formed");
            return received;
        }
        dbus_connection_read_write(m_libdbus, -1);
    }
}

QString Peer::introspect(const QString & /*path*/) const
{
    return QString();
}

bool Peer::handleMessage(const QDBusMessage &message, const QDBusConnection & /*connection*/)
{
    m_received = message;
    ++m_receivedCount;
    m_loop.quit();
    return true;
}
