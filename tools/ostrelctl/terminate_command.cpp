// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "advice.h"
#include "command.h"
#include "command_line.h"
#include "instances.h"
#include "report.h"
#include "session_bus.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>

namespace
{

// Looks at what runs, for a hint, and ends the program.
void advise(Ostrel::Control &control, const QString &given, int status)
{
    control.setTimeout(patience);
    control.getRunningApplications(
        &control,
        [&control, given, status](const QVector<Ostrel::RunningApplication> &applications,
                                  const QVector<Ostrel::RunningService> & /*services*/,
                                  const Ostrel::Error & /*error*/) {
            printHint(adviceOnInstance(control, given, applications));
            QCoreApplication::exit(status);
        });
}

int runTerminate(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("terminate"),
                     QStringLiteral("Terminates an instance of an application."));
    line.addJsonFlag();
    line.addTimeoutOption();
    line.addPositional(QStringLiteral("INSTANCE"),
                       QStringLiteral("Identifies the instance, as 'start' and 'watch' print it, "
                                      "and 'ps' if it is known."));
    return line.run(arguments, [&line]() -> Result<int> {
        const auto instance = line.text(0);
        const auto timeout = line.timeout();
        if (const auto error = firstError(instance, timeout)) {
            return Failure(*error);
        }
        const SessionBus bus;
        Ostrel::Control control;
        control.setTimeout(*timeout);
        control.terminate(
            *instance, &control,
            [&control, &instance, json = line.wantsJson()](const Ostrel::Error &error) {
                const int status = conclude(error, json, {});
                if (error && error.code() != Ostrel::Error::Failed) {
                    advise(control, *instance, status);
                } else {
                    QCoreApplication::exit(status);
                }
            });
        return QCoreApplication::exec();
    });
}

} // namespace

Command terminateCommand()
{
    return {QStringLiteral("terminate"), QStringLiteral("Terminate an instance"), runTerminate};
}
