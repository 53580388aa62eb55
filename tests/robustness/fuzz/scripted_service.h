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

// What the service does with a call: makes messages, the answer and others, in the order in which
// they are to be sent.
using Script = std::function<std::vector<MessagePointer>(DBusMessage *call)>;

// The service's place on a bus of the process's own, taken by a thread with libdbus. The session
// bus of this process is that bus from then on.
class ScriptedService
{
public:
    ScriptedService();

    // What happens to each call from now on.
    void setScript(const Script &script);

private:
    void startBus();
    void takeName();
    void serve();

    std::string m_address;
    DBusConnection *m_connection = nullptr;
    std::mutex m_mutex;
    Script m_script;
    std::thread m_thread;
};

#endif
