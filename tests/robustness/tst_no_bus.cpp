// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outcomes.h"
#include "test_main.h"
#include "warnings.h"

#include <Ostrel/Control>

#include <QtCore/QSemaphore>
#include <QtCore/QThread>

using Ostrel::ApplicationState;
using Ostrel::Control;
using Ostrel::Error;
using Ostrel::WindowManagement;

// A process that never reaches a bus.
class TestNoBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationControlFailsAtOnce();
    void windowStatusFails();
    void windowStatusFailsInAnotherThread();
    void deletedContextIsNotCalled();
};

void TestNoBus::applicationControlFailsAtOnce()
{
    const Warnings warnings;
    Control control;
    const QString message = QStringLiteral("Not connected to D-Bus server");

    const Control::StartResult started = control.start(QStringLiteral("a.b"));
    QCOMPARE(started.error.code(), Error::Failed);
    QCOMPARE(started.error.message(), message);
    QVERIFY(started.appInstanceId.isEmpty());
    QVERIFY(started.details.isEmpty());

    const Control::StartResult debugged =
        control.startDebug(QStringLiteral("a.b"), Ostrel::DebugParams());
    QCOMPARE(debugged.error.code(), Error::Failed);
    QCOMPARE(debugged.error.message(), message);

    const Error terminated = control.terminate(QStringLiteral("a.b"));
    QCOMPARE(terminated.code(), Error::Failed);
    QCOMPARE(terminated.message(), message);

    QVector<Ostrel::RunningApplication> applications(2, Ostrel::RunningApplication{});
    QVector<Ostrel::RunningService> services(1, Ostrel::RunningService{});
    const Error listed = control.getRunningApplications(applications, services);
    QCOMPARE(listed.code(), Error::Failed);
    QCOMPARE(listed.message(), message);
    QCOMPARE(applications.size(), 2);
    QCOMPARE(services.size(), 1);

    QCOMPARE(Control::instance(), Control::instance());
    QCOMPARE(warnings.texts(), QStringList());
}

void TestNoBus::windowStatusFails()
{
    const Warnings warnings;
    WindowManagement windows;
    Outcomes outcomes;
    for (int i = 0; i < 3; ++i) {
        windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, this, outcomes.callback());
    }
    // The failure is known at once, but comes from the event loop like any other.
    QCOMPARE(outcomes.size(), 0);
    outcomes.waitFor(3);
    reportWindow();
    QCOMPARE(outcomes.size(), 3);
    QCOMPARE(outcomes.at(0).state, 255U);
    QCOMPARE(outcomes.at(0).error.code(), Error::Failed);
    QCOMPARE(outcomes.at(0).error.message(), QStringLiteral("Not connected to D-Bus server"));
    QCOMPARE(warnings.texts(), QStringList());
}

void TestNoBus::windowStatusFailsInAnotherThread()
{
    QThread thread;
    thread.start();
    auto *context = new QObject;
    context->moveToThread(&thread);
    WindowManagement windows;
    QThread *ranIn = nullptr;
    quint32 reported = 0;
    bool done = false;
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, context,
                               [&](ApplicationState state, const Error &) {
                                   ranIn = QThread::currentThread();
                                   reported = state;
                                   QMetaObject::invokeMethod(this, [&done] { done = true; });
                               });
    waitUntil([&] { return done; });
    QCOMPARE(ranIn, &thread);
    QCOMPARE(reported, 255U);
    context->deleteLater();
    thread.quit();
    thread.wait();
}

void TestNoBus::deletedContextIsNotCalled()
{
    WindowManagement windows;
    Outcomes outcomes;
    {
        const QObject context;
        windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, &context, outcomes.callback());
    }
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
}

OSTREL_TEST_MAIN(TestNoBus)

#include "tst_no_bus.moc"
