// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// What a model costs when one of many applications changes: how many lists, and how long the event
// loop is held, beside a program that reads the same lists and does nothing with them. The times
// are those of the main thread on the processor, so that other programs disturb them little.

#include "model_rig.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/Testing/Main>

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;

namespace
{

constexpr int rounds = 41;

double microseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e6 + double(time.tv_nsec) / 1e3;
}

// Keeps the longest time that an event has taken.
class Application : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        // What an event brings about within it counts as its own.
        if (std::exchange(m_isBusy, true)) {
            return QCoreApplication::notify(receiver, event);
        }
        const double begin = microseconds();
        const bool result = QCoreApplication::notify(receiver, event);
        m_longest = std::max(m_longest, microseconds() - begin);
        m_isBusy = false;
        return result;
    }

    static double takeLongest()
    {
        return std::exchange(static_cast<Application *>(instance())->m_longest, 0);
    }

private:
    bool m_isBusy = false;
    double m_longest = 0;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

enum Change {
    OfTheLast,
    OfTheFirst,
};

// The median of the longest events, where one application comes and goes.
double measure(ModelRig &rig, int applications, Change change,
               const std::function<void(int length)> &list)
{
    ModelRig::Applications all;
    for (int i = 0; i < applications; ++i) {
        all.append(
            ModelRig::application(QString("made.Up%1").arg(i), i, 1, uint(i), {{"Number", i}}));
    }
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        ModelRig::Applications now = all;
        if (round % 2 != 0) {
            now.remove(change == OfTheFirst ? 0 : applications - 1);
        }
        rig.nextList(now);
        Application::takeLongest();
        list(now.size());
        times.push_back(Application::takeLongest());
    }
    return median(times);
}

class Benchmark : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneChange_data();
    void oneChange();

private:
    ModelRig m_rig;
};

} // namespace

void Benchmark::oneChange_data()
{
    QTest::addColumn<int>("applications");
    QTest::addColumn<bool>("first");
    for (const int count : {10, 100, 1000, 10000}) {
        QTest::addRow("the last of %d", count) << count << false;
        QTest::addRow("the first of %d", count) << count << true;
    }
}

void Benchmark::oneChange()
{
    QFETCH(int, applications);
    QFETCH(bool, first);
    const Change change = first ? OfTheFirst : OfTheLast;
    Control control;
    const double reading = measure(m_rig, applications, change, [&control](int /*length*/) {
        bool hasArrived = false;
        control.getRunningApplications(&control,
                                       [&](const auto & /*applications*/, const auto & /*services*/,
                                           const Ostrel::Error & /*error*/) { hasArrived = true; });
        waitUntil([&] { return hasArrived; });
    });

    const ApplicationsModel model(&control);
    ModelRig::waitFor(model, ApplicationsModel::Ready);
    const int before = m_rig.listCalls();
    const double following = measure(m_rig, applications, change, [&](int length) {
        m_rig.announce();
        waitUntil([&] { return model.count() == length; });
    });
    const double calls = double(m_rig.listCalls() - before) / rounds;
    QCOMPARE(calls, 1.0);
    std::printf("%6d applications, the %s changes: one list; the event loop is held for %6.0f us, "
                "for %6.0f us by reading alone (%.2f)\n",
                applications, first ? "first" : "last ", following, reading, following / reading);
}

int main(int argc, char **argv)
{
    Ostrel::Testing::isolate();
    const Application application(argc, argv);
    Benchmark test;
    return QTest::qExec(&test, argc, argv);
}

#include "main.moc"
