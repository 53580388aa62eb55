// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "hints.h"
#include "report.h"
#include "task_commands.h"

#include <QtCore/QCoreApplication>

namespace
{

// NAME and VALUE of an assignment.
std::pair<QString, QString> split(const QString &assignment)
{
    return {assignment.section(QLatin1Char('='), 0, 0), assignment.section(QLatin1Char('='), 1)};
}

int runTaskStart(const QStringList &arguments)
{
    const QString param = QStringLiteral("param");
    const QString env = QStringLiteral("env");
    const QString hint = QStringLiteral("hint");
    const QString cgroup = QStringLiteral("cgroup");
    const QString assignment = QStringLiteral("NAME=VALUE");

    TaskLine line(QStringLiteral("start"),
                  QStringLiteral("Starts a task, and prints the number that the service returns.\n"
                                 "The service interprets the hints:\n")
                      + knownHints().trimmed().prepend(QStringLiteral("  ")));
    line.addTimeoutOption();
    line.addOption(param, QStringLiteral("WORD"),
                   QStringLiteral("Start the task with this parameter; repeatable."));
    line.addOption(env, assignment,
                   QStringLiteral("Add this to the task's environment; repeatable."));
    line.addOption(hint, assignment, QStringLiteral("Pass this hint to the service; repeatable."));
    line.addOption(cgroup, assignment,
                   QStringLiteral("Set this in the task's control groups; repeatable."));
    line.addPositional(QStringLiteral("NAME"), QStringLiteral("Names the task."));
    return line.run(arguments, [&]() -> Result<int> {
        const auto environment = line.assignments(env);
        const auto hintList = line.assignments(hint);
        const auto settings = line.assignments(cgroup);
        const auto timeout = line.timeout();
        if (const auto error = firstError(environment, hintList, settings, timeout)) {
            return Failure(*error);
        }

        Ostrel::TaskInvoker::StartupInfo info;
        if (line.isSet(param)) {
            info.setParameters(line.values(param));
        }
        for (const QString &variable : *environment) {
            const auto [name, value] = split(variable);
            info.addEnvironmentVariable(name, value);
        }
        Ostrel::TaskInvoker::Hints hints;
        for (const QString &each : *hintList) {
            if (const Result<> set = setHint(hints, each); !set) {
                return Failure(set.error());
            }
        }
        for (const QString &setting : *settings) {
            const auto [name, value] = split(setting);
            hints.addCGroupSetting(name, value.toUtf8());
        }

        return withInvoker(line, [&line, &info, &hints, &timeout](Ostrel::TaskInvoker &invoker) {
            const auto onStarted = [&line](int number, const Ostrel::Error &error) {
                QCoreApplication::exit(error ? line.conclude(error)
                                             : line.conclude(error,
                                                             {{QStringLiteral("number"), number}},
                                                             QString::number(number)));
            };
            invoker.setTimeout(*timeout);
            invoker.start(line.positional(1), info, hints, onStarted);
        });
    });
}

} // namespace

Command taskStartCommand()
{
    return {QStringLiteral("start"), QStringLiteral("Start a task"), runTaskStart};
}
