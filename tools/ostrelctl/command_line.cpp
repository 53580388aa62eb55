// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command_line.h"

#include "command.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QTextStream>

#include <cstdio>
#include <limits>

namespace
{

// The parser takes whatever begins with a dash for an option, a negative number too. What is not an
// option goes behind a "--", where the parser takes everything as it is.
QStringList optionsFirst(const QStringList &arguments)
{
    static const QRegularExpression negativeNumber(QStringLiteral("\\A-[0-9]"));
    QStringList options;
    QStringList rest;
    bool onlyRest = false;
    for (const QString &argument : arguments) {
        if (!onlyRest && argument == QLatin1String("--")) {
            onlyRest = true;
        } else if (!onlyRest && argument.size() > 1 && argument.startsWith(QLatin1Char('-'))
                   && !negativeNumber.match(argument).hasMatch()) {
            options.append(argument);
        } else {
            rest.append(argument);
        }
    }
    return options + QStringList(QStringLiteral("--")) + rest;
}

} // namespace

CommandLine::CommandLine(const QString &command, const QString &description)
    : m_command(command)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")});
}

void CommandLine::addFlag(const QString &name, const QString &description)
{
    m_parser.addOption({name, description});
}

void CommandLine::addPositional(const QString &name, const QString &description)
{
    // The usage line is made of these in order; the first brings the command's name along.
    const QString syntax = m_positionals.isEmpty() ? m_command + QLatin1Char(' ') + name : name;
    m_parser.addPositionalArgument(name, description, syntax);
    m_positionals.append(name);
}

std::optional<int> CommandLine::parse(const QStringList &arguments)
{
    if (!m_parser.parse(QStringList(QStringLiteral("ostrelctl")) + optionsFirst(arguments))) {
        tellMistake(m_parser.errorText());
        return BadUsage;
    }
    if (isSet(QStringLiteral("help"))) {
        // The options belong to the command, so they stand behind it.
        QTextStream(stdout) << m_parser.helpText().replace(
            QStringLiteral("[options] %1").arg(m_command),
            QStringLiteral("%1 [options]").arg(m_command));
        return Success;
    }
    const QStringList given = m_parser.positionalArguments();
    if (given.size() < m_positionals.size()) {
        tellMistake(QStringLiteral("%1 is missing").arg(m_positionals.at(given.size())));
        return BadUsage;
    }
    if (given.size() > m_positionals.size()) {
        tellMistake(
            QStringLiteral("unexpected argument \"%1\"").arg(given.at(m_positionals.size())));
        return BadUsage;
    }
    return std::nullopt;
}

std::optional<int> CommandLine::number(int index) const
{
    bool ok = false;
    const int number = positional(index).toInt(&ok);
    if (!ok) {
        tellMistake(QStringLiteral("%1 takes a whole number from %2 to %3, not \"%4\"")
                        .arg(m_positionals.at(index))
                        .arg(std::numeric_limits<int>::min())
                        .arg(std::numeric_limits<int>::max())
                        .arg(positional(index)));
        return std::nullopt;
    }
    return number;
}

void CommandLine::tellMistake(const QString &mistake) const
{
    QTextStream(stderr) << "ostrelctl " << m_command << ": " << mistake << "\nTry 'ostrelctl "
                        << m_command << " --help'.\n";
}
