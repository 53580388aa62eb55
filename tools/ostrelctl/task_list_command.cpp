// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "json.h"
#include "report.h"
#include "table.h"
#include "task_commands.h"

#include <QtCore/QCoreApplication>

namespace
{

void printTable(const Ostrel::TaskInvoker &invoker)
{
    QVector<QStringList> rows;
    for (const Ostrel::AvailableTask &task : invoker.availableTasks()) {
        rows.append({task.name, QStringLiteral("available"), QStringLiteral("-"),
                     propertiesText(task.properties)});
    }
    for (const Ostrel::ActiveTask &task : invoker.activeTasks()) {
        rows.append({task.name, QStringLiteral("active"), QString::number(task.pid),
                     propertiesText(task.properties)});
    }
    printTable({QStringLiteral("TASK"), QStringLiteral("STATUS"), QStringLiteral("PID"),
                QStringLiteral("PROPERTIES")},
               rows, 1);
}

int runTaskList(const QStringList &arguments)
{
    TaskLine line(QStringLiteral("list"),
                  QStringLiteral("Lists the tasks of a type: those that can be started, and those "
                                 "that are active."));
    return line.run(arguments, [&line]() -> Result<int> {
        const bool json = line.wantsJson();
        return withInvoker(line, [json](const Ostrel::TaskInvoker &invoker) {
            if (json) {
                printJson({{QStringLiteral("availableTasks"), toJson(invoker.availableTasks())},
                           {QStringLiteral("activeTasks"), toJson(invoker.activeTasks())}});
            } else {
                printTable(invoker);
            }
            QCoreApplication::exit(Success);
        });
    });
}

} // namespace

Command taskListCommand()
{
    return {QStringLiteral("list"), QStringLiteral("List the tasks of a type"), runTaskList};
}
