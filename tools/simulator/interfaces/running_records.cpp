// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/running_records.h"

#include <QtDBus/QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const RunningApplication &application)
{
    argument.beginStructure();
    argument << application.appId << application.pid << application.state << application.kind
             << application.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RunningApplication &application)
{
    argument.beginStructure();
    argument >> application.appId >> application.pid >> application.state >> application.kind
        >> application.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const RunningService &service)
{
    argument.beginStructure();
    argument << service.appId << service.name << service.pid << service.state << service.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RunningService &service)
{
    argument.beginStructure();
    argument >> service.appId >> service.name >> service.pid >> service.state >> service.properties;
    argument.endStructure();
    return argument;
}

void RunningRecords::add(const Instance &instance)
{
    const auto propertiesOf = [&instance](const Program &program) {
        QVariantMap properties = program.properties;
        properties.insert(QStringLiteral("InstanceId"), instance.id());
        return properties;
    };
    const Application &application = instance.application();
    applications.append({application.id, instance.pid(), StateRunning, application.kind,
                         propertiesOf(application)});
    for (const Instance::RunningChild &running : instance.services()) {
        services.append({application.id, running.service.name, running.child->pid(), StateRunning,
                         propertiesOf(running.service)});
    }
}

void registerRunningRecords()
{
    qDBusRegisterMetaType<RunningApplication>();
    qDBusRegisterMetaType<QVector<RunningApplication>>();
    qDBusRegisterMetaType<RunningService>();
    qDBusRegisterMetaType<QVector<RunningService>>();
}

QVariantList RunningRecords::values() const
{
    return {QVariant::fromValue(applications), QVariant::fromValue(services)};
}

RunningRecords RunningRecords::madeUp(uint applications, uint services)
{
    const auto propertiesOf = [](uint number) {
        return QVariantMap{{QStringLiteral("Number"), number}};
    };
    RunningRecords records;
    for (uint i = 0; i < applications; ++i) {
        records.applications.append({QStringLiteral("made.Up%1").arg(i), static_cast<int>(i),
                                     StateRunning, i, propertiesOf(i)});
    }
    for (uint i = 0; i < services; ++i) {
        records.services.append({QStringLiteral("made.Up%1").arg(i),
                                 QStringLiteral("service%1").arg(i), static_cast<int>(i),
                                 StateRunning, propertiesOf(i)});
    }
    return records;
}
