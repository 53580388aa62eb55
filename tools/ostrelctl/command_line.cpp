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

const QString timeoutOption = QStringLiteral("timeout"); // clazy:exclude=non-pod-global-static

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

void CommandLine::addJsonFlag(const QString &printed)
{
    addFlag(QStringLiteral("json"), QStringLiteral("Print %1.").arg(printed));
}

void CommandLine::addOption(const QString &name, const QString &valueName,
                            const QString &description)
{
    m_parser.addOption({name, description, valueName});
    m_optionsWithValue.append(QStringLiteral("--") + name);
}

void CommandLine::addTimeoutOption()
{
    addOption(timeoutOption, QStringLiteral("SECONDS"),
              QStringLiteral("Wait so long for the answer to the request."));
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
        QString help = m_parser.helpText();
        if (m_positionals.isEmpty()) {
            help.replace(help.indexOf(QLatin1String("[options]")), 0, m_command + QLatin1Char(' '));
        } else {
            help.replace(QStringLiteral("[options] %1").arg(m_command),
                         QStringLiteral("%1 [options]").arg(m_command));
        }
        QTextStream(stdout) << help;
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

bool CommandLine::wantsJson() const
{
    return isSet(QStringLiteral("json"));
}

std::optional<QString> CommandLine::text(int index) const
{
    const QString text = positional(index);
    if (text.isEmpty()) {
        tellMistake(QStringLiteral("%1 is empty").arg(m_positionals.at(index)));
        return std::nullopt;
    }
    return text;
}

std::optional<int> CommandLine::number(int index, int least) const
{
    bool ok = false;
    const int number = positional(index).toInt(&ok);
    if (!ok || number < least) {
        tellMistake(QStringLiteral("%1 takes a whole number from %2 to %3, not \"%4\"")
                        .arg(m_positionals.at(index))
                        .arg(least)
                        .arg(std::numeric_limits<int>::max())
                        .arg(positional(index)));
        return std::nullopt;
    }
    return number;
}

std::optional<int> CommandLine::timeout() const
{
    if (!isSet(timeoutOption)) {
        return -1;
    }
    constexpr int second = 1000;
    constexpr int longest = std::numeric_limits<int>::max() / second;
    bool ok = false;
    const int seconds = value(timeoutOption).toInt(&ok);
    if (!ok || seconds < 1 || seconds > longest) {
        tellMistake(QStringLiteral("--%1 takes a whole number from 1 to %2, not \"%3\"")
                        .arg(timeoutOption)
                        .arg(longest)
                        .arg(value(timeoutOption)));
        return std::nullopt;
    }
    return seconds * second;
}

bool CommandLine::isFile(const QString &option) const
{
    if (isSet(option) && value(option).isEmpty()) {
        tellMistake(QStringLiteral("--%1 takes the name of a file").arg(option));
        return false;
    }
    return true;
}

std::optional<QStringList> CommandLine::assignments(const QString &option) const
{
    const QStringList all = values(option);
    for (const QString &each : all) {
        if (each.indexOf(QLatin1Char('=')) < 1) {
            tellMistake(QStringLiteral("--%1 takes NAME=VALUE, not \"%2\"").arg(option, each));
            return std::nullopt;
        }
    }
    return all;
}

// Not QProcess::splitCommand(), which drops empty words and takes a quote that does not end.
std::optional<QStringList> CommandLine::words(const QString &option) const
{
    const QString text = value(option);
    const QChar quote = QLatin1Char('"');
    const QChar escape = QLatin1Char('\\');
    QStringList words;
    bool inWord = false;
    bool inQuotes = false;
    for (int i = 0; i < text.size(); ++i) {
        QChar character = text.at(i);
        if (character.isSpace() && !inQuotes) {
            inWord = false;
            continue;
        }
        if (!inWord) {
            words.append(QString());
            inWord = true;
        }
        if (character == quote) {
            inQuotes = !inQuotes;
            continue;
        }
        const QChar next = i + 1 < text.size() ? text.at(i + 1) : QChar();
        if (character == escape && (next == quote || next == escape)) {
            character = next;
            ++i;
        }
        words.last() += character;
    }
    if (inQuotes) {
        tellMistake(QStringLiteral("a quote in --%1 does not end: \"%2\"").arg(option, text));
        return std::nullopt;
    }
    return words;
}

void CommandLine::tellMistake(const QString &mistake) const
{
    QTextStream(stderr) << "ostrelctl " << m_command << ": " << mistake << "\nTry 'ostrelctl "
                        << m_command << " --help'.\n";
}

// The parser takes whatever begins with a dash for an option, a negative number too. What is not an
// option goes behind a "--", where the parser takes everything as it is.
QStringList CommandLine::optionsFirst(const QStringList &arguments) const
{
    static const QRegularExpression negativeNumber(QStringLiteral("\\A-[0-9]"));
    QStringList options;
    QStringList rest;
    bool onlyRest = false;
    bool isValue = false;
    for (const QString &argument : arguments) {
        if (isValue) {
            options.append(argument);
            isValue = false;
        } else if (!onlyRest && argument == QLatin1String("--")) {
            onlyRest = true;
        } else if (!onlyRest && argument.size() > 1 && argument.startsWith(QLatin1Char('-'))
                   && !negativeNumber.match(argument).hasMatch()) {
            options.append(argument);
            isValue = m_optionsWithValue.contains(argument);
        } else {
            rest.append(argument);
        }
    }
    // A value that is missing at the end is for the parser to miss.
    return isValue ? rest + options : options + QStringList(QStringLiteral("--")) + rest;
}
