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
        if (!waitForReadyRead(patience)) {
            qFatal("%s printed no line: %s", qPrintable(program()),
                   readAllStandardError().constData());
        }
    }
    return QString::fromUtf8(QProcess::readLine()).chopped(1);
}

int Process::end()
{
    if (state() != NotRunning) {
        terminate();
        if (!waitForFinished(patience)) {
            kill();
            waitForFinished(patience);
            return -1;
        }
    }
    return exitStatus() == NormalExit ? exitCode() : -1;
}

void Process::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment, int limit)
{
    Process process(program, arguments);
    process.setProcessEnvironment(environment);
    process.start();
    if (!process.waitForFinished(limit)) {
        qFatal("%s does not end: %s", qPrintable(program), qPrintable(process.errorString()));
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
