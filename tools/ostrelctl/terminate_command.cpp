// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "control_client.h"
#include "report.h"

namespace
{

int run(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("terminate"),
                     QStringLiteral("Terminates an instance of an application."));
    line.addJsonFlag();
    line.addPositional(QStringLiteral("INSTANCE"),
                       QStringLiteral("Identifies the instance, as 'start' and 'watch' print it."));
    return line.run(arguments, [&line]() -> Result<int> {
        return line.text(0).map([&line](const QString &instance) {
            return conclude(ControlClient().terminate(instance), line.wantsJson(), {});
        });
    });
}

} // namespace

Command terminateCommand()
{
    return {QStringLiteral("terminate"), QStringLiteral("Terminate an instance"), run};
}
