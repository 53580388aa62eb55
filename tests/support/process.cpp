// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process.h"

#include <csignal>
#include <sys/prctl.h>

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
        if (!waitForReadyRead(forever)) {
            qFatal("%s printed no line: %s", qPrintable(program()),
                   readAllStandardError().constData());
        }
    }
    return QString::fromUtf8(QProcess::readLine()).chopped(1);
}

int Process::end()
{
    if (state() != NotRunning) {
        // A stopped process ends only after it continues. Later, this could take away the signal
        // with which the leak check stops a process that ends.
        ::kill(pid_t(processId()), SIGCONT);
        terminate();
    }
    return waitForEnd();
}

int Process::waitForEnd()
{
    if (state() != NotRunning) {
        waitForFinished(forever);
    }
    if (error() == FailedToStart) {
        qFatal("%s does not start: %s", qPrintable(program()), qPrintable(errorString()));
    }
    return exitStatus() == NormalExit ? exitCode() : -1;
}

void Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment)
{
    Process process(program, arguments);
    process.setProcessEnvironment(environment);
    process.start();
    const int exitStatus = process.waitForEnd();
    return {exitStatus, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
