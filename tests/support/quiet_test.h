// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_QUIET_TEST_H
#define TESTS_QUIET_TEST_H

#include "kit.h"
#include "warnings.h"

#include <Ostrel/Testing/SimulatorTest>

#include <optional>

// A test with the simulator, which runs from the beginning. A function that logs a warning fails,
// unless it collects its warnings itself.
class QuietTest : public Ostrel::Testing::SimulatorTest
{
    Q_OBJECT

protected:
    QuietTest();

    PrivateBus &m_bus = bus();
    Simulator &m_simulator = simulator();
    std::optional<Warnings> m_warnings;

protected Q_SLOTS:
    void init();
    void cleanup();
};

#endif
