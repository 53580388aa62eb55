// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "tasks.h"

#include <QtDBus/QDBusMetaType>

#include <algorithm>

namespace
{

OfferedTask described(const QString &name, const QString &description)
{
    return {name, {{QStringLiteral("Description"), description}}};
}

QVector<OfferedTask> builtIn(const QString &type)
{
    if (type == QLatin1String("sync")) {
        return {described(QStringLiteral("calendar"), QStringLiteral("Fetches the calendars")),
                described(QStringLiteral("contacts"), QStringLiteral("Fetches the contacts")),
                described(QStringLiteral("photos"), QStringLiteral("Sends the photos"))};
    }
    if (type == QLatin1String("maintenance")) {
        return {described(QStringLiteral("cleanup"), QStringLiteral("Removes old files"))};
    }
    return {};
}

// The task of the name, or the end.
template <typename Tasks> auto find(const Tasks &tasks, const QString &name)
{
    return std::find_if(tasks.cbegin(), tasks.cend(),
                        [&name](const auto &task) { return task.name == name; });
}

} // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const OfferedTask &task)
{
    argument.beginStructure();
    argument << task.name << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, OfferedTask &task)
{
    argument.beginStructure();
    argument >> task.name >> task.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const StartedTask &task)
{
    argument.beginStructure();
    argument << task.name << task.number << task.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, StartedTask &task)
{
    argument.beginStructure();
    argument >> task.name >> task.number >> task.properties;
    argument.endStructure();
    return argument;
}

TaskType::TaskType(const QString &name)
    : m_name(name)
    , m_offered(builtIn(name))
{
    qDBusRegisterMetaType<OfferedTask>();
    qDBusRegisterMetaType<QVector<OfferedTask>>();
    qDBusRegisterMetaType<StartedTask>();
    qDBusRegisterMetaType<QVector<StartedTask>>();
}

bool TaskType::offers(const QString &task) const
{
    return find(m_offered, task) != m_offered.cend();
}

bool TaskType::isStarted(const QString &task) const
{
    return find(m_started, task) != m_started.cend();
}

int TaskType::start(const QString &task, const QVariantMap &hints)
{
    m_started.append({task, ++m_lastNumber, hints});
    return m_lastNumber;
}

void TaskType::stop(const QString &task)
{
    m_started.erase(m_started.begin() + (find(m_started, task) - m_started.cbegin()));
}
