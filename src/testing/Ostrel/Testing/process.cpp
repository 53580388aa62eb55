// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process.h"

#include "end_of_test_p.h"
#include "waiting.h"
#include "waiting_p.h"

#include <QtCore/QDeadlineTimer>

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <unistd.h>

namespace Ostrel::Testing
{

Process::Process(const QString &program, const QStringList &arguments)
    : m_parent(getpid())
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
    if (!m_output.fileName().isEmpty()) {
        return QString::fromUtf8(readLineOfFile()).chopped(1);
    }
    setReadChannel(StandardOutput);
    while (!canReadLine()) {
        if (!waitForReadyRead(waitLimit())) {
            refuseLine();
        }
    }
    return QString::fromUtf8(QProcess::readLine()).chopped(1);
}

QByteArray Process::readAllStandardError()
{
    return m_errors.fileName().isEmpty() ? QProcess::readAllStandardError() : m_errors.readAll();
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
    // A shell has programs in the background ignore it.
    static_cast<void>(::signal(SIGINT, SIG_DFL));
    if (getppid() != m_parent) {
        _exit(EXIT_FAILURE); // It has ended before the line above.
    }
}

void Process::writeToFiles(const QString &folder)
{
    m_output.setFileName(folder + QStringLiteral("/standard-output"));
    m_errors.setFileName(folder + QStringLiteral("/standard-error"));
    for (QFile *file : {&m_output, &m_errors}) {
        // A program of an earlier run may still write to its files, so this run gets new ones.
        file->remove();
        if (!file->open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
            endTest(QStringLiteral("The test cannot write %1: %2.")
                        .arg(file->fileName(), file->errorString()));
        }
    }
    // A program that opens /dev/stderr empties the file. The next writer appends, so that no null
    // bytes precede its line.
    setStandardOutputFile(m_output.fileName(), QIODevice::Append);
    setStandardErrorFile(m_errors.fileName(), QIODevice::Append);
}

QByteArray Process::readLineOfFile()
{
    const QDeadlineTimer deadline(waitLimit());
    QByteArray line;
    while (!line.endsWith('\n')) {
        // Before the read: what the process wrote last is read, too.
        const bool isLast = state() == NotRunning || deadline.hasExpired();
        const QByteArray part = m_output.readLine();
        line += part;
        if (part.isEmpty() && isLast) {
            refuseLine();
        }
        if (part.isEmpty()) {
            waitForFinished(lookPause);
        }
    }
    return line;
}

void Process::refuseLine()
{
    endTest(QStringLiteral("%1 printed no line: %2")
                .arg(program(), QString::fromUtf8(readAllStandardError())));
}

} // namespace Ostrel::Testing
