// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <csignal>
#include <memory>
#include <vector>

namespace
{

// A command that makes a request, and the method that it calls.
struct Request
{
    const char *arguments;
    const char *interface;
    const char *method;
};

const std::vector<Request> requests{
    {"start a.b", OSTREL_CONTROL_INTERFACE, "Start"},
    {"debug a.b", OSTREL_CONTROL_INTERFACE, "StartDebug"},
    {"terminate a.b", OSTREL_CONTROL_INTERFACE, "Terminate"},
    {"ps", OSTREL_CONTROL_INTERFACE, "GetRunningApplications"},
    {"window w 1 2 3", OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus"},
    {"task start sync photos", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start"},
    {"task stop sync photos", OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop"},
};

QStringList wordsOf(const char *arguments)
{
    return QString::fromLatin1(arguments).split(' ');
}

} // namespace

// The service does not answer, and the user does not wait.
class TestOstrelctlWaiting : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void requestsEndAfterTheirTimeout();
    void interruptEndsARequestAtOnce_data();
    void interruptEndsARequestAtOnce();
    void invalidTimeoutsAreRefused_data();
    void invalidTimeoutsAreRefused();
};

// All at the same time, because each waits for a second.
void TestOstrelctlWaiting::requestsEndAfterTheirTimeout()
{
    std::vector<std::unique_ptr<Process>> processes;
    for (const Request &request : requests) {
        m_simulator.faults(request.interface, request.method).ignoreNext();
        processes.push_back(std::make_unique<Process>(
            OSTRELCTL, wordsOf(request.arguments) + QStringList{"--timeout", "1"}));
        processes.back()->start();
    }
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Process &process = *processes.at(i);
        QVERIFY2(process.waitForFinished(-1), requests.at(i).arguments);
        QCOMPARE(process.exitCode(), 1);
        const QString errors = QString::fromUtf8(process.readAllStandardError());
        QVERIFY2(errors.startsWith("error: Failed: Did not receive a reply. "), qPrintable(errors));
    }
}

void TestOstrelctlWaiting::interruptEndsARequestAtOnce_data()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < requests.size(); ++i) {
        QTest::newRow(requests.at(i).arguments) << int(i);
    }
}

// As with any program that ignores the signal: the shell says 130.
void TestOstrelctlWaiting::interruptEndsARequestAtOnce()
{
    QFETCH(const int, index);
    const Request &request = requests.at(std::size_t(index));
    const Faults faults = m_simulator.faults(request.interface, request.method);
    faults.holdNext(1);
    Process process(OSTRELCTL, wordsOf(request.arguments));
    process.start();
    faults.waitForHeld(1);
    ::kill(pid_t(process.processId()), SIGINT);
    QVERIFY(process.waitForFinished(-1));
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), SIGINT);
    faults.release({0});
}

void TestOstrelctlWaiting::invalidTimeoutsAreRefused_data()
{
    QTest::addColumn<QString>("seconds");
    for (const char *seconds : {"0", "-1", "x", "1.5", "2147484", "99999999999"}) {
        QTest::newRow(seconds) << seconds;
    }
}

void TestOstrelctlWaiting::invalidTimeoutsAreRefused()
{
    QFETCH(const QString, seconds);
    for (const Request &request : requests) {
        QStringList arguments = wordsOf(request.arguments);
        const QString command = arguments.constFirst() == "task" ? arguments.mid(0, 2).join(' ')
                                                                 : arguments.constFirst();
        arguments.append({"--timeout", seconds});
        const Result result = run(OSTRELCTL, arguments);
        QCOMPARE(result.exitStatus, 2);
        QCOMPARE(result.errors,
                 QString("ostrelctl %1: --timeout takes a whole number from 1 to 2147483, "
                         "not \"%2\"\nTry 'ostrelctl %1 --help'.\n")
                     .arg(command, seconds));
    }
    // Nothing was sent.
    QCOMPARE(m_simulator.calls().size(), 0);
    QCOMPARE(run(OSTRELCTL, {"ps", "--timeout", "2147483"}).exitStatus, 0);
}

OSTREL_TEST_MAIN(TestOstrelctlWaiting)

#include "tst_ostrelctl_waiting.moc"
