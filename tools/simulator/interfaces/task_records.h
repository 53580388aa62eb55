// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASK_RECORDS_H
#define SIMULATOR_TASK_RECORDS_H

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

// A task that can be started: "(sa{sv})".
struct OfferedTask
{
    QString name;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(OfferedTask)

QDBusArgument &operator<<(QDBusArgument &argument, const OfferedTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, OfferedTask &task);

// A task that has been started: "(sia{sv})".
struct StartedTask
{
    QString name;
    int pid = 0;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(StartedTask)

QDBusArgument &operator<<(QDBusArgument &argument, const StartedTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, StartedTask &task);

// Registers the records and their lists with QtDBus.
void registerTaskRecords();

#endif
