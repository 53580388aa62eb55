// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_CHILD_H
#define SIMULATOR_CHILD_H

#include "programs/launch.h"

#include <QtCore/QProcess>

#include <array>
#include <chrono>
#include <functional>

// A program that the simulator runs, in a process group of its own. It dies with the simulator, and
// its descendants die with it.
class Child : public QProcess
{
    Q_OBJECT

public:
    Child(const Launch &launch, std::chrono::milliseconds killAfter, QObject *parent);
    ~Child() override;

    // Creates the process, calls the function, and then executes the program. Emits started() or
    // failed() later.
    void run(const std::function<void(int pid)> &prepare);

    // The same number after the end.
    int pid() const { return m_pid; }

    // Sends SIGTERM, and SIGKILL if the program does not end in time.
    void end();

    // Sends SIGKILL.
    void killAll();

    // How the program ended: ending() is its exit status, or the signal that killed it.
    bool wasKilled() const { return exitStatus() == CrashExit; }
    int ending() const { return exitCode(); }

Q_SIGNALS:
    // The program cannot be started.
    void failed(const QString &reason);

    // After started(): the program has ended.
    void ended();

    // After failed() or ended().
    void gone();

protected:
    void setupChildProcess() override;

private:
    Q_DISABLE_COPY(Child)

    void onError(QProcess::ProcessError error);
    void onFinished();
    void fail(const QString &reason);
    void sendToGroup(int signal) const;

    Launch m_launch;
    std::chrono::milliseconds m_killAfter;
    int m_simulator;
    int m_pid = 0;
    // The new process waits at this pipe until everything is prepared.
    std::array<int, 2> m_gate{-1, -1};
};

#endif
