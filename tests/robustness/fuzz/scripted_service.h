// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FUZZ_SCRIPTED_SERVICE_H
#define TESTS_FUZZ_SCRIPTED_SERVICE_H

#include "wire_message.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Returns the messages that the service sends for a call, the answer and others, in order.
using Script = std::function<std::vector<MessagePointer>(DBusMessage *call)>;

// Owns the service's name on a bus of this process, in a thread with libdbus. This bus becomes the
// session bus of the process.
class ScriptedService
{
public:
    ScriptedService();

    // Sets what happens to each call from now on.
    void setScript(const Script &script);

private:
    void takeName();
    void serve();

    std::string m_address;
    DBusConnection *m_connection = nullptr;
    std::mutex m_mutex;
    Script m_script;
    std::thread m_thread;
};

#endif
