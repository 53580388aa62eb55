// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "report.h"
#include "session_bus.h"

#include <Ostrel/WindowManagement>

#include <QtCore/QCoreApplication>

namespace
{

int runWindow(const QStringList &arguments)
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
    return line.run(arguments, [&line]() -> Result<int> {
        const auto status = line.number(1);
        const auto arg1 = line.number(2);
        const auto arg2 = line.number(3);
        const auto timeout = line.timeout();
        if (const auto error = firstError(status, arg1, arg2, timeout)) {
            return Failure(*error);
        }

        const SessionBus bus;
        Ostrel::WindowManagement windows;
        windows.setTimeout(*timeout);
        const bool json = line.wantsJson();
        windows.updateWindowStatus(
            line.positional(0), *status, *arg1, *arg2, &windows,
            [json](Ostrel::ApplicationState state, const Ostrel::Error &error) {
                QCoreApplication::exit(
                    conclude(error, json, {{QStringLiteral("state"), static_cast<qint64>(state)}},
                             QString::number(state)));
            });
        return QCoreApplication::exec();
    });
}

} // namespace

Command windowCommand()
{
    return {QStringLiteral("window"), QStringLiteral("Report the status of a window"), runWindow};
}
