// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "report.h"

#include <Ostrel/WindowManagement>

#include <QtCore/QCoreApplication>

namespace
{

int run(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("window"),
        QStringLiteral(
            "Reports the status of a window to the lifecycle service, and prints the state\n"
            "that the service assigns to the application: 255 together with an error."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addPositional(QStringLiteral("WINDOW"), QStringLiteral("Names the window."));
    line.addPositional(QStringLiteral("STATUS"), QStringLiteral("The window's status, a number."));
    line.addPositional(QStringLiteral("ARG1"), QStringLiteral("A further number."));
    line.addPositional(QStringLiteral("ARG2"), QStringLiteral("A further number."));
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const auto status = line.number(1);
    const auto arg1 = status ? line.number(2) : std::nullopt;
    const auto arg2 = arg1 ? line.number(3) : std::nullopt;
    const auto timeout = arg2 ? line.timeout() : std::nullopt;
    if (!timeout) {
        return BadUsage;
    }

    Ostrel::WindowManagement windows;
    windows.setTimeout(*timeout);
    const bool json = line.wantsJson();
    windows.updateWindowStatus(
        line.positional(0), *status, *arg1, *arg2, &windows,
        [json](Ostrel::ApplicationState state, const Ostrel::Error &error) {
            QCoreApplication::exit(conclude(error, json,
                                            {{QStringLiteral("state"), static_cast<qint64>(state)}},
                                            QString::number(state)));
        });
    return QCoreApplication::exec();
}

} // namespace

Command windowCommand()
{
    return {QStringLiteral("window"), QStringLiteral("Report the status of a window"), run};
}
