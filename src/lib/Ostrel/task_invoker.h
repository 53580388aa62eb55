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
 * answer, which the event loop brings, fills the task lists and makes the invoker ready; onReady()
 * tells when that is and how it went. From then on the service announces each change of a list, and
 * the two signals pass that on. Tasks can be started and stopped at any time, ready or not.
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
 * There is no second attempt: an invoker whose registration failed stays as it is, also when the
 * service comes later or comes back; construct another one then. Its calls are sent all the same.
 * Whoever owns the service's name at the time is who is spoken to and listened to.
 *
 * Texts go out as given, as far as D-Bus can hold them: one ends at a character U+0000, and half of
 * a surrogate pair arrives as "?". A message bus may be configured to take less than the 128 MiB
 * that D-Bus allows for a message (system buses take 32 MiB unless told otherwise), and drops the
 * connection of a program that sends more.
 *
 * The object belongs to the thread that constructs it: it is used there and stays there, and this
 * thread's event loop runs its callbacks and emits its signals. A callback or a slot may do
 * anything, deleting the invoker included; what would have come after is dropped then. Nothing that
 * the service sends can crash the program: list entries of unexpected types hold default values.
 *
 * A thread that keeps an invoker has to run its event loop. Until it does, what the service
 * announces is kept in memory, without a limit.
 */
class OSTREL_EXPORT TaskInvoker : public QObject
{
    Q_OBJECT

public:
    /** Which message bus an invoker uses. Any other number means the system bus, too. */
    enum BusType : quint32 {
        /** The bus of the user's session. */
        SessionBus = 0,
        /** The bus of the whole device. */
        SystemBus = 1,
    };

    /** Whether the service starts a task by itself; what that means is for the service to say. */
    enum Autostart : quint32 {
        /** As the service decides. */
        AutostartDefault = 0,
        /** It does. */
        AutostartEnabled = 1,
        /** It does not. */
        AutostartDisabled = 2,
    };

    class StartupInfo;
    class Hints;

    /**
     * Constructs an invoker, and sends its registration.
     *
     * This makes the bus call "RegisterInvoker" (signature "s", answered by "oa{sv}") on the
     * service's ".TaskInvoker1" interface, and does not wait for the answer. It opens the
     * connection to the bus if the process has none yet, and asks the message bus who owns the
     * service's name, which takes a few milliseconds. A message bus that accepts the connection and
     * then does not reply blocks the first object of a process without a limit, and later ones for
     * about 50 seconds. It does not matter whether the service runs, and there need not be a bus:
     * the failure comes to onReady() like any other.
     *
     * A failed registration is logged as a warning: "TaskInvoker registration failed:" and the bus
     * error, or "Unexpected object path:" and the path if the service answers with another
     * session's.
     *
     * @param bus      the bus.
     * @param taskType names the type. It becomes the end of the path of the session's bus object
     *                 just as it is, and so takes letters, digits and underscores, in parts that
     *                 "/" may separate. It is not checked: another type is registered, too, but no
     *                 service can answer well, and start() and stop() fail without being sent.
     *                 Types over 32 MiB are refused. Above about 800 characters no list changes
     *                 arrive: a match rule holds 1,024 bytes.
     * @param parent   the parent.
     */
    TaskInvoker(BusType bus, const QString &taskType, QObject *parent = nullptr);

    /**
     * Destroys the invoker. Its callbacks that have not run yet never do, but the calls are not
     * withdrawn: a task whose start has been sent is started. Nothing is sent to the service.
     */
    ~TaskInvoker() override;

    /** Returns the task type, as it was given to the constructor. */
    QString taskType() const;

    /** Returns the bus, as it was given to the constructor. */
    BusType busType() const;

    /** Returns whether the reply to the registration has been handled, whatever it was. */
    bool isReady() const;

    /**
     * Returns the outcome of the registration, as the callbacks of onReady() receive it; no error
     * before the invoker is ready.
     */
    Error error() const;

    /** Sets how long later start() and stop() wait for a reply, as Control::setTimeout() does. */
    void setTimeout(int milliseconds);

    /** Returns the timeout of later calls in milliseconds; -1 for the bus library's default. */
    int timeout() const;

    /**
     * Calls @p callback with the outcome of the registration, exactly once if the invoker lives.
     *
     * Before the answer has been handled the callback is copied; it runs from the event loop,
     * behind the signals of the first lists and behind the callbacks given earlier, and is kept
     * until the invoker is destroyed, with all that it holds. After that it runs within this
     * function, and is not kept. This makes no bus call of its own.
     *
     * @param callback receives an Error: no error when the invoker is registered; Error::Failed
     *                 with the message "Wrong TaskInvoker path" when the service answered with
     *                 another session's path; the code of the service's own error; or Error::Failed
     *                 when the service is absent, ends before it answers, answers with other types,
     *                 or lets the bus's time limit pass (25 seconds by default), and when there is
     *                 no bus. A service may answer with an error reply of the name "NoError": that
     *                 is logged and leaves the lists as they are, but gives an Error that is no
     *                 error and has the reply's message. An empty callback throws
     *                 `std::bad_function_call` when it is its turn, out of this function or out of
     *                 the event loop; those behind it are then not called.
     */
    void onReady(const std::function<void(const Error &error)> &callback);

    /**
     * Calls @p callback with the outcome of the registration, as onReady(callback) does, on behalf
     * of @p context.
     *
     * @param context   must be alive. The callback runs in its thread: where that is the invoker's,
     *                  when onReady(callback) would run it; otherwise from its event loop. Its
     *                  deletion drops the callback. So does the invoker's, unless the callback is
     *                  already on its way to another thread.
     * @param callback  may be empty: nothing happens then.
     */
    void onReady(const QObject *context, const std::function<void(const Error &error)> &callback);

    /**
     * Starts a task, and returns at once.
     *
     * This makes the bus call "Start" (signature "sa{sv}a{sv}", answered by "i") on the invoker's
     * session object, whether the invoker is registered or not; without a session the service
     * answers with an error. Nothing is logged.
     *
     * @param name        names the task.
     * @param startupInfo what the task is started with.
     * @param hints       how the service is to run it. Both maps are sent as they are; @ref sending
     *                    says which values can be sent. With another one the call fails before it
     *                    is sent.
     * @param callback    receives the outcome, exactly once if the invoker lives, from the event
     *                    loop and never from within this function. On success it gets the number of
     *                    the service's answer, whose meaning is for the service to say, and an
     *                    Error that is no error. On failure it gets 0 (or, when the text of the
     *                    service's error reads as a number, that) and the Error: the code of the
     *                    service's own error, or Error::Failed when the service is absent, ends
     *                    before it answers, answers with another type, or lets the bus's time limit
     *                    pass (25 seconds by default), when there is no bus, when the task type
     *                    makes no valid path, and when the name or a map cannot be sent
     *                    ("Marshalling failed:" and the reason). Errors of the message bus itself
     *                    keep the codes that Error has for them: AccessDenied, InvalidArgs and
     *                    NotSupported. It is copied and kept until then. It may be empty: the
     *                    outcome is dropped then.
     *
     * Callbacks run in the order in which the answers arrive, which need not be the order of the
     * calls.
     */
    void start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
               const std::function<void(int number, const Error &error)> &callback);

    /**
     * Starts a task, as start() without a context does, on behalf of @p context, which must be
     * alive. The callback runs in its thread, from the event loop. Its deletion drops the callback,
     * and so does the invoker's, as with onReady().
     */
    void start(const QString &name, const StartupInfo &startupInfo, const Hints &hints,
               const QObject *context,
               const std::function<void(int number, const Error &error)> &callback);

    /**
     * Stops a task, and returns at once.
     *
     * This makes the bus call "Stop" (signature "s", any answer) on the invoker's session object,
     * whether the invoker is registered or not. Nothing is logged.
     *
     * @param name     names the task.
     * @param callback receives the outcome, exactly once if the invoker lives, from the event loop
     *                 and never from within this function: an Error that is no error, or one with
     *                 the same codes as that of start(). It is copied and kept until then. It may
     *                 be empty: the outcome is dropped then.
     */
    void stop(const QString &name, const std::function<void(const Error &error)> &callback);

    /**
     * Stops a task, as stop() without a context does, on behalf of @p context, which must be alive.
     * The callback runs in its thread, from the event loop. Its deletion drops the callback, and so
     * does the invoker's, as with onReady().
     */
    void stop(const QString &name, const QObject *context,
              const std::function<void(const Error &error)> &callback);

    /**
     * Returns the tasks that can be started, as the service last announced them; none before it has
     * done so. It makes no bus call. The reference is good until the event loop runs again.
     */
    const QVector<AvailableTask> &availableTasks() const;

    /**
     * Returns the running tasks, as the service last announced them; none before it has done so. It
     * makes no bus call. The reference is good until the event loop runs again.
     */
    const QVector<ActiveTask> &activeTasks() const;

Q_SIGNALS:
    /**
     * The service has announced the running tasks ("ActiveTasks"), the same ones as before
     * possibly; activeTasks() returns them. It comes when the answer to the registration brings the
     * list, before the callbacks of onReady(), and with each announcement, also before that answer
     * and after a registration that failed. When one announcement holds both lists, it comes before
     * availableTasksChanged(), and availableTasks() still returns the earlier list. A change that a
     * call has caused may come before the call's callback or behind it. It is emitted from the
     * event loop.
     *
     * A slot may run an event loop of its own. If a newer announcement arrives in it, the newer
     * lists stay; the older announcement still emits its remaining signal.
     *
     * A slot must not throw, as Qt does not support that. An exception out of a slot for the first
     * lists, those of the registration's reply, leaves the invoker without its later signal, and
     * not ready for ever: the callbacks of onReady() never run.
     */
    void activeTasksChanged();

    /**
     * The service has announced the tasks that can be started ("AvailableTasks"), the same ones as
     * before possibly; availableTasks() returns them. It comes when activeTasksChanged() does, for
     * its own list, and behind it when both lists are announced at once.
     */
    void availableTasksChanged();

private:
    Q_DISABLE_COPY(TaskInvoker)

    const std::unique_ptr<TaskInvokerPrivate> d;
};

/**
 * What a task is started with. It is a property map: what is not set is not sent, and the service
 * applies its own default; entries that the functions below do not know can be put in like into any
 * map. It is a plain value, implicitly shared; nothing in it can fail, and it makes no bus call.
 */
class OSTREL_EXPORT TaskInvoker::StartupInfo : public QVariantMap
{
public:
    /** Constructs startup information with nothing set. */
    StartupInfo();

    /** Constructs startup information with the entries of @p map, unchanged. */
    explicit StartupInfo(const QVariantMap &map);

    /** Sets the parameters of the task ("Params", "as"), in place of earlier ones. */
    void setParameters(const QStringList &parameters);

    /** Returns the parameters of the task; an empty list if not set. */
    QStringList parameters() const;

    /**
     * Adds "name=value" to the environment of the task ("Environment", "as"), behind what was added
     * before. Nothing is checked, escaped or replaced: the same @p name may come again, and "=" may
     * stand in both.
     */
    void addEnvironmentVariable(const QString &name, const QString &value);

    /** Returns the environment of the task, entries of the form "name=value"; empty if not set. */
    QStringList environment() const;
};

/**
 * How the service is to run a task. It is a property map: what is not set is not sent, and the
 * service applies its own default; entries that the functions below do not know can be put in like
 * into any map. It is a plain value, implicitly shared; nothing in it can fail, and it makes no bus
 * call.
 *
 * Each setter replaces what was set before. The service defines the units, the ranges and the words
 * that it understands; nothing is checked here.
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

    /** Sets the user as whom the task runs ("User", "s"). */
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

    /** Sets the task's weight in the choice of whom to end when memory runs out ("Weight", "i"). */
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
     * Sets whether the service starts the task by itself ("Autostart", "i": 0, 1 or 2). Any number
     * but those of the enumeration is stored as AutostartDefault.
     */
    void setAutostart(Autostart autostart);

    /** Returns whether the service starts the task by itself; AutostartDefault if not set. */
    Autostart autostart() const;

    /**
     * Sets one setting of the task's control groups ("CGroups", "a{sv}", each value "ay"), in place
     * of an earlier @p value of the same @p name. Other settings stay. The bytes travel as they
     * are, zeros included.
     */
    void addCGroupSetting(const QString &name, const QByteArray &value);

    /**
     * Returns the control group settings by their names, each a QByteArray; empty if none was
     * added.
     */
    QVariantMap cGroupSettings() const;
};

} // namespace Ostrel

#endif
