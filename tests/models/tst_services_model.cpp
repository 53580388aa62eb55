// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "model_rig.h"

#include <Ostrel/ApplicationsModel>
#include <Ostrel/ServicesModel>
#include <Ostrel/Testing/Main>

#include <QtCore/QDateTime>

#include <optional>

using Ostrel::ApplicationsModel;
using Ostrel::Control;
using Ostrel::ServicesModel;

// What the model of services has of its own. The rest it shares with that of applications.
class TestServicesModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void everyColumnHasATitleAndARole();
    void rowHoldsTheValuesOfTheRecord();
    void changesOfAListChangeOnlyTheirRows();
    void followsTheServicesOfAnApplication();
    void sharesItsListsWithTheApplications();

private:
    std::optional<ModelRig> m_rig;
};

void TestServicesModel::initTestCase()
{
    m_rig.emplace();
}

void TestServicesModel::cleanup()
{
    m_rig->simulator().reset();
}

void TestServicesModel::everyColumnHasATitleAndARole()
{
    Control control;
    const ServicesModel model(&control);
    QStringList columns;
    for (int column = 0; column < model.columnCount(); ++column) {
        columns.append(model.headerData(column, Qt::Horizontal).toString() + ": "
                       + model.roleNames().value(Qt::UserRole + column));
    }
    QCOMPARE(columns,
             (QStringList{"Application: appId", "Service: name", "Process: pid", "State: state",
                          "Properties: properties", "Since: since"}));
}

void TestServicesModel::rowHoldsTheValuesOfTheRecord()
{
    Control control;
    m_rig->nextList({}, {ModelRig::service("a", "one", -4, 4294967295U, {{"k", "v"}})});
    ServicesModel model(&control);
    const ModelEvents events(&model);
    ModelRig::waitFor(model, ServicesModel::Ready);
    const QModelIndex index = model.index(0, 3);
    QCOMPARE(index.data(ServicesModel::AppIdRole), QVariant("a"));
    QCOMPARE(index.data(ServicesModel::NameRole), QVariant("one"));
    QCOMPARE(index.data(ServicesModel::PidRole), QVariant(-4));
    QCOMPARE(index.data(ServicesModel::StateRole), QVariant(4294967295U));
    QCOMPARE(index.data(ServicesModel::PropertiesRole).toMap(), (QVariantMap{{"k", "v"}}));
    QCOMPARE(index.data(ServicesModel::SinceRole).toDateTime().timeSpec(), Qt::UTC);
    QCOMPARE(rowText(model, 0), "a one -4 4294967295 {\"k\":\"v\"}");
}

void TestServicesModel::changesOfAListChangeOnlyTheirRows()
{
    Control control;
    m_rig->nextList({},
                    {ModelRig::service("a", "one", 1), ModelRig::service("a", "two", 1),
                     ModelRig::service("b", "one", 1)});
    ServicesModel model(&control);
    ModelEvents events(&model);
    ModelRig::waitFor(model, ServicesModel::Ready);
    events.taken();
    m_rig->nextList({},
                    {ModelRig::service("a", "two", 1, 2, {{"k", "v"}}),
                     ModelRig::service("b", "one", 2), ModelRig::service("a", "one", 1)});
    m_rig->announce();
    waitUntil([&] { return events.all().size() == 3; });
    QCOMPARE(events.taken(),
             (QStringList{"removed 2-2", "changed 1,0-1,5 display state properties since",
                          "inserted 2-2"}));
    QCOMPARE(rowTexts(model), (QStringList{"a one 1 1 ", "a two 1 2 {\"k\":\"v\"}", "b one 2 1 "}));
}

void TestServicesModel::followsTheServicesOfAnApplication()
{
    Control control;
    ServicesModel model(&control);
    const ModelEvents events(&model);
    startApplication("demo.Player");
    waitUntil([&] { return model.count() == 2; });
    QCOMPARE(model.index(0, ServicesModel::AppIdColumn).data(), QVariant("demo.Player"));
    QCOMPARE(model.index(0, ServicesModel::NameColumn).data(), QVariant("decoder"));
    QCOMPARE(model.index(1, ServicesModel::NameColumn).data(), QVariant("mixer"));
    QCOMPARE(callControl("Terminate", {"demo.Player"}).type(), QDBusMessage::ReplyMessage);
    waitUntil([&] { return model.count() == 0; });
}

void TestServicesModel::sharesItsListsWithTheApplications()
{
    Control control;
    const ApplicationsModel applications(&control);
    const ServicesModel services(&control);
    ModelRig::waitFor(services, ServicesModel::Ready);
    ModelRig::roundTrip(control);
    QCOMPARE(m_rig->listCalls(), 1);

    m_rig->nextList({ModelRig::application("a", 1)}, {ModelRig::service("a", "one", 1)});
    m_rig->announce();
    waitUntil([&] { return services.count() == 1; });
    QCOMPARE(applications.count(), 1);
    ModelRig::roundTrip(control);
    QCOMPARE(m_rig->listCalls(), 2);
}

OSTREL_TEST_MAIN(TestServicesModel)

#include "tst_services_model.moc"
