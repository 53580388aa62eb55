// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "report.h"

#include <Ostrel/Control>

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace
{

// A null string is null in JSON.
QJsonValue orNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

// A program that the simulator runs has the simulator's root folder in its environment.
QString adviceOnRoot(const Ostrel::Control &control, int pid)
{
    QFile file(QStringLiteral("/proc/%1/environ").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray name = QByteArrayLiteral("OSTREL_ROOTFS=");
    const QList<QByteArray> environment = file.readAll().split('\0');
    const auto variable =
        std::find_if(environment.cbegin(), environment.cend(),
                     [&name](const QByteArray &entry) { return entry.startsWith(name); });
    if (variable == environment.cend()) {
        return {};
    }
    qputenv("OSTREL_ROOTFS", variable->mid(name.size()));
    if (control.getAppIdByPid(pid).isNull()) {
        return {};
    }
    return QStringLiteral("with %1, which the process has in its environment, it is found")
        .arg(QString::fromLocal8Bit(*variable));
}

int runWhich(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("which"),
        QStringLiteral("Prints the application and the instance that a process belongs to. It is "
                       "read from the\nprocess's memory control group, below the folder that "
                       "OSTREL_ROOTFS names if it is set;\nno bus is needed."));
    line.addJsonFlag();
    line.addPositional(QStringLiteral("PID"), QStringLiteral("The number of the process."));
    return line.run(arguments, [&line]() -> Result<int> {
        const auto pid = line.number(0, 1);
        if (!pid) {
            return Failure(pid.error());
        }

        // A Control opens the session bus, and would wait for one that hangs. No bus is here.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        const Ostrel::Control control;
        const QString appId = control.getAppIdByPid(*pid);
        const QString instance = control.getAppInstanceIdByPid(*pid);
        const QJsonObject result{{QStringLiteral("pid"), *pid},
                                 {QStringLiteral("appId"), orNull(appId)},
                                 {QStringLiteral("appInstanceId"), orNull(instance)}};
        if (appId.isNull()) {
            const bool exists = ::kill(*pid, 0) == 0 || errno != ESRCH;
            const int status = conclude(
                Ostrel::Error(Ostrel::Error::Failed,
                              (exists ? QStringLiteral("process %1 belongs to no application")
                                      : QStringLiteral("there is no process %1"))
                                  .arg(*pid)),
                line.wantsJson(), result, QString(), std::nullopt);
            printHint(adviceOnRoot(control, *pid));
            return status;
        }
        return conclude(
            Ostrel::Error(), line.wantsJson(), result,
            QStringLiteral("%1 %2").arg(appId, instance.isNull() ? QStringLiteral("-") : instance));
    });
}

} // namespace

Command whichCommand()
{
    return {QStringLiteral("which"), QStringLiteral("Tell which application a process belongs to"),
            runWhich};
}
