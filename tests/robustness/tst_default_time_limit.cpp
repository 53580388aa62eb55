// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "task_invokers.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtCore/QVector>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

namespace
{

// The error of a call, and after how many milliseconds it came.
struct Failure
{
    qint64 after = 0;
    Error error;
};

} // namespace

// The library sets no timeout, so the one of the bus library counts: 25 seconds.
class TestDefaultTimeLimit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsFailAfterTheDefaultTimeout();
};

// All at the same time, and each blocking call in its own thread: the test takes as long as the
// timeout.
void TestDefaultTimeLimit::callsFailAfterTheDefaultTimeout()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    simulator.faults(Method::UpdateWindowStatus).ignoreNext();
    for (const char *method : {"Start", "StartDebug", "Terminate", "GetRunningApplications"}) {
        simulator.faults(OSTREL_CONTROL_INTERFACE, method).ignoreNext();
    }
    // Without a session, the calls would be answered.
    TaskInvoker registered(TaskInvoker::SessionBus, "sync");
    QVERIFY(!waitUntilReady(registered));
    simulator.faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker").ignoreNext();
    for (const char *method : {"Start", "Stop"}) {
        simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, method).ignoreNext();
    }

    // One for each call with a callback, then one for each call that blocks.
    constexpr int waiting = 4;
    QVector<Failure> failures(waiting + 4);
    WindowManagement windows;
    QElapsedTimer timer;
    timer.start();
    windows.updateWindowStatus("w", 1, 2, 3, this,
                               [&](Ostrel::ApplicationState state, const Error &error) {
                                   QCOMPARE(quint32(state), 255U);
                                   failures[0] = {timer.elapsed(), error};
                               });
    TaskInvoker unanswered(TaskInvoker::SessionBus, "other");
    unanswered.onReady([&](const Error &error) { failures[1] = {timer.elapsed(), error}; });
    registered.start("photos", {}, {}, [&](int number, const Error &error) {
        QCOMPARE(number, 0);
        failures[2] = {timer.elapsed(), error};
    });
    registered.stop("photos", [&](const Error &error) { failures[3] = {timer.elapsed(), error}; });
    const std::vector<std::function<Error(Control &)>> requests{
        [](Control &control) { return control.start("a.b").error; },
        [](Control &control) { return control.startDebug("a.b", {}).error; },
        [](Control &control) { return control.terminate("a.b"); },
        [](Control &control) {
            QVector<Ostrel::RunningApplication> applications;
            QVector<Ostrel::RunningService> services;
            return control.getRunningApplications(applications, services);
        },
    };
    std::vector<std::unique_ptr<QThread>> threads;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Failure *const failure = &failures[waiting + int(i)];
        threads.emplace_back(QThread::create([&timer, failure, request = requests.at(i)] {
            Control control;
            const Error error = request(control);
            *failure = {timer.elapsed(), error};
        }));
        threads.back()->start();
    }
    const auto allHaveFailed = [&failures] {
        return std::all_of(failures.cbegin(), failures.cbegin() + waiting,
                           [](const Failure &failure) { return failure.after != 0; });
    };
    waitUntil(allHaveFailed);
    for (const auto &thread : threads) {
        thread->wait();
    }

    for (const Failure &failure : qAsConst(failures)) {
        QVERIFY(failure.after > 24000);
        QCOMPARE(failure.error.code(), Error::Failed);
        QVERIFY2(failure.error.message().startsWith("Did not receive a reply."),
                 qPrintable(failure.error.message()));
    }
}

OSTREL_TEST_MAIN(TestDefaultTimeLimit)

#include "tst_default_time_limit.moc"
