// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "json.h"
#include "report.h"
#include "session_bus.h"
#include "start_timings.h"

#include <Ostrel/Control>

#include <QtCore/QFileInfo>

namespace
{

using Callback = std::function<void(const Ostrel::Control::StartResult &)>;

int report(const Ostrel::Control::StartResult &result, bool asJson)
{
    if (result.error) {
        return conclude(result.error, asJson, {});
    }
    return conclude(result.error, asJson,
                    {{QStringLiteral("appInstanceId"), result.appInstanceId},
                     {QStringLiteral("details"), toJson(result.details)}},
                    result.appInstanceId);
}

// Makes a request that the function sends, and reports its outcome.
int request(const CommandLine &line, int timeout,
            const std::function<void(Ostrel::Control &, const Callback &)> &send)
{
    const SessionBus bus;
    Ostrel::Control control;
    control.setTimeout(timeout);
    send(control, [json = line.wantsJson()](const Ostrel::Control::StartResult &result) {
        QCoreApplication::exit(report(result, json));
    });
    return QCoreApplication::exec();
}

int start(const QStringList &arguments)
{
    constexpr qint64 mostStarts = 100'000;
    const QString timings = QStringLiteral("timings");
    const QString repeat = QStringLiteral("repeat");

    CommandLine line(QStringLiteral("start"),
                     QStringLiteral("Starts an application, and prints the identifier of the new "
                                    "instance."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addFlag(timings,
                 QStringLiteral("Print after how many microseconds the reply, the signal "
                                "\"Started\" and the first state came."));
    line.addOption(repeat, QStringLiteral("N"),
                   QStringLiteral("With --timings, start and terminate N instances, one after the "
                                  "other, and print the minimum, median and maximum."));
    line.addPositional(QStringLiteral("APP"), QStringLiteral("Identifies the application."));
    return line.run(arguments, [&]() -> Result<int> {
        const auto app = line.text(0);
        const auto timeout = line.timeout();
        const auto starts = line.number(repeat, 1, mostStarts);
        if (const auto error = firstError(app, timeout, starts)) {
            return Failure(*error);
        }
        if (line.isSet(timings)) {
            return measureStarts({*app, *timeout, *starts, line.wantsJson()});
        }
        if (line.isSet(repeat)) {
            return Failure(QStringLiteral("--repeat needs --timings"));
        }
        return request(line, *timeout, [&app](Ostrel::Control &control, const Callback &callback) {
            control.start(*app, &control, callback);
        });
    });
}

// The service has a working folder of its own.
QString absolute(const QString &file)
{
    return QFileInfo(file).absoluteFilePath();
}

int debug(const QStringList &arguments)
{
    const QString wrapper = QStringLiteral("wrapper");
    const QString param = QStringLiteral("param");
    const QString env = QStringLiteral("env");
    const QString firejailParam = QStringLiteral("firejail-param");
    const QString noSandbox = QStringLiteral("no-sandbox");
    const QString stdoutFile = QStringLiteral("stdout");
    const QString stderrFile = QStringLiteral("stderr");

    CommandLine line(QStringLiteral("debug"),
                     QStringLiteral("Starts an application with changed launch conditions, and "
                                    "prints the identifier of\nthe new instance. The service "
                                    "decides what is not given."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addOption(wrapper, QStringLiteral("COMMAND"),
                   QStringLiteral("Put this command in front of the program. Blanks separate its "
                                  "words; \"\" quotes, and \\ "
                                  "in front of \" or \\ takes it as it is."));
    line.addOption(param, QStringLiteral("WORD"),
                   QStringLiteral("Add this word to the program's command line; repeatable."));
    line.addOption(env, QStringLiteral("NAME=VALUE"),
                   QStringLiteral("Add this to the program's environment; repeatable."));
    line.addOption(firejailParam, QStringLiteral("WORD"),
                   QStringLiteral("Pass this word to the sandbox launcher; repeatable."));
    line.addFlag(noSandbox, QStringLiteral("Run without the sandbox."));
    line.addOption(stdoutFile, QStringLiteral("FILE"),
                   QStringLiteral("Write the program's standard output to this file."));
    line.addOption(stderrFile, QStringLiteral("FILE"),
                   QStringLiteral("Write the program's standard error to this file."));
    line.addPositional(QStringLiteral("APP"), QStringLiteral("Identifies the application."));
    return line.run(arguments, [&]() -> Result<int> {
        const auto app = line.text(0);
        const auto environment = line.assignments(env);
        const auto wrapperWords = line.words(wrapper);
        const auto output = line.file(stdoutFile);
        const auto errors = line.file(stderrFile);
        const auto timeout = line.timeout();
        if (const auto error =
                firstError(app, environment, wrapperWords, output, errors, timeout)) {
            return Failure(*error);
        }

        Ostrel::DebugParams params;
        if (line.isSet(wrapper)) {
            params.setApplicationWrapper(*wrapperWords);
        }
        if (line.isSet(param)) {
            params.setCommandLineParams(line.values(param));
        }
        if (line.isSet(env)) {
            params.setEnvironment(*environment);
        }
        if (line.isSet(firejailParam)) {
            params.setFireJailParams(line.values(firejailParam));
        }
        if (line.isSet(noSandbox)) {
            params.setSandboxEnabled(false);
        }
        if (line.isSet(stdoutFile)) {
            params.setStdoutFile(absolute(*output));
        }
        if (line.isSet(stderrFile)) {
            params.setStderrFile(absolute(*errors));
        }
        return request(line, *timeout,
                       [&app, &params](Ostrel::Control &control, const Callback &callback) {
                           control.startDebug(*app, params, &control, callback);
                       });
    });
}

} // namespace

Command startCommand()
{
    return {QStringLiteral("start"), QStringLiteral("Start an application"), start};
}

Command debugCommand()
{
    return {QStringLiteral("debug"), QStringLiteral("Start an application for debugging"), debug};
}
