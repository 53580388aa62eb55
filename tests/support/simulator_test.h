// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SIMULATOR_TEST_H
#define TESTS_SIMULATOR_TEST_H

#include "simulator.h"
#include "warnings.h"

#include <optional>

// A test on a private bus where the simulator runs. After each function, the simulator is reset. A
// function that logs a warning fails, unless it collects its warnings itself.
class SimulatorTest : public QObject
{
    Q_OBJECT

protected:
    SimulatorTest();

    PrivateBus m_bus;
    Simulator m_simulator{m_bus};
    std::optional<Warnings> m_warnings;

protected Q_SLOTS:
    void init();
    void cleanup();
};

#endif
