// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"

namespace Ostrel::Testing
{

SimulatorTest::SimulatorTest(const QStringList &options, PrivateBus::Buses buses)
    : m_bus(buses)
    , m_simulator(m_bus, options)
{
}

void SimulatorTest::init()
{
    if (!m_catalogue) {
        m_catalogue = m_simulator.catalogueFile();
    }
    m_simulator.start();
}

void SimulatorTest::cleanup()
{
    const bool hasOtherCatalogue = m_catalogue && m_simulator.catalogueFile() != *m_catalogue;
    if (m_simulator.hasScenario() || hasOtherCatalogue) {
        m_simulator.end();
    } else {
        m_simulator.reset();
    }
    m_simulator.setScenarioFile(QString());
    if (hasOtherCatalogue) {
        m_simulator.setCatalogueFile(*m_catalogue);
    }
}

} // namespace Ostrel::Testing
