// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "events.h"
#include "report.h"
#include "task_commands.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <cstdio>

namespace
{

using Ostrel::TaskInvoker;

QString orNone(const QStringList &names)
{
    return names.isEmpty() ? QStringLiteral("-") : names.join(QLatin1Char(' '));
}

void printActive(const TaskInvoker &invoker, bool asJson)
{
    QStringList names;
    for (const Ostrel::ActiveTask &task : invoker.activeTasks()) {
        names.append(QStringLiteral("%1(%2)").arg(task.name).arg(task.pid));
    }
    printEvent(asJson, QStringLiteral("activeTasks"),
               {{QStringLiteral("tasks"), toJson(invoker.activeTasks())}}, orNone(names));
}

void printAvailable(const TaskInvoker &invoker, bool asJson)
{
    QStringList names;
    for (const Ostrel::AvailableTask &task : invoker.availableTasks()) {
        names.append(task.name);
    }
    printEvent(asJson, QStringLiteral("availableTasks"),
               {{QStringLiteral("tasks"), toJson(invoker.availableTasks())}}, orNone(names));
}

int run(const QStringList &arguments)
{
    TaskLine line(
        QStringLiteral("watch"),
        QStringLiteral("Prints the lists of a type's tasks whenever the service announces "
                       "one, with the\ntime, until Ctrl-C."),
        QStringLiteral("each list as a JSON object on a line"));
    return line.run(arguments, [&line]() -> Result<int> {
        const bool json = line.wantsJson();
        TaskInvoker invoker(line.bus(), line.type());
        QObject::connect(&invoker, &TaskInvoker::activeTasksChanged, QCoreApplication::instance(),
                         [&invoker, json] { printActive(invoker, json); });
        QObject::connect(&invoker, &TaskInvoker::availableTasksChanged,
                         QCoreApplication::instance(),
                         [&invoker, json] { printAvailable(invoker, json); });
        const UntilInterrupted untilInterrupted(line.bus() == TaskInvoker::SystemBus
                                                    ? QDBusConnection::systemBus()
                                                    : QDBusConnection::sessionBus());
        invoker.onReady([&line](const Ostrel::Error &error) {
            if (error) {
                QCoreApplication::exit(line.conclude(error));
            } else {
                QTextStream(stderr)
                    << "watching the tasks of " << line.type() << "; Ctrl-C ends it\n";
            }
        });
        return QCoreApplication::exec();
    });
}

} // namespace

Command taskWatchCommand()
{
    return {QStringLiteral("watch"), QStringLiteral("Follow the tasks of a type"), run};
}
