// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_RUNNING_RECORDS_H
#define SIMULATOR_RUNNING_RECORDS_H

#include "programs/instance.h"

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

// The states that the simulator assigns.
enum RunningState : uint {
    StateRunning = 1,
    StateEnded = 2
};

// A running application: "(siuua{sv})".
struct RunningApplication
{
    QString appId;
    int pid = 0;
    uint state = StateRunning;
    uint kind = 0;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(RunningApplication)

// A running service of an application: "(ssiua{sv})".
struct RunningService
{
    QString appId;
    QString name;
    int pid = 0;
    uint state = StateRunning;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(RunningService)

void registerRunningRecords();

// What "GetRunningApplications" returns.
struct RunningRecords
{
    QVector<RunningApplication> applications;
    QVector<RunningService> services;

    // Adds what runs of an instance.
    void add(const Instance &instance);

    // The arguments of the reply.
    QVariantList values() const;

    // Records of applications and services that do not exist.
    static RunningRecords madeUp(uint applications, uint services);
};

QDBusArgument &operator<<(QDBusArgument &argument, const RunningApplication &application);
const QDBusArgument &operator>>(const QDBusArgument &argument, RunningApplication &application);
QDBusArgument &operator<<(QDBusArgument &argument, const RunningService &service);
const QDBusArgument &operator>>(const QDBusArgument &argument, RunningService &service);

#endif
