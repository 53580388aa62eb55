// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "memory_figures.h"
#include "model_rig.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/ServicesModel>
#include <Ostrel/Testing/Main>

#include <QtCore/QTimer>

#include <algorithm>
#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;
using Ostrel::ServicesModel;

// Long lists, and changes without end. OSTREL_LONG_TESTS in the environment makes them ten times as
// many.
class TestModelsLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void tenThousandApplicationsAreOneInsertion();
    void oneOfTenThousandIsOneRow();
    void everySecondOfTenThousandMayGoAtOnce();
    void manyChangesAreFewLists();
    void changesThatKeepComingAreFollowed();
    void repeatedListsUseNoMoreMemory();

private:
    using Events = QStringList;

    // Has the next list be of this length. Each of its records is "made.UpN".
    void nextLength(uint applications, uint services = 0);

    std::optional<ModelRig> m_rig;
};

void TestModelsLoad::initTestCase()
{
    m_rig.emplace();
}

void TestModelsLoad::cleanup()
{
    m_rig->simulator().reset();
}

void TestModelsLoad::nextLength(uint applications, uint services)
{
    const QDBusMessage answer = m_rig->simulator().desk(
        "ListNext", {QVariant::fromValue(applications), QVariant::fromValue(services)});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
}

void TestModelsLoad::tenThousandApplicationsAreOneInsertion()
{
    Control control;
    nextLength(10000, 10000);
    ApplicationsModel applications(&control);
    ModelEvents events(&applications);
    ServicesModel services(&control);
    ModelEvents serviceEvents(&services);
    ModelRig::waitFor(services, ServicesModel::Ready);
    const Events expected{"inserted 0-9999", "count 10000", "Ready"};
    QCOMPARE(events.taken(), expected);
    QCOMPARE(serviceEvents.taken(), expected);
    QCOMPARE(applications.index(9999, ApplicationsModel::PidColumn).data().toInt(), 9999);
    QCOMPARE(services.index(9999, ServicesModel::NameColumn).data().toString(), "service9999");
    QCOMPARE(m_rig->listCalls(), 1);
}

void TestModelsLoad::oneOfTenThousandIsOneRow()
{
    Control control;
    nextLength(10000);
    ApplicationsModel model(&control);
    ModelEvents events(&model);
    ModelRig::waitFor(model, ApplicationsModel::Ready);
    events.taken();
    nextLength(9999);
    m_rig->announce("Terminated");
    waitUntil([&] { return events.all().size() == 2; });
    QCOMPARE(events.taken(), (Events{"removed 9999-9999", "count 9999"}));
    nextLength(10000);
    m_rig->announce();
    waitUntil([&] { return events.all().size() == 2; });
    QCOMPARE(events.taken(), (Events{"inserted 9999-9999", "count 10000"}));
}

// No tester looks here: it looks at every row at each of the signals.
void TestModelsLoad::everySecondOfTenThousandMayGoAtOnce()
{
    Control control;
    ModelRig::Applications all;
    ModelRig::Applications half;
    for (int i = 0; i < 10000; ++i) {
        all.append(ModelRig::application("a", i));
        if (i % 2 == 0) {
            half.append(all.last());
        }
    }
    m_rig->nextList(all);
    ApplicationsModel model(&control);
    ModelRig::waitFor(model, ApplicationsModel::Ready);
    QCOMPARE(model.count(), 10000);
    int removals = 0;
    connect(&model, &ApplicationsModel::rowsRemoved, this,
            [&](const QModelIndex & /*parent*/, int first, int last) {
                ++removals;
                QCOMPARE(first, removals);
                QCOMPARE(last, first);
                // The rows before and after the gap, while there is one.
                const int count = model.count();
                QCOMPARE(model.index(first - 1, 1).data().toInt(), 2 * (first - 1));
                if (first < count) {
                    QCOMPARE(model.index(first, 1).data().toInt(), 2 * first);
                    QCOMPARE(model.index(count - 1, 1).data().toInt(), 9999);
                }
            });
    m_rig->nextList(half);
    model.refresh();
    waitUntil([&model] { return model.count() == 5000; });
    QCOMPARE(removals, 5000);
    for (int i = 0; i < model.count(); ++i) {
        QCOMPARE(model.index(i, ApplicationsModel::PidColumn).data().toInt(), 2 * i);
    }
}

void TestModelsLoad::manyChangesAreFewLists()
{
    const uint changes = longTests() ? 10000 : 1000;
    Control control;
    for (uint i = 0; i <= changes; ++i) {
        nextLength(1000);
    }
    ApplicationsModel model(&control);
    ModelEvents events(&model);
    ModelRig::waitFor(model, ApplicationsModel::Ready);
    events.taken();

    int signalCount = 0;
    connect(&control, &Control::started, this, [&signalCount] { ++signalCount; });
    const int before = m_rig->listCalls();
    const MemoryFigures figures;
    const QDBusMessage answer = m_rig->simulator().desk(
        "EmitMany",
        {QVariant::fromValue(QDBusObjectPath(OSTREL_CONTROL_PATH)), OSTREL_CONTROL_INTERFACE,
         "Started", QVariant(QVariantList{"any", QVariantMap()}), changes});
    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    waitUntil([&] { return signalCount == int(changes); });
    ModelRig::roundTrip(control);
    ModelRig::roundTrip(control);
    const int lists = m_rig->listCalls() - before;
    figures.print(QString("%1 changes of 1,000 applications in %2 lists").arg(changes).arg(lists));
    // Reading a list takes longer than a signal.
    QVERIFY2(lists >= 2 && lists < int(changes) / 2, qPrintable(QString::number(lists)));
    QCOMPARE(events.taken(), Events());
    QCOMPARE(model.status(), ApplicationsModel::Ready);
}

// One change in each pass of the event loop. Each list differs from the one before.
void TestModelsLoad::changesThatKeepComingAreFollowed()
{
    const int changes = longTests() ? 10000 : 1000;
    Control control;
    for (int i = 0; i <= changes; ++i) {
        nextLength(uint(100 + i % 2));
    }
    ApplicationsModel model(&control);
    ModelRig::waitFor(model, ApplicationsModel::Ready);

    const int before = m_rig->listCalls();
    int announced = 0;
    int notShown = 0;
    int longestWithoutList = 0;
    connect(&control, &Control::started, this, [&] {
        ++announced;
        longestWithoutList = std::max(longestWithoutList, ++notShown);
    });
    connect(&model, &ApplicationsModel::countChanged, this, [&] { notShown = 0; });
    QTimer pace;
    int sent = 0;
    connect(&pace, &QTimer::timeout, this, [&] {
        m_rig->announce();
        if (++sent == changes) {
            pace.stop();
        }
    });
    const MemoryFigures figures;
    pace.start(0);
    waitUntil([&] { return announced == changes && notShown == 0; });
    ModelRig::roundTrip(control);
    const int lists = m_rig->listCalls() - before;
    figures.print(QString("%1 changes, one after the other, in %2 lists; up to %3 without a list")
                      .arg(changes)
                      .arg(lists)
                      .arg(longestWithoutList));
    // It neither waits for the last change nor lists for each.
    QVERIFY2(longestWithoutList < changes / 10, qPrintable(QString::number(longestWithoutList)));
    QVERIFY2(lists <= changes, qPrintable(QString::number(lists)));
    QCOMPARE(model.status(), ApplicationsModel::Ready);
}

void TestModelsLoad::repeatedListsUseNoMoreMemory()
{
    const int count = longTests() ? 10000 : 1000;
    Control control;
    ApplicationsModel model(&control);
    const ServicesModel services(&control);
    ModelRig::waitFor(services, ServicesModel::Ready);
    const auto change = [&] {
        for (int i = 0; i < count; ++i) {
            const int expected = 10 + i % 2;
            nextLength(uint(expected), uint(expected));
            model.refresh();
            waitUntil([&] { return services.count() == expected; });
        }
    };
    QVERIFY(
        leavesNothingBehind(QString("%1 lists, one after the other").arg(count), change, 100000));
}

OSTREL_TEST_MAIN(TestModelsLoad)

#include "tst_models_load.moc"
