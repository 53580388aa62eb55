// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "calls_monitor.h"

#include "message_values.h"

#include "DBus/names_p.h"

#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>

#include <array>
#include <dbus/dbus.h>
#include <memory>

namespace
{

struct Unreference
{
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
};

using MessagePointer = std::unique_ptr<DBusMessage, Unreference>;

class BusError
{
public:
    BusError() { dbus_error_init(&m_error); }
    ~BusError() { dbus_error_free(&m_error); }

    DBusError *get() { return &m_error; }
    Failure failure() const
    {
        return Failure(dbus_error_is_set(&m_error) != 0 ? QString::fromUtf8(m_error.message)
                                                        : QStringLiteral("out of memory"));
    }

private:
    Q_DISABLE_COPY(BusError)

    DBusError m_error;
};

// What the monitor sees. The bus itself replies for a service that is absent or has ended.
constexpr std::array rules{
    "type='method_call',destination='" OSTREL_SERVICE_NAME "'",
    "type='method_return',sender='" OSTREL_SERVICE_NAME "'",
    "type='error',sender='" OSTREL_SERVICE_NAME "'",
    "type='error',sender='org.freedesktop.DBus'",
    "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
    "member='NameOwnerChanged'",
};

MessagePointer becomeMonitor()
{
    MessagePointer call(
        dbus_message_new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus.Monitoring", "BecomeMonitor"));
    if (call == nullptr) {
        return call;
    }
    DBusMessageIter arguments;
    DBusMessageIter list;
    dbus_uint32_t flags = 0;
    dbus_message_iter_init_append(call.get(), &arguments);
    bool isWritten = dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &list) != 0;
    for (const char *rule : rules) {
        isWritten =
            isWritten && dbus_message_iter_append_basic(&list, DBUS_TYPE_STRING, &rule) != 0;
    }
    isWritten = isWritten && dbus_message_iter_close_container(&arguments, &list) != 0
        && dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UINT32, &flags) != 0;
    return isWritten ? std::move(call) : nullptr;
}

// The first argument, if it is a string.
QString firstString(DBusMessage *message)
{
    DBusMessageIter arguments;
    if (dbus_message_iter_init(message, &arguments) == 0
        || dbus_message_iter_get_arg_type(&arguments) != DBUS_TYPE_STRING) {
        return {};
    }
    const char *text = nullptr;
    dbus_message_iter_get_basic(&arguments, &text);
    return QString::fromUtf8(text);
}

BusMessage toMessage(DBusMessage *message)
{
    BusMessage converted;
    converted.serial = dbus_message_get_serial(message);
    converted.replySerial = dbus_message_get_reply_serial(message);
    converted.expectsReply = dbus_message_get_no_reply(message) == 0;
    converted.sender = QString::fromUtf8(dbus_message_get_sender(message));
    converted.destination = QString::fromUtf8(dbus_message_get_destination(message));
    converted.path = QString::fromUtf8(dbus_message_get_path(message));
    converted.interface = QString::fromUtf8(dbus_message_get_interface(message));
    converted.member = QString::fromUtf8(dbus_message_get_member(message));
    converted.errorName = QString::fromUtf8(dbus_message_get_error_name(message));
    converted.signature = QString::fromUtf8(dbus_message_get_signature(message));
    converted.values = valuesOf(message);
    return converted;
}

} // namespace

CallsMonitor::~CallsMonitor()
{
    if (m_connection != nullptr) {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }
}

Result<> CallsMonitor::open()
{
    BusError error;
    m_connection = dbus_bus_get_private(DBUS_BUS_SESSION, error.get());
    if (m_connection == nullptr) {
        return error.failure();
    }
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    const MessagePointer call = becomeMonitor();
    if (call == nullptr) {
        return error.failure();
    }
    const MessagePointer reply(dbus_connection_send_with_reply_and_block(
        m_connection, call.get(), DBUS_TIMEOUT_USE_DEFAULT, error.get()));
    int socket = -1;
    if (reply == nullptr || dbus_connection_get_socket(m_connection, &socket) == 0) {
        return error.failure();
    }
    auto *notifier = new QSocketNotifier(socket, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &CallsMonitor::read);
    // What came together with the reply has been read from the socket already.
    QTimer::singleShot(0, this, &CallsMonitor::read);
    return {};
}

void CallsMonitor::catchUp()
{
    if (m_connection != nullptr && dbus_connection_get_is_connected(m_connection) != 0) {
        read();
    }
}

void CallsMonitor::read()
{
    dbus_connection_read_write(m_connection, 0);
    while (const MessagePointer message{dbus_connection_pop_message(m_connection)}) {
        handle(message.get());
    }
    if (dbus_connection_get_is_connected(m_connection) == 0) {
        findChild<QSocketNotifier *>()->setEnabled(false);
        Q_EMIT lost();
    }
}

void CallsMonitor::handle(DBusMessage *message)
{
    BusMessage converted = toMessage(message);
    switch (dbus_message_get_type(message)) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        converted.type = BusMessage::Call;
        // dbus-broker also passes on the calls to the bus itself.
        if (isForService(converted)) {
            converted.text = firstString(message);
            Q_EMIT called(converted);
        }
        break;
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
        converted.type = BusMessage::Reply;
        converted.text = firstString(message);
        Q_EMIT replied(converted);
        break;
    case DBUS_MESSAGE_TYPE_ERROR:
        converted.type = BusMessage::Error;
        Q_EMIT replied(converted);
        break;
    default:
        const char *name = nullptr;
        const char *before = nullptr;
        const char *after = nullptr;
        const bool isRead =
            dbus_message_is_signal(message, "org.freedesktop.DBus", "NameOwnerChanged") != 0
            && dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                                     &before, DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID)
                != 0;
        if (isRead && *name == ':' && *after == '\0') {
            Q_EMIT left(QString::fromUtf8(name));
        }
    }
}
