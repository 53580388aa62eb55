// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/child.h"

#include <QtCore/QTimer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

Child::Child(const Launch &launch, std::chrono::milliseconds killAfter, QObject *parent)
    : QProcess(parent)
    , m_launch(launch)
    , m_killAfter(killAfter)
    , m_simulator(getpid())
{
    setProgram(launch.program);
    setArguments(launch.arguments);
    setProcessEnvironment(launch.environment);
    setStandardInputFile(nullDevice());
    setProcessChannelMode(ForwardedChannels);
    connect(this, &QProcess::errorOccurred, this, &Child::onError);
    connect(this, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &Child::onFinished);
}

Child::~Child() = default;

void Child::run(const std::function<void(int)> &prepare)
{
    if (pipe2(m_gate.data(), O_CLOEXEC) != 0) {
        fail(qt_error_string(errno));
        return;
    }
    start(QIODevice::ReadOnly);
    m_pid = static_cast<int>(processId());
    if (m_pid != 0) {
        setpgid(m_pid, m_pid);
        prepare(m_pid);
    }
    for (const int end : m_gate) {
        ::close(end);
    }
    m_launch = {}; // the files are the program's now
}

void Child::end()
{
    sendToGroup(SIGTERM);
    QTimer::singleShot(m_killAfter, Qt::PreciseTimer, this, &Child::killAll);
}

void Child::killAll()
{
    sendToGroup(SIGKILL);
}

// Runs in the new process, which shares nothing but its descriptors with the simulator any more: as
// in a signal handler, little else than system calls may be made.
void Child::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != m_simulator) {
        _exit(EXIT_FAILURE); // it has ended before the line above
    }
    if (m_launch.standardOutput != nullptr) {
        dup2(m_launch.standardOutput->handle(), STDOUT_FILENO);
    }
    if (m_launch.standardError != nullptr) {
        dup2(m_launch.standardError->handle(), STDERR_FILENO);
    }
    // The other end is closed when everything is prepared.
    ::close(m_gate[1]);
    char byte = 0;
    while (::read(m_gate[0], &byte, 1) < 0 && errno == EINTR) { }
}

void Child::onError(QProcess::ProcessError error)
{
    if (error == FailedToStart) {
        // Qt's message begins with the name of the system call.
        fail(errorString().section(QStringLiteral(": "), -1));
    }
}

void Child::onFinished()
{
    // The number of a process group is not used again while the group has members.
    sendToGroup(SIGKILL);
    Q_EMIT ended();
    Q_EMIT gone();
}

void Child::fail(const QString &reason)
{
    // The system may refuse a new process at once.
    QTimer::singleShot(0, this, [this, reason] {
        Q_EMIT failed(reason);
        Q_EMIT gone();
    });
}

void Child::sendToGroup(int signal) const
{
    if (m_pid != 0) {
        ::kill(-m_pid, signal);
    }
}
