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
 * The records in which the lifecycle service describes what runs and what can be started.
 *
 * They are plain values. The library fills them, and reads none of their members.
 *
 * They have no constructors and no default member values. A default-constructed record has empty
 * strings and an empty map, but its numbers are undefined; write `RunningApplication
 * application{};` for zeros.
 *
 * The `properties` hold strings, numbers, bools, string lists and byte arrays as such. QtDBus
 * leaves other arrays, structures and maps in them as QDBusArgument: their `toList()` and `toMap()`
 * silently return empty. Ostrel::Control::toPlainValue() reads any of these values.
 */

namespace Ostrel
{

/**
 * The state of an application.
 *
 * The service defines the numbers. The library passes every number on unchanged, whether it has a
 * name here or not. So compare and print states as numbers (`quint32`).
 */
enum ApplicationState : quint32 {
    /** The state that WindowManagement::updateWindowStatus() reports with every failure. */
    ApplicationStateUnknown = 255,
};

/** The kind of an application. The service defines the numbers; the library names none. */
enum ApplicationKind : quint32 {
};

/** The state of a service process. The service defines the numbers; the library names none. */
enum ServiceState : quint32 {
};

/**
 * One running application. No member says which instance it is: see @ref device.
 *
 * On the bus it is a structure with the signature "(siuua{sv})", with the members in this order.
 */
struct RunningApplication
{
    /** The identifier of the application ("s"). */
    QString appId;
    /** The number of the application's process, as the service sends it ("i"); may be negative. */
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
 * On the bus it is a structure with the signature "(ssiua{sv})", with the members in this order.
 */
struct RunningService
{
    /** The first identifier that the service sends ("s"). */
    QString appId;
    /** The second identifier that the service sends ("s"). */
    QString name;
    /** The number of the service's process, as the service sends it ("i"); may be negative. */
    qint32 pid;
    /** The state of the service ("u"). */
    ServiceState state;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * The state of one task.
 *
 * On the bus it is a structure with the signature "(sua{sv})", with the members in this order.
 */
struct TaskState
{
    /** The name of the task ("s"). */
    QString name;
    /** The state of the task ("u"); the service defines the numbers. */
    uint state;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/**
 * One task that can be started.
 *
 * On the bus it is a structure with the signature "(sa{sv})", with the members in this order.
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
 * On the bus it is a structure with the signature "(sia{sv})", with the members in this order.
 */
struct ActiveTask
{
    /** The name of the task ("s"). */
    QString name;
    /** The number of the running instance, as the service sends it ("i"); may be negative. */
    qint32 pid;
    /** Further named values ("a{sv}"); the service defines the keys. */
    QVariantMap properties;
};

/** Writes the members in order. */
inline QDebug operator<<(QDebug debug, const RunningApplication &application)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::RunningApplication(" << application.appId << ", " << application.pid
                    << ", " << quint32(application.state) << ", " << quint32(application.kind)
                    << ", " << application.properties << ')';
    return debug;
}

/** Writes the members in order. */
inline QDebug operator<<(QDebug debug, const RunningService &service)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::RunningService(" << service.appId << ", " << service.name << ", "
                    << service.pid << ", " << quint32(service.state) << ", " << service.properties
                    << ')';
    return debug;
}

/** Writes the members in order. */
inline QDebug operator<<(QDebug debug, const TaskState &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::TaskState(" << task.name << ", " << task.state << ", "
                    << task.properties << ')';
    return debug;
}

/** Writes the members in order. */
inline QDebug operator<<(QDebug debug, const AvailableTask &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::AvailableTask(" << task.name << ", " << task.properties << ')';
    return debug;
}

/** Writes the members in order. */
inline QDebug operator<<(QDebug debug, const ActiveTask &task)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << "Ostrel::ActiveTask(" << task.name << ", " << task.pid << ", "
                    << task.properties << ')';
    return debug;
}

} // namespace Ostrel

// Not ApplicationState: it is registered at run time, under the short name that the signals of the
// library use.
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
// Operators for code that qdbusxml2cpp generates from the installed interface descriptions. They
// are templates, so that a program's own operators take precedence. A value of another type is
// skipped, and leaves the record empty.
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
