// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTRELCTL_COMMAND_LINE_H
#define OSTRELCTL_COMMAND_LINE_H

#include <QtCore/QCommandLineParser>
#include <QtCore/QStringList>

#include <limits>
#include <optional>

// The command line of one sub-command: its options, --help among them, and how its mistakes are
// told.
class CommandLine
{
public:
    CommandLine(const QString &command, const QString &description);

    // An option without a value. One that is not known is bad usage.
    void addFlag(const QString &name, const QString &description);

    // The flag of all commands. What it prints is told in the help.
    void addJsonFlag(const QString &printed = QStringLiteral("the result as one JSON document"));

    // An option with a value, which may be given several times.
    void addOption(const QString &name, const QString &valueName, const QString &description);

    // The option of the commands that make a request and wait for the reply.
    void addTimeoutOption();

    // The positional arguments are all required, and come in this order.
    void addPositional(const QString &name, const QString &description);

    // Reads the arguments. The result is an exit status if there is nothing more to do: help was
    // asked for and printed, or the usage is bad and the mistake was told.
    std::optional<int> parse(const QStringList &arguments);

    bool isSet(const QString &option) const { return m_parser.isSet(option); }
    bool wantsJson() const;

    // The values of an option, in the order in which they were given.
    QStringList values(const QString &option) const { return m_parser.values(option); }

    // The value of an option that counts once: the last one given; empty if there is none.
    QString value(const QString &option) const { return m_parser.value(option); }

    QString positional(int index) const { return m_parser.positionalArguments().at(index); }

    // A positional argument that is not empty; without one, the mistake was told.
    std::optional<QString> text(int index) const;

    // A positional argument as a number from the least one on; without one, the mistake was told.
    std::optional<int> number(int index, int least = std::numeric_limits<int>::min()) const;

    // The timeout of the request in milliseconds, -1 if none was given; if it is not a valid one,
    // the mistake was told.
    std::optional<int> timeout() const;

    // Whether an option names a file if it was given; if not, the mistake was told.
    bool isFile(const QString &option) const;

    // The values of an option, each of the form NAME=VALUE; if one is not, the mistake was told.
    std::optional<QStringList> assignments(const QString &option) const;

    // The value of an option as the words of a command; if it is none, the mistake was told.
    std::optional<QStringList> words(const QString &option) const;

    // Says what is wrong with the arguments, and where help is.
    void tellMistake(const QString &mistake) const;

private:
    QStringList optionsFirst(const QStringList &arguments) const;

    QString m_command;
    QStringList m_optionsWithValue;
    QStringList m_positionals;
    QCommandLineParser m_parser;
};

#endif
