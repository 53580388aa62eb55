// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "scripted_service.h"

#include "require.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/PrivateBus>

ScriptedService::ScriptedService()
{
    // Never destroyed, as the thread. The kernel ends the bus with the process.
    static auto *bus = new Ostrel::Testing::PrivateBus;
    m_address = bus->address().toStdString();
    takeName();
    // The thread lives as long as the process: the fuzzer exits without destroying anything.
    m_thread = std::thread([this] { serve(); });
    m_thread.detach();
}

void ScriptedService::takeName()
{
    dbus_threads_init_default();
    m_connection = dbus_connection_open_private(m_address.c_str(), nullptr);
    require(m_connection != nullptr && dbus_bus_register(m_connection, nullptr) != 0,
            "the service reaches the bus");
    dbus_connection_set_exit_on_disconnect(m_connection, 0);
    require(dbus_bus_request_name(m_connection, OSTREL_SERVICE_NAME, 0, nullptr)
                == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER,
            "the service gets its name");
}

void ScriptedService::setScript(const Script &script)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_script = script;
}

void ScriptedService::serve()
{
    while (dbus_connection_read_write(m_connection, -1) != 0) {
        while (const MessagePointer message{dbus_connection_pop_message(m_connection)}) {
            if (dbus_message_get_type(message.get()) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
                continue;
            }
            const std::lock_guard<std::mutex> lock(m_mutex);
            for (const MessagePointer &answer : m_script(message.get())) {
                dbus_connection_send(m_connection, answer.get(), nullptr);
            }
            dbus_connection_flush(m_connection);
        }
    }
}
