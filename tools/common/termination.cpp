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

void onSignal(int /*number*/)
{
    // It may come between a call of the C library and the look at what went wrong in it.
    const int error = errno;
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

    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &Termination::requested);

    handleSignals(onSignal);
}

Termination::~Termination()
{
    handleSignals(SIG_DFL);
    close(m_readEnd);
    close(writeEnd);
}
