// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PROCESS_H
#define TESTS_PROCESS_H

#include <QtCore/QProcess>

// How long a test waits for what must happen, in milliseconds. Nothing waits this long unless it
// fails.
constexpr int patience = 20000;

// A child process that does not outlive the test, however the test ends.
class Process : public QProcess
{
    Q_OBJECT

public:
    Process(const QString &program, const QStringList &arguments);
    ~Process() override;

    // Waits for a whole line on standard output, and returns it without its end.
    QString readLine();

    // Ends the process with SIGTERM, or SIGKILL if that has no effect. The result is its exit
    // status, or -1 if it did not end by itself.
    int end();

protected:
    void setupChildProcess() override;
};

struct Result
{
    int exitStatus = -1;
    QString output;
    QString errors;
};

// Runs a program to its end, which has to come within the limit, in milliseconds.
Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
           int limit = 3 * patience);

#endif
