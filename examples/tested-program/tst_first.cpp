// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

//! [test]
#include "keeper.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>
#include <Ostrel/Testing/waiting.h>

using namespace Ostrel::Testing;

class TestFirst : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void applicationIsStarted()
    {
        Keeper keeper(QStringLiteral("demo.Viewer"));
        keeper.start();
        QVERIFY(waitUntil([&keeper] { return !keeper.instance().isNull(); }));
    }
};

OSTREL_TEST_MAIN(TestFirst)

#include "tst_first.moc"
//! [test]
