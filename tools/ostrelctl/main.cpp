// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "help.h"
#include "result.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <cstdio>

namespace
{

// The exit status, when everything has been printed.
int finish(int status)
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        QTextStream(stderr) << "ostrelctl: cannot write the output\n";
        return OperationFailed;
    }
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ostrelctl"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PROJECT_VERSION));

    // The result says what went wrong on one line. The library's warnings would repeat it.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));

    const std::array commands{startCommand(), debugCommand(), terminateCommand(), waitCommand(),
                              psCommand(),    watchCommand(), traceCommand(),     whichCommand(),
                              taskCommand(),  windowCommand()};

    QString description =
        QStringLiteral("Talks to the device's application-lifecycle service.\n\nCommands:\n");
    for (const Command &command : commands) {
        description += QStringLiteral("  %1  %2\n").arg(command.name, -12).arg(command.summary);
    }
    description += QStringLiteral(
        "\n'ostrelctl COMMAND --help' prints its options.\n\n"
        "The exit status is 0 on success, 1 with \"error: NAME: message\" on standard error when\n"
        "the operation failed, and 2 on bad usage.");

    const QString program = QCoreApplication::applicationName();
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions({
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")},
        {{QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Print the version.")},
    });
    parser.addPositionalArgument(QStringLiteral("COMMAND"), QStringLiteral("What to do."),
                                 QStringLiteral("COMMAND ..."));
    if (!parser.parse(QCoreApplication::arguments())) {
        return reportBadUsage(program, parser.errorText());
    }
    if (parser.isSet(QStringLiteral("help"))) {
        QTextStream(stdout) << helpText(parser);
        return finish(Success);
    }
    if (parser.isSet(QStringLiteral("version"))) {
        QTextStream(stdout) << "ostrelctl " PROJECT_VERSION "\n";
        return finish(Success);
    }

    QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty()) {
        return reportBadUsage(program, QStringLiteral("a command is missing"));
    }
    const QString name = arguments.takeFirst();
    const auto command = std::find_if(commands.cbegin(), commands.cend(),
                                      [&name](const Command &each) { return each.name == name; });
    if (command == commands.cend()) {
        return reportBadUsage(program, QStringLiteral("no command \"%1\"").arg(name));
    }
    return finish(command->run(arguments));
}
