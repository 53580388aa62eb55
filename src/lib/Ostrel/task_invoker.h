// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TASK_INVOKER_H
#define OSTREL_TASK_INVOKER_H

#include <Ostrel/error.h>
#include <Ostrel/export.h>

#include <DBus/types.h>

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

#include <functional>
#include <memory>

namespace Ostrel
{

class TaskInvokerPrivate;

/**
 * Starts and stops the tasks of one type, and follows which of them exist and which are running.
 *
 * A TaskInvoker registers its task type with the lifecycle service when it is constructed. The
 * reply fills the task lists and makes the invoker ready; onReady() reports the outcome. Then the
 * two signals announce each change of a list. start() and stop() may be called at any time.
 *
 * @code
 * auto *invoker = new Ostrel::TaskInvoker(Ostrel::TaskInvoker::SessionBus,
 *                                         QStringLiteral("sync"), this);
 * invoker->onReady([invoker](const Ostrel::Error &error) {
 *     if (error) {
 *         qWarning() << error.message();
 *         return;
 *     }
 *     Ostrel::TaskInvoker::StartupInfo info;
 *     info.setParameters({QStringLiteral("--all")});
 *     Ostrel::TaskInvoker::Hints hints;
 *     hints.setMaximumRunningTime(60);
 *     invoker->start(QStringLiteral("contacts"), info, hints,
 *                    [](int number, const Ostrel::Error &error) {
 *                        qInfo() << number << error.code() << error.message();
 *                    });
 * });
 * @endcode
 *
 * No function waits for the service. An invoker registers only once. If that fails, or if the
 * service restarts, construct another invoker; calls of the old one are still sent.
 *
 * Use and destroy the object in the thread that constructs it. That thread's event loop emits the
 * signals, and runs the callbacks without a context. Run it as long as the object lives: until it
 * runs, what the service sends is kept in memory, without a limit. A slot or a callback may delete
 * the invoker; its remaining signals and callbacks are then dropped.
 *
 * Values of unexpected types become default values. See also @ref behaviour and @ref sending.
 */
class OSTREL_EXPORT TaskInvoker : public QObject
{
    Q_OBJECT

public:
    /** The message bus that an invoker uses. Any other number means the system bus. */
    enum BusType : quint32 {
        /** The bus of the user's session. */
        SessionBus = 0,
        /** The bus of the whole device. */
        SystemBus = 1,
    };

    /** Whether the service starts a task by itself. The service defines what that means. */
    enum Autostart : quint32 {
        /** The service decides. */
        AutostartDefault = 0,
        /** The service starts the task. */
        AutostartEnabled = 1,
        /** The service does not start the task. */
        AutostartDisabled = 2,
    };

    class StartupInfo;
    class Hints;

    /**
     * Constructs an invoker, and sends its registration.
     *
     * Makes the bus call "RegisterInvoker" (signature "s", reply "oa{sv}") on the service's
     * ".TaskInvoker1" interface, and does not wait for the reply.
     *
     * This opens the process's connection to the bus if there is none yet. It subscribes to the
     * changes of the lists and asks the message bus who owns the service's name, which takes a few
     * milliseconds. If the message bus accepts the connection and then does not reply, the first
     * object of a process blocks without a limit, and later ones block for about 50 seconds. The
     * service need not run, and there need not be a bus: onReady() reports the failure.
     *
     * A failed registration is logged as a warning: "TaskInvoker registration failed:" and the bus
     * error; or, if the service replies with another session's path, "Unexpected object path:" and
     * that path.
     *
     * The library lifts libdbus's limits of received messages and file descriptors for this
     * connection, as long as the process lives. @ref behaviour says why, and what that can cost.
     *
     * @param bus      the bus.
     * @param taskType the name of the type. It becomes the end of the session's object path as it
     *                 is, so it consists of letters, digits and underscores, in parts separated by
     *                 "/". This is not checked: any other type is sent to the service as well, but
     *                 start() and stop() then fail without being sent. Types over 32 MiB are
     *                 refused. Above about 800 characters no list changes arrive: a match
     *                 rule holds 1,024 bytes.
     * @param parent   the parent.
     */
    TaskInvoker(BusType bus, const QString &taskType, QObject *parent = nullptr);

    /**
     * Destroys the invoker and drops its callbacks, except one that is already on its way to
     * another thread. The calls are not withdrawn: a task whose start has been sent is started.
     * Nothing is sent to the service.
     */
    ~TaskInvoker() override;

    /** Returns the task type, as given to the constructor. */
    QString taskType() const;

    /** Returns the bus, as given to the constructor. */
    BusType busType() const;

    /** Returns whether the registration has ended, with success or failure. */
    bool isReady() const;

    /**
     * Returns the outcome of the registration, as the callbacks of onReady() receive it. It is no
     * error before the invoker is ready.
     */
    Error error() const;

    /**
     * Sets how long later calls of start() and stop() wait for a reply. The range, the default and
     * the failure are those of Control::setTimeout().
     */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later calls in milliseconds, or -1 for the default. */
    int timeout() const;

    /**
     * Calls @p callback with the outcome of the registration, exactly once if the invoker lives.
     *
     * Before the invoker is ready, the callback is copied. It then runs from the event loop, after
     * the signals of the first lists and after the callbacks given earlier. The copy is kept until
     * the invoker is destroyed. Once the invoker is ready, the callback runs within this function,
     * and is not kept. This makes no bus call.
     *
     * @param callback receives no error if the invoker is registered. An error reply named
     *                 "NoError" is logged and leaves the lists unchanged, but gives no error, and
     *                 the reply's message. An empty callback throws `std::bad_function_call` when
     *                 its turn comes, from this function or from the event loop; the callbacks
     *                 after it are not called. The codes of an error are:
     *                 - the code of the service's own error;
     *                 - AccessDenied, InvalidArgs or NotSupported, if the message bus refuses
     *                   the call;
     *                 - Failed with the message "Wrong TaskInvoker path", if the service replies
     *                   with another session's path;
     *                 - Failed, if the service is absent, ends before it replies, replies with
     *                   other types, or does not reply within 25 seconds; if there is no bus; or
     *                   if the task type is too large.
     */
    void onReady(const std::function<void(const Error &error)> &callback);

    /**
     * Calls @p callback on behalf of @p context with the outcome of the registration, as
     * onReady(callback) does.
     *
     * @param context   must be alive. In the invoker's thread, the callback runs when
     *                  onReady(callback) would run it. In another thread, it runs from the event
     *                  loop there. It is dropped if @p context is destroyed, and also if the
     *                  invoker is, unless it is already on its way to another thread.
     * @param callback  may be empty: then nothing happens.
     */
    void onReady(const QObject *context, const std::function<void(const Error &error)> &callback);

    /**
     * Starts a task, and returns at once.
     *
     * Makes the bus call "Start" (signature "sa{sv}a{sv}", reply "i") on the invoker's session
     * object, even if the invoker is not registered: the service then replies with an error.
     * Nothing is logged.
     *
     * Callbacks run in the order of the replies, which may differ from the order of the calls.
     *
     * @param name        the name of the task.
     * @param startupInfo what the task is started with.
     * @param hints       how the service is to run the task. Both maps are sent as given;
     *                    @ref sending says which values can be sent.
     * @param callback    receives the outcome, exactly once if the invoker lives, from the event
     *                    loop, never from within this function. It is copied. If it is empty,
     *                    the outcome is dropped. On success it receives the number of the reply,
     *                    which the service defines, and no error. On failure it receives an error
     *                    and 0; or, if the message of the service's error reads as a number, that
     *                    number. The codes of the error are:
     *                    - the code of the service's own error;
     *                    - AccessDenied, InvalidArgs or NotSupported, if the message bus refuses
     *                      the call;
     *                    - Failed, if the service is absent, ends before it replies, replies with
     *                      another type, or does not reply in time (25 seconds by default); if
     *                      there is no bus; if the task type makes no valid path; or if the name
     *                      or a map cannot be sent ("Marshalling failed:" and the reason).
     */
    void start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
               const std::function<void(int number, const Error &error)> &callback);

    /**
     * Starts a task on behalf of @p context, and returns at once. Makes the bus call "Start", as
     * start() without a context does, with the same outcome.
     *
     * @param name        the name of the task.
     * @param startupInfo what the task is started with.
     * @param hints       how the service is to run it.
     * @param context     must be alive. The callback runs from the event loop of its thread, and is
     *                    dropped if it or the invoker is destroyed, as with onReady().
     * @param callback    receives the outcome. It may be empty: then the outcome is dropped.
     */
    void start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
               const QObject *context,
               const std::function<void(int number, const Error &error)> &callback);

    /**
     * Stops a task, and returns at once.
     *
     * Makes the bus call "Stop" (signature "s", any reply) on the invoker's session object, even if
     * the invoker is not registered. Nothing is logged.
     *
     * @param name     the name of the task.
     * @param callback receives the outcome, exactly once if the invoker lives, from the event loop,
     *                 never from within this function: no error, or an error with the codes of
     *                 start(). It is copied. If it is empty, the outcome is dropped.
     */
    void stop(const QString &name, const std::function<void(const Error &error)> &callback);

    /**
     * Stops a task on behalf of @p context, and returns at once. Makes the bus call "Stop", as
     * stop() without a context does, with the same outcome.
     *
     * @param name     the name of the task.
     * @param context  must be alive. The callback runs from the event loop of its thread, and is
     *                 dropped if it or the invoker is destroyed, as with onReady().
     * @param callback receives the outcome. It may be empty: then the outcome is dropped.
     */
    void stop(const QString &name, const QObject *context,
              const std::function<void(const Error &error)> &callback);

    /**
     * Returns the tasks that can be started, as the service last announced them; empty before that.
     * Makes no bus call. The reference is valid until the event loop runs again.
     */
    const QVector<AvailableTask> &availableTasks() const;

    /**
     * Returns the running tasks, as the service last announced them; empty before that. Makes no
     * bus call. The reference is valid until the event loop runs again.
     */
    const QVector<ActiveTask> &activeTasks() const;

Q_SIGNALS:
    /**
     * Emitted when the service has announced the running tasks ("ActiveTasks"). activeTasks()
     * returns them. They may be the same as before.
     *
     * The first announcement is the reply to the registration: the signal then comes before the
     * callbacks of onReady(). Later announcements follow each change. An announcement may also come
     * before the reply, or after a registration that failed. If one announcement holds both lists,
     * this signal comes before availableTasksChanged(), while availableTasks() still returns the
     * earlier list. A change that a call has caused may come before or after the call's callback.
     *
     * A slot may run an event loop. If a newer announcement arrives there, its lists are kept; the
     * older announcement still emits its remaining signal.
     *
     * A slot must not throw; Qt does not support that. If a slot throws while the reply to the
     * registration is handled, the remaining signal is not emitted, the invoker never becomes
     * ready, and the callbacks of onReady() never run.
     */
    void activeTasksChanged();

    /**
     * Emitted when the service has announced the tasks that can be started ("AvailableTasks").
     * availableTasks() returns them. They may be the same as before. The signal comes at the same
     * times as activeTasksChanged(), and after it if one announcement holds both lists.
     */
    void availableTasksChanged();

private:
    Q_DISABLE_COPY(TaskInvoker)

    const std::unique_ptr<TaskInvokerPrivate> d;
};

/**
 * What a task is started with.
 *
 * This is a property map. What is not set is not sent, and the service uses its own default. Other
 * entries can be inserted as into any map, and are sent. A StartupInfo is a plain value, implicitly
 * shared. Its functions cannot fail, and make no bus call.
 */
class OSTREL_EXPORT TaskInvoker::StartupInfo : public QVariantMap
{
public:
    /** Constructs startup information with nothing set. */
    StartupInfo();

    /** Constructs startup information with the entries of @p map, unchanged. */
    explicit StartupInfo(const QVariantMap &map);

    /** Sets the parameters of the task ("Params", "as"), and replaces earlier ones. */
    void setParameters(const QStringList &parameters);

    /** Returns the parameters of the task; an empty list if not set. */
    QStringList parameters() const;

    /**
     * Appends "name=value" to the environment of the task ("Environment", "as"). Nothing is
     * checked, escaped or replaced: the same @p name may be added again, and both may contain "=".
     */
    void addEnvironmentVariable(const QString &name, const QString &value);

    /** Returns the environment of the task as "name=value" strings; an empty list if not set. */
    QStringList environment() const;
};

/**
 * How the service is to run a task.
 *
 * This is a property map. What is not set is not sent, and the service uses its own default. Other
 * entries can be inserted as into any map, and are sent. A Hints object is a plain value,
 * implicitly shared. Its functions cannot fail, and make no bus call.
 *
 * Each setter replaces the earlier value. The service defines units, ranges and accepted strings;
 * nothing is checked here.
 */
class OSTREL_EXPORT TaskInvoker::Hints : public QVariantMap
{
public:
    /** Constructs hints with nothing set. */
    Hints();

    /** Constructs hints with the entries of @p map, unchanged. */
    explicit Hints(const QVariantMap &map);

    /** Sets the limit on the task's use of the processor ("CPULimit", "i"). */
    void setCPULimit(int limit);

    /** Returns the limit on the use of the processor; 0 if not set. */
    int cpuLimit() const;

    /** Sets the user that the task runs as ("User", "s"). */
    void setUser(const QString &user);

    /** Returns the user; a null string if not set. */
    QString user() const;

    /** Sets the D-Bus service that the task provides ("DBusService", "s"). */
    void setDBusService(const QString &service);

    /** Returns the D-Bus service; a null string if not set. */
    QString dBusService() const;

    /** Sets whether the task runs without a home folder ("Homeless", "b"). */
    void setHomeless(bool homeless);

    /** Returns whether the task runs without a home folder; false if not set. */
    bool isHomeless() const;

    /** Sets the longest time that the task may run ("RunningTime", "i"). */
    void setMaximumRunningTime(int time);

    /** Returns the longest running time; 0 if not set. */
    int maximumRunningTime() const;

    /** Sets the weight of the task for the out-of-memory killer ("Weight", "i"). */
    void setOomWeight(int weight);

    /** Returns the weight; 0 if not set. */
    int oomWeight() const;

    /** Sets the permissions of the task ("Permissions", "as"). */
    void setPermissions(const QStringList &permissions);

    /** Returns the permissions; an empty list if not set. */
    QStringList permissions() const;

    /** Sets the priority of the task ("Priority", "i"). */
    void setPriority(int priority);

    /** Returns the priority; 0 if not set. */
    int priority() const;

    /** Sets the conditions under which the task runs ("Conditions", "as"). */
    void setConditions(const QStringList &conditions);

    /** Returns the conditions; an empty list if not set. */
    QStringList conditions() const;

    /**
     * Sets whether the service starts the task by itself ("Autostart", "i": 0, 1 or 2). A number
     * outside the enumeration is stored as AutostartDefault.
     */
    void setAutostart(Autostart autostart);

    /** Returns whether the service starts the task by itself; AutostartDefault if not set. */
    Autostart autostart() const;

    /**
     * Sets one setting of the task's control groups ("CGroups", "a{sv}", each value "ay"), and
     * replaces an earlier @p value of the same @p name. Other settings stay. All bytes are sent as
     * given, zeros included.
     */
    void addCGroupSetting(const QString &name, const QByteArray &value);

    /** Returns the control group settings by name, each a QByteArray; empty if none was added. */
    QVariantMap cGroupSettings() const;
};

} // namespace Ostrel

#endif
