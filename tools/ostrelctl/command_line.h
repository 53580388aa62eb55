// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_COMMAND_LINE_H
#define OSTRELCTL_COMMAND_LINE_H

#include <QtCore/QCommandLineParser>
#include <QtCore/QStringList>

#include <optional>

// The command line of one sub-command: its options, --help among them, and how its mistakes are
// told.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    // Options take no value. One that is not known is bad usage.
    void addFlag(const QString &name, const QString &description);

    // The positional arguments are all required, and come in this order.
    void addPositional(const QString &name, const QString &description);

    // Reads the arguments. The result is an exit status if there is nothing more to do: help was
    // asked for and printed, or the usage is bad and the mistake was told.
    std::optional<int> parse(const QStringList &arguments);

    bool isSet(const QString &flag) const { return m_parser.isSet(flag); }
    QString positional(int index) const { return m_parser.positionalArguments().at(index); }

    // A positional argument as a number; without one, the mistake was told.
    std::optional<int> number(int index) const;

private:
    void tellMistake(const QString &mistake) const;

    QString m_command;
    QStringList m_positionals;
    QCommandLineParser m_parser;
};

#endif
