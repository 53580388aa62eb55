// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <functional>
#include <optional>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

namespace
{

// In milliseconds.
constexpr int limit = 100;

// The error of a call that was not answered in time.
void compareWithTimeout(const Error &error)
{
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.busErrorName(), "org.freedesktop.DBus.Error.NoReply");
    QCOMPARE(error.message(),
             "Did not receive a reply. Possible causes include: the remote application did not "
             "send a reply, the message bus security policy blocked the reply, the reply "
             "timeout expired, or the network connection was broken.");
}

// All three classes have these two functions.
template <typename Client> void refuseInvalidTimeouts(Client &client)
{
    QCOMPARE(client.timeout(), -1);
    const Warnings warnings(Warnings::Silent);
    QStringList expected;
    for (const int milliseconds : {0, -2, std::numeric_limits<int>::min()}) {
        for (const int before : {-1, 1, std::numeric_limits<int>::max()}) {
            client.setTimeout(before);
            QCOMPARE(client.timeout(), before);
            client.setTimeout(milliseconds);
            QCOMPARE(client.timeout(), before);
            expected.append(QString("A timeout of %1 milliseconds is not valid").arg(milliseconds));
        }
    }
    QCOMPARE(warnings.texts(), expected);
}

} // namespace

// How long calls wait for a service that never answers.
class TestTimeouts : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void invalidTimeoutsAreRefused();
    void blockingRequestsEndAfterTheirTimeout_data() { methods(); }
    void blockingRequestsEndAfterTheirTimeout();
    void requestsWithCallbacksEndAfterTheirTimeout_data() { methods(); }
    void requestsWithCallbacksEndAfterTheirTimeout();
    void taskCallsEndAfterTheirTimeout();
    void windowReportsEndAfterTheirTimeout();
    void callsUnderWayKeepTheirTimeout();
    void eachObjectHasItsOwnTimeout();

private:
    static void methods();

    Faults faults(const char *method) const
    {
        return m_simulator.faults(OSTREL_CONTROL_INTERFACE, method);
    }
};

void TestTimeouts::methods()
{
    QTest::addColumn<QString>("method");
    for (const char *method : {"Start", "StartDebug", "Terminate", "GetRunningApplications"}) {
        QTest::newRow(method) << method;
    }
}

void TestTimeouts::invalidTimeoutsAreRefused()
{
    Control control;
    refuseInvalidTimeouts(control);
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    refuseInvalidTimeouts(invoker);
    WindowManagement windows;
    refuseInvalidTimeouts(windows);
}

void TestTimeouts::blockingRequestsEndAfterTheirTimeout()
{
    QFETCH(const QString, method);
    faults(qPrintable(method)).ignoreNext();
    Control control;
    control.setTimeout(limit);
    const QString id = "a.b";
    if (method == "Start") {
        compareWithTimeout(control.start(id).error);
    } else if (method == "StartDebug") {
        compareWithTimeout(control.startDebug(id, {}).error);
    } else if (method == "Terminate") {
        compareWithTimeout(control.terminate(id));
    } else {
        QVector<Ostrel::RunningApplication> applications;
        QVector<Ostrel::RunningService> services;
        compareWithTimeout(control.getRunningApplications(applications, services));
    }
}

void TestTimeouts::requestsWithCallbacksEndAfterTheirTimeout()
{
    QFETCH(const QString, method);
    faults(qPrintable(method)).ignoreNext();
    Control control;
    control.setTimeout(limit);
    const QString id = "a.b";
    std::optional<Error> outcome;
    const auto onStart = [&outcome](const Control::StartResult &result) { outcome = result.error; };
    const auto onError = [&outcome](const Error &error) { outcome = error; };
    if (method == "Start") {
        control.start(id, this, onStart);
    } else if (method == "StartDebug") {
        control.startDebug(id, {}, this, onStart);
    } else if (method == "Terminate") {
        control.terminate(id, this, onError);
    } else {
        control.getRunningApplications(this,
                                       [&outcome](const auto & /*applications*/,
                                                  const auto & /*services*/,
                                                  const Error &error) { outcome = error; });
    }
    waitUntil([&outcome] { return outcome.has_value(); });
    compareWithTimeout(*outcome);
}

void TestTimeouts::taskCallsEndAfterTheirTimeout()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QVERIFY(!waitUntilReady(invoker));
    for (const char *method : {"Start", "Stop"}) {
        m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, method).ignoreNext();
    }
    invoker.setTimeout(limit);
    std::optional<Error> started;
    std::optional<Error> stopped;
    invoker.start("photos", {}, {},
                  [&started](int /*number*/, const Error &error) { started = error; });
    invoker.stop("photos", [&stopped](const Error &error) { stopped = error; });
    waitUntil([&] { return started.has_value() && stopped.has_value(); });
    compareWithTimeout(*started);
    compareWithTimeout(*stopped);
}

void TestTimeouts::windowReportsEndAfterTheirTimeout()
{
    m_simulator.faults(Method::UpdateWindowStatus).ignoreNext();
    WindowManagement windows;
    windows.setTimeout(limit);
    std::optional<Error> reported;
    windows.updateWindowStatus(
        "w", 1, 2, 3, this,
        [&reported](Ostrel::ApplicationState /*state*/, const Error &error) { reported = error; });
    waitUntil([&reported] { return reported.has_value(); });
    compareWithTimeout(*reported);
}

// A new timeout is for later calls: this call is answered long after it has passed.
void TestTimeouts::callsUnderWayKeepTheirTimeout()
{
    Control control;
    faults("Terminate").holdNext(1);
    std::optional<Error> held;
    control.terminate("held", this, [&held](const Error &error) { held = error; });
    faults("Terminate").waitForHeld(1);
    control.setTimeout(limit);
    faults("Start").ignoreNext();
    compareWithTimeout(control.start("a.b").error);
    faults("Terminate").release({0});
    waitUntil([&held] { return held.has_value(); });
    QCOMPARE(held->code(), Error::ApplicationNotRunning);

    control.setTimeout(-1);
    QCOMPARE(control.timeout(), -1);
    faults("Terminate").delayNext(2 * limit);
    QCOMPARE(control.terminate("slow").code(), Error::ApplicationNotRunning);
}

void TestTimeouts::eachObjectHasItsOwnTimeout()
{
    Control impatient;
    impatient.setTimeout(limit);
    const Control other;
    QCOMPARE(other.timeout(), -1);
    WindowManagement hasty;
    hasty.setTimeout(limit);
    const WindowManagement calm;
    QCOMPARE(calm.timeout(), -1);
}

OSTREL_TEST_MAIN(TestTimeouts)

#include "tst_timeouts.moc"
