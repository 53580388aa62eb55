// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "memory_figures.h"
#include "quiet_test.h"
#include "task_invokers.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QThread>

#include <atomic>
#include <memory>
#include <vector>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

namespace
{

constexpr int threadCount = 6;
constexpr int rounds = 100;

std::atomic<int> ready{0};

// A thread with objects of its own, which come and go while it makes requests of each kind.
class Worker
{
public:
    // host: an object of another thread.
    Worker(int number, const QObject *host)
        : m_number(number)
        , m_host(host)
    {
    }

    void run()
    {
        // The only one of its thread: what it uses of the bus is never deleted.
        WindowManagement windows;
        // All threads go on at once.
        for (++ready; ready < threadCount;) {
            QThread::yieldCurrentThread();
        }
        const QDeadlineTimer end(longTests() ? 30000 : 0);
        for (int i = 0; m_problem == nullptr && (i < rounds || !end.hasExpired()); ++i) {
            m_id = QString("id.%1.%2.").arg(m_number).arg(i);
            makeRequests(windows);
        }
    }

    // The last kind of request with an unexpected outcome.
    const char *problem() const { return m_problem; }

private:
    void makeRequests(WindowManagement &windows)
    {
        Control control;
        TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
        const QObject context;
        int announcements = 0;
        QObject::connect(&control, &Control::stateChanged, &context,
                         [this, &announcements](const QString &id, quint32 state) {
                             ++announcements;
                             expect("stateChanged", id == QLatin1String("announced") && state == 3);
                         });
        expect("onReady", !waitUntilReady(invoker));

        m_replies = 0;
        for (const QObject *where : {&context, m_host}) {
            windows.updateWindowStatus(
                m_id, m_number, 0, 0, where, [this](quint32 state, const Error &error) {
                    expect("updateWindowStatus", !error && state == quint32(m_number));
                    ++m_replies;
                });
            control.start(m_id, where, [this](const Control::StartResult &result) {
                expectError("start", result.error, Error::HandlerNotFound);
                ++m_replies;
            });
            invoker.stop(m_id, where, [this](const Error &error) {
                expectError("stop", error, Error::HandlerNotFound);
                ++m_replies;
            });
        }
        expectError("terminate", control.terminate(m_id), Error::ApplicationNotRunning);
        QVector<RunningApplication> applications;
        QVector<RunningService> services;
        expect("getRunningApplications",
               !control.getRunningApplications(applications, services) && applications.isEmpty());
        waitUntil([this, &announcements] { return m_replies == 6 && announcements > 0; });
    }

    void expect(const char *request, bool isAsExpected)
    {
        if (!isAsExpected) {
            m_problem = request;
        }
    }

    void expectError(const char *request, const Error &error, Error::Code code)
    {
        expect(request, error.code() == code && error.message().contains(m_id));
    }

    const int m_number;
    const QObject *const m_host;
    QString m_id;
    std::atomic<int> m_replies{0};
    std::atomic<const char *> m_problem{nullptr};
};

} // namespace

// Threads that use the library at once, beside what the program itself does on the bus.
// OSTREL_LONG_TESTS in the environment makes them go on for half a minute.
class TestThreads : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void eachThreadHasItsOwnObjects();
};

// They also make the first objects of the process at once.
void TestThreads::eachThreadHasItsOwnObjects()
{
    std::vector<std::unique_ptr<Worker>> workers;
    // With an event loop each.
    std::vector<std::unique_ptr<QThread>> threads;
    std::atomic<int> running{threadCount};
    for (int i = 0; i < threadCount; ++i) {
        workers.push_back(std::make_unique<Worker>(i, this));
        threads.emplace_back(QThread::create([&running, worker = workers.back().get()] {
            worker->run();
            --running;
        }));
        threads.back()->start();
    }
    int refused = 0;
    while (running > 0) {
        const QDBusMessage reply = callControl("GetRunningApplications");
        refused += reply.type() == QDBusMessage::ReplyMessage ? 0 : 1;
        m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "StateChanged",
                               {"announced", QVariantMap{{"State", 3U}}});
        QCoreApplication::processEvents();
    }
    for (const auto &thread : threads) {
        thread->wait();
    }
    for (const auto &worker : workers) {
        QCOMPARE(worker->problem(), nullptr);
    }
    QCOMPARE(refused, 0);
}

OSTREL_TEST_MAIN(TestThreads)

#include "tst_threads.moc"
