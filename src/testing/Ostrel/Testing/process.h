// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_PROCESS_H
#define OSTREL_TESTING_PROCESS_H

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

namespace Ostrel::Testing
{

/**
 * A child process that ends with the test, however the test ends.
 *
 * The kernel kills the process when the thread that started it ends, also when a signal ends that
 * thread. Start it in the main thread. Use the object in the thread that made it.
 *
 * It makes no bus calls.
 */
class Process : public QProcess
{
    Q_OBJECT

public:
    /**
     * Constructs a process that has not been started. Call start() without arguments, or set its
     * environment before.
     *
     * @param program    a path, or a name in PATH.
     * @param arguments  the arguments of the program.
     */
    explicit Process(const QString &program, const QStringList &arguments = {});

    /** Ends the process as end() does. */
    ~Process() override;

    /**
     * Waits for a whole line on standard output, without running an event loop.
     *
     * @return the line as UTF-8, without its newline. If none comes within waitLimit(), or the
     *         process ends first, the test ends with what the process wrote to standard error.
     */
    QString readLine();

    /**
     * Returns what the process has written to standard error since the last call. Use it in place
     * of QProcess's function, which knows nothing of the files of a simulator.
     */
    QByteArray readAllStandardError();

    /**
     * Ends the process with SIGTERM, also if it is stopped, and waits as waitForEnd() does.
     *
     * @return as for waitForEnd().
     */
    int end();

    /**
     * Waits until the process has ended, without running an event loop.
     *
     * @return the exit status, or -1 if a signal ended the process. If the process has not ended
     *         within waitLimit(), or could not be started, the test ends with a line that says so.
     */
    int waitForEnd();

protected:
    /** Has the kernel kill the process with its parent. */
    void setupChildProcess() override;

private:
    friend class Simulator;
    // Has the process write to files, which take any amount while nobody reads. A full pipe would
    // stop it.
    void writeToFiles(const QString &folder);
    QByteArray readLineOfFile();
    [[noreturn]] void refuseLine();

    const pid_t m_parent;
    // Without names, the process writes to pipes.
    QFile m_output;
    QFile m_errors;
};

} // namespace Ostrel::Testing

#endif
