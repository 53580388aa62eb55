// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "report.h"
#include "session_bus.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>

namespace
{

int run(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("terminate"),
                     QStringLiteral("Terminates an instance of an application."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addPositional(QStringLiteral("INSTANCE"),
                       QStringLiteral("Identifies the instance, as 'start' and 'watch' print it."));
    return line.run(arguments, [&line]() -> Result<int> {
        const auto instance = line.text(0);
        const auto timeout = line.timeout();
        if (const auto error = firstError(instance, timeout)) {
            return Failure(*error);
        }
        const SessionBus bus;
        Ostrel::Control control;
        control.setTimeout(*timeout);
        control.terminate(*instance, &control,
                          [json = line.wantsJson()](const Ostrel::Error &error) {
                              QCoreApplication::exit(conclude(error, json, {}));
                          });
        return QCoreApplication::exec();
    });
}

} // namespace

Command terminateCommand()
{
    return {QStringLiteral("terminate"), QStringLiteral("Terminate an instance"), run};
}
