// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_SIMULATOR_H
#define OSTREL_TESTING_SIMULATOR_H

#include <Ostrel/Testing/call.h>
#include <Ostrel/Testing/catalogue.h>
#include <Ostrel/Testing/faults.h>
#include <Ostrel/Testing/method.h>
#include <Ostrel/Testing/private_bus.h>
#include <Ostrel/Testing/process.h>

#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

#include <memory>

namespace Ostrel::Testing
{

/// @cond
// CMake defines where the simulator is, and ostrel_add_test() its catalogue. The sources of one
// program may be compiled with different definitions, so no inline function may use them. A source
// that is compiled with a definition sets it for the whole program; they must not differ.
bool setDefaultProgram(const char *path) noexcept;
bool setDefaultCatalogue(const char *path) noexcept;
#ifdef OSTREL_TESTING_SIMULATOR
[[maybe_unused]] static const bool hasDefaultProgram = setDefaultProgram(OSTREL_TESTING_SIMULATOR);
#endif
#ifdef OSTREL_TESTING_CATALOGUE
[[maybe_unused]] static const bool hasDefaultCatalogue =
    setDefaultCatalogue(OSTREL_TESTING_CATALOGUE);
#endif
/// @endcond

/**
 * The simulator in a process of its own, as the service on a PrivateBus, and its fault desk.
 *
 * @code
 * Ostrel::Testing::PrivateBus bus;
 * Ostrel::Testing::Simulator simulator(bus);
 * simulator.start();
 * simulator.faults(Ostrel::Testing::Method::Start).failNext(Ostrel::Error::HandlerFailed);
 * @endcode
 *
 * The process and its files are gone when the test ends, also if a signal ends it. Use the object
 * in the main thread.
 *
 * All functions but the constructors, those that set a file or values for later starts, end() and
 * waitForEnd() make bus calls, on a connection of the object's own, and block until they return. If
 * the fault desk refuses a call, the simulator does not run, or it does not reply within
 * waitLimit(), the test ends with a line that says so. While a scenario restarts the service, they
 * wait until it is back.
 */
class Simulator
{
public:
    /**
     * Constructs an object that runs nothing: the service is absent until start().
     *
     * The catalogue is the one of ostrel_add_test() in CMake, or the simulator's own.
     *
     * @param bus      the bus, which must live longer.
     * @param options  options of the simulator, for example "--kill-after" and "100".
     */
    explicit Simulator(const PrivateBus &bus, const QStringList &options = {});

    /** Ends the simulator as end() does. */
    ~Simulator();

    /** Has later starts use this @p catalogue. */
    void setCatalogue(const Catalogue &catalogue);

    /** Has later starts use the catalogue in the file with this @p path. */
    void setCatalogueFile(const QString &path);

    /**
     * Returns the catalogue that the next start uses. A null string is the simulator's own. Makes
     * no bus call.
     */
    QString catalogueFile() const { return m_catalogue; }

    /**
     * Has later starts play the scenario in the file with this @p path, from its beginning. A null
     * string is no scenario, which is the default. @ref scenarios describes the file. An error in
     * it ends the test at the next start(), with the line of the error.
     *
     * A simulator that ends before all steps have happened fails the test function, with a line
     * that names the first step that has not happened.
     */
    void setScenarioFile(const QString &path);

    /**
     * Runs the event loop until all steps of the scenario have happened, also through restarts of
     * the service.
     *
     * @return whether they have happened. If they did not within waitLimit(), or the simulator has
     *         ended, the test function has failed, with a line that says so.
     */
    bool waitForScenario() const;

    /** Returns whether the last start() had a scenario from setScenarioFile(). Makes no bus call.
     */
    bool hasScenario() const { return m_hasScenario; }

    /**
     * Starts the simulator, and returns when the service is there. Starts nothing if it runs.
     *
     * OSTREL_ROOTFS in the environment is then the simulator's root folder, where
     * Control::getAppIdByPid() finds the simulator's processes.
     *
     * If the simulator is missing or does not start, the test ends with a line that says why.
     */
    void start();

    /**
     * Ends the simulator with SIGTERM, with the programs that it has started.
     *
     * If a step of the scenario has not happened, the test function has failed, with a line that
     * names the step: see setScenarioFile().
     *
     * @return its exit status, or -1 if a signal ended it. It is 3 if a step has not happened.
     */
    int end();

    /** Ends the simulator, and starts another, which knows nothing of the first. */
    void restart();

    /**
     * Waits until the simulator has ended by itself, as after Faults::dieInNext(). If it ended
     * because a step of the scenario is impossible, the test function has failed, with the
     * simulator's line.
     *
     * @return its exit status, or -1 if a signal ended it.
     */
    int waitForEnd() const;

    /**
     * Drops faults, logged calls, windows and sessions, and kills what the simulator has started,
     * without a signal of the service. The scenario begins again. Does nothing if the simulator
     * does not run.
     */
    void reset() const;

    /** Returns the faults of a @p method of the service. Makes no bus call. */
    Faults faults(Method method) const;

    /**
     * Returns the faults of a method by its names on the bus. Makes no bus call.
     *
     * @param interface  the interface: Control::serviceName() and, for example, ".Control1".
     * @param member     the name of the method.
     */
    Faults faults(const QString &interface, const QString &member) const;

    /** Returns the calls that the service has received since it started or was reset, in order. */
    QVector<Call> calls() const;

    /** Forgets the calls that the service has received. */
    void clearCalls() const;

    /**
     * Has the service announce a start: Control::started().
     *
     * @param appInstanceId  the identifier of the instance.
     * @param details        the details of the start.
     */
    void emitStarted(const QString &appInstanceId, const QVariantMap &details = {}) const;

    /**
     * Has the service announce an end: Control::terminated().
     *
     * @param appInstanceId  the identifier of the instance.
     * @param details        the details of the end.
     */
    void emitTerminated(const QString &appInstanceId, const QVariantMap &details = {}) const;

    /**
     * Has the service announce a state: Control::stateChanged().
     *
     * @param appInstanceId  the identifier of the instance.
     * @param state          the new state.
     */
    void emitStateChanged(const QString &appInstanceId, quint32 state) const;

    /**
     * Has the service send any signal, and returns when it has been sent.
     *
     * @param path       the path of the object.
     * @param interface  the interface.
     * @param member     the name of the signal.
     * @param arguments  the arguments, of any types.
     */
    void emitSignal(const QString &path, const QString &interface, const QString &member,
                    const QVariantList &arguments) const;

    /**
     * Acts like the out-of-memory killer: Control::selectedByOom(), and the end of the process.
     * Returns after the end.
     *
     * @param appInstanceId  the identifier of an instance that the simulator runs.
     */
    void killByOom(const QString &appInstanceId) const;

    /**
     * Calls any method of the fault desk, which @ref desk lists.
     *
     * @param method     the name of the method.
     * @param arguments  the arguments, of the method's types.
     * @return the reply, which may be an error.
     */
    QDBusMessage desk(const QString &method, const QVariantList &arguments = {}) const;

    /**
     * Returns the process of the last start(). If there was none, the test ends with a line that
     * says so. Makes no bus call.
     *
     * It and the programs that it starts write to files: Process::readLine() and
     * Process::readAllStandardError() read them.
     */
    Process &process() const;

private:
    friend class Faults;
    Q_DISABLE_COPY(Simulator)

    bool isServing() const;
    bool isRunning() const;
    bool isServingOrAway() const;
    bool reportScenario() const;
    bool comesBack() const;
    [[noreturn]] void refuse(const QString &method, const QDBusError &error) const;
    QDBusMessage ask(const QString &method, const QVariantList &arguments, int milliseconds) const;
    QDBusMessage order(const QString &method, const QVariantList &arguments = {}) const;
    QString receivedText() const;
    bool wait(const QString &method, const QVariantList &arguments, const QString &what) const;
    void emitControlSignal(const QString &member, const QVariantList &arguments) const;

    QString m_address;
    QStringList m_options;
    QString m_program;
    QString m_catalogue;
    int m_catalogues = 0;
    QString m_scenario;
    bool m_hasScenario = false;
    // The process has its temporary files here, because it may be killed.
    QTemporaryDir m_folder;
    std::unique_ptr<Process> m_process;
    QDBusConnection m_connection;
};

} // namespace Ostrel::Testing

#endif
