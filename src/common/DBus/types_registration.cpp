// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <QtDBus/QDBusMetaType>

namespace Ostrel
{

namespace
{

struct Registration
{
    Registration();
};

Registration::Registration()
{
    // The names without the namespace are aliases, for signals and properties that are declared
    // inside it. Available and active tasks come only in vectors.
    qRegisterMetaType<RunningApplication>("RunningApplication");
    qRegisterMetaType<QVector<RunningApplication>>("QVector<RunningApplication>");
    qRegisterMetaType<RunningService>("RunningService");
    qRegisterMetaType<QVector<RunningService>>("QVector<RunningService>");
    qRegisterMetaType<TaskState>("TaskState");
    qRegisterMetaType<QVector<TaskState>>("QVector<TaskState>");
    qRegisterMetaType<QVector<AvailableTask>>("QVector<AvailableTask>");
    qRegisterMetaType<QVector<ActiveTask>>("QVector<ActiveTask>");
    qRegisterMetaType<ApplicationState>("ApplicationState");

    qDBusRegisterMetaType<RunningApplication>();
    qDBusRegisterMetaType<QVector<RunningApplication>>();
    qDBusRegisterMetaType<RunningService>();
    qDBusRegisterMetaType<QVector<RunningService>>();
    qDBusRegisterMetaType<TaskState>();
    qDBusRegisterMetaType<QVector<TaskState>>();
    qDBusRegisterMetaType<AvailableTask>();
    qDBusRegisterMetaType<QVector<AvailableTask>>();
    qDBusRegisterMetaType<ActiveTask>();
    qDBusRegisterMetaType<QVector<ActiveTask>>();
    qDBusRegisterMetaType<QJsonArray>();
    qDBusRegisterMetaType<QJsonObject>();
    qDBusRegisterMetaType<QJsonValue>();
    // What an array of JSON objects becomes.
    qDBusRegisterMetaType<QVector<QVariantMap>>();
}

} // namespace

void registerDBusTypes()
{
    // Once: the threads that get here meanwhile wait.
    static const Registration once;
}

} // namespace Ostrel
