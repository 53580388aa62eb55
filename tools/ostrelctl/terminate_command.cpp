// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "report.h"

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
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const auto instance = line.text(0);
    const auto timeout = instance ? line.timeout() : std::nullopt;
    if (!timeout) {
        return BadUsage;
    }
    Ostrel::Control control;
    control.setTimeout(*timeout);
    control.terminate(*instance, &control, [json = line.wantsJson()](const Ostrel::Error &error) {
        QCoreApplication::exit(conclude(error, json, {}));
    });
    return QCoreApplication::exec();
}

} // namespace

Command terminateCommand()
{
    return {QStringLiteral("terminate"), QStringLiteral("Terminate an instance"), run};
}
