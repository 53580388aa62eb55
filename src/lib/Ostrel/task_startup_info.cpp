// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/task_invoker.h"

namespace Ostrel
{

TaskInvoker::StartupInfo::StartupInfo() = default;

TaskInvoker::StartupInfo::StartupInfo(const QVariantMap &map)
    : QVariantMap(map)
{
}

void TaskInvoker::StartupInfo::setParameters(const QStringList &parameters)
{
    insert(QStringLiteral("Params"), parameters);
}

QStringList TaskInvoker::StartupInfo::parameters() const
{
    return value(QStringLiteral("Params")).toStringList();
}

void TaskInvoker::StartupInfo::addEnvironmentVariable(const QString &name, const QString &value)
{
    const QString key = QStringLiteral("Environment");
    QStringList environment = this->value(key).toStringList();
    environment.append(name + QLatin1Char('=') + value);
    insert(key, environment);
}

QStringList TaskInvoker::StartupInfo::environment() const
{
    return value(QStringLiteral("Environment")).toStringList();
}

} // namespace Ostrel
