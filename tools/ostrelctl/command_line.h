// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_COMMAND_LINE_H
#define OSTRELCTL_COMMAND_LINE_H

#include "result.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QStringList>

#include <functional>
#include <limits>
#include <optional>

// The command line of one sub-command, with its options. All have --help.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    // An option without a value.
    void addFlag(const QString &name, const QString &description);

    // The flag --json. The help says what it prints.
    void addJsonFlag(const QString &printed = QStringLiteral("the result as one JSON document"));

    // An option with a value, which may be given several times.
    // It may have a short name of one letter.
    void addOption(const QString &name, const QString &valueName, const QString &description,
                   const QString &shortName = QString());

    // The option of the commands that make a request and wait for the reply.
    void addTimeoutOption(
        const QString &description = QStringLiteral("Wait this long for the reply."));

    // A positional argument. All of them are required, in the order in which they are added.
    void addPositional(const QString &name, const QString &description);

    // Reads the arguments, and runs the command if they are right and do not ask for help. Reports
    // an error in the arguments, also one that the command returns. Returns the exit status.
    int run(const QStringList &arguments, const std::function<Result<int>()> &command);

    bool isSet(const QString &option) const { return m_parser.isSet(option); }
    bool wantsJson() const;

    // The values of an option, in the order in which they were given.
    QStringList values(const QString &option) const { return m_parser.values(option); }

    // The last value of an option; empty if there is none.
    QString value(const QString &option) const { return m_parser.value(option); }

    QString positional(int index) const { return m_parser.positionalArguments().at(index); }

    // A positional argument that is not empty.
    Result<QString> text(int index) const;

    // A positional argument as a number of at least this.
    Result<int> number(int index, int least = std::numeric_limits<int>::min()) const;

    // The value of an option as the name of a file; a null string if the option is not given.
    Result<QString> file(const QString &option) const;

    // The timeout of the request in milliseconds; -1 if none was given.
    Result<int> timeout() const;

    // The value of an option as a whole number in a range; nothing if the option is not given.
    Result<std::optional<qint64>> number(const QString &option, qint64 least, qint64 most) const;

    // The value of an option that takes whole seconds, in milliseconds; nothing if it is not given.
    Result<std::optional<int>> seconds(const QString &option) const;

    // The values of an option, each of the form NAME=VALUE.
    Result<QStringList> assignments(const QString &option) const;

    // The value of an option, split into the words of a command.
    Result<QStringList> words(const QString &option) const;

private:
    Result<> parse(const QStringList &arguments);
    QString helpText() const;
    QStringList optionsFirst(const QStringList &arguments) const;

    QString m_command;
    QStringList m_optionsWithValue;
    QStringList m_positionals;
    QCommandLineParser m_parser;
};

#endif
