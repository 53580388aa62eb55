// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

//! [test]
#include "keeper.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>

class TestFirst : public Ostrel::Testing::SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void applicationIsStarted()
    {
        Keeper keeper(QStringLiteral("demo.Viewer"));
        keeper.start();
        QTRY_COMPARE(keeper.instance(), QStringLiteral("demo.Viewer.instance_1"));
    }
};

OSTREL_TEST_MAIN(TestFirst)

#include "tst_first.moc"
//! [test]
