// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "program_help.h"

#include "run.h"

#include <QtCore/QRegularExpression>

QStringList ProgramHelp::ownOptions() const
{
    QStringList own = options;
    own.removeOne("-h, --help");
    return own;
}

QStringList ProgramHelp::optionNames() const
{
    QStringList names;
    for (const QString &option : options) {
        names.append(option.mid(option.indexOf("--")).section(' ', 0, 0));
    }
    return names;
}

ProgramHelp helpOf(const QString &program, const QString &command)
{
    const Result result =
        run(program, command.split(' ', Qt::SkipEmptyParts) + QStringList("--help"));
    static const QRegularExpression usage("\\AUsage: \\S+ (.*)");
    static const QRegularExpression entry("^  (\\S.*?)  ");
    ProgramHelp help;
    help.text = result.output;
    help.usage = usage.match(result.output).captured(1);
    if (result.exitStatus != 0 || help.usage.isEmpty()) {
        qFatal("%s %s has no help", qPrintable(program), qPrintable(command));
    }
    QString part;
    const QStringList lines = result.output.split('\n');
    for (const QString &line : lines) {
        const QString name = entry.match(line + "  ").captured(1).remove('<').remove('>');
        if (line.endsWith(':')) {
            part = line;
        } else if (!name.isEmpty() && part == "Options:") {
            help.options.append(name);
        } else if (!name.isEmpty() && part == "Commands:") {
            help.commands.append(name);
        }
    }
    return help;
}

QMap<QString, ProgramHelp> helpOfCommands(const QString &program)
{
    QMap<QString, ProgramHelp> all;
    const QStringList commands = helpOf(program).commands;
    for (const QString &command : commands) {
        const ProgramHelp help = helpOf(program, command);
        for (const QString &subCommand : help.commands) {
            const QString name = command + ' ' + subCommand;
            all.insert(name, helpOf(program, name));
        }
        if (help.commands.isEmpty()) {
            all.insert(command, help);
        }
    }
    return all;
}
