// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "model_rig.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/ServicesModel>
#include <Ostrel/Testing/Main>

#include <functional>
#include <memory>
#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;
using Ostrel::LiveModel;
using Ostrel::ServicesModel;

// Slots of a model that delete it, delete its Control, or run an event loop; and models that come
// and go.
class TestModelsLifetimes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void slotMayDeleteTheModel_data();
    void slotMayDeleteTheModel();
    void slotMayDeleteTheControl_data();
    void slotMayDeleteTheControl();
    void slotMayEndTheService_data();
    void slotMayEndTheService();
    void slotMayMakeAnotherModel_data();
    void slotMayMakeAnotherModel();
    void slotThatRunsAnEventLoopSeesNoSecondList();
    void slotOfTheEndOfTheControlMayRefresh();
    void modelWithoutControlHasNoRows();
    void deletedModelLeavesTheOthersConnected();
    void controlWithoutModelsIsNotAskedForLists();
    void modelMayBeDeletedWhileAListIsUnderWay();

private:
    using Events = QStringList;

    // A row for each signal of a model.
    static void addSignals();
    // Runs the slot once, when the model emits the signal of the current row.
    void onSignal(const std::function<void()> &slot);
    // Makes the model emit each of its signals.
    void emitEverything();

    const ModelRig::Applications m_four{
        ModelRig::application("a", 1), ModelRig::application("b", 2), ModelRig::application("c", 3),
        ModelRig::application("d", 4)};
    std::optional<ModelRig> m_rig;
    std::unique_ptr<Control> m_control;
    std::unique_ptr<ApplicationsModel> m_model;
    std::unique_ptr<ModelEvents> m_events;
};

void TestModelsLifetimes::initTestCase()
{
    m_rig.emplace();
}

void TestModelsLifetimes::init()
{
    m_control = std::make_unique<Control>();
    m_rig->nextList(m_four);
    m_model = std::make_unique<ApplicationsModel>(m_control.get());
    m_events = std::make_unique<ModelEvents>(m_model.get());
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    m_events->taken();
}

void TestModelsLifetimes::cleanup()
{
    m_events.reset();
    m_model.reset();
    m_control.reset();
    m_rig->simulator().reset();
}

void TestModelsLifetimes::addSignals()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("rows removed") << 0;
    QTest::newRow("data changed") << 1;
    QTest::newRow("rows inserted") << 2;
    QTest::newRow("count changed") << 3;
    QTest::newRow("status changed") << 4;
}

void TestModelsLifetimes::onSignal(const std::function<void()> &slot)
{
    QFETCH(int, signal);
    const auto once = [slot, hasRun = std::make_shared<bool>(false)] {
        if (!std::exchange(*hasRun, true)) {
            slot();
        }
    };
    switch (signal) {
    case 0:
        connect(m_model.get(), &LiveModel::rowsRemoved, this, once);
        break;
    case 1:
        connect(m_model.get(), &LiveModel::dataChanged, this, once);
        break;
    case 2:
        connect(m_model.get(), &LiveModel::rowsInserted, this, once);
        break;
    case 3:
        connect(m_model.get(), &LiveModel::countChanged, this, once);
        break;
    default:
        connect(m_model.get(), &LiveModel::statusChanged, this, once);
        break;
    }
}

void TestModelsLifetimes::emitEverything()
{
    m_rig->lists().failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not now");
    m_rig->nextList({ModelRig::application("b", 2, 5), ModelRig::application("d", 4, 1, 5),
                     ModelRig::application("e", 5)});
    m_model->refresh();
    m_model->refresh();
}

void TestModelsLifetimes::slotMayDeleteTheModel_data()
{
    addSignals();
}

void TestModelsLifetimes::slotMayDeleteTheModel()
{
    bool deleted = false;
    onSignal([&] {
        m_events.reset();
        m_model.reset();
        deleted = true;
    });
    emitEverything();
    waitUntil([&] { return deleted; });
    ModelRig::roundTrip(*m_control);
}

void TestModelsLifetimes::slotMayDeleteTheControl_data()
{
    addSignals();
}

void TestModelsLifetimes::slotMayDeleteTheControl()
{
    onSignal([this] { m_control.reset(); });
    emitEverything();
    waitUntil([this] {
        return m_model->status() == LiveModel::Failed
            && m_model->error().message() == "The Control has been destroyed";
    });
    QCOMPARE(m_model->count(), 0);
    m_model->refresh();
}

void TestModelsLifetimes::slotMayEndTheService_data()
{
    addSignals();
}

void TestModelsLifetimes::slotMayEndTheService()
{
    onSignal([this] {
        m_rig->simulator().end();
        waitUntil([this] { return !m_control->isServiceAvailable(); });
    });
    emitEverything();
    ModelRig::waitFor(*m_model, LiveModel::ServiceMissing);
    QCOMPARE(m_model->count(), 0);
    m_rig->simulator().start();
    ModelRig::waitFor(*m_model, LiveModel::Ready);
}

void TestModelsLifetimes::slotMayMakeAnotherModel_data()
{
    addSignals();
}

void TestModelsLifetimes::slotMayMakeAnotherModel()
{
    std::optional<ServicesModel> other;
    onSignal([&] { other.emplace(m_control.get()); });
    emitEverything();
    waitUntil([&] { return other && other->status() == LiveModel::Ready; });
}

void TestModelsLifetimes::slotThatRunsAnEventLoopSeesNoSecondList()
{
    m_rig->nextList(m_four);
    const ServicesModel services(m_control.get());
    ModelRig::waitFor(services, LiveModel::Ready);
    const auto within = std::make_shared<std::optional<Events>>();
    connect(m_model.get(), &LiveModel::rowsRemoved, this, [this, within] {
        if (!*within) {
            within->emplace();
            m_events->taken();
            m_rig->nextList({ModelRig::application("z", 9)});
            m_model->refresh();
            m_rig->announce();
            ModelRig::roundTrip(*m_control);
            *within = m_events->taken();
        }
    });
    m_rig->nextList({ModelRig::application("a", 1), ModelRig::application("b", 2)});
    m_model->refresh();
    waitUntil([this] { return rowTexts(*m_model) == QStringList{"z 9 1 1 "}; });
    QCOMPARE(within->value(), Events());
}

void TestModelsLifetimes::slotOfTheEndOfTheControlMayRefresh()
{
    connect(m_control.get(), &QObject::destroyed, this, [this] { m_model->refresh(); });
    m_control.reset();
    QCOMPARE(m_model->status(), LiveModel::Failed);
}

void TestModelsLifetimes::modelWithoutControlHasNoRows()
{
    m_control.reset();
    QCOMPARE(m_events->taken(),
             (Events{"removed 0-3", "count 0", "Failed The Control has been destroyed"}));
    m_model->refresh();
    QCOMPARE(m_events->taken(), Events());
}

void TestModelsLifetimes::deletedModelLeavesTheOthersConnected()
{
    ServicesModel services(m_control.get());
    ModelRig::waitFor(services, LiveModel::Ready);
    m_events.reset();
    m_model.reset();
    m_rig->nextList({}, {ModelRig::service("a", "one", 1)});
    m_rig->announce();
    waitUntil([&services] { return services.count() == 1; });
}

void TestModelsLifetimes::controlWithoutModelsIsNotAskedForLists()
{
    m_events.reset();
    m_model.reset();
    m_rig->announce();
    ModelRig::roundTrip(*m_control);
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 1);
    // What was announced meanwhile is not needed twice.
    const ApplicationsModel next(m_control.get());
    ModelRig::waitFor(next, LiveModel::Ready);
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 2);
}

void TestModelsLifetimes::modelMayBeDeletedWhileAListIsUnderWay()
{
    m_rig->lists().holdNext(1);
    m_model->refresh();
    m_events.reset();
    m_model.reset();
    m_rig->lists().waitForHeld(1);
    m_rig->nextList({ModelRig::application("z", 9)});
    const ApplicationsModel next(m_control.get());
    m_rig->lists().release({0});
    ModelRig::waitFor(next, LiveModel::Ready);
    ModelRig::roundTrip(*m_control);
}

OSTREL_TEST_MAIN(TestModelsLifetimes)

#include "tst_models_lifetimes.moc"
