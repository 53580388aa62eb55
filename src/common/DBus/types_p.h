// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_P_H
#define OSTREL_DBUS_TYPES_P_H

#include "DBus/types.h"

#include <QtCore/QVariant>
#include <QtDBus/QDBusArgument>

namespace Ostrel
{

// Registers all records, their vectors, ApplicationState and the JSON classes with Qt, once per
// process. Each client whose replies or signals carry them calls it first.
void registerDBusTypes();

// Marshalling of the records. The readers accept any value: what does not match is silently
// skipped, and gives default values.

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

// These take precedence over Qt's readers of vectors, which begin an array without a check.
const QDBusArgument &operator>>(const QDBusArgument &argument,
                                QVector<RunningApplication> &applications);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<RunningService> &services);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<TaskState> &tasks);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<AvailableTask> &tasks);
const QDBusArgument &operator>>(const QDBusArgument &argument, QVector<ActiveTask> &tasks);

// Replaces the records by those in a value of a reply or a property. A value of another type gives
// no records.
template <typename Record> void read(const QVariant &value, QVector<Record> &records)
{
    // A value of another type gives an empty argument, which reads as an empty list.
    value.value<QDBusArgument>() >> records;
}

} // namespace Ostrel

#endif
