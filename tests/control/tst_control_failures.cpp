// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "simulator.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

#include <QtCore/QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;

namespace
{

// A request of each kind. It checks that nothing comes with the error, and returns the error.
struct Request
{
    const char *method;
    std::function<Error(Control &)> run;
};

Error checked(const Control::StartResult &result)
{
    if (!result.appInstanceId.isEmpty() || !result.details.isEmpty()) {
        qFatal("a failure comes with a result");
    }
    return result.error;
}

Error list(Control &control)
{
    QVector<RunningApplication> applications(1, RunningApplication{});
    QVector<RunningService> services(1, RunningService{});
    Error error = control.getRunningApplications(applications, services);
    if (text(applications) != QLatin1String(" 0 0 0 {}")
        || text(services) != QLatin1String("  0 0 {}")) {
        qFatal("a failure touches the vectors");
    }
    return error;
}

const std::vector<Request> &requests()
{
    static const std::vector<Request> all{
        {"Start", [](Control &control) { return checked(control.start(QStringLiteral("a.b"))); }},
        {"StartDebug",
         [](Control &control) {
             return checked(control.startDebug(QStringLiteral("a.b"), DebugParams()));
         }},
        {"Terminate", [](Control &control) { return control.terminate(QStringLiteral("a.b")); }},
        {"GetRunningApplications", list},
    };
    return all;
}

} // namespace

// The service is absent, silent, slow, or ends at the wrong moment.
class TestControlFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void serviceIsAbsent();
    void serviceEndsBeforeItReplies();
    void serviceRepliesLate();
    void serviceComesBack();
    void methodIsUnknown();
    void noEventLoopRunsDuringACall();

private:
    MethodFaults next(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
    std::optional<Warnings> m_warnings;
};

void TestControlFailures::initTestCase()
{
    m_bus.emplace();
    // Without a pass of the event loop, a bus that goes away is not noticed.
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
}

void TestControlFailures::init()
{
    m_simulator.emplace(*m_bus);
    m_warnings.emplace();
}

void TestControlFailures::cleanup()
{
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    m_simulator.reset();
    QCOMPARE(warnings, QStringList());
}

void TestControlFailures::serviceIsAbsent()
{
    Control control;
    for (const Request &request : requests()) {
        const Error error = request.run(control);
        QCOMPARE(error.code(), Error::Failed);
        QCOMPARE(error.message(),
                 QStringLiteral("The name " OSTREL_SERVICE_NAME
                                " was not provided by any .service files"));
    }
}

void TestControlFailures::serviceEndsBeforeItReplies()
{
    Control control;
    for (const Request &request : requests()) {
        m_simulator->start();
        next(request.method).dieInNext();
        const Error error = request.run(control);
        QCOMPARE(m_simulator->waitForEnd(), 1);
        QCOMPARE(error.code(), Error::Failed);
        QCOMPARE(
            error.message(),
            QStringLiteral("Message recipient disconnected from message bus without replying"));
    }
}

void TestControlFailures::serviceRepliesLate()
{
    m_simulator->start();
    Control control;
    const MethodFaults start = next("Start");
    start.delayNext(100);
    start.answerNext({QStringLiteral("one"), QVariantMap()});
    // The delay is for what the service itself makes of the call, an error here.
    const Error error = control.start(QStringLiteral("no.such")).error;
    QCOMPARE(error.code(), Error::HandlerNotFound);
    QCOMPARE(control.start(QStringLiteral("a.b")).appInstanceId, QStringLiteral("one"));
}

void TestControlFailures::serviceComesBack()
{
    Control control;
    QCOMPARE(control.terminate(QStringLiteral("a")).code(), Error::Failed);
    for (int i = 0; i < 2; ++i) {
        m_simulator->start();
        QCOMPARE(control.terminate(QStringLiteral("a")).code(), Error::ApplicationNotRunning);
        m_simulator->end();
        QCOMPARE(control.terminate(QStringLiteral("a")).code(), Error::Failed);
    }
}

// Another program may own the name, and know nothing of applications.
void TestControlFailures::methodIsUnknown()
{
    QDBusConnection other =
        QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("other"));
    QVERIFY(other.registerService(QStringLiteral(OSTREL_SERVICE_NAME)));
    Control control;
    for (const Request &request : requests()) {
        const Error error = request.run(control);
        QCOMPARE(error.code(), Error::Failed);
        QCOMPARE(error.message(),
                 QStringLiteral("No such object path '" OSTREL_SERVICE_PATH "/Control1'"));
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("other"));
}

void TestControlFailures::noEventLoopRunsDuringACall()
{
    m_simulator->start();
    Control control;
    bool ran = false;
    QTimer::singleShot(0, this, [&ran] { ran = true; });
    for (const Request &request : requests()) {
        next(request.method).delayNext(50);
        if (QLatin1String(request.method) != QLatin1String("GetRunningApplications")) {
            QVERIFY(request.run(control).isError());
        } else {
            QVector<RunningApplication> applications;
            QVector<RunningService> services;
            QVERIFY(!control.getRunningApplications(applications, services));
        }
    }
    QVERIFY(!ran);
    waitUntil([&] { return ran; });
}

OSTREL_TEST_MAIN(TestControlFailures)

#include "tst_control_failures.moc"
