// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PROCESS_HANDLE_H
#define TESTS_PROCESS_HANDLE_H

#include <QtCore/QtGlobal>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

// A process that runs when the handle is made. On a busy machine another process soon gets the
// number of one that has ended.
class ProcessHandle
{
public:
    explicit ProcessHandle(pid_t pid)
        : m_descriptor(int(::syscall(SYS_pidfd_open, pid, 0)))
    {
    }
    ~ProcessHandle() { ::close(m_descriptor); }

    bool exists() const
    {
        // What it polls for is its end, whether or not its parent has noticed.
        pollfd entry{m_descriptor, POLLIN, 0};
        return m_descriptor >= 0 && ::poll(&entry, 1, 0) == 0;
    }

private:
    Q_DISABLE_COPY(ProcessHandle)

    const int m_descriptor;
};

#endif
