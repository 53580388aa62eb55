// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "command.h"
#include "command_line.h"
#include "instances.h"
#include "json.h"
#include "report.h"
#include "session_bus.h"
#include "table.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>

namespace
{

using Ostrel::Control;
using Ostrel::RunningApplication;
using Ostrel::RunningService;

template <typename Record> QJsonValue jsonInstance(const Control &control, const Record &record)
{
    const QString instance = instanceOf(control, record.pid, record.properties);
    return instance.isNull() ? QJsonValue() : instance;
}

QJsonObject toJson(const Control &control, const RunningApplication &application)
{
    return {{QStringLiteral("appId"), application.appId},
            {QStringLiteral("appInstanceId"), jsonInstance(control, application)},
            {QStringLiteral("pid"), application.pid},
            {QStringLiteral("state"), static_cast<qint64>(application.state)},
            {QStringLiteral("kind"), static_cast<qint64>(application.kind)},
            {QStringLiteral("properties"), ::toJson(application.properties)}};
}

QJsonObject toJson(const Control &control, const RunningService &service)
{
    return {{QStringLiteral("appId"), service.appId},
            {QStringLiteral("appInstanceId"), jsonInstance(control, service)},
            {QStringLiteral("name"), service.name},
            {QStringLiteral("pid"), service.pid},
            {QStringLiteral("state"), static_cast<qint64>(service.state)},
            {QStringLiteral("properties"), ::toJson(service.properties)}};
}

template <typename Record> QJsonArray toJson(const Control &control, const QVector<Record> &records)
{
    QJsonArray array;
    for (const Record &record : records) {
        array.append(toJson(control, record));
    }
    return array;
}

void printRecords(const Control &control, const QVector<RunningApplication> &applications,
                  const QVector<RunningService> &services)
{
    const QString none = QStringLiteral("-");
    const auto instance = [&](const auto &record) {
        const QString id = instanceOf(control, record.pid, record.properties);
        return id.isNull() ? none : id;
    };
    QVector<QStringList> rows;
    for (const RunningApplication &application : applications) {
        rows.append({application.appId, none, QString::number(application.pid),
                     QString::number(application.state), QString::number(application.kind),
                     instance(application), propertiesText(application.properties)});
    }
    for (const RunningService &service : services) {
        rows.append({service.appId, service.name, QString::number(service.pid),
                     QString::number(service.state), none, instance(service),
                     propertiesText(service.properties)});
    }
    printTable({QStringLiteral("APPLICATION"), QStringLiteral("SERVICE"), QStringLiteral("PID"),
                QStringLiteral("STATE"), QStringLiteral("KIND"), QStringLiteral("INSTANCE"),
                QStringLiteral("PROPERTIES")},
               rows, 2);
}

int report(const Control &control, const QVector<RunningApplication> &applications,
           const QVector<RunningService> &services, const Ostrel::Error &error, bool asJson)
{
    if (error) {
        return conclude(error, asJson, {});
    }
    if (asJson) {
        printJson({{QStringLiteral("applications"), toJson(control, applications)},
                   {QStringLiteral("services"), toJson(control, services)}});
    } else {
        printRecords(control, applications, services);
    }
    return Success;
}

int runPs(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("ps"),
        QStringLiteral("Lists the running applications, and the running services.\n"
                       "States and kinds are the service's numbers. The service does not send the\n"
                       "instances: an unknown one is '-'."));
    line.addJsonFlag();
    line.addTimeoutOption();
    return line.run(arguments, [&line]() -> Result<int> {
        return line.timeout().map([&line](int timeout) {
            const SessionBus bus;
            Control control;
            control.setTimeout(timeout);
            control.getRunningApplications(
                &control,
                [&control, json = line.wantsJson()](const QVector<RunningApplication> &applications,
                                                    const QVector<RunningService> &services,
                                                    const Ostrel::Error &error) {
                    QCoreApplication::exit(report(control, applications, services, error, json));
                });
            return QCoreApplication::exec();
        });
    });
}

} // namespace

Command psCommand()
{
    return {QStringLiteral("ps"), QStringLiteral("List what is running"), runPs};
}
