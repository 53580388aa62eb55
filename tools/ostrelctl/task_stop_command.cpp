// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "report.h"
#include "task_commands.h"

#include <QtCore/QCoreApplication>

namespace
{

int run(const QStringList &arguments)
{
    TaskLine line(QStringLiteral("stop"), QStringLiteral("Stops a task."));
    line.addPositional(QStringLiteral("NAME"), QStringLiteral("Names the task."));
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const bool json = line.wantsJson();
    const QString name = line.positional(1);
    return withInvoker(line, [json, name](Ostrel::TaskInvoker &invoker) {
        invoker.stop(name, [json](const Ostrel::Error &error) {
            QCoreApplication::exit(conclude(error, json, {}));
        });
    });
}

} // namespace

Command taskStopCommand()
{
    return {QStringLiteral("stop"), QStringLiteral("Stop a task"), run};
}
