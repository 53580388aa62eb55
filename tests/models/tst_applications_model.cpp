// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "model_rig.h"
#include "warnings.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/Testing/Main>

#include <QtCore/QDateTime>
#include <QtDBus/QDBusVariant>

#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;

// The rows of a model of applications, and what it emits when they change.
class TestApplicationsModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everyColumnHasATitleAndARole();
    void rowHoldsTheValuesOfTheRecord();
    void defaultModelFollowsTheSharedControl();
    void followsWhatTheServiceStartsAndEnds();
    void changesOfAListChangeOnlyTheirRows();
    void persistentIndexesFollowTheirRows();
    void orderOfTheListDoesNotMatter();
    void severalGapsAreRemovedOneAfterTheOther();
    void adjacentRowsWithTheSameChangeShareASignal();
    void equalListEmitsNothing();
    void recordsOfTheSameIdentityHaveTheirOwnRows();
    void anotherProcessIsAnotherRow();
    void sinceIsTheTimeOfTheState();
    void propertiesAreReadable();
    void everyAnnouncementOfAChangeListsAgain_data();
    void everyAnnouncementOfAChangeListsAgain();
    void changesWhileAListIsUnderWayAreOneMoreList();
    void requestsToRefreshWhileAListIsUnderWayAreOneMoreList();
    void modelsOfOneControlShareTheirLists();
    void laterModelOfAControlHasAListOfItsOwn();

private:
    using Events = QStringList;

    // Has the service announce a change to this list, and waits until it has arrived.
    void change(const ModelRig::Applications &applications);

    std::optional<ModelRig> m_rig;
    std::optional<Warnings> m_warnings;
    std::optional<Control> m_control;
    std::optional<ApplicationsModel> m_model;
    std::optional<ModelEvents> m_events;
};

void TestApplicationsModel::initTestCase()
{
    m_rig.emplace();
}

// A model of three applications.
void TestApplicationsModel::init()
{
    m_warnings.emplace();
    m_control.emplace();
    m_rig->nextList({ModelRig::application("a", 1), ModelRig::application("b", 2),
                     ModelRig::application("c", 3)});
    m_model.emplace(&*m_control);
    m_events.emplace(&*m_model);
    ModelRig::waitFor(*m_model, ApplicationsModel::Ready);
    QCOMPARE(m_events->taken(), (Events{"inserted 0-2", "count 3", "Ready"}));
}

void TestApplicationsModel::cleanup()
{
    m_events.reset();
    m_model.reset();
    m_control.reset();
    m_rig->simulator().reset();
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    QCOMPARE(warnings, QStringList());
}

void TestApplicationsModel::change(const ModelRig::Applications &applications)
{
    const int before = m_rig->listCalls();
    m_rig->nextList(applications);
    m_rig->announce();
    waitUntil([&] { return m_rig->listCalls() == before + 1; });
    ModelRig::roundTrip(*m_control);
}

void TestApplicationsModel::everyColumnHasATitleAndARole()
{
    const QHash<int, QByteArray> names = m_model->roleNames();
    QStringList columns;
    for (int column = 0; column < m_model->columnCount(); ++column) {
        columns.append(m_model->headerData(column, Qt::Horizontal).toString() + ": "
                       + names[Qt::UserRole + column]);
    }
    QCOMPARE(columns,
             (QStringList{"Application: appId", "Process: pid", "State: state", "Kind: kind",
                          "Properties: properties", "Since: since"}));
    QCOMPARE(names.size(), columns.size());
    QCOMPARE(int(ApplicationsModel::SinceRole) - Qt::UserRole, int(ApplicationsModel::SinceColumn));
    QCOMPARE(m_model->headerData(6, Qt::Horizontal), QVariant());
    QCOMPARE(m_model->headerData(-1, Qt::Horizontal), QVariant());
    QCOMPARE(m_model->headerData(0, Qt::Horizontal, Qt::EditRole), QVariant());
    QCOMPARE(m_model->headerData(1, Qt::Vertical), QVariant(2));
}

void TestApplicationsModel::rowHoldsTheValuesOfTheRecord()
{
    change({ModelRig::application("d", -4, 4294967295U, 255, {{"Title", "D"}, {"Size", 7}})});
    QCOMPARE(m_model->count(), 1);
    // Every column returns the roles of all.
    for (const int column : {0, 5}) {
        const QModelIndex index = m_model->index(0, column);
        QCOMPARE(index.data(ApplicationsModel::AppIdRole), QVariant("d"));
        QCOMPARE(index.data(ApplicationsModel::PidRole), QVariant(-4));
        QCOMPARE(index.data(ApplicationsModel::StateRole), QVariant(4294967295U));
        QCOMPARE(index.data(ApplicationsModel::KindRole), QVariant(255U));
        QCOMPARE(index.data(ApplicationsModel::PropertiesRole).toMap(),
                 (QVariantMap{{"Title", "D"}, {"Size", 7}}));
        QCOMPARE(index.data(ApplicationsModel::SinceRole).userType(), int(QMetaType::QDateTime));
        QCOMPARE(index.data(Qt::EditRole), QVariant());
        QCOMPARE(index.data(ApplicationsModel::SinceRole + 1), QVariant());
    }
    QCOMPARE(rowText(*m_model, 0), "d -4 4294967295 255 {\"Size\":7,\"Title\":\"D\"}");
    QCOMPARE(m_model->index(0, 0).parent(), QModelIndex());
    QCOMPARE(m_model->data(QModelIndex()), QVariant());
    QCOMPARE(m_model->rowCount(m_model->index(0, 0)), 0);
    QCOMPARE(m_model->columnCount(m_model->index(0, 0)), 0);
}

void TestApplicationsModel::defaultModelFollowsTheSharedControl()
{
    const ApplicationsModel model;
    ModelRig::waitFor(model, ApplicationsModel::Ready);
    QVERIFY(Control::instance()->findChild<QObject *>() != nullptr);
}

void TestApplicationsModel::followsWhatTheServiceStartsAndEnds()
{
    change({});
    QCOMPARE(m_events->taken(), (Events{"removed 0-2", "count 0"}));
    startApplication("demo.Viewer");
    waitUntil([&] { return m_model->count() == 1; });
    const QModelIndex viewer = m_model->index(0, ApplicationsModel::AppIdColumn);
    QCOMPARE(viewer.data().toString(), "demo.Viewer");
    QVERIFY(viewer.data(ApplicationsModel::PidRole).toInt() > 0);
    QCOMPARE(viewer.data(ApplicationsModel::PropertiesRole).toMap().value("InstanceId"),
             QVariant("demo.Viewer.instance_1"));

    startApplication("demo.Clock");
    waitUntil([&] { return m_model->count() == 2; });
    QCOMPARE(callControl("Terminate", {"demo.Viewer.instance_1"}).type(),
             QDBusMessage::ReplyMessage);
    waitUntil([&] { return m_model->count() == 1; });
    QCOMPARE(m_model->index(0, 0).data().toString(), "demo.Clock");
}

void TestApplicationsModel::changesOfAListChangeOnlyTheirRows()
{
    change({ModelRig::application("a", 1), ModelRig::application("c", 3, 2, 1, {{"k", "v"}}),
            ModelRig::application("d", 4)});
    QCOMPARE(
        m_events->taken(),
        (Events{"removed 1-1", "changed 1,0-1,5 display state properties since", "inserted 2-2"}));
    QCOMPARE(rowTexts(*m_model), (QStringList{"a 1 1 1 ", "c 3 2 1 {\"k\":\"v\"}", "d 4 1 1 "}));
    change({ModelRig::application("a", 1, 1, 9), ModelRig::application("c", 3, 2, 1, {{"k", "v"}}),
            ModelRig::application("d", 4)});
    QCOMPARE(m_events->taken(), Events{"changed 0,0-0,5 display kind"});
}

void TestApplicationsModel::persistentIndexesFollowTheirRows()
{
    const QPersistentModelIndex b = m_model->index(1, 0);
    const QPersistentModelIndex c = m_model->index(2, ApplicationsModel::StateColumn);
    change({ModelRig::application("d", 4), ModelRig::application("c", 3, 7)});
    QVERIFY(!b.isValid());
    QCOMPARE(c.row(), 0);
    QCOMPARE(c.data().toInt(), 7);
}

void TestApplicationsModel::orderOfTheListDoesNotMatter()
{
    change({ModelRig::application("c", 3), ModelRig::application("d", 4),
            ModelRig::application("a", 1), ModelRig::application("b", 2)});
    QCOMPARE(m_events->taken(), (Events{"inserted 3-3", "count 4"}));
    QCOMPARE(rowTexts(*m_model), (QStringList{"a 1 1 1 ", "b 2 1 1 ", "c 3 1 1 ", "d 4 1 1 "}));
}

// While the slots run, the model is as it says. The tester looks at that.
void TestApplicationsModel::severalGapsAreRemovedOneAfterTheOther()
{
    ModelRig::Applications all;
    for (int i = 0; i < 10; ++i) {
        all.append(ModelRig::application(QString::number(i), i));
    }
    change(all);
    m_events->taken();
    QStringList seen;
    connect(&*m_model, &ApplicationsModel::rowsRemoved, this, [&] {
        QString row;
        for (int i = 0; i < m_model->count(); ++i) {
            row.append(m_model->index(i, 0).data().toString());
        }
        seen.append(row);
    });
    change({all.at(1), all.at(4), all.at(5), all.at(8)});
    QCOMPARE(m_events->taken(),
             (Events{"removed 0-0", "removed 1-2", "removed 3-4", "removed 4-4", "count 4"}));
    QCOMPARE(seen, (QStringList{"123456789", "1456789", "14589", "1458"}));
}

void TestApplicationsModel::adjacentRowsWithTheSameChangeShareASignal()
{
    change({ModelRig::application("a", 1, 5), ModelRig::application("b", 2, 6),
            ModelRig::application("c", 3, 1, 2)});
    QCOMPARE(m_events->taken(),
             (Events{"changed 0,0-1,5 display state since", "changed 2,0-2,5 display kind"}));
    change({ModelRig::application("a", 1, 4), ModelRig::application("b", 2, 6),
            ModelRig::application("c", 3, 2, 2)});
    QCOMPARE(
        m_events->taken(),
        (Events{"changed 0,0-0,5 display state since", "changed 2,0-2,5 display state since"}));
}

// Also where a property is a structure, which Qt itself cannot compare.
void TestApplicationsModel::equalListEmitsNothing()
{
    const ModelRig::Applications list{ModelRig::application(
        "a", 1, 1, 1,
        {{"Map", QVariantMap{{"k", 1}}}, {"Variant", QVariant::fromValue(QDBusVariant("v"))}})};
    change(list);
    m_events->taken();
    change(list);
    QCOMPARE(m_events->taken(), Events());
}

void TestApplicationsModel::recordsOfTheSameIdentityHaveTheirOwnRows()
{
    change({ModelRig::application("a", 1, 1), ModelRig::application("a", 1, 2),
            ModelRig::application("a", 1, 3)});
    QCOMPARE(m_events->taken(), (Events{"removed 1-2", "inserted 1-2"}));
    QCOMPARE(rowTexts(*m_model), (QStringList{"a 1 1 1 ", "a 1 2 1 ", "a 1 3 1 "}));
    change({ModelRig::application("a", 1, 1), ModelRig::application("a", 1, 3)});
    QCOMPARE(m_events->taken(),
             (Events{"removed 2-2", "changed 1,0-1,5 display state since", "count 2"}));
    QCOMPARE(rowTexts(*m_model), (QStringList{"a 1 1 1 ", "a 1 3 1 "}));
}

void TestApplicationsModel::anotherProcessIsAnotherRow()
{
    change({ModelRig::application("a", 9), ModelRig::application("b", 2),
            ModelRig::application("c", 3)});
    QCOMPARE(m_events->taken(), (Events{"removed 0-0", "inserted 2-2"}));
}

void TestApplicationsModel::sinceIsTheTimeOfTheState()
{
    const auto since = [this](int row) {
        return m_model->index(row, 0).data(ApplicationsModel::SinceRole).toDateTime();
    };
    const QDateTime first = since(0);
    QCOMPARE(first.timeSpec(), Qt::UTC);
    QVERIFY(first <= QDateTime::currentDateTimeUtc());
    QVERIFY(first.secsTo(QDateTime::currentDateTimeUtc()) < 3600);
    QCOMPARE(m_model->index(0, ApplicationsModel::SinceColumn).data().toDateTime(),
             first.toLocalTime());

    const QDateTime before = QDateTime::currentDateTimeUtc();
    waitUntil([&] { return QDateTime::currentDateTimeUtc() > before; });
    change({ModelRig::application("a", 1, 1, 3, {{"k", 1}}), ModelRig::application("b", 2, 8),
            ModelRig::application("c", 3), ModelRig::application("d", 4)});
    QCOMPARE(since(0), first);
    QVERIFY(since(1) > before);
    QCOMPARE(since(2), first);
    QCOMPARE(since(3), since(1));
}

void TestApplicationsModel::propertiesAreReadable()
{
    change({ModelRig::application(
        "a", 1, 1, 1,
        {{"Map", QVariantMap{{"k", QVariantList{1, "x"}}}}, {"Names", QStringList{"en", "fi"}}})});
    const QModelIndex row = m_model->index(0, ApplicationsModel::PropertiesColumn);
    QCOMPARE(row.data(ApplicationsModel::PropertiesRole).toMap(),
             (QVariantMap{{"Map", QVariantMap{{"k", QVariantList{1, "x"}}}},
                          {"Names", QStringList{"en", "fi"}}}));
    QCOMPARE(row.data().toString(), "{\"Map\":{\"k\":[1,\"x\"]},\"Names\":[\"en\",\"fi\"]}");
}

void TestApplicationsModel::everyAnnouncementOfAChangeListsAgain_data()
{
    QTest::addColumn<QString>("signal");
    QTest::newRow("start") << "Started";
    QTest::newRow("end") << "Terminated";
    QTest::newRow("state") << "StateChanged";
}

void TestApplicationsModel::everyAnnouncementOfAChangeListsAgain()
{
    QFETCH(QString, signal);
    m_rig->nextList({});
    m_rig->announce(signal);
    waitUntil([&] { return m_model->count() == 0; });
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 2);
}

void TestApplicationsModel::changesWhileAListIsUnderWayAreOneMoreList()
{
    m_rig->lists().holdNext(1);
    m_rig->announce();
    waitUntil([&] { return m_rig->listCalls() == 2; });
    for (int i = 0; i < 20; ++i) {
        m_rig->announce();
    }
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 2);
    m_rig->nextList({ModelRig::application("z", 9)});
    m_rig->lists().release({0});
    waitUntil([&] { return rowTexts(*m_model) == QStringList{"z 9 1 1 "}; });
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 3);
    QCOMPARE(m_model->status(), ApplicationsModel::Ready);
}

void TestApplicationsModel::requestsToRefreshWhileAListIsUnderWayAreOneMoreList()
{
    for (int i = 0; i < 20; ++i) {
        m_model->refresh();
    }
    waitUntil([this] { return m_rig->listCalls() == 3; });
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 3);
}

void TestApplicationsModel::modelsOfOneControlShareTheirLists()
{
    Control control;
    const ApplicationsModel first(&control);
    const ApplicationsModel second(&control);
    ModelRig::waitFor(first, ApplicationsModel::Ready);
    QCOMPARE(second.status(), ApplicationsModel::Ready);
    ModelRig::roundTrip(control);
    QCOMPARE(m_rig->listCalls(), 2);
}

void TestApplicationsModel::laterModelOfAControlHasAListOfItsOwn()
{
    m_rig->nextList({ModelRig::application("a", 1, 6)});
    const ApplicationsModel later(&*m_control);
    QCOMPARE(later.status(), ApplicationsModel::Loading);
    ModelRig::waitFor(later, ApplicationsModel::Ready);
    QCOMPARE(rowTexts(later), QStringList{"a 1 6 1 "});
    QCOMPARE(rowTexts(*m_model), QStringList{"a 1 6 1 "});
    ModelRig::roundTrip(*m_control);
    QCOMPARE(m_rig->listCalls(), 2);
}

OSTREL_TEST_MAIN(TestApplicationsModel)

#include "tst_applications_model.moc"
