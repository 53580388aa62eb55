// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PROGRAM_HELP_H
#define TESTS_PROGRAM_HELP_H

#include <QtCore/QMap>
#include <QtCore/QStringList>

// What --help prints for a program or one of its commands.
struct ProgramHelp
{
    // The usage without the program: "start [options] APP".
    QString usage;
    // The options with the names of their values, in order: "-h, --help", "--wrapper COMMAND".
    QStringList options;
    QStringList commands;
    QString text;

    // The options without --help, which every command has.
    QStringList ownOptions() const;

    // The long names of the options: "--help", "--wrapper".
    QStringList optionNames() const;
};

ProgramHelp helpOf(const QString &program, const QString &command = QString());

// Returns the help of all commands and sub-commands ("task list") by their names.
QMap<QString, ProgramHelp> helpOfCommands(const QString &program);

#endif
