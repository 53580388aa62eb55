// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/process_end_p.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace Ostrel
{

namespace
{

std::atomic<bool> begun = false;

// Never destroyed: static objects of the host may make requests after the sentinel has gone.
std::shared_mutex &mutex()
{
    static auto *const forever = new std::shared_mutex;
    return *forever;
}

struct Sentinel
{
    ~Sentinel()
    {
        const std::unique_lock<std::shared_mutex> waitForDelays(mutex());
        begun = true;
    }
};

} // namespace

void ProcessEnd::watch()
{
    static const Sentinel sentinel;
}

bool ProcessEnd::hasBegun()
{
    return begun;
}

void ProcessEnd::keep(const void *call)
{
    static auto *const calls = new std::vector<const void *>;
    const std::unique_lock<std::shared_mutex> lock(mutex());
    calls->push_back(call);
}

ProcessEnd::Delay::Delay()
    : m_lock(mutex())
{
    watch();
}

} // namespace Ostrel
