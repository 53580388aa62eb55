// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "memory_figures.h"
#include "outcomes.h"
#include "quiet_test.h"
#include "task_invokers.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtCore/QEventLoop>

#include <algorithm>
#include <functional>
#include <vector>

using Ostrel::ApplicationState;
using Ostrel::Control;
using Ostrel::Error;
using Ostrel::TaskInvoker;
using Ostrel::WindowManagement;

// Very many calls: each gets its own answer, and all memory is freed. OSTREL_LONG_TESTS in the
// environment makes them ten times as many.
class TestLoad : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void repeatedRequestsUseNoMoreMemory() const;
    void repeatedReportsUseNoMoreMemory();
    void repeatedTaskCallsUseNoMoreMemory() const;
    void tenThousandReportsInFlightAreAnswered();

private:
    const int m_count = longTests() ? 100000 : 10000;
};

namespace
{

// What the allocator may keep. The smallest allocation for each call would be three times as much,
// in the short form.
constexpr qint64 mayStay = 100000;

// Makes a call whenever the previous one has been answered, and counts the answers.
class Sequence
{
public:
    Sequence(int count, std::function<void(int)> call)
        : m_count(count)
        , m_call(std::move(call))
    {
    }

    void answered()
    {
        if (++m_done < m_count) {
            m_call(m_done);
        } else {
            m_loop.quit();
        }
    }

    void run()
    {
        m_call(0);
        m_loop.exec();
    }

private:
    int m_count;
    int m_done = 0;
    std::function<void(int)> m_call;
    QEventLoop m_loop;
};

} // namespace

void TestLoad::repeatedRequestsUseNoMoreMemory() const
{
    Control control;
    const auto ask = [this, &control] {
        for (int i = 0; i < m_count; ++i) {
            const QString id = QString("none.%1").arg(i);
            const Error error = control.terminate(id);
            if (error.code() != Error::ApplicationNotRunning || !error.message().contains(id)) {
                qFatal("call %d: %s", i, qPrintable(text(error)));
            }
        }
        // Handles what the bus has sent meanwhile.
        QCoreApplication::processEvents();
    };
    QVERIFY(leavesNothingBehind(QString("%1 calls of Control, one after the other").arg(m_count),
                                ask, mayStay));
}

void TestLoad::repeatedReportsUseNoMoreMemory()
{
    WindowManagement windows;
    const auto report = [this, &windows] {
        Sequence *all = nullptr;
        Sequence sequence(m_count, [&](int i) {
            windows.updateWindowStatus(
                "w", i, 0, 0, this, [&all, i](ApplicationState state, const Error &error) {
                    if (error || quint32(state) != quint32(i)) {
                        qFatal("call %d: %u %s", i, quint32(state), qPrintable(text(error)));
                    }
                    all->answered();
                });
        });
        all = &sequence;
        sequence.run();
        waitUntil([this] { return children().isEmpty(); });
    };
    QVERIFY(leavesNothingBehind(
        QString("%1 calls of WindowManagement, one after the other").arg(m_count), report,
        mayStay));
}

void TestLoad::repeatedTaskCallsUseNoMoreMemory() const
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    QVERIFY(!waitUntilReady(invoker));
    const auto stop = [this, &invoker] {
        Sequence *all = nullptr;
        Sequence sequence(m_count, [&](int i) {
            const QString name = QString("none.%1").arg(i);
            invoker.stop(name, [&all, i, name](const Error &error) {
                if (error.code() != Error::HandlerNotFound || !error.message().contains(name)) {
                    qFatal("call %d: %s", i, qPrintable(text(error)));
                }
                all->answered();
            });
        });
        all = &sequence;
        sequence.run();
        waitUntil([&invoker] { return invoker.children().isEmpty(); });
    };
    QVERIFY(leavesNothingBehind(
        QString("%1 calls of TaskInvoker, one after the other").arg(m_count), stop, mayStay));
}

void TestLoad::tenThousandReportsInFlightAreAnswered()
{
    constexpr int count = 10000;
    WindowManagement windows;
    const auto report = [&] {
        std::vector<int> answers(count, 0);
        QVector<int> order;
        order.reserve(count);
        m_simulator.faults(Method::UpdateWindowStatus).holdNext(count);
        for (int i = 0; i < count; ++i) {
            windows.updateWindowStatus("w", i, 0, 0, this,
                                       [&, i](ApplicationState state, const Error &error) {
                                           if (error || quint32(state) != quint32(i)) {
                                               qFatal("call %d: %u", i, quint32(state));
                                           }
                                           ++answers.at(static_cast<std::size_t>(i));
                                           order.append(i);
                                       });
        }
        m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(count);
        QCOMPARE(order.size(), 0);
        // The last call is answered first.
        QVector<int> reversed;
        for (uint i = count; i > 0; --i) {
            reversed.append(int(i) - 1);
        }
        m_simulator.faults(Method::UpdateWindowStatus).release(reversed);
        waitUntil([&] { return order.size() >= count; });
        // There is no second answer to any of them.
        Outcomes marker;
        windows.updateWindowStatus("w", 1, 2, 3, this, marker.callback());
        marker.waitFor(1);
        QCOMPARE(answers, std::vector<int>(count, 1));
        QVERIFY(std::is_sorted(order.crbegin(), order.crend()));
        waitUntil([&] { return children().isEmpty(); });
    };
    QVERIFY(leavesNothingBehind("10,000 calls of WindowManagement in flight", report, mayStay));
}

OSTREL_TEST_MAIN(TestLoad)

#include "tst_load.moc"
