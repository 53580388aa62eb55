// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "qml_rig.h"
#include "warnings.h"

#include <Ostrel/TasksModel>
#include <Ostrel/Testing/Main>

#include <QtTest/QAbstractItemModelTester>

#include <optional>

using Ostrel::LiveModel;

// The models as QML sees them.
class TestQmlModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void applicationsFollowWhatRuns();
    void servicesFollowWhatRuns();
    void tasksFollowTheirType();
    void rolesHaveTheirNames();
    void errorHasItsMembers();
    void tasksWithoutTypeRegisterNothing();
    void tasksRegisterOnceTheirTypeIsKnown();
    void tasksOfAnotherTypeRegisterAnew();
    void tasksOfTheSystemBusRegisterThere();
    void tasksRegisterAgainWhenTheServiceHasRestarted();
    void tasksMayBeDestroyedInTheirOwnHandler();

private:
    LiveModel *make(const QString &element);
    QString registrations() const;

    std::optional<ModelRig> m_rig;
    std::optional<QmlRig> m_qml;
    std::optional<Warnings> m_warnings;
    std::optional<QAbstractItemModelTester> m_tester;
};

void TestQmlModels::initTestCase()
{
    m_rig.emplace();
    // The models of QML share it. It registers the records that the simulator is given.
    Ostrel::Control::instance();
}

void TestQmlModels::init()
{
    m_qml.emplace();
    m_warnings.emplace();
}

void TestQmlModels::cleanup()
{
    m_tester.reset();
    m_qml.reset();
    m_rig->simulator().reset();
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    QCOMPARE(warnings, QStringList());
}

LiveModel *TestQmlModels::make(const QString &element)
{
    auto *model =
        m_qml->make("property QtObject model: " + element)->property("model").value<LiveModel *>();
    m_tester.emplace(model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    return model;
}

// The types that were registered on the session bus.
QString TestQmlModels::registrations() const
{
    QStringList types;
    const QVector<Call> calls = m_rig->simulator().calls();
    for (const Call &call : calls) {
        if (call.member == "RegisterInvoker") {
            types.append(call.arguments.value(0).toString());
        }
    }
    return types.join(' ');
}

void TestQmlModels::applicationsFollowWhatRuns()
{
    m_rig->nextList({ModelRig::application("a", 1), ModelRig::application("b", 2)});
    const LiveModel *model = make("Applications {}");
    ModelRig::waitFor(*model, LiveModel::Ready);
    QCOMPARE(rowTexts(*model), (QStringList{"a 1 1 1 ", "b 2 1 1 "}));
    m_rig->nextList({ModelRig::application("b", 2, 7)});
    m_rig->announce();
    waitUntil([&] { return rowTexts(*model) == QStringList{"b 2 7 1 "}; });
}

void TestQmlModels::servicesFollowWhatRuns()
{
    m_rig->nextList({}, {ModelRig::service("a", "one", 1)});
    const LiveModel *model = make("Services {}");
    ModelRig::waitFor(*model, LiveModel::Ready);
    QCOMPARE(rowTexts(*model), QStringList{"a one 1 1 "});
}

void TestQmlModels::tasksFollowTheirType()
{
    QObject *root = m_qml->make("property Tasks tasks: Tasks { type: 'sync' }");
    const auto *model = root->property("tasks").value<LiveModel *>();
    ModelRig::waitFor(*model, LiveModel::Ready);
    QCOMPARE(model->count(), 3);
    QmlRig::evaluate(root, "Lifecycle.startTask(tasks, 'contacts')");
    const QModelIndex active = model->index(1, Ostrel::TasksModel::ActiveColumn);
    waitUntil([&active] { return active.data().toBool(); });
    QmlRig::evaluate(root, "Lifecycle.stopTask(tasks, 'contacts')");
    waitUntil([&active] { return !active.data().toBool(); });
}

void TestQmlModels::rolesHaveTheirNames()
{
    m_rig->nextList({ModelRig::application("a", 1, 2, 3, {{"Title", "A"}})});
    QObject *root = m_qml->make("property Applications model: Applications {}");
    ModelRig::waitFor(*root->property("model").value<LiveModel *>(), LiveModel::Ready);
    const QString value = "model.data(model.index(0, 0), Applications.%1Role)";
    QCOMPARE(QmlRig::evaluate(root, value.arg("AppId")), QVariant("a"));
    QCOMPARE(QmlRig::evaluate(root, value.arg("State")).toInt(), 2);
    QCOMPARE(QmlRig::evaluate(root, value.arg("Properties") + ".Title"), QVariant("A"));
    QCOMPARE(QmlRig::evaluate(root, value.arg("Since") + " <= new Date()"), QVariant(true));
    QCOMPARE(QmlRig::evaluate(root, "model.status === Applications.Ready && model.count === 1"),
             QVariant(true));
}

void TestQmlModels::errorHasItsMembers()
{
    m_rig->lists().failNext(OSTREL_ERROR_PREFIX "AccessDenied", "not you");
    QObject *root = m_qml->make("property Services model: Services {}");
    ModelRig::waitFor(*root->property("model").value<LiveModel *>(), LiveModel::Failed);
    QCOMPARE(QmlRig::evaluate(root,
                              "[model.error.code === LifecycleError.Failed, model.error.name,"
                              " model.error.message, model.status === LiveModel.Failed]"
                              ".join()"),
             QVariant("true,Failed,not you,true"));
}

void TestQmlModels::tasksWithoutTypeRegisterNothing()
{
    LiveModel *model = make("Tasks {}");
    model->setProperty("bus", 1);
    ModelRig::settle();
    QCOMPARE(model->status(), LiveModel::Loading);
    QCOMPARE(registrations(), QString());
}

// Both properties have their values before the one registration.
void TestQmlModels::tasksRegisterOnceTheirTypeIsKnown()
{
    LiveModel *model = make("Tasks { bus: Tasks.SystemBus; type: 'maintenance';"
                            " Component.onCompleted: bus = Tasks.SessionBus }");
    Q_UNUSED(model)
    waitUntil([this] { return registrations() == "maintenance"; });
}

void TestQmlModels::tasksOfAnotherTypeRegisterAnew()
{
    LiveModel *model = make("Tasks { type: 'sync' }");
    ModelRig::waitFor(*model, LiveModel::Ready);
    model->setProperty("type", "sync");
    model->setProperty("type", "maintenance");
    QCOMPARE(model->status(), LiveModel::Loading);
    ModelRig::waitFor(*model, LiveModel::Ready);
    QCOMPARE(model->count(), 1);
    QCOMPARE(model->index(0, 0).data().toString(), "cleanup");
    QCOMPARE(registrations(), "sync maintenance");
    model->setProperty("type", QString());
    QCOMPARE(model->status(), LiveModel::Loading);
    QCOMPARE(model->count(), 0);
}

// There is no system bus here.
void TestQmlModels::tasksOfTheSystemBusRegisterThere()
{
    const LiveModel *model = make("Tasks { type: 'sync'; bus: Tasks.SystemBus }");
    ModelRig::waitFor(*model, LiveModel::Failed);
    QCOMPARE(registrations(), QString());
    QCOMPARE(m_warnings->texts().size(), 1);
    m_warnings.emplace();
}

void TestQmlModels::tasksRegisterAgainWhenTheServiceHasRestarted()
{
    const LiveModel *model = make("Tasks { type: 'sync' }");
    ModelRig::waitFor(*model, LiveModel::Ready);
    m_rig->simulator().end();
    ModelRig::waitFor(*model, LiveModel::ServiceMissing);
    m_rig->simulator().start();
    ModelRig::waitFor(*model, LiveModel::Ready);
    QCOMPARE(model->count(), 3);
    QCOMPARE(registrations(), "sync");
}

void TestQmlModels::tasksMayBeDestroyedInTheirOwnHandler()
{
    QObject *root = m_qml->make("property bool done: false\n"
                                "property Component maker: Component { Tasks { type: 'sync'\n"
                                "onStatusChanged: { root.done = true; destroy() } } }\n"
                                "Component.onCompleted: maker.createObject(root)");
    waitUntil([root] { return root->property("done").toBool(); });
    ModelRig::settle();
}

OSTREL_TEST_MAIN(TestQmlModels)

#include "tst_qml_models.moc"
