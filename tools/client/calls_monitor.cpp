// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "calls_monitor.h"

#include "message_values.h"
#include "stamp.h"

#include "DBus/names_p.h"

#include <QtCore/QMutexLocker>
#include <QtCore/QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>
#include <dbus/dbus.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace
{

// What the program has not handled yet. More waits in the bus.
constexpr std::size_t mostEvents = 10'000;
constexpr qint64 mostText = 4'000'000;

// libdbus reads two kilobytes at a time. This is more than a socket holds.
constexpr int enoughReads = 256;

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

// The connection that has left the bus. Null if the message says something else.
QString leaver(DBusMessage *message)
{
    const char *name = nullptr;
    const char *before = nullptr;
    const char *after = nullptr;
    const bool isRead =
        dbus_message_is_signal(message, "org.freedesktop.DBus", "NameOwnerChanged") != 0
        && dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                                 &before, DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID)
            != 0;
    return isRead && *name == ':' && *after == '\0' ? QString::fromUtf8(name) : QString();
}

// Nothing if it is not what the monitor wants to see.
std::optional<BusMessage> toMessage(DBusMessage *message)
{
    BusMessage converted;
    const int type = dbus_message_get_type(message);
    if (type == DBUS_MESSAGE_TYPE_SIGNAL) {
        converted.text = leaver(message);
        return converted.text.isNull() ? std::nullopt : std::optional(converted);
    }
    converted.type = type == DBUS_MESSAGE_TYPE_METHOD_CALL ? BusMessage::Call
        : type == DBUS_MESSAGE_TYPE_METHOD_RETURN          ? BusMessage::Reply
                                                           : BusMessage::Error;
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
    // dbus-broker also passes on the calls to the bus itself.
    if (converted.type == BusMessage::Call && !isForService(converted)) {
        return std::nullopt;
    }
    if (converted.type != BusMessage::Error) {
        converted.text = firstString(message);
    }
    converted.values = valuesOf(message);
    return converted;
}

bool isReadable(int socket)
{
    pollfd entry{socket, POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

} // namespace

CallsMonitor::~CallsMonitor()
{
    m_thread.quit();
    m_thread.wait();
    if (m_connection != nullptr) {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }
    if (m_socket >= 0) {
        ::close(m_socket);
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
    m_socket = fcntl(socket, F_DUPFD_CLOEXEC, 0);
    if (m_socket < 0) {
        return Failure(QString::fromLocal8Bit(std::strerror(errno)));
    }
    m_isConnected = true;
    m_notifier = new QSocketNotifier(m_socket, QSocketNotifier::Read);
    m_notifier->moveToThread(&m_thread);
    connect(m_notifier, &QSocketNotifier::activated, m_notifier, [this] { read(); });
    connect(&m_thread, &QThread::finished, m_notifier, &QObject::deleteLater);
    m_thread.start();
    // What came together with the reply has been read from the socket already.
    const QMutexLocker lock(&m_mutex);
    readSome();
    return {};
}

void CallsMonitor::catchUp()
{
    {
        const QMutexLocker lock(&m_mutex);
        for (int i = 0; i < enoughReads && m_isConnected && isReadable(m_socket); ++i) {
            readSome();
        }
    }
    deliver();
}

// In the thread.
void CallsMonitor::read()
{
    const QMutexLocker lock(&m_mutex);
    readSome();
    m_notifier->setEnabled(m_isConnected && !isFull());
}

bool CallsMonitor::isFull() const
{
    return m_events.size() >= mostEvents || m_textSize >= mostText;
}

void CallsMonitor::readSome()
{
    if (!m_isConnected || isFull()) {
        return;
    }
    const bool wasEmpty = m_events.empty();
    dbus_connection_read_write(m_connection, 0);
    while (!isFull()) {
        const MessagePointer message{dbus_connection_pop_message(m_connection)};
        if (message == nullptr) {
            break;
        }
        const qint64 time = Stamp::now().monotonic;
        if (std::optional<BusMessage> converted = toMessage(message.get())) {
            m_textSize += converted->text.size();
            m_events.push_back({time, *std::move(converted)});
        }
    }
    m_isConnected = dbus_connection_get_is_connected(m_connection) != 0;
    m_isLost = !m_isConnected;
    if (m_isLost || (wasEmpty && !m_events.empty())) {
        QMetaObject::invokeMethod(this, &CallsMonitor::deliver, Qt::QueuedConnection);
    }
}

void CallsMonitor::deliver()
{
    std::vector<Event> events;
    bool isLost = false;
    {
        const QMutexLocker lock(&m_mutex);
        if (isFull()) {
            QMetaObject::invokeMethod(
                m_notifier, [this] { read(); }, Qt::QueuedConnection);
        }
        events.swap(m_events);
        m_textSize = 0;
        isLost = std::exchange(m_isLost, false);
    }
    for (const Event &event : events) {
        switch (event.message.type) {
        case BusMessage::Call:
            Q_EMIT called(event.time, event.message);
            break;
        case BusMessage::Reply:
        case BusMessage::Error:
            Q_EMIT replied(event.time, event.message);
            break;
        case BusMessage::Signal:
            Q_EMIT left(event.time, event.message.text);
        }
    }
    if (isLost) {
        Q_EMIT lost();
    }
}
