// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_CONTROL_H
#define OSTREL_CONTROL_H

#include <Ostrel/debug_params.h>
#include <Ostrel/error.h>
#include <Ostrel/export.h>

#include <DBus/types.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

#include <functional>
#include <memory>

namespace Ostrel
{

class ControlPrivate;

/**
 * Starts, terminates, lists and follows applications.
 *
 * Each request is one call to the lifecycle service, and returns its outcome. The service may be
 * absent when the object is made, and may come and go. Nothing is queued or sent again.
 *
 * @code
 * Ostrel::Control *control = Ostrel::Control::instance();
 * QObject::connect(control, &Ostrel::Control::terminated, this,
 *                  [](const QString &appInstanceId, const QVariantMap &details) {
 *                      qInfo() << appInstanceId << "has ended:" << details;
 *                  });
 * const Ostrel::Control::StartResult result = control->start(QStringLiteral("demo.Viewer"));
 * if (result.error) {
 *     qWarning() << result.error.message();
 * } else {
 *     qInfo() << "started as" << result.appInstanceId;
 * }
 * @endcode
 *
 * @warning Without a callback, start(), startDebug(), terminate() and getRunningApplications()
 * block until the service replies or the timeout passes (25 seconds by default). No event loop runs
 * in the calling thread meanwhile. A program with a user interface uses the overloads with a
 * callback.
 *
 * The object uses the session bus, and belongs to the thread that made it. Any thread may make
 * blocking requests and look up processes, several at once. Call everything else in the object's
 * own thread, and destroy it there, when no request is under way.
 *
 * The object's thread emits the signals. Run its event loop as long as the object lives: until it
 * runs, the signals are kept in memory, without a limit. Blocking requests need no loop.
 *
 * The first object lifts libdbus's limits of received messages and file descriptors, for the whole
 * process's connection to the bus and for its life; `-DOSTREL_LIFT_RECEIVE_LIMIT=OFF` builds a
 * library that leaves them.
 *
 * See also @ref behaviour (with lost connections, fork() and the end of the process), @ref sending,
 * and @ref traps (how to read `details`).
 */
class OSTREL_EXPORT Control : public QObject
{
    Q_OBJECT

public:
    /** The outcome of starting an application. */
    struct StartResult
    {
        /** No error if the application was started; otherwise the reason. */
        Error error;
        /** What the service says about the start, under keys of its own; empty on failure. */
        QVariantMap details;
        /** The identifier of the new instance; empty on failure. */
        QString appInstanceId;
    };

    /**
     * Returns the instance that the whole process shares.
     *
     * The first call makes it, and it belongs to the calling thread. Make this call before other
     * threads do. Afterwards any thread may call it. The object is never destroyed.
     */
    static Control *instance();

    /**
     * Constructs an object without a parent.
     *
     * This opens the process's connection to the session bus if there is none yet. It subscribes to
     * the service's signals and asks the message bus who owns the service's name, which takes a few
     * milliseconds. If the message bus accepts the connection and then does not reply, the first
     * object of a process blocks without a limit, and later ones block for about 50 seconds.
     *
     * Nothing is sent to the service, which need not run. Without a bus the object still works:
     * its requests fail, and it emits no signals.
     *
     * The library lifts libdbus's limits of received messages and file descriptors for this
     * connection, as long as the process lives. @ref behaviour says why, and what that can cost.
     */
    Control();

    /** Constructs an object as Control() does, with a @p parent that deletes it. */
    explicit Control(QObject *parent);

    /** Destroys the object. Nothing is sent to the service, and applications keep running. */
    ~Control() override;

    /**
     * Starts an application, and blocks until the service replies.
     *
     * Makes the bus call "Start" (signature "s", reply "sa{sv}") on the service's ".Control1"
     * interface.
     *
     * @param appId  the identifier of the application, sent as given.
     * @return the identifier of the instance and its details. On failure both are empty. An error
     *         reply named "NoError" gives empty values, no error, and the reply's message. The
     *         codes of the error are:
     *         - the code of the service's own error;
     *         - AccessDenied, InvalidArgs or NotSupported, if the message bus refuses the call;
     *         - Failed, if the service is absent, ends before it replies, replies with other
     *           types, or does not reply in time; if there is no bus; or if the identifier is too
     *           large for a message.
     */
    StartResult start(const QString &appId);

    /**
     * Starts an application, and returns at once.
     *
     * Makes the same bus call as start(const QString &), with the same outcome.
     *
     * @param appId     the identifier of the application, sent as given.
     * @param context   the object on whose behalf the call is made; it must be alive. If it is
     *                  destroyed, the callback is dropped. The call is not withdrawn.
     * @param callback  receives the outcome exactly once, from the event loop of the thread of
     *                  @p context, never from within this function. It is called even if the
     *                  Control has been destroyed. It may delete any object. If it is empty, the
     *                  outcome is dropped.
     */
    void start(const QString &appId, const QObject *context,
               const std::function<void(const StartResult &result)> &callback);

    /**
     * Starts an application for debugging, and blocks until the service replies.
     *
     * Makes the bus call "StartDebug" (signature "sa{sv}", reply "sa{sv}") on the service's
     * ".Control1" interface. It sends exactly those parameters that were set.
     *
     * @param appId   the identifier of the application, sent as given.
     * @param params  the conditions of the start. @ref sending says which values can be sent.
     * @return as for start(). For a value that cannot be sent, Error::Failed and a message that
     *         begins with "Marshalling failed: ".
     */
    StartResult startDebug(const QString &appId, const DebugParams &params);

    /**
     * Starts an application for debugging, and returns at once.
     *
     * Makes the same bus call as startDebug(const QString &, const DebugParams &), with the same
     * outcome.
     *
     * @param appId     the identifier of the application, sent as given.
     * @param params    the conditions of the start.
     * @param context   as for start().
     * @param callback  as for start().
     */
    void startDebug(const QString &appId, const DebugParams &params, const QObject *context,
                    const std::function<void(const StartResult &result)> &callback);

    /**
     * Terminates an instance of an application, and blocks until the service replies.
     *
     * Makes the bus call "Terminate" (signature "s", any reply) on the service's ".Control1"
     * interface.
     *
     * @param appInstanceId  the identifier of the instance, as start() returned it or started()
     *                       announced it, sent as given. The list of what runs may not have it:
     *                       see @ref device.
     * @return no error on success, whatever values the reply holds. On failure, the codes of
     *         start().
     */
    Error terminate(const QString &appInstanceId);

    /**
     * Terminates an instance of an application, and returns at once.
     *
     * Makes the same bus call as terminate(const QString &), with the same outcome.
     *
     * @param appInstanceId  the identifier of the instance, sent as given.
     * @param context        as for start().
     * @param callback       as for start().
     */
    void terminate(const QString &appInstanceId, const QObject *context,
                   const std::function<void(const Error &error)> &callback);

    /**
     * Lists the running applications and services, and blocks until the service replies.
     *
     * Makes the bus call "GetRunningApplications" (no arguments, reply
     * "a(siuua{sv})a(ssiua{sv})") on the service's ".Control1" interface.
     *
     * @param applications  receives the running applications, in the order of the reply.
     * @param services      receives the running services, in the order of the reply.
     * @return no error on success. Every failure is Error::Failed with the message of the bus
     *         error, whatever its name, and leaves both vectors unchanged. A reply with fewer than
     *         two values is such a failure; a library that was built with assertions then ends the
     *         program. Values of unexpected types give no records, or default values in records.
     */
    Error getRunningApplications(QVector<RunningApplication> &applications,
                                 QVector<RunningService> &services);

    /**
     * Lists the running applications and services, and returns at once.
     *
     * Makes the same bus call as the function that blocks, with the same outcome.
     *
     * @param context   as for start().
     * @param callback  as for start(). It receives the running applications and the running
     *                  services, in the order of the reply. Both are empty on failure.
     */
    void getRunningApplications(
        const QObject *context,
        const std::function<void(const QVector<RunningApplication> &applications,
                                 const QVector<RunningService> &services, const Error &error)>
            &callback);

    /**
     * Sets how long later requests of this object wait for a reply.
     *
     * After that time a request fails with Error::Failed. The service may still do what it was
     * asked for. This makes no bus call. Call it before other threads use the object.
     *
     * @param milliseconds  the timeout, at least 1; or -1 for the default of the bus library, which
     *                      is 25 seconds. Any other value logs a warning and changes nothing.
     */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later requests in milliseconds, or -1 for the default. */
    int timeout() const;

    /**
     * Returns whether the service runs: whether its name has an owner on the session bus.
     *
     * The object asks the message bus when it is made, and follows each change in its event loop.
     * This function does not block, and sends nothing to the service. The first call subscribes to
     * the end of the bus connection.
     *
     * A request may succeed while this is false, if the message bus can start the service.
     */
    bool isServiceAvailable() const;

    /** Returns the bus name of the service. Makes no bus call; any thread may call it. */
    static QString serviceName();

    /**
     * Converts a value of `details` or of a record's properties to plain Qt values.
     *
     * QtDBus leaves arrays, maps and structures in such values as QDBusArgument, and reading one as
     * another type crashes the process. This function reads any value.
     *
     * Makes no bus call; any thread may call it.
     *
     * @param value  the value; it is not changed.
     * @return the value without D-Bus types, at any depth:
     *         - an array or a structure as QVariantList;
     *         - a map as QVariantMap, its keys as strings (of equal keys, the last one counts);
     *         - a nested variant as what it holds;
     *         - an object path or a signature as QString;
     *         - strings, numbers, QStringList, QByteArray, file descriptors and the caller's own
     *           types unchanged;
     *         - a QDBusArgument that the caller wrote or has begun to read, and everything below
     *           128 levels, as an invalid QVariant.
     */
    static QVariant toPlainValue(const QVariant &value);

    /**
     * Returns the identifier of the application that a process belongs to.
     *
     * Reads the process's memory control group from "/proc/PID/cgroup". The value of the
     * environment variable "OSTREL_ROOTFS", if set, is put in front of that path as it is, without
     * a separator. This makes no bus call. Any thread may call it while no other thread changes the
     * environment.
     *
     * A process that may name control groups can influence the result, so do not base access
     * rights on it.
     *
     * @param pid  the number of the process, as the calling process sees it.
     * @return the identifier, cut to 127 bytes of UTF-8; a cut identifier is not the application's.
     *         Null if the process does not exist or is not managed by the service, or if the system
     *         has no memory control groups of version 1.
     */
    QString getAppIdByPid(int pid) const;

    /**
     * Returns the identifier of the instance that a process belongs to.
     *
     * Reads the same file as getAppIdByPid(), under the same conditions.
     *
     * @param pid  the number of the process, as the calling process sees it.
     * @return the identifier of the application, "." and the part of the instance ("instance_…");
     *         the identifier of the application alone, if it has a single instance. Null where
     *         getAppIdByPid() is null, and if the part of the instance has another form. The
     *         application's part is cut to 127 bytes of UTF-8 and the instance's to 159; a cut
     *         identifier identifies nothing. If both are too long, this function and
     *         getAppIdByPid() return null.
     */
    QString getAppInstanceIdByPid(int pid) const;

Q_SIGNALS:
    /**
     * Emitted when an application has been started, by this program or another one.
     *
     * The service defines the order: the signal may come before or after the reply to the request
     * that caused it.
     *
     * @param appInstanceId  the identifier of the new instance.
     * @param details        what the service says about the start; may be empty.
     */
    void started(const QString &appInstanceId, const QVariantMap &details);

    /**
     * Emitted when an instance of an application has ended, for whatever reason.
     *
     * @param appInstanceId  the identifier of the instance.
     * @param details        what the service says about the end; may be empty.
     */
    void terminated(const QString &appInstanceId, const QVariantMap &details);

    /**
     * Emitted when the state of an instance has changed.
     *
     * A string-based connection spells it `SIGNAL(stateChanged(QString,ApplicationState))`, without
     * the namespace. As for all signals of this class, a bus signal with other or further values is
     * dropped. So is a change without a state.
     *
     * @param appInstanceId  the identifier of the instance.
     * @param state          the new state: any number that the service sent, or a string that reads
     *                       as a number. Only the lower 32 bits count. Any other value gives 0.
     */
    void stateChanged(const QString &appInstanceId, ApplicationState state);

    /**
     * Emitted when the out-of-memory killer has chosen a process of an application.
     *
     * @param processId  the identifier of the process, as the service names it.
     */
    void selectedByOom(const QString &processId);

    /**
     * Emitted when the service has started or ended.
     *
     * When the service's name passes from one owner straight to another, this is emitted with
     * false, then with true: the new service knows nothing of what the old one did. When the
     * message bus itself ends, it is emitted with false, provided that isServiceAvailable() was
     * called before.
     *
     * @param available  whether the service runs now, as isServiceAvailable() returns it.
     */
    void serviceAvailableChanged(bool available);

private:
    Q_DISABLE_COPY(Control)

    const std::unique_ptr<ControlPrivate> d;
};

} // namespace Ostrel

#endif
