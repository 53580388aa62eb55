// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_DBUS_TYPES_H
#define OSTREL_DBUS_TYPES_H

#include <QtCore/QDebug>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

#ifdef QT_DBUS_LIB
#include <QtDBus/QDBusArgument>

#include <type_traits>
#endif

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
    /** The first identifier that the service sends ("s"). */
    QString appId;
    /** The second identifier that the service sends ("s"). */
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

#ifdef QT_DBUS_LIB
/// @cond
// For programs that use QtDBus themselves, with code that qdbusxml2cpp generates from the installed
// descriptions: it reads the records with operators. They are templates, so that operators of the
// program's own come first. A value of another type is skipped, and leaves the record empty.
namespace Ostrel
{

template <typename Member> void readMember(const QDBusArgument &argument, Member &member)
{
    if constexpr (std::is_enum_v<Member>) {
        uint number = 0;
        argument >> number;
        member = static_cast<Member>(number);
    } else {
        argument >> member;
    }
}

template <typename... Members>
void readRecord(const QDBusArgument &argument, const char *signature, Members &...members)
{
    if (argument.currentSignature() == QLatin1String(signature)) {
        argument.beginStructure();
        (readMember(argument, members), ...);
        argument.endStructure();
    } else if (!argument.atEnd()) {
        argument.asVariant();
    }
}

template <typename Argument>
using IfQDBusArgument = std::enable_if_t<std::is_same_v<Argument, QDBusArgument>, const Argument &>;

template <typename Argument>
IfQDBusArgument<Argument> operator>>(const Argument &argument, RunningApplication &application)
{
    application = {};
    readRecord(argument, "(siuua{sv})", application.appId, application.pid, application.state,
               application.kind, application.properties);
    return argument;
}

template <typename Argument>
IfQDBusArgument<Argument> operator>>(const Argument &argument, RunningService &service)
{
    service = {};
    readRecord(argument, "(ssiua{sv})", service.appId, service.name, service.pid, service.state,
               service.properties);
    return argument;
}

template <typename Argument>
IfQDBusArgument<Argument> operator>>(const Argument &argument, AvailableTask &task)
{
    task = {};
    readRecord(argument, "(sa{sv})", task.name, task.properties);
    return argument;
}

template <typename Argument>
IfQDBusArgument<Argument> operator>>(const Argument &argument, ActiveTask &task)
{
    task = {};
    readRecord(argument, "(sia{sv})", task.name, task.pid, task.properties);
    return argument;
}

} // namespace Ostrel
/// @endcond
#endif

#endif
