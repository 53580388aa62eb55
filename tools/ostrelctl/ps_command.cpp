// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "json.h"
#include "report.h"
#include "session_bus.h"
#include "table.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>

namespace
{

using Ostrel::RunningApplication;
using Ostrel::RunningService;

QJsonObject toJson(const RunningApplication &application)
{
    return {{QStringLiteral("appId"), application.appId},
            {QStringLiteral("pid"), application.pid},
            {QStringLiteral("state"), static_cast<qint64>(application.state)},
            {QStringLiteral("kind"), static_cast<qint64>(application.kind)},
            {QStringLiteral("properties"), ::toJson(application.properties)}};
}

QJsonObject toJson(const RunningService &service)
{
    return {{QStringLiteral("appId"), service.appId},
            {QStringLiteral("name"), service.name},
            {QStringLiteral("pid"), service.pid},
            {QStringLiteral("state"), static_cast<qint64>(service.state)},
            {QStringLiteral("properties"), ::toJson(service.properties)}};
}

template <typename Record> QJsonArray toJson(const QVector<Record> &records)
{
    QJsonArray array;
    for (const Record &record : records) {
        array.append(toJson(record));
    }
    return array;
}

void printRecords(const QVector<RunningApplication> &applications,
                  const QVector<RunningService> &services)
{
    const QString none = QStringLiteral("-");
    QVector<QStringList> rows;
    for (const RunningApplication &application : applications) {
        rows.append({application.appId, none, QString::number(application.pid),
                     QString::number(application.state), QString::number(application.kind),
                     propertiesText(application.properties)});
    }
    for (const RunningService &service : services) {
        rows.append({service.appId, service.name, QString::number(service.pid),
                     QString::number(service.state), none, propertiesText(service.properties)});
    }
    printTable({QStringLiteral("APPLICATION"), QStringLiteral("SERVICE"), QStringLiteral("PID"),
                QStringLiteral("STATE"), QStringLiteral("KIND"), QStringLiteral("PROPERTIES")},
               rows);
}

int report(const QVector<RunningApplication> &applications, const QVector<RunningService> &services,
           const Ostrel::Error &error, bool asJson)
{
    if (error) {
        return conclude(error, asJson, {});
    }
    if (asJson) {
        printJson({{QStringLiteral("applications"), toJson(applications)},
                   {QStringLiteral("services"), toJson(services)}});
    } else {
        printRecords(applications, services);
    }
    return Success;
}

int run(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("ps"),
                     QStringLiteral("Lists the running applications, and the running services.\n"
                                    "States and kinds are the service's numbers."));
    line.addJsonFlag();
    line.addTimeoutOption();
    return line.run(arguments, [&line]() -> Result<int> {
        return line.timeout().map([&line](int timeout) {
            const SessionBus bus;
            Ostrel::Control control;
            control.setTimeout(timeout);
            control.getRunningApplications(
                &control,
                [json = line.wantsJson()](const QVector<RunningApplication> &applications,
                                          const QVector<RunningService> &services,
                                          const Ostrel::Error &error) {
                    QCoreApplication::exit(report(applications, services, error, json));
                });
            return QCoreApplication::exec();
        });
    });
}

} // namespace

Command psCommand()
{
    return {QStringLiteral("ps"), QStringLiteral("List what is running"), run};
}
