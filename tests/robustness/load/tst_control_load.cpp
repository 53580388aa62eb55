// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "memory_figures.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <vector>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;

// Many records, signals and requests.
class TestControlLoad : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void tenThousandRecordsAreRead();
    void twentyThousandSignalsLeaveNothingBehind();
    void tenThousandRequestsInFlightAreAnswered();

private:
    // Makes the service send so many signals "StateChanged" with the state 3.
    void emitStates(const QString &instance, int count) const;
};

void TestControlLoad::emitStates(const QString &instance, int count) const
{
    const QDBusMessage answer = m_simulator.desk(
        "EmitMany",
        {QVariant::fromValue(QDBusObjectPath(OSTREL_CONTROL_PATH)), OSTREL_CONTROL_INTERFACE,
         "StateChanged", QVariant(QVariantList{instance, QVariantMap{{"State", 3U}}}),
         uint(count)});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
}

void TestControlLoad::tenThousandRecordsAreRead()
{
    m_simulator.desk("ListNext", {10000U, 10000U});
    MemoryFigures figures;
    QVector<RunningApplication> applications;
    QVector<RunningService> services;
    QVERIFY(!Control().getRunningApplications(applications, services));
    QCOMPARE(applications.size(), 10000);
    QCOMPARE(services.size(), 10000);
    // Each record holds its number, which shows the order.
    for (int i = 0; i < 10000; ++i) {
        const QString number = QString::number(i);
        QVERIFY2(applications.at(i).appId.endsWith(number), qPrintable(applications.at(i).appId));
        QVERIFY2(services.at(i).name.endsWith(number), qPrintable(services.at(i).name));
    }
    applications.clear();
    services.clear();
    figures.print("10,000 applications and services");
}

void TestControlLoad::twentyThousandSignalsLeaveNothingBehind()
{
    constexpr int round = 20000;
    const Control control;
    int next = 0;
    connect(&control, &Control::stateChanged, this, [&next](const QString &id, quint32 state) {
        if (id != QString::number(next) || state != 3) {
            qFatal("%s comes as number %d", qPrintable(id), next);
        }
        ++next;
    });

    const auto receive = [&] {
        next = 0;
        emitStates("%n", round);
        waitUntil([&] { return next == round; });
    };
    // Even one byte for each signal would be more.
    QVERIFY(leavesNothingBehind("20,000 signals", receive, round));
}

// All requests are sent before the first one is answered. Each gets its own reply. Their memory
// grows in proportion to their number, and all of it is freed.
void TestControlLoad::tenThousandRequestsInFlightAreAnswered()
{
    Control control;
    const auto ask = [this, &control](int count) {
        const Faults terminate = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Terminate");
        terminate.holdNext(count);
        int answered = 0;
        MemoryFigures figures;
        for (int i = 0; i < count; ++i) {
            const QString id = QString("none.%1").arg(i);
            control.terminate(id, this, [&answered, id](const Error &error) {
                if (error.code() != Error::ApplicationNotRunning || !error.message().contains(id)) {
                    qFatal("%s: %s", qPrintable(id), qPrintable(error.message()));
                }
                ++answered;
            });
        }
        terminate.waitForHeld(count);
        const qint64 inFlight = figures.growth();
        QVector<int> order;
        for (int i = 0; i < count; ++i) {
            order.append(i);
        }
        terminate.release(order);
        order.clear();
        waitUntil([&] { return answered == count && children().isEmpty(); });
        return inFlight;
    };
    // The smallest allocation for each request would be more. The first requests fill caches.
    QVERIFY(leavesNothingBehind(
        "10,000 calls of Control in flight", [&ask] { ask(10000); }, 100000));
    // Queues take more in some runs, as the scheduler has it.
    bool isInProportion = false;
    for (int i = 0; i < 20 && !isInProportion; ++i) {
        const qint64 some = ask(1000);
        isInProportion = ask(10000) <= 12 * some;
    }
    QVERIFY(isInProportion);
}

OSTREL_TEST_MAIN(TestControlLoad)

#include "tst_control_load.moc"
