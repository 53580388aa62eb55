// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "termination.h"

#include <QtCore/QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{

// A signal handler may do little more than write to a file descriptor.
int writeEnd = -1;
volatile std::sig_atomic_t isRequested = 0;
pid_t owner = 0;

void onSignal(int number)
{
    if (getpid() != owner) {
        // A child process that has not begun its program yet shares the handler and the pipe.
        static_cast<void>(std::signal(number, SIG_DFL));
        static_cast<void>(std::raise(number));
        return;
    }
    // The signal may come between a call of the C library and the check of its error.
    const int error = errno;
    isRequested = 1;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, 1);
    errno = error;
}

void handleSignals(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

} // namespace

Termination::Termination(QObject *parent)
    : QObject(parent)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("cannot make a pipe");
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];
    isRequested = 0;
    owner = getpid();

    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &Termination::requested);

    handleSignals(onSignal);
}

bool Termination::wasRequested()
{
    return isRequested != 0;
}

Termination::~Termination()
{
    handleSignals(SIG_DFL);
    close(m_readEnd);
    close(writeEnd);
}
