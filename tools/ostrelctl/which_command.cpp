// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "control_client.h"
#include "report.h"

#include <QtCore/QTextStream>

#include <cstdio>

namespace
{

// JSON has a null for a text that is not there.
QJsonValue orNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

int run(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("which"),
        QStringLiteral("Prints the application and the instance that a process belongs to. It is "
                       "read from the\nprocess's memory control group, below the folder that "
                       "OSTREL_ROOTFS names if it is set;\nno bus is needed."));
    line.addJsonFlag();
    line.addPositional(QStringLiteral("PID"), QStringLiteral("The number of the process."));
    if (const auto exitStatus = line.parse(arguments)) {
        return *exitStatus;
    }
    const auto pid = line.number(0);
    if (!pid) {
        return BadUsage;
    }

    const Ostrel::Control control;
    const QString appId = control.getAppIdByPid(*pid);
    const QString instance = control.getAppInstanceIdByPid(*pid);
    if (line.wantsJson()) {
        printJson({{QStringLiteral("pid"), *pid},
                   {QStringLiteral("appId"), orNull(appId)},
                   {QStringLiteral("appInstanceId"), orNull(instance)}});
    } else if (!appId.isNull()) {
        printLine(
            QStringLiteral("%1 %2").arg(appId, instance.isNull() ? QStringLiteral("-") : instance));
    }
    if (appId.isNull()) {
        QTextStream(stderr) << "error: process " << *pid << " belongs to no application\n";
        return OperationFailed;
    }
    return Success;
}

} // namespace

Command whichCommand()
{
    return {QStringLiteral("which"), QStringLiteral("Tell which application a process belongs to"),
            run};
}
