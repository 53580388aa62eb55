// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_QT_RECORDS_H
#define BENCHMARKS_QT_RECORDS_H

#include <QtCore/QMetaType>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>

// The service's records for QtDBus: the members, and a reader that does not check what comes from
// the bus.

namespace Records
{

struct Application
{
    QString appId;
    int pid;
    uint state;
    uint kind;
    QVariantMap properties;
};

struct Service
{
    QString appId;
    QString name;
    int pid;
    uint state;
    QVariantMap properties;
};

struct Task
{
    QString name;
    int pid;
    QVariantMap properties;
};

inline const QDBusArgument &operator>>(const QDBusArgument &argument, Application &application)
{
    argument.beginStructure();
    argument >> application.appId >> application.pid >> application.state >> application.kind
        >> application.properties;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument, Service &service)
{
    argument.beginStructure();
    argument >> service.appId >> service.name >> service.pid >> service.state >> service.properties;
    argument.endStructure();
    return argument;
}

inline const QDBusArgument &operator>>(const QDBusArgument &argument, Task &task)
{
    argument.beginStructure();
    argument >> task.name >> task.pid >> task.properties;
    argument.endStructure();
    return argument;
}

// An empty name is not an error.
struct Error
{
    QString name;
    QString message;
};

// No contestant writes records, but QtDBus registers readers and writers together.
inline QDBusArgument &operator<<(QDBusArgument &argument, const Application &application)
{
    argument.beginStructure();
    argument << application.appId << application.pid << application.state << application.kind
             << application.properties;
    argument.endStructure();
    return argument;
}

inline QDBusArgument &operator<<(QDBusArgument &argument, const Service &service)
{
    argument.beginStructure();
    argument << service.appId << service.name << service.pid << service.state << service.properties;
    argument.endStructure();
    return argument;
}

inline Error errorOf(const QDBusError &error)
{
    return {error.name(), error.message()};
}

} // namespace Records

Q_DECLARE_METATYPE(Records::Application)
Q_DECLARE_METATYPE(Records::Service)

#endif
