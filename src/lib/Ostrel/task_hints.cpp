// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/task_invoker.h"

namespace Ostrel
{

void TaskInvoker::Hints::setCPULimit(int limit)
{
    insert(QStringLiteral("CPULimit"), limit);
}

void TaskInvoker::Hints::setUser(const QString &user)
{
    insert(QStringLiteral("User"), user);
}

void TaskInvoker::Hints::setDBusService(const QString &service)
{
    insert(QStringLiteral("DBusService"), service);
}

void TaskInvoker::Hints::setHomeless(bool homeless)
{
    insert(QStringLiteral("Homeless"), homeless);
}

void TaskInvoker::Hints::setMaximumRunningTime(int time)
{
    insert(QStringLiteral("RunningTime"), time);
}

void TaskInvoker::Hints::setOomWeight(int weight)
{
    insert(QStringLiteral("Weight"), weight);
}

void TaskInvoker::Hints::setPermissions(const QStringList &permissions)
{
    insert(QStringLiteral("Permissions"), permissions);
}

void TaskInvoker::Hints::setPriority(int priority)
{
    insert(QStringLiteral("Priority"), priority);
}

void TaskInvoker::Hints::setConditions(const QStringList &conditions)
{
    insert(QStringLiteral("Conditions"), conditions);
}

void TaskInvoker::Hints::setAutostart(Autostart autostart)
{
    // The service never sees another number.
    const bool known = autostart == AutostartEnabled || autostart == AutostartDisabled;
    insert(QStringLiteral("Autostart"), static_cast<int>(known ? autostart : AutostartDefault));
}

void TaskInvoker::Hints::addCGroupSetting(const QString &name, const QByteArray &value)
{
    const QString key = QStringLiteral("CGroups");
    QVariantMap settings = this->value(key).toMap();
    settings.insert(name, value);
    insert(key, settings);
}

} // namespace Ostrel
