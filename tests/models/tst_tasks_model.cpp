// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "model_rig.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/TasksModel>
#include <Ostrel/Testing/Main>

#include <memory>
#include <optional>

using Ostrel::TaskInvoker;
using Ostrel::TasksModel;

// The model of the tasks of one type.
class TestTasksModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void everyColumnHasATitleAndARole();
    void rowHoldsTheValuesOfBothLists();
    void followsATaskFromItsStartToItsEnd();
    void changesOfAListChangeOnlyTheirRows();
    void repeatedNameHasSeveralRows();
    void malformedListsGiveRowsOfDefaults();
    void modelWithoutInvokerIsLoading();
    void failedRegistrationIsAFailure();
    void absentServiceIsMissing();
    void registeredInvokerHasNoRowsAfterTheEndOfTheService();
    void anotherInvokerBringsTheRowsBack();
    void otherInvokerKeepsTheRowsOfTheSameTasks();
    void deletedInvokerIsAFailure();
    void slotMayDeleteTheModel_data();
    void slotMayDeleteTheModel();
    void slotMayDeleteTheInvoker();
    void slotMaySetAnotherInvoker();
    void endOfTheBusIsTheEndOfTheService();

private:
    using Events = QStringList;

    static std::unique_ptr<TaskInvoker> makeInvoker(const QString &type = "sync");

    std::optional<ModelRig> m_rig;
};

void TestTasksModel::initTestCase()
{
    m_rig.emplace();
}

void TestTasksModel::cleanup()
{
    m_rig->simulator().reset();
}

std::unique_ptr<TaskInvoker> TestTasksModel::makeInvoker(const QString &type)
{
    return std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, type);
}

void TestTasksModel::everyColumnHasATitleAndARole()
{
    const TasksModel model;
    QStringList columns;
    for (int column = 0; column < model.columnCount(); ++column) {
        columns.append(model.headerData(column, Qt::Horizontal).toString() + ": "
                       + model.roleNames().value(Qt::UserRole + column));
    }
    QCOMPARE(columns,
             (QStringList{"Task: name", "Available: available", "Active: active", "Process: pid",
                          "Properties: availableProperties",
                          "Properties when active: activeProperties"}));
}

void TestTasksModel::rowHoldsTheValuesOfBothLists()
{
    answerRegistration(m_rig->bus(), "t",
                       "2 ActiveTasks a(sia{sv}) 2 b 7 1 k i 1 c -8 0 "
                       "AvailableTasks a(sa{sv}) 2 a 1 x s y b 0");
    const auto invoker = makeInvoker("t");
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    QCOMPARE(model.status(), TasksModel::Loading);
    ModelRig::waitFor(model, TasksModel::Ready);
    QCOMPARE(rowTexts(model),
             (QStringList{"b true true 7  {\"k\":1}", "c false true -8  ",
                          "a true false 0 {\"x\":\"y\"} "}));
    const QModelIndex b = model.index(0, 0);
    QCOMPARE(b.data(TasksModel::NameRole), QVariant("b"));
    QCOMPARE(b.data(TasksModel::AvailableRole), QVariant(true));
    QCOMPARE(b.data(TasksModel::ActiveRole), QVariant(true));
    QCOMPARE(b.data(TasksModel::PidRole), QVariant(7));
    QCOMPARE(b.data(TasksModel::AvailablePropertiesRole), QVariant(QVariantMap()));
    QCOMPARE(b.data(TasksModel::ActivePropertiesRole), QVariant(QVariantMap{{"k", 1}}));
}

void TestTasksModel::followsATaskFromItsStartToItsEnd()
{
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    QCOMPARE(events.taken(), (Events{"inserted 0-2", "count 3", "Ready"}));
    QCOMPARE(model.index(1, 0).data().toString(), "contacts");
    const QPersistentModelIndex active = model.index(1, TasksModel::ActiveColumn);
    QCOMPARE(active.data().toBool(), false);

    invoker->start("contacts", {}, {}, {});
    waitUntil([&active] { return active.data().toBool(); });
    QVERIFY(active.data(TasksModel::PidRole).toInt() > 0);
    QCOMPARE(events.taken(), Events{"changed 1,0-1,5 display active pid"});
    invoker->stop("contacts", {});
    waitUntil([&active] { return !active.data().toBool(); });
    QCOMPARE(active.data(TasksModel::PidRole).toInt(), 0);
    QCOMPARE(events.taken(), Events{"changed 1,0-1,5 display active pid"});
}

void TestTasksModel::changesOfAListChangeOnlyTheirRows()
{
    answerRegistration(m_rig->bus(), "t", "1 AvailableTasks a(sa{sv}) 3 a 0 b 0 c 0");
    const auto invoker = makeInvoker("t");
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    events.taken();
    emitPropertiesChanged(m_rig->bus(), "t", "1 AvailableTasks a(sa{sv}) 3 d 0 c 1 k i 1 a 0");
    waitUntil([&events] { return events.all().size() == 3; });
    QCOMPARE(
        events.taken(),
        (Events{"removed 1-1", "changed 1,0-1,5 display availableProperties", "inserted 2-2"}));
}

void TestTasksModel::repeatedNameHasSeveralRows()
{
    answerRegistration(m_rig->bus(), "t",
                       "2 ActiveTasks a(sia{sv}) 3 a 1 0 a 2 0 a 3 0 "
                       "AvailableTasks a(sa{sv}) 2 a 0 a 0");
    const auto invoker = makeInvoker("t");
    TasksModel model(invoker.get());
    const ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    QCOMPARE(rowTexts(model),
             (QStringList{"a true true 1  ", "a true true 2  ", "a false true 3  "}));
}

void TestTasksModel::malformedListsGiveRowsOfDefaults()
{
    answerRegistration(m_rig->bus(), "t", "2 ActiveTasks a(ss) 1 a x AvailableTasks ai 2 1 2");
    const auto invoker = makeInvoker("t");
    TasksModel model(invoker.get());
    const ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    QCOMPARE(rowTexts(model), QStringList{"a false true 0  "});
}

void TestTasksModel::modelWithoutInvokerIsLoading()
{
    TasksModel model;
    QCOMPARE(model.status(), TasksModel::Loading);
    QCOMPARE(model.invoker(), nullptr);
    const auto invoker = makeInvoker();
    QVERIFY(!waitUntilReady(*invoker));
    ModelEvents events(&model);
    // A ready invoker brings its rows at once.
    model.setInvoker(invoker.get());
    QCOMPARE(model.invoker(), invoker.get());
    QCOMPARE(events.taken(), (Events{"inserted 0-2", "count 3", "Ready"}));
    model.setInvoker(nullptr);
    QCOMPARE(events.taken(), (Events{"removed 0-2", "count 0", "Loading"}));
    QCOMPARE(model.invoker(), nullptr);
}

void TestTasksModel::failedRegistrationIsAFailure()
{
    const Warnings warnings(Warnings::Silent);
    m_rig->simulator()
        .faults(OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker")
        .failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not now");
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    const ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Failed);
    QCOMPARE(model.error().code(), Ostrel::Error::HandlerFailed);
    QCOMPARE(model.error().message(), "not now");
}

void TestTasksModel::absentServiceIsMissing()
{
    const Warnings warnings(Warnings::Silent);
    m_rig->simulator().end();
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    const ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::ServiceMissing);
    QVERIFY(!model.error());
    m_rig->simulator().start();
    ModelRig::waitFor(model, TasksModel::Failed);
    QCOMPARE(model.error().message(), "The service has started after the TaskInvoker registered");
    QCOMPARE(model.count(), 0);
}

void TestTasksModel::registeredInvokerHasNoRowsAfterTheEndOfTheService()
{
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    events.taken();
    m_rig->simulator().end();
    ModelRig::waitFor(model, TasksModel::ServiceMissing);
    QCOMPARE(events.taken(), (Events{"removed 0-2", "count 0", "ServiceMissing"}));
    m_rig->simulator().start();
    ModelRig::waitFor(model, TasksModel::Failed);
    QCOMPARE(events.taken(),
             Events{"Failed The service has started after the TaskInvoker registered"});
}

void TestTasksModel::anotherInvokerBringsTheRowsBack()
{
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    events.taken();
    std::unique_ptr<TaskInvoker> next;
    connect(&model, &TasksModel::serviceStarted, this, [&] {
        QCOMPARE(model.status(), TasksModel::Failed);
        QVERIFY(!next);
        next = makeInvoker();
        model.setInvoker(next.get());
    });
    m_rig->simulator().end();
    ModelRig::waitFor(model, TasksModel::ServiceMissing);
    QVERIFY(!next);
    m_rig->simulator().start();
    ModelRig::waitFor(model, TasksModel::Ready);
    QCOMPARE(events.taken(),
             (Events{"removed 0-2", "count 0", "ServiceMissing",
                     "Failed The service has started after the TaskInvoker registered", "Loading",
                     "inserted 0-2", "count 3", "Ready"}));
    roundTrip(*next);
    QCOMPARE(model.status(), TasksModel::Ready);
}

void TestTasksModel::otherInvokerKeepsTheRowsOfTheSameTasks()
{
    const auto invoker = makeInvoker();
    const auto same = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    QVERIFY(!waitUntilReady(*same));
    events.taken();
    model.setInvoker(same.get());
    QCOMPARE(events.taken(), Events());
}

void TestTasksModel::deletedInvokerIsAFailure()
{
    auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    events.taken();
    invoker.reset();
    QCOMPARE(events.taken(),
             (Events{"removed 0-2", "count 0", "Failed The TaskInvoker has been destroyed"}));
    QCOMPARE(model.invoker(), nullptr);
}

void TestTasksModel::slotMayDeleteTheModel_data()
{
    QTest::addColumn<bool>("withStatus");
    QTest::newRow("with rows") << false;
    QTest::newRow("with the status") << true;
}

void TestTasksModel::slotMayDeleteTheModel()
{
    QFETCH(bool, withStatus);
    const auto invoker = makeInvoker();
    auto model = std::make_unique<TasksModel>(invoker.get());
    const auto reset = [&model] { model.reset(); };
    if (withStatus) {
        connect(model.get(), &TasksModel::statusChanged, this, reset);
    } else {
        connect(model.get(), &TasksModel::rowsInserted, this, reset);
    }
    waitUntil([&model] { return !model; });
    QVERIFY(!waitUntilReady(*invoker));
}

void TestTasksModel::slotMayDeleteTheInvoker()
{
    auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    const ModelEvents events(&model);
    connect(&model, &TasksModel::rowsInserted, this, [&invoker] { invoker.reset(); });
    ModelRig::waitFor(model, TasksModel::Failed);
    QCOMPARE(model.count(), 0);
}

void TestTasksModel::slotMaySetAnotherInvoker()
{
    const auto first = makeInvoker();
    const auto second = makeInvoker("maintenance");
    TasksModel model(first.get());
    const ModelEvents events(&model);
    connect(&model, &TasksModel::rowsInserted, this, [&] {
        if (model.invoker() == first.get()) {
            model.setInvoker(second.get());
        }
    });
    waitUntil([&] { return model.status() == TasksModel::Ready && model.count() == 1; });
    QCOMPARE(model.index(0, 0).data().toString(), "cleanup");
}

// The connection does not come back, so this is the last one.
void TestTasksModel::endOfTheBusIsTheEndOfTheService()
{
    const auto invoker = makeInvoker();
    TasksModel model(invoker.get());
    ModelEvents events(&model);
    ModelRig::waitFor(model, TasksModel::Ready);
    events.taken();
    m_rig->bus().end();
    ModelRig::waitFor(model, TasksModel::ServiceMissing);
    QCOMPARE(events.taken(), (Events{"removed 0-2", "count 0", "ServiceMissing"}));
}

OSTREL_TEST_MAIN(TestTasksModel)

#include "tst_tasks_model.moc"
