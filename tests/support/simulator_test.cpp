// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"

#include <QtTest/QTest>

SimulatorTest::SimulatorTest()
{
    m_simulator.start();
}

void SimulatorTest::init()
{
    m_warnings.emplace();
}

void SimulatorTest::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator.reset();
    QCOMPARE(warnings, QStringList());
}
