// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "report.h"
#include "task_commands.h"

#include <QtCore/QCoreApplication>

namespace
{

int runTaskStop(const QStringList &arguments)
{
    TaskLine line(QStringLiteral("stop"), QStringLiteral("Stops a task."));
    line.addTimeoutOption();
    line.addPositional(QStringLiteral("NAME"), QStringLiteral("Names the task."));
    return line.run(arguments, [&line]() -> Result<int> {
        const auto timeout = line.timeout();
        if (!timeout) {
            return Failure(timeout.error());
        }
        return withInvoker(line, [&line, &timeout](Ostrel::TaskInvoker &invoker) {
            invoker.setTimeout(*timeout);
            invoker.stop(line.positional(1), [&line](const Ostrel::Error &error) {
                QCoreApplication::exit(line.conclude(error));
            });
        });
    });
}

} // namespace

Command taskStopCommand()
{
    return {QStringLiteral("stop"), QStringLiteral("Stop a task"), runTaskStop};
}
