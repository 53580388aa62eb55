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
 * Each request is one call to the lifecycle service, and its outcome is what the function returns.
 * The service may be absent when the object is made, may come and go: each request stands for
 * itself, nothing is queued or repeated, and the signals arrive from whoever is the service at the
 * time. What happens while no service runs, or happened before the object was made, is not told
 * later. A signal that comes right behind a change of the service's owner may be lost, too.
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
 * @warning Without a context and a callback, start(), startDebug(), terminate() and
 * getRunningApplications() block: the calling thread waits until the service answers or the timeout
 * passes (25 seconds by default), and no event loop runs meanwhile. A program with a user interface
 * calls the overloads with a callback, which return at once.
 *
 * The object uses the session bus. Any thread may make blocking requests and look up processes,
 * several at once on the same object; the other functions are called in the thread of the object.
 * The signals are emitted by the event loop of the thread that made the object; the requests that
 * block need no loop. The object is destroyed in that thread, when no request is under way. Do not
 * use `moveToThread()`: it moves only some of the signals.
 *
 * A thread that keeps a Control has to run its event loop. Until it does, the signals of the
 * service are kept in memory, without a limit (a thousand of them take more than a megabyte). A
 * thread without a loop makes its requests on a Control of another thread.
 *
 * Making an object lifts libdbus's limits of received messages and file descriptors, for the
 * process's connection to the bus and for as long as the process lives; @ref behaviour says why and
 * what it can cost. A library built with `-DOSTREL_LIFT_RECEIVE_LIMIT=OFF` leaves the limits alone.
 *
 * The maps that come with signals and results (`details`) hold plain values, but QtDBus leaves
 * arrays, structures and maps in them as QDBusArgument: `toList()` and `toMap()` of such a value
 * are silently empty. toPlainValue() reads it, whatever it holds.
 *
 * @code
 * const QVariant windows = result.details.value(QStringLiteral("Windows"));
 * const QVariantList numbers = Ostrel::Control::toPlainValue(windows).toList();
 * @endcode
 *
 * A request sends its strings and maps as given. One that is too large for a message fails without
 * being sent; @ref sending has the limits.
 *
 * A connection to the bus that is lost does not come back: when the message bus itself has ended,
 * every later request of the process fails. Call `QDBusConnection::sessionBus()` and
 * `QCoreApplication::processEvents()` before you make the first object: until the event loop has
 * run once, QtDBus does not notice a message bus that ends, and may wait for ever.
 *
 * A program that forks does so before it makes the first object; a later child may only run another
 * program or end with `_exit()`. When the process ends, it waits for the requests that other
 * threads have made; the requests of static objects that outlive QtDBus fail.
 */
class OSTREL_EXPORT Control : public QObject
{
    Q_OBJECT

public:
    /** The outcome of starting an application. */
    struct StartResult
    {
        /** Whether the application was started, and why not. */
        Error error;
        /** What the service tells of the start; empty on failure. The service defines the keys. */
        QVariantMap details;
        /** The identifier of the new instance; empty on failure. */
        QString appInstanceId;
    };

    /**
     * Returns the one instance that the process shares.
     *
     * The first call makes it, in the calling thread, to which it then belongs; call it there
     * before other threads do. From then on any thread may call it. The object is never destroyed.
     */
    static Control *instance();

    /**
     * Constructs an object of its own, without a parent.
     *
     * The connection to the session bus is opened if the process has none yet, and the message bus
     * is asked for the service's signals and who owns the service's name. That takes a few
     * milliseconds. A message bus that accepts the connection and then does not reply blocks the
     * first object of a process without a limit, and later ones for about 50 seconds. Nothing is
     * sent to the service, and it does not matter whether it runs. Without a bus the object works
     * all the same: its requests fail, and no signal comes.
     */
    Control();

    /** Constructs an object as Control() does, with a @p parent that deletes it. */
    explicit Control(QObject *parent);

    /** Destroys the object. Nothing is sent to the service; applications go on as they are. */
    ~Control() override;

    /**
     * Starts an application, and waits for the outcome.
     *
     * This makes the bus call "Start" (signature "s", answered by "sa{sv}") on the service's
     * ".Control1" interface, and blocks until it is answered.
     *
     * @param appId  the identifier of the application. It goes out as given.
     * @return the instance's identifier and details, and an error that is none. On failure both are
     *         empty, and the error has the code of the service's own error, or Error::Failed when
     *         the service is absent, ends before it answers, answers with other types, or lets the
     *         bus's time limit pass, when there is no bus, and when the identifier is too large for
     *         a message. Errors of the message bus itself keep the codes that Error has for them:
     *         AccessDenied, when it does not let the call pass, InvalidArgs and NotSupported. A
     *         service may answer with an error
     *         reply of the name "NoError": both are empty then, too, and the error is none but has
     *         the reply's message.
     */
    StartResult start(const QString &appId);

    /**
     * Starts an application, and returns at once.
     *
     * This makes the same bus call as start(const QString &), with the same outcome.
     *
     * @param appId     the identifier of the application. It goes out as given.
     * @param context   the object on whose behalf the call is made. It must be alive. Its deletion
     *                  drops the callback; the call is not withdrawn.
     * @param callback  receives the outcome exactly once, in the thread of @p context, from its
     *                  event loop, never from within this function. It also comes when the Control
     *                  has been deleted meanwhile. It may delete anything, and may be empty: the
     *                  outcome is dropped then.
     */
    void start(const QString &appId, const QObject *context,
               const std::function<void(const StartResult &result)> &callback);

    /**
     * Starts an application under the given conditions, and waits for the outcome.
     *
     * This makes the bus call "StartDebug" (signature "sa{sv}", answered by "sa{sv}") on the
     * service's ".Control1" interface, and blocks until it is answered. Of the parameters, exactly
     * those that were set are sent.
     *
     * @param appId   the identifier of the application. It goes out as given.
     * @param params  the conditions. @ref sending says which values can be sent.
     * @return as for start(), and Error::Failed with a message that begins with "Marshalling
     *         failed: " for a value that cannot be sent.
     */
    StartResult startDebug(const QString &appId, const DebugParams &params);

    /**
     * Starts an application under the given conditions, and returns at once.
     *
     * This makes the same bus call as startDebug(const QString &, const DebugParams &), with the
     * same outcome.
     *
     * @param appId     the identifier of the application. It goes out as given.
     * @param params    the conditions.
     * @param context   as for start().
     * @param callback  as for start().
     */
    void startDebug(const QString &appId, const DebugParams &params, const QObject *context,
                    const std::function<void(const StartResult &result)> &callback);

    /**
     * Terminates an instance of an application, and waits for the outcome.
     *
     * This makes the bus call "Terminate" (signature "s") on the service's ".Control1" interface,
     * and blocks until it is answered.
     *
     * @param appInstanceId  the identifier of the instance, as start() returned it. It goes out as
     *                       given.
     * @return an error that is none on success, whatever values the answer carries; otherwise the
     *         code and message of the service's own error, or Error::Failed as for start().
     */
    Error terminate(const QString &appInstanceId);

    /**
     * Terminates an instance of an application, and returns at once.
     *
     * This makes the same bus call as terminate(const QString &), with the same outcome.
     *
     * @param appInstanceId  the identifier of the instance. It goes out as given.
     * @param context        as for start().
     * @param callback       as for start().
     */
    void terminate(const QString &appInstanceId, const QObject *context,
                   const std::function<void(const Error &error)> &callback);

    /**
     * Asks for everything that runs now, and waits for the answer.
     *
     * This makes the bus call "GetRunningApplications" (without arguments, answered by
     * "a(siuua{sv})a(ssiua{sv})") on the service's ".Control1" interface, and blocks until it is
     * answered.
     *
     * @param applications  is replaced by the running applications, in the order of the answer.
     * @param services      is replaced by the running services, in the order of the answer.
     * @return an error that is none on success. Any failure is Error::Failed with the bus error's
     *         message, whatever the error's name; both vectors then keep what they held. A service
     *         that answers with less than two values breaks its contract: that is Error::Failed,
     *         too, and stops a program whose library was built with assertions. Values of other
     *         types than expected give no records, or records with default values.
     */
    Error getRunningApplications(QVector<RunningApplication> &applications,
                                 QVector<RunningService> &services);

    /**
     * Asks for everything that runs now, and returns at once.
     *
     * This makes the same bus call as the function that waits, with the same outcome.
     *
     * @param context   as for start().
     * @param callback  as for start(). It receives the running applications and the running
     *                  services, in the order of the reply; both are empty on failure.
     */
    void getRunningApplications(
        const QObject *context,
        const std::function<void(const QVector<RunningApplication> &applications,
                                 const QVector<RunningService> &services, const Error &error)>
            &callback);

    /**
     * Sets how long later requests of this object wait for a reply.
     *
     * A request whose time has passed fails with Error::Failed and the message of the bus library.
     * The service may still do what it was asked. This makes no bus call. Call it before other
     * threads use the object.
     *
     * @param milliseconds  the timeout, from 1; or -1 for the default of the bus library, which is
     *                      25 seconds. Another value is refused with a warning, and changes
     *                      nothing.
     */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later requests in milliseconds; -1 for the bus library's default. */
    int timeout() const;

    /**
     * Returns whether the service runs, that is, whether its name has an owner on the session bus.
     *
     * The message bus was asked when this object was made; its event loop follows each change since
     * then. This makes no call to the service, and waits for nothing. The first call asks the bus
     * connection to report its own end.
     *
     * A request may still succeed while this is false, if the message bus can start the service.
     */
    bool isServiceAvailable() const;

    /** Returns the bus name of the service. It makes no bus call; any thread may call it. */
    static QString serviceName();

    /**
     * Returns a value of @ref started() "details" or of a record's properties as plain values.
     *
     * QtDBus leaves lists, maps and structures inside such values as QDBusArgument, and reading one
     * as another type ends the process. This function reads whatever is there.
     *
     * @param value  the value; it is not changed.
     * @return the value without D-Bus types, at any depth: arrays and structures as QVariantList,
     *         maps as QVariantMap with the keys as strings, nested variants as what they hold,
     *         object paths and signatures as QString. Of equal keys, the last one counts. Strings,
     *         numbers, QStringList, QByteArray, file descriptors and the caller's own types are
     *         returned as they are. It is invalid for a QDBusArgument that the caller wrote itself,
     *         and below 128 levels.
     *
     * It makes no bus call; any thread may call it.
     */
    static QVariant toPlainValue(const QVariant &value);

    /**
     * Returns the identifier of the application that a process belongs to.
     *
     * It is read from the process's memory control group ("/proc/PID/cgroup", below the folder that
     * the environment variable "OSTREL_ROOTFS" names, if it is set; its text is put in front as it
     * is, without a separator). No bus call is made, and any thread may call it as long as no other
     * thread changes the environment.
     *
     * The file is the kernel's, but a process that may name control groups can make it tell
     * anything; do not decide on access rights by it.
     *
     * @param pid  the number of the process, as this process sees it.
     * @return the identifier, cut to 127 bytes of UTF-8; a cut one is not the application's. It is
     *         null when the process does not exist, is not one that the service manages, or the
     *         system has no memory control groups of the first version.
     */
    QString getAppIdByPid(int pid) const;

    /**
     * Returns the identifier of the instance that a process belongs to.
     *
     * As getAppIdByPid().
     *
     * @param pid  the number of the process, as this process sees it.
     * @return the application's identifier, "." and the instance's own part ("instance_…"); or the
     *         application's identifier alone, for an application that has one instance. It is null
     *         where getAppIdByPid() is, and for an instance whose part is named otherwise. The
     *         application's identifier is cut to 127 bytes of UTF-8, and the instance's part to
     *         159; what has been cut identifies nothing any more. If both are too long, this and
     *         getAppIdByPid() are null.
     */
    QString getAppInstanceIdByPid(int pid) const;

Q_SIGNALS:
    /**
     * An application has been started, by this program or another one.
     *
     * The service says when it sends this: it may come before or behind the answer to the request
     * that caused it.
     *
     * @param appInstanceId  the identifier of the new instance.
     * @param details        what the service tells of the start; it may be empty.
     */
    void started(const QString &appInstanceId, const QVariantMap &details);

    /**
     * An instance of an application has ended, however it came to that.
     *
     * @param appInstanceId  the identifier of the instance.
     * @param details        what the service tells of the end; it may be empty.
     */
    void terminated(const QString &appInstanceId, const QVariantMap &details);

    /**
     * The state of an instance has changed.
     *
     * A connection by text is spelled `SIGNAL(stateChanged(QString,ApplicationState))`, without the
     * namespace. As with all signals of this class, one that the service sends with other values,
     * or with further ones, is dropped.
     *
     * @param appInstanceId  the identifier of the instance.
     * @param state          the new state: any number that the service sent, also as a text that
     *                       reads as one. Of a number beyond 32 bits, the lower 32 are taken; a
     *                       value that is no number counts as 0. A change that names no state is
     *                       left out.
     */
    void stateChanged(const QString &appInstanceId, ApplicationState state);

    /**
     * The out-of-memory killer has chosen a process of an application.
     *
     * @param processId  the identifier of the process, as the service names it.
     */
    void selectedByOom(const QString &processId);

    /**
     * The service has come or gone.
     *
     * When the service's name passes from one owner to another at once, this is emitted with false,
     * then with true: what the old service knew is gone. When the message bus itself ends, it is
     * emitted with false if isServiceAvailable() was called before.
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
