// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_SIMULATOR_TEST_H
#define OSTREL_TESTING_SIMULATOR_TEST_H

#include <Ostrel/Testing/private_bus.h>
#include <Ostrel/Testing/simulator.h>

#include <QtCore/QObject>

#include <optional>

namespace Ostrel::Testing
{

/**
 * A test on a private bus where the simulator runs, in each function as if it were new.
 *
 * @code
 * class TestLauncher : public Ostrel::Testing::SimulatorTest
 * {
 *     Q_OBJECT
 *
 * private Q_SLOTS:
 *     void opensTheViewer();
 * };
 * @endcode
 */
class SimulatorTest : public QObject
{
    Q_OBJECT

protected:
    /**
     * Starts the private bus.
     *
     * @param options  options of the simulator, for example "--kill-after" and "100".
     * @param buses    the buses that the private bus stands in for. If the program must use only
     *                 one of the two, pass that one.
     */
    explicit SimulatorTest(const QStringList &options = {},
                           PrivateBus::Buses buses = PrivateBus::BothBuses);

    /** Returns the bus. */
    PrivateBus &bus() { return m_bus; }

    /** Returns the simulator. */
    Simulator &simulator() { return m_simulator; }

protected Q_SLOTS:
    /**
     * Starts the simulator if it does not run. QtTest calls this before each function. A test with
     * an init() of its own calls this one there.
     */
    void init();

    /**
     * Resets the simulator if it runs. If it has a scenario, ends it as Simulator::end() does, and
     * later starts have none: the function fails if a step has not happened. A catalogue that the
     * function has set is gone, too, and so is the simulator that has it. QtTest calls this
     * after each function. A test with a cleanup() of its own calls this one there.
     */
    void cleanup();

private:
    PrivateBus m_bus;
    Simulator m_simulator;
    // What the simulator has before the first function of the test.
    std::optional<QString> m_catalogue;
};

} // namespace Ostrel::Testing

#endif
