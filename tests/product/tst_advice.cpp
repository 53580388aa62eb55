// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QSet>

#include <memory>

using Ostrel::Control;
using Ostrel::TaskInvoker;

namespace
{

//! [nested]
// The map within a value that the service sent, or an empty one.
QVariantMap mapIn(const QVariant &value)
{
    return Ostrel::Control::toPlainValue(value).toMap();
}
//! [nested]

//! [again]
// Registers the tasks of a type whenever the service comes.
class Tasks : public QObject
{
public:
    explicit Tasks(const QString &type)
        : m_type(type)
    {
        connect(&m_control, &Ostrel::Control::serviceAvailableChanged, this,
                [this](bool available) {
                    if (available) {
                        registerAgain();
                    }
                });
        registerAgain();
    }

    TaskInvoker &invoker() const { return *m_invoker; }

private:
    void registerAgain()
    {
        m_invoker = std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, m_type);
    }

    QString m_type;
    Ostrel::Control m_control;
    std::unique_ptr<TaskInvoker> m_invoker;
};
//! [again]

//! [instances]
// The instances that were started since this object was made, and have not ended.
class Instances : public QObject
{
public:
    Instances()
    {
        using Ostrel::Control;
        connect(&m_control, &Control::started, this,
                [this](const QString &instance) { m_running.insert(instance); });
        connect(&m_control, &Control::terminated, this,
                [this](const QString &instance) { m_running.remove(instance); });
        // A new service knows nothing of them.
        connect(&m_control, &Control::serviceAvailableChanged, this, [this] { m_running.clear(); });
    }

    QSet<QString> running() const { return m_running; }

private:
    Ostrel::Control m_control;
    QSet<QString> m_running;
};
//! [instances]

} // namespace

// The advice in the documentation works.
class TestAdvice : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void nestedValuesAreReadWithTheirTypes_data();
    void nestedValuesAreReadWithTheirTypes();
    void jsonIsSentAsPlainValues();
    void invokersAreMadeAgainWhenTheServiceComes();
    void instancesAreKeptWhileTheyRun();
};

void TestAdvice::initTestCase()
{
    //! [connect]
    // Before the first object of this library:
    QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    //! [connect]
}

void TestAdvice::nestedValuesAreReadWithTheirTypes_data()
{
    QTest::addColumn<QVariant>("sent");
    QTest::addColumn<QVariantMap>("read");
    const QVariantMap inner{{"Width", 640}};
    QTest::newRow("a map") << QVariant(inner) << inner;
    QTest::newRow("a list") << QVariant(QVariantList{1, 2}) << QVariantMap();
    QTest::newRow("a text") << QVariant("640") << QVariantMap();
    QTest::newRow("a path") << QVariant::fromValue(QDBusObjectPath("/a")) << QVariantMap();
}

void TestAdvice::nestedValuesAreReadWithTheirTypes()
{
    QFETCH(const QVariant, sent);
    QFETCH(const QVariantMap, read);
    const QString key = "Size";
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start")
        .answerNext({"id", QVariantMap{{key, sent}}});
    Control control;
    QCOMPARE(mapIn(control.start("demo.Viewer").details.value(key)), read);
}

void TestAdvice::jsonIsSentAsPlainValues()
{
    const Control registersTheJsonTypes;
    const QString appId = "demo.Viewer";
    //! [json]
    const QJsonArray sizes{1.5, 2.5};
    // Not {"Sizes", sizes}: QtDBus would end the process.
    const QVariantMap parameters{{"Sizes", sizes.toVariantList()}};
    //! [json]
    QDBusMessage call = QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                                       OSTREL_CONTROL_INTERFACE, "StartDebug");
    call << appId << parameters;
    QCOMPARE(QDBusConnection::sessionBus().call(call).type(), QDBusMessage::ReplyMessage);

    const auto received = qdbus_cast<QVariantMap>(m_simulator.calls().constLast().arguments.at(1));
    QCOMPARE(qdbus_cast<QVariantList>(received.value("Sizes")), (QVariantList{1.5, 2.5}));
}

void TestAdvice::invokersAreMadeAgainWhenTheServiceComes()
{
    const Tasks tasks("sync");
    QVERIFY(!waitUntilReady(tasks.invoker()));
    m_simulator.end();
    m_simulator.start();
    // A new invoker has no tasks until it is registered.
    const TaskInvoker *const first = &tasks.invoker();
    waitUntil([&] { return &tasks.invoker() != first; });
    QVERIFY(!waitUntilReady(tasks.invoker()));
    QCOMPARE(tasks.invoker().availableTasks().size(), 3);
}

void TestAdvice::instancesAreKeptWhileTheyRun()
{
    const Instances instances;
    Control other;
    const QString first = other.start("demo.Viewer").appInstanceId;
    const QString second = other.start("demo.Viewer").appInstanceId;
    waitUntil([&] { return instances.running() == QSet<QString>{first, second}; });
    QVERIFY(!other.terminate(first));
    waitUntil([&] { return instances.running() == QSet<QString>{second}; });
    m_simulator.end();
    waitUntil([&] { return instances.running().isEmpty(); });
    m_simulator.start();
}

OSTREL_TEST_MAIN(TestAdvice)

#include "tst_advice.moc"
