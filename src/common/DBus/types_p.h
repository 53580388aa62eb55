// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_P_H
#define OSTREL_DBUS_TYPES_P_H

#include "DBus/types.h"

#include <QtDBus/QDBusArgument>

namespace Ostrel
{

// Makes all records, their vectors, ApplicationState and the JSON classes known to Qt's type
// systems, once in a process. Every client whose replies or signals carry them calls it first.
void registerDBusTypes();

// The wire forms of the records. The readers take whatever stands on the bus: what does not match
// gives default values, is stepped over, and is not reported.

QDBusArgument &operator<<(QDBusArgument &argument, const RunningApplication &application);
const QDBusArgument &operator>>(const QDBusArgument &argument, RunningApplication &application);

QDBusArgument &operator<<(QDBusArgument &argument, const RunningService &service);
const QDBusArgument &operator>>(const QDBusArgument &argument, RunningService &service);

QDBusArgument &operator<<(QDBusArgument &argument, const TaskState &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, TaskState &task);

QDBusArgument &operator<<(QDBusArgument &argument, const AvailableTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, AvailableTask &task);

QDBusArgument &operator<<(QDBusArgument &argument, const ActiveTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, ActiveTask &task);

// Chosen over Qt's own readers of a vector, which begin an array whatever the argument stands at.
const QDBusArgument &operator>>(const QDBusArgument &argument,
                                QVector<RunningApplication> &applications);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<RunningService> &services);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<TaskState> &tasks);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<AvailableTask> &tasks);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<ActiveTask> &tasks);

} // namespace Ostrel

#endif
