// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"

namespace Ostrel::Testing
{

void SimulatorTest::init()
{
    m_simulator.start();
}

void SimulatorTest::cleanup()
{
    if (m_simulator.hasScenario()) {
        m_simulator.end();
    } else {
        m_simulator.reset();
    }
    m_simulator.setScenarioFile(QString());
}

} // namespace Ostrel::Testing
