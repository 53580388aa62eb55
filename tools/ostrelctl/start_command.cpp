// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "json.h"
#include "report.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>

namespace
{

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

// A callback that ends the event loop.
std::function<void(const Ostrel::Control::StartResult &)> reporting(bool asJson)
{
    return [asJson](const Ostrel::Control::StartResult &result) {
        QCoreApplication::exit(report(result, asJson));
    };
}

int start(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("start"),
                     QStringLiteral("Starts an application, and prints the identifier of the new "
                                    "instance."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addPositional(QStringLiteral("APP"), QStringLiteral("Identifies the application."));
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const auto app = line.text(0);
    const auto timeout = app ? line.timeout() : std::nullopt;
    if (!timeout) {
        return BadUsage;
    }
    Ostrel::Control control;
    control.setTimeout(*timeout);
    control.start(*app, &control, reporting(line.wantsJson()));
    return QCoreApplication::exec();
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
                     QStringLiteral("Starts an application under conditions of your own, and "
                                    "prints the identifier of the\nnew instance. What is not given "
                                    "is left to the service."));
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
                   QStringLiteral("Give this word to the sandbox's launcher; repeatable."));
    line.addFlag(noSandbox, QStringLiteral("Run without the sandbox."));
    line.addOption(stdoutFile, QStringLiteral("FILE"),
                   QStringLiteral("Write the program's standard output to this file."));
    line.addOption(stderrFile, QStringLiteral("FILE"),
                   QStringLiteral("Write the program's standard error to this file."));
    line.addPositional(QStringLiteral("APP"), QStringLiteral("Identifies the application."));
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const auto app = line.text(0);
    const auto environment = app ? line.assignments(env) : std::nullopt;
    const auto wrapperWords = environment ? line.words(wrapper) : std::nullopt;
    const auto timeout = wrapperWords ? line.timeout() : std::nullopt;
    if (!timeout || !line.isFile(stdoutFile) || !line.isFile(stderrFile)) {
        return BadUsage;
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
        params.setStdoutFile(absolute(line.value(stdoutFile)));
    }
    if (line.isSet(stderrFile)) {
        params.setStderrFile(absolute(line.value(stderrFile)));
    }
    Ostrel::Control control;
    control.setTimeout(*timeout);
    control.startDebug(*app, params, &control, reporting(line.wantsJson()));
    return QCoreApplication::exec();
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
