// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_H
#define OSTREL_DBUS_TYPES_H

#include <QtCore/QDebug>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

/**
 * @file
 * The records in which the lifecycle service describes what is running and what can be started.
 *
 * They are plain values for the caller: the library fills them and reads none of their members.
 * They declare no constructors and no default member values, so that a default-constructed record
 * has empty strings and an empty map, but numbers without a defined value; write
 * `RunningApplication application{};` for zeros.
 *
 * Their `properties` hold strings, numbers, bools, string lists and bytes as such. QtDBus leaves
 * other arrays, structures and maps in them as QDBusArgument: `toList()` and `toMap()` of such a
 * value are silently empty. Ostrel::Control::toPlainValue() reads it, whatever it holds.
 */

namespace Ostrel
{

/**
 * The state of an application, as the service numbers it.
 *
 * The service defines the numbers. Any number that it sends is handed on unchanged, named here or
 * not, so compare and print values as numbers (`quint32`).
 */
enum ApplicationState : quint32 {
    /** What WindowManagement::updateWindowStatus() hands over together with any failure. */
    ApplicationStateUnknown = 255,
};

/** The kind of an application. The service defines the numbers; the library names none. */
enum ApplicationKind : quint32 {
};

/** The state of a service process. The service defines the numbers; the library names none. */
enum ServiceState : quint32 {
};

/**
 * One running application.
 *
 * On the bus it is a structure of the signature "(siuua{sv})", with the members in this order.
 */
struct RunningApplication
{
    /** The identifier of the application ("s"). */
    QString appId;
    /** The number that the service gives for the application's process ("i"). It may be negative.
     */
    qint32 pid;
    /** The state of the application ("u"). */
    ApplicationState state;
    /** The kind of the application ("u"). */
    ApplicationKind kind;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * One running service.
 *
 * On the bus it is a structure of the signature "(ssiua{sv})", with the members in this order.
 */
struct RunningService
{
    /** The identifier of the application that the service belongs to ("s"). */
    QString appId;
    /** The name of the service ("s"). */
    QString name;
    /** The number that the service gives for the service's process ("i"). It may be negative. */
    qint32 pid;
    /** The state of the service ("u"). */
    ServiceState state;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * The state of one task.
 *
 * On the bus it is a structure of the signature "(sua{sv})", with the members in this order.
 */
struct TaskState
{
    /** The name of the task ("s"). */
    QString name;
    /** The number of the task's state ("u"); the service defines the numbers. */
    uint state;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * One task that can be started.
 *
 * On the bus it is a structure of the signature "(sa{sv})", with the members in this order.
 */
struct AvailableTask
{
    /** The name of the task ("s"). */
    QString name;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * One running instance of a task.
 *
 * On the bus it is a structure of the signature "(sia{sv})", with the members in this order.
 */
struct ActiveTask
{
    /** The name of the task ("s"). */
    QString name;
    /** The number that the service gives for the running instance ("i"). It may be negative. */
    qint32 pid;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/** Writes the members in their order. */
inline QDebug operator<<(QDebug debug, const RunningApplication &application)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::RunningApplication(" << application.appId << ", " << application.pid
                    << ", " << quint32(application.state) << ", " << quint32(application.kind)
                    << ", " << application.properties << ')';
    return debug;
}

/** Writes the members in their order. */
inline QDebug operator<<(QDebug debug, const RunningService &service)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::RunningService(" << service.appId << ", " << service.name << ", "
                    << service.pid << ", " << quint32(service.state) << ", " << service.properties
                    << ')';
    return debug;
}

/** Writes the members in their order. */
inline QDebug operator<<(QDebug debug, const TaskState &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::TaskState(" << task.name << ", " << task.state << ", "
                    << task.properties << ')';
    return debug;
}

/** Writes the members in their order. */
inline QDebug operator<<(QDebug debug, const AvailableTask &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::AvailableTask(" << task.name << ", " << task.properties << ')';
    return debug;
}

/** Writes the members in their order. */
inline QDebug operator<<(QDebug debug, const ActiveTask &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::ActiveTask(" << task.name << ", " << task.pid << ", "
                    << task.properties << ')';
    return debug;
}

} // namespace Ostrel

// ApplicationState is left out on purpose: it is registered at run time, under the short name that
// the signals of the library spell.
Q_DECLARE_TYPEINFO(Ostrel::RunningApplication, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Ostrel::RunningService, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Ostrel::TaskState, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Ostrel::AvailableTask, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(Ostrel::ActiveTask, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(Ostrel::RunningApplication)
Q_DECLARE_METATYPE(Ostrel::RunningService)
Q_DECLARE_METATYPE(Ostrel::TaskState)
Q_DECLARE_METATYPE(Ostrel::AvailableTask)
Q_DECLARE_METATYPE(Ostrel::ActiveTask)

#endif
