// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator_test.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

SimulatorTest::SimulatorTest()
{
    m_simulator.start();
    // Until the event loop has run once, messages may come in another order, and QtDBus does not
    // notice the end of the bus.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
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
