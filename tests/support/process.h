// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PROCESS_H
#define TESTS_PROCESS_H

#include "waiting.h"

#include <QtCore/QProcess>

// A child process that ends with the test, however the test ends.
class Process : public QProcess
{
    Q_OBJECT

public:
    Process(const QString &program, const QStringList &arguments);
    ~Process() override;

    // Waits for a whole line on standard output. Returns it without its newline.
    QString readLine();

    // Ends the process with SIGTERM, and returns its exit status as waitForEnd() does.
    int end();

    // Waits until the process has ended. Returns its exit status, or -1 if a signal ended it.
    int waitForEnd();

protected:
    void setupChildProcess() override;
};

struct Result
{
    int exitStatus = -1;
    QString output;
    QString errors;
};

// Runs a program to its end.
Result run(const QString &program, const QStringList &arguments,
           const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

#endif
