// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process.h"

#include "end_of_test_p.h"
#include "waiting.h"

#include <csignal>
#include <sys/prctl.h>

namespace Ostrel::Testing
{

Process::Process(const QString &program, const QStringList &arguments)
{
    setProgram(program);
    setArguments(arguments);
}

Process::~Process()
{
    end();
}

QString Process::readLine()
{
    setReadChannel(StandardOutput);
    while (!canReadLine()) {
        if (!waitForReadyRead(waitLimit())) {
            endTest(QStringLiteral("%1 printed no line: %2")
                        .arg(program(), QString::fromUtf8(readAllStandardError())));
        }
    }
    return QString::fromUtf8(QProcess::readLine()).chopped(1);
}

int Process::end()
{
    if (state() != NotRunning) {
        // A stopped process ends only after it continues. Later, this could take away the signal
        // with which the leak check stops a process that ends.
        ::kill(static_cast<pid_t>(processId()), SIGCONT);
        terminate();
    }
    return waitForEnd();
}

int Process::waitForEnd()
{
    if (state() != NotRunning && !waitForFinished(waitLimit()) && state() != NotRunning) {
        endTest(QStringLiteral("%1 does not end").arg(program()));
    }
    if (error() == FailedToStart) {
        endTest(QStringLiteral("%1 does not start: %2").arg(program(), errorString()));
    }
    return exitStatus() == NormalExit ? exitCode() : -1;
}

void Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

} // namespace Ostrel::Testing
