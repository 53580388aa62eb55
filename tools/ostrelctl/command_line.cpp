// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command_line.h"

#include "command.h"
#include "help.h"

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
                            const QString &description, const QString &shortName)
{
    m_optionsWithValue.append(QStringLiteral("--") + name);
    QStringList names{name};
    if (!shortName.isNull()) {
        m_optionsWithValue.append(QLatin1Char('-') + shortName);
        names.prepend(shortName);
    }
    m_parser.addOption({names, description, valueName});
}

void CommandLine::addTimeoutOption(const QString &description)
{
    addOption(timeoutOption, QStringLiteral("SECONDS"), description);
}

void CommandLine::addPositional(const QString &name, const QString &description)
{
    // The usage line lists these in order. The first one has the command's name before it.
    const QString syntax = m_positionals.isEmpty() ? m_command + QLatin1Char(' ') + name : name;
    m_parser.addPositionalArgument(name, description, syntax);
    m_positionals.append(name);
}

int CommandLine::run(const QStringList &arguments, const std::function<Result<int>()> &command)
{
    const Result<> parsed = parse(arguments);
    if (parsed && isSet(QStringLiteral("help"))) {
        QTextStream(stdout) << helpText();
        return Success;
    }
    const Result<int> status = parsed.and_then(command);
    return status ? *status
                  : reportBadUsage(QStringLiteral("ostrelctl ") + m_command, status.error());
}

bool CommandLine::wantsJson() const
{
    return isSet(QStringLiteral("json"));
}

Result<QString> CommandLine::text(int index) const
{
    const QString text = positional(index);
    if (text.isEmpty()) {
        return Failure(QStringLiteral("%1 is empty").arg(m_positionals.at(index)));
    }
    return text;
}

Result<int> CommandLine::number(int index, int least) const
{
    bool ok = false;
    const int number = positional(index).toInt(&ok);
    if (!ok || number < least) {
        return Failure(QStringLiteral("%1 takes a whole number from %2 to %3, not \"%4\"")
                           .arg(m_positionals.at(index))
                           .arg(least)
                           .arg(std::numeric_limits<int>::max())
                           .arg(positional(index)));
    }
    return number;
}

Result<int> CommandLine::timeout() const
{
    return seconds(timeoutOption).map([](std::optional<int> given) { return given.value_or(-1); });
}

Result<std::optional<qint64>> CommandLine::number(const QString &option, qint64 least,
                                                  qint64 most) const
{
    if (!isSet(option)) {
        return std::nullopt;
    }
    bool ok = false;
    const qint64 number = value(option).toLongLong(&ok);
    if (!ok || number < least || number > most) {
        return Failure(QStringLiteral("--%1 takes a whole number from %2 to %3, not \"%4\"")
                           .arg(option)
                           .arg(least)
                           .arg(most)
                           .arg(value(option)));
    }
    return number;
}

Result<std::optional<int>> CommandLine::seconds(const QString &option) const
{
    constexpr int second = 1000;
    return number(option, 1, std::numeric_limits<int>::max() / second)
        .map([](std::optional<qint64> given) {
            return given ? std::optional<int>(int(*given) * second) : std::nullopt;
        });
}

Result<QString> CommandLine::file(const QString &option) const
{
    if (isSet(option) && value(option).isEmpty()) {
        return Failure(QStringLiteral("--%1 takes the name of a file").arg(option));
    }
    return value(option);
}

Result<QStringList> CommandLine::assignments(const QString &option) const
{
    const QStringList all = values(option);
    for (const QString &each : all) {
        if (each.indexOf(QLatin1Char('=')) < 1) {
            return Failure(QStringLiteral("--%1 takes NAME=VALUE, not \"%2\"").arg(option, each));
        }
    }
    return all;
}

// Unlike QProcess::splitCommand(), this keeps empty words, and refuses a quote that does not end.
Result<QStringList> CommandLine::words(const QString &option) const
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
        return Failure(QStringLiteral("a quote in --%1 does not end: \"%2\"").arg(option, text));
    }
    return words;
}

// --help needs no positional arguments.
Result<> CommandLine::parse(const QStringList &arguments)
{
    if (!m_parser.parse(QStringList(QStringLiteral("ostrelctl")) + optionsFirst(arguments))) {
        return Failure(m_parser.errorText());
    }
    const QStringList given = m_parser.positionalArguments();
    if (isSet(QStringLiteral("help")) || given.size() == m_positionals.size()) {
        return {};
    }
    return Failure(
        given.size() < m_positionals.size()
            ? QStringLiteral("%1 is missing").arg(m_positionals.at(given.size()))
            : QStringLiteral("unexpected argument \"%1\"").arg(given.at(m_positionals.size())));
}

// The options belong to the command, so the usage line has them after its name.
QString CommandLine::helpText() const
{
    QString help = ::helpText(m_parser);
    if (m_positionals.isEmpty()) {
        help.replace(help.indexOf(QLatin1String("[options]")), 0, m_command + QLatin1Char(' '));
    } else {
        help.replace(QStringLiteral("[options] %1").arg(m_command),
                     QStringLiteral("%1 [options]").arg(m_command));
    }
    return help;
}

// The parser takes a negative number for an option. What is not an option goes after a "--", where
// the parser takes everything as it is.
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
    // The parser reports a value that is missing at the end.
    return isValue ? rest + options : options + QStringList(QStringLiteral("--")) + rest;
}
