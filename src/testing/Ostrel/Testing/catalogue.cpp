// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "catalogue.h"

#include <QtCore/QJsonArray>

namespace Ostrel::Testing
{

namespace
{

QJsonObject programOf(const QString &program, const QStringList &arguments)
{
    return {{QStringLiteral("program"), program},
            {QStringLiteral("arguments"), QJsonArray::fromStringList(arguments)}};
}

QJsonObject toJson(const Catalogue::Application &application)
{
    QJsonArray services;
    for (const Catalogue::Service &service : application.services) {
        QJsonObject entry = programOf(service.program, service.arguments);
        entry.insert(QStringLiteral("name"), service.name);
        services.append(entry);
    }
    QJsonObject entry = programOf(application.program, application.arguments);
    entry.insert(QStringLiteral("id"), application.id);
    entry.insert(QStringLiteral("properties"), QJsonObject::fromVariantMap(application.properties));
    entry.insert(QStringLiteral("kind"), static_cast<qint64>(application.kind));
    entry.insert(QStringLiteral("singleInstance"), application.singleInstance);
    entry.insert(QStringLiteral("services"), services);
    return entry;
}

QJsonObject toJson(const QString &taskType, const QVector<Catalogue::Task> &all)
{
    QJsonArray tasks;
    for (const Catalogue::Task &task : all) {
        QJsonObject entry = programOf(task.program, task.arguments);
        entry.insert(QStringLiteral("name"), task.name);
        entry.insert(QStringLiteral("properties"), QJsonObject::fromVariantMap(task.properties));
        tasks.append(entry);
    }
    return {{QStringLiteral("type"), taskType}, {QStringLiteral("tasks"), tasks}};
}

} // namespace

void Catalogue::addApplication(const Application &application)
{
    m_applications.append(application);
}

void Catalogue::addTask(const QString &taskType, const Task &task)
{
    m_tasks[taskType].append(task);
}

QJsonObject Catalogue::toJson() const
{
    QJsonArray applications;
    for (const Application &application : m_applications) {
        applications.append(Testing::toJson(application));
    }
    QJsonArray taskTypes;
    for (auto type = m_tasks.cbegin(); type != m_tasks.cend(); ++type) {
        taskTypes.append(Testing::toJson(type.key(), type.value()));
    }
    return {{QStringLiteral("applications"), applications},
            {QStringLiteral("taskTypes"), taskTypes}};
}

} // namespace Ostrel::Testing
