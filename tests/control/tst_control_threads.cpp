// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <atomic>
#include <thread>
#include <vector>

using Ostrel::Control;
using Ostrel::Error;

namespace
{

constexpr int threadCount = 8;
constexpr int rounds = 250;

// Makes one request of each kind. Each reply names the argument of its request. Returns the first
// error.
QString makeRequests(Control &control, const QString &id)
{
    const auto unexpected = [&id](const Error &error, Error::Code code) {
        return error.code() != code || !error.message().contains(id);
    };
    if (unexpected(control.start(id).error, Error::HandlerNotFound)) {
        return "start";
    }
    Ostrel::DebugParams params;
    params.setEnvironment({"ID=" + id});
    if (unexpected(control.startDebug(id, params).error, Error::HandlerNotFound)) {
        return "startDebug";
    }
    if (unexpected(control.terminate(id), Error::ApplicationNotRunning)) {
        return "terminate";
    }
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    if (control.getRunningApplications(applications, services) || applications.size() != 2) {
        return "getRunningApplications";
    }
    return {};
}

} // namespace

// Several threads make requests with the shared object at the same time.
class TestControlThreads : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void anyThreadMakesRequests();
};

void TestControlThreads::initTestCase()
{
    Control::instance();
}

// The program also makes calls with QtDBus itself.
void TestControlThreads::anyThreadMakesRequests()
{
    startApplication("demo.Viewer");
    startApplication("demo.Clock");
    std::atomic<int> running{threadCount};
    std::vector<QString> problems(threadCount);
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread, &running, &problems] {
            for (int i = 0; i < rounds && problems[thread].isEmpty(); ++i) {
                problems[thread] =
                    makeRequests(*Control::instance(), QString("id.%1.%2.").arg(thread).arg(i));
            }
            --running;
        });
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    int failed = 0;
    while (running > 0) {
        QDBusPendingCall call = bus.asyncCall(QDBusMessage::createMethodCall(
            "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId"));
        call.waitForFinished();
        failed += call.isError() ? 1 : 0;
        QCoreApplication::processEvents();
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const QString &problem : problems) {
        QCOMPARE(problem, QString());
    }
    QCOMPARE(failed, 0);
}

OSTREL_TEST_MAIN(TestControlThreads)

#include "tst_control_threads.moc"
