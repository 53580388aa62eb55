// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/task_invoker.h"

namespace Ostrel
{

namespace
{

// The service never sees a number outside the enumeration.
TaskInvoker::Autostart known(TaskInvoker::Autostart autostart)
{
    const bool isKnown =
        autostart == TaskInvoker::AutostartEnabled || autostart == TaskInvoker::AutostartDisabled;
    return isKnown ? autostart : TaskInvoker::AutostartDefault;
}

} // namespace

TaskInvoker::Hints::Hints() = default;

TaskInvoker::Hints::Hints(const QVariantMap &map)
    : QVariantMap(map)
{
}

void TaskInvoker::Hints::setCPULimit(int limit)
{
    insert(QStringLiteral("CPULimit"), limit);
}

int TaskInvoker::Hints::cpuLimit() const
{
    return value(QStringLiteral("CPULimit")).toInt();
}

void TaskInvoker::Hints::setUser(const QString &user)
{
    insert(QStringLiteral("User"), user);
}

QString TaskInvoker::Hints::user() const
{
    return value(QStringLiteral("User")).toString();
}

void TaskInvoker::Hints::setDBusService(const QString &service)
{
    insert(QStringLiteral("DBusService"), service);
}

QString TaskInvoker::Hints::dBusService() const
{
    return value(QStringLiteral("DBusService")).toString();
}

void TaskInvoker::Hints::setHomeless(bool homeless)
{
    insert(QStringLiteral("Homeless"), homeless);
}

bool TaskInvoker::Hints::isHomeless() const
{
    return value(QStringLiteral("Homeless")).toBool();
}

void TaskInvoker::Hints::setMaximumRunningTime(int time)
{
    insert(QStringLiteral("RunningTime"), time);
}

int TaskInvoker::Hints::maximumRunningTime() const
{
    return value(QStringLiteral("RunningTime")).toInt();
}

void TaskInvoker::Hints::setOomWeight(int weight)
{
    insert(QStringLiteral("Weight"), weight);
}

int TaskInvoker::Hints::oomWeight() const
{
    return value(QStringLiteral("Weight")).toInt();
}

void TaskInvoker::Hints::setPermissions(const QStringList &permissions)
{
    insert(QStringLiteral("Permissions"), permissions);
}

QStringList TaskInvoker::Hints::permissions() const
{
    return value(QStringLiteral("Permissions")).toStringList();
}

void TaskInvoker::Hints::setPriority(int priority)
{
    insert(QStringLiteral("Priority"), priority);
}

int TaskInvoker::Hints::priority() const
{
    return value(QStringLiteral("Priority")).toInt();
}

void TaskInvoker::Hints::setConditions(const QStringList &conditions)
{
    insert(QStringLiteral("Conditions"), conditions);
}

QStringList TaskInvoker::Hints::conditions() const
{
    return value(QStringLiteral("Conditions")).toStringList();
}

void TaskInvoker::Hints::setAutostart(Autostart autostart)
{
    insert(QStringLiteral("Autostart"), static_cast<int>(known(autostart)));
}

TaskInvoker::Autostart TaskInvoker::Hints::autostart() const
{
    return known(static_cast<Autostart>(value(QStringLiteral("Autostart")).toUInt()));
}

void TaskInvoker::Hints::addCGroupSetting(const QString &name, const QByteArray &value)
{
    const QString key = QStringLiteral("CGroups");
    QVariantMap settings = this->value(key).toMap();
    settings.insert(name, value);
    insert(key, settings);
}

QVariantMap TaskInvoker::Hints::cGroupSettings() const
{
    return value(QStringLiteral("CGroups")).toMap();
}

} // namespace Ostrel
