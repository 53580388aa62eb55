// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "model_rig.h"
#include "peer.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/ServicesModel>
#include <Ostrel/Testing/Main>

#include <QtCore/QThread>

#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;
using Ostrel::ServicesModel;

// What a model shows when the service is slow, fails, talks nonsense, dies or restarts.
class TestModelsFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void absentServiceIsMissingUntilItComes();
    void nothingIsSentToAnAbsentService();
    void rowsGoAndComeWithTheService();
    void serviceThatDiesInAListIsMissing();
    void replyOfAnEarlierServiceIsIgnored();
    void newOwnerOfTheNameIsListedAnew();
    void slowServiceHoldsNothingUp();
    void failedListKeepsTheRows();
    void failedFirstListLeavesNoRows();
    void changeAfterAFailureListsAgain();
    void changeDuringAListThatFailsListsAgain();
    void refreshAfterAFailureListsAgain();
    void serviceThatDoesNotReplyIsAFailure();
    void malformedListGivesRowsOfDefaults_data();
    void malformedListGivesRowsOfDefaults();
    void listAfterAMalformedOneIsRight();
    void controlOfAnotherThreadIsAFailure();
    void missingControlIsAFailure();
    void endOfTheBusIsTheEndOfTheService();

private:
    using Events = QStringList;

    // A model of one application, and the same application with two more.
    void makeModel();
    ModelRig::Applications three() const;

    std::optional<ModelRig> m_rig;
    std::optional<Control> m_control;
    std::optional<ApplicationsModel> m_model;
    std::optional<ModelEvents> m_events;
};

void TestModelsFaults::init()
{
    if (!m_rig) {
        m_rig.emplace();
    }
    m_control.emplace();
}

void TestModelsFaults::cleanup()
{
    m_events.reset();
    m_model.reset();
    m_control.reset();
    if (m_rig) {
        m_rig->simulator().reset();
    }
}

void TestModelsFaults::makeModel()
{
    m_rig->nextList({ModelRig::application("a", 1)});
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"inserted 0-0", "count 1", "Ready"}));
}

ModelRig::Applications TestModelsFaults::three() const
{
    return {ModelRig::application("a", 1), ModelRig::application("b", 2),
            ModelRig::application("c", 3)};
}

void TestModelsFaults::absentServiceIsMissingUntilItComes()
{
    m_rig->simulator().end();
    waitUntil([this] { return !m_control->isServiceAvailable(); });
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    QCOMPARE(m_model->status(), ApplicationsModel::ServiceMissing);
    m_rig->simulator().start();
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"Loading", "Ready"}));
}

void TestModelsFaults::nothingIsSentToAnAbsentService()
{
    m_rig->simulator().end();
    waitUntil([this] { return !m_control->isServiceAvailable(); });
    m_model.emplace(&*m_control);
    m_model->refresh();
    m_rig->simulator().start();
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 1);
}

void TestModelsFaults::rowsGoAndComeWithTheService()
{
    makeModel();
    m_rig->simulator().end();
    ModelRig::waitFor(*m_model, ApplicationsModel::ServiceMissing);
    QCOMPARE(m_events->taken(), (Events{"removed 0-0", "count 0", "ServiceMissing"}));
    m_rig->simulator().start();
    m_rig->nextList(three());
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"Loading", "inserted 0-2", "count 3", "Ready"}));
}

void TestModelsFaults::serviceThatDiesInAListIsMissing()
{
    makeModel();
    m_rig->lists().dieInNext();
    m_model->refresh();
    ModelRig::waitFor(*m_model, ApplicationsModel::ServiceMissing);
    QCOMPARE(m_events->taken(), (Events{"removed 0-0", "count 0", "ServiceMissing"}));
    m_rig->simulator().waitForEnd();
    m_rig->simulator().start();
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
}

// The old service gives its name away before it replies.
void TestModelsFaults::replyOfAnEarlierServiceIsIgnored()
{
    m_rig->simulator().end();
    // The one that took the name first gets it back.
    Peer second(m_rig->bus());
    second.order("take " OSTREL_SERVICE_NAME);
    Peer first(m_rig->bus());
    first.order("take " OSTREL_SERVICE_NAME);
    const QString list = "answer a(siuua{sv})a(ssiua{sv}) 1 %1 1 1 1 0 0";
    first.on("GetRunningApplications", "release " OSTREL_SERVICE_NAME " " + list.arg("old"));
    second.on("GetRunningApplications", list.arg("new"));
    ModelRig::settle();
    m_control.emplace();
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    waitUntil([this] { return m_events->all().contains("Ready"); });
    QCOMPARE(m_events->taken(),
             (Events{"ServiceMissing", "Loading", "inserted 0-0", "count 1", "Ready"}));
    QCOMPARE(rowTexts(*m_model), QStringList{"new 1 1 1 "});
    second.order("release " OSTREL_SERVICE_NAME);
    m_rig->simulator().start();
}

// The bus announces this as one change.
void TestModelsFaults::newOwnerOfTheNameIsListedAnew()
{
    m_rig->simulator().end();
    Peer first(m_rig->bus());
    first.order("take " OSTREL_SERVICE_NAME);
    const QString list = "answer a(siuua{sv})a(ssiua{sv}) 1 %1 1 1 1 0 0";
    first.on("GetRunningApplications", list.arg("same"));
    ModelRig::settle();
    m_control.emplace();
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    m_events->taken();
    Peer second(m_rig->bus());
    second.on("GetRunningApplications", list.arg("same"));
    second.order("take " OSTREL_SERVICE_NAME);
    waitUntil([this] { return m_events->all().contains("Ready"); });
    QCOMPARE(m_events->taken(),
             (Events{"removed 0-0", "count 0", "ServiceMissing", "Loading", "inserted 0-0",
                     "count 1", "Ready"}));
    second.order("release " OSTREL_SERVICE_NAME);
    first.order("release " OSTREL_SERVICE_NAME);
    m_rig->simulator().start();
}

void TestModelsFaults::slowServiceHoldsNothingUp()
{
    m_rig->lists().holdNext(1);
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    waitUntil([this] { return m_rig->listCalls() == 1; });
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_model->status(), ApplicationsModel::Loading);
    QCOMPARE(m_events->taken(), Events());
    m_rig->lists().release({0});
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
}

void TestModelsFaults::failedListKeepsTheRows()
{
    makeModel();
    m_rig->lists().failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not now");
    m_rig->announce();
    ModelRig::waitFor(*m_model, ApplicationsModel::Failed);
    QCOMPARE(m_events->taken(), Events{"Failed not now"});
    QCOMPARE(m_model->error().code(), Ostrel::Error::Failed);
    QCOMPARE(m_model->error().busErrorName(), OSTREL_ERROR_PREFIX "HandlerFailed");
    QCOMPARE(m_model->property("error").value<Ostrel::Error>().message(), "not now");
    QCOMPARE(rowTexts(*m_model), QStringList{"a 1 1 1 "});
    // Nothing else tries again.
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 2);
}

void TestModelsFaults::failedFirstListLeavesNoRows()
{
    m_rig->lists().failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not now");
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    ModelRig::waitFor(*m_model, ApplicationsModel::Failed);
    QCOMPARE(m_events->taken(), Events{"Failed not now"});
    QCOMPARE(m_model->count(), 0);
}

void TestModelsFaults::changeAfterAFailureListsAgain()
{
    failedListKeepsTheRows();
    m_rig->nextList(three());
    m_rig->announce("Terminated");
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"Loading", "inserted 1-2", "count 3", "Ready"}));
    QVERIFY(!m_model->error());
}

// The reply and the announcement wait for the event loop.
void TestModelsFaults::changeDuringAListThatFailsListsAgain()
{
    makeModel();
    m_rig->lists().failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "not now");
    m_rig->nextList(three());
    m_model->refresh();
    m_model->refresh();
    waitUntil([this] { return m_model->count() == 3; });
    QCOMPARE(m_events->taken(),
             (Events{"Failed not now", "Loading", "inserted 1-2", "count 3", "Ready"}));
}

void TestModelsFaults::refreshAfterAFailureListsAgain()
{
    failedListKeepsTheRows();
    m_rig->nextList(three());
    m_model->refresh();
    QCOMPARE(m_events->taken(), Events{"Loading"});
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"inserted 1-2", "count 3", "Ready"}));
}

void TestModelsFaults::serviceThatDoesNotReplyIsAFailure()
{
    makeModel();
    m_control->setTimeout(1);
    m_rig->lists().ignoreNext();
    m_model->refresh();
    ModelRig::waitFor(*m_model, ApplicationsModel::Failed);
    QCOMPARE(m_model->error().busErrorName(), "org.freedesktop.DBus.Error.NoReply");
    QCOMPARE(m_model->count(), 1);
    m_control->setTimeout(forever);
    m_model->refresh();
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
}

void TestModelsFaults::malformedListGivesRowsOfDefaults_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("applications");
    QTest::addColumn<QStringList>("services");
    QTest::newRow("no list") << "s"
                             << "x" << QStringList() << QStringList();
    QTest::newRow("numbers") << "ai"
                             << "2 1 2" << QStringList() << QStringList();
    QTest::newRow("a map") << "a{sv}"
                           << "1 k i 1" << QStringList() << QStringList();
    QTest::newRow("short records") << "a(ss)"
                                   << "2 x y x y" << QStringList{"x 0 0 0 ", "x 0 0 0 "}
                                   << QStringList{"x y 0 0 ", "x y 0 0 "};
    QTest::newRow("long records") << "a(siuua{sv}s)"
                                  << "1 x 1 2 3 0 y" << QStringList{"x 1 2 3 "}
                                  << QStringList{"x  0 3 "};
}

void TestModelsFaults::malformedListGivesRowsOfDefaults()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    busctlDesk(
        m_rig->bus(), "AnswerNext",
        QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2", signature}
            + wordsOf(value) + QStringList(signature) + wordsOf(value));
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    ServicesModel services(&*m_control);
    const ModelEvents events(&services);
    ModelRig::waitFor(services, ServicesModel::Ready);
    QTEST(rowTexts(*m_model), "applications");
    QTEST(rowTexts(services), "services");
}

void TestModelsFaults::listAfterAMalformedOneIsRight()
{
    makeModel();
    m_rig->lists().answerNext({QVariant("x"), QVariant(7)});
    m_model->refresh();
    waitUntil([this] { return m_model->count() == 0; });
    QCOMPARE(m_model->status(), ApplicationsModel::Ready);
    m_rig->nextList(three());
    m_model->refresh();
    waitUntil([this] { return m_model->count() == 3; });
}

void TestModelsFaults::controlOfAnotherThreadIsAFailure()
{
    QThread other;
    other.start();
    auto *control = new Control;
    control->moveToThread(&other);
    const ApplicationsModel model(control);
    QCOMPARE(model.status(), ApplicationsModel::Failed);
    QCOMPARE(model.error().message(), "The Control belongs to another thread");
    connect(&other, &QThread::finished, control, &QObject::deleteLater);
    other.quit();
    other.wait();
}

void TestModelsFaults::missingControlIsAFailure()
{
    ServicesModel model(static_cast<Control *>(nullptr));
    QCOMPARE(model.status(), ServicesModel::Failed);
    QCOMPARE(model.error().message(), "There is no Control");
    model.refresh();
    QCOMPARE(model.status(), ServicesModel::Failed);
}

// The connection does not come back, so this is the last one.
void TestModelsFaults::endOfTheBusIsTheEndOfTheService()
{
    makeModel();
    m_rig->bus().end();
    ModelRig::waitFor(*m_model, ApplicationsModel::ServiceMissing);
    QCOMPARE(m_events->taken(), (Events{"removed 0-0", "count 0", "ServiceMissing"}));
    m_model->refresh();
    QCOMPARE(m_model->status(), ApplicationsModel::ServiceMissing);
    const ApplicationsModel later(&*m_control);
    QCOMPARE(later.status(), ApplicationsModel::ServiceMissing);
}

OSTREL_TEST_MAIN(TestModelsFaults)

#include "tst_models_faults.moc"
