// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_COMMAND_H
#define OSTRELCTL_COMMAND_H

#include <QtCore/QStringList>

// The exit statuses of all commands. After bad usage it is that of reportBadUsage().
enum ExitStatus {
    Success = 0,
    OperationFailed = 1,
};

// A command. Each has its own file, is declared here, and is listed in main.cpp.
struct Command
{
    QString name;
    QString summary;
    // Runs the command with the arguments after its name, and returns the exit status.
    int (*run)(const QStringList &arguments);
};

Command debugCommand();
Command psCommand();
Command startCommand();
Command taskCommand();
Command terminateCommand();
Command traceCommand();
Command waitCommand();
Command watchCommand();
Command whichCommand();
Command windowCommand();

#endif
