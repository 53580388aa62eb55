// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_TASK_COMMANDS_H
#define OSTRELCTL_TASK_COMMANDS_H

#include "command.h"
#include "command_line.h"

#include <Ostrel/TaskInvoker>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <functional>
#include <optional>

// The sub-commands of 'task'.
Command taskListCommand();
Command taskStartCommand();
Command taskStopCommand();
Command taskWatchCommand();

// The command line of a sub-command of 'task'. It begins with the task's type, and has an option
// for the bus.
class TaskLine : public CommandLine
{
public:
    // json: what --json prints, if it is not the result.
    TaskLine(const QString &command, const QString &description,
             const std::optional<QString> &json = std::nullopt);

    Ostrel::TaskInvoker::BusType bus() const;
    QString type() const { return positional(0); }

    // Prints the outcome of an operation on this bus, and returns the exit status.
    int conclude(const Ostrel::Error &error, const QJsonObject &result = {},
                 const QString &text = QString()) const;
};

// Registers the type, and calls the function with the invoker. Runs the event loop until the
// function ends it, or the registration fails, which is reported. Returns the exit status.
int withInvoker(const TaskLine &line, const std::function<void(Ostrel::TaskInvoker &)> &carryOn);

QJsonArray toJson(const QVector<Ostrel::AvailableTask> &tasks);
QJsonArray toJson(const QVector<Ostrel::ActiveTask> &tasks);

#endif
