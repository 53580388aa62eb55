// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_PROCESS_END_P_H
#define OSTREL_DBUS_PROCESS_END_P_H

#include <shared_mutex>

// Keeps this library and QtDBus apart when the process ends. QtDBus deletes the calls that still
// wait for a reply then, although others hold references to them.
namespace Ostrel::ProcessEnd
{

// Notices from now on that the process ends. Static objects are destroyed in reverse order: each
// proxy calls this when QtDBus and the types have been set up, so that it notices before they go.
void watch();

// Whether QtDBus may have deleted the calls that wait for a reply.
bool hasBegun();

// Leaks a call on purpose, where leak checkers still find it.
void keep(const void *call);

// The end of the process waits while one of these exists, so that QtDBus, its types included, stays
// until another thread has waited for a reply and read it.
class Delay
{
public:
    Delay();

    // False if the process ends already, and not by this thread: QtDBus may go at any moment.
    bool isGranted() const { return m_isGranted; }

private:
    std::shared_lock<std::shared_mutex> m_lock;
    bool m_isGranted = true;
};

} // namespace Ostrel::ProcessEnd

#endif
