// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

QuietTest::QuietTest()
    : SimulatorTest({}, PrivateBus::SessionBus) // These tests know what is on which bus.
{
    m_simulator.start();
    // Until the event loop has run once, messages may come in another order, and QtDBus does not
    // notice the end of the bus.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void QuietTest::init()
{
    SimulatorTest::init();
    m_warnings.emplace();
}

void QuietTest::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    SimulatorTest::cleanup();
    QCOMPARE(warnings, QStringList());
}
