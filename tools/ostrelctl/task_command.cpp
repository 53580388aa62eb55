// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "task_commands.h"

#include "json.h"
#include "report.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <cstdio>

namespace
{

int runTask(const QStringList &arguments)
{
    const std::array commands{taskListCommand(), taskStartCommand(), taskStopCommand(),
                              taskWatchCommand()};
    const QString program = QStringLiteral("ostrelctl task");
    if (arguments.isEmpty()) {
        return reportBadUsage(program, QStringLiteral("a command is missing"));
    }
    const QString &name = arguments.constFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        QTextStream out(stdout);
        out << "Usage: ostrelctl task COMMAND ...\n"
               "Registers as the invoker of a task type, and lists, starts, stops or follows its "
               "tasks.\n\nCommands:\n";
        for (const Command &command : commands) {
            out << QStringLiteral("  %1  %2\n").arg(command.name, -12).arg(command.summary);
        }
        out << "\n'ostrelctl task COMMAND --help' prints its options.\n";
        return Success;
    }
    const auto command = std::find_if(commands.cbegin(), commands.cend(),
                                      [&name](const Command &each) { return each.name == name; });
    if (command == commands.cend()) {
        return reportBadUsage(program, QStringLiteral("no command \"%1\"").arg(name));
    }
    return command->run(arguments.mid(1));
}

} // namespace

TaskLine::TaskLine(const QString &command, const QString &description,
                   const std::optional<QString> &json)
    : CommandLine(QStringLiteral("task ") + command, description)
{
    if (json) {
        addJsonFlag(*json);
    } else {
        addJsonFlag();
    }
    addFlag(QStringLiteral("system"), QStringLiteral("Use the system bus."));
    addPositional(QStringLiteral("TYPE"), QStringLiteral("Names the type of the tasks."));
}

Ostrel::TaskInvoker::BusType TaskLine::bus() const
{
    return isSet(QStringLiteral("system")) ? Ostrel::TaskInvoker::SystemBus
                                           : Ostrel::TaskInvoker::SessionBus;
}

int TaskLine::conclude(const Ostrel::Error &error, const QJsonObject &result,
                       const QString &text) const
{
    return ::conclude(error, wantsJson(), result, text,
                      bus() == Ostrel::TaskInvoker::SystemBus ? QDBusConnection::SystemBus
                                                              : QDBusConnection::SessionBus);
}

int withInvoker(const TaskLine &line, const std::function<void(Ostrel::TaskInvoker &)> &carryOn)
{
    Ostrel::TaskInvoker invoker(line.bus(), line.type());
    invoker.onReady([&invoker, &line, &carryOn](const Ostrel::Error &error) {
        if (error) {
            QCoreApplication::exit(line.conclude(error));
        } else {
            carryOn(invoker);
        }
    });
    return QCoreApplication::exec();
}

QJsonArray toJson(const QVector<Ostrel::AvailableTask> &tasks)
{
    QJsonArray array;
    for (const Ostrel::AvailableTask &task : tasks) {
        array.append(QJsonObject{{QStringLiteral("name"), task.name},
                                 {QStringLiteral("properties"), toJson(task.properties)}});
    }
    return array;
}

QJsonArray toJson(const QVector<Ostrel::ActiveTask> &tasks)
{
    QJsonArray array;
    for (const Ostrel::ActiveTask &task : tasks) {
        array.append(QJsonObject{{QStringLiteral("name"), task.name},
                                 {QStringLiteral("pid"), task.pid},
                                 {QStringLiteral("properties"), toJson(task.properties)}});
    }
    return array;
}

Command taskCommand()
{
    return {QStringLiteral("task"), QStringLiteral("List, start, stop and follow tasks"), runTask};
}
