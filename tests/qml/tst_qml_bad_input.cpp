// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "qml_rig.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <optional>

// What QML gets wrong, and what ends while a call is under way.
class TestQmlBadInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void wrongArgumentsThrowAndSendNothing_data();
    void wrongArgumentsThrowAndSendNothing();
    void exceptionOfACallbackIsAWarning_data();
    void exceptionOfACallbackIsAWarning();
    void returnedErrorOfACallbackIsNoWarning();
    void callbackMayMakeTheNextRequest();
    void engineMayBeDestroyedDuringACall_data();
    void engineMayBeDestroyedDuringACall();
    void ownerOfACallbackMayBeDestroyedDuringACall();
    void tasksMayBeDestroyedDuringACall();
    void callbackMayDestroyItsTasks();
    void callbackMayChangeTheTypeOfItsTasks();
    void wrongPropertiesAreRefused_data();
    void wrongPropertiesAreRefused();

private:
    std::optional<ModelRig> m_rig;
    std::optional<QmlRig> m_qml;
    std::optional<Warnings> m_warnings;
};

void TestQmlBadInput::initTestCase()
{
    m_rig.emplace();
}

void TestQmlBadInput::init()
{
    m_qml.emplace();
    m_warnings.emplace(Warnings::Silent);
}

void TestQmlBadInput::cleanup()
{
    m_qml.reset();
    m_warnings.reset();
    m_rig->simulator().reset();
}

void TestQmlBadInput::wrongArgumentsThrowAndSendNothing_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("exception");
    const QString noString = "TypeError: Expected a string as the identifier or the name";
    const QString noFunction = "TypeError: Expected a function as the callback";
    const QString noObject = "TypeError: Expected an object";
    const QString noTasks = "TypeError: Expected a Tasks element";
    for (const char *value : {"undefined", "null", "1", "{}", "['a']", "root", "keep"}) {
        QTest::addRow("start %s", value) << QString("start(%1)").arg(value) << noString;
        QTest::addRow("terminate %s", value) << QString("terminate(%1)").arg(value) << noString;
        QTest::addRow("startDebug %s", value)
            << QString("startDebug(%1, {})").arg(value) << noString;
        QTest::addRow("startTask %s", value)
            << QString("startTask(tasks, %1)").arg(value) << noString;
        QTest::addRow("stopTask of %s", value)
            << QString("stopTask(%1, 'a')").arg(value) << noTasks;
    }
    for (const char *value : {"1", "'keep'", "{}", "root", "true"}) {
        QTest::addRow("start with %s", value) << QString("start('a', %1)").arg(value) << noFunction;
        QTest::addRow("stopTask with %s", value)
            << QString("stopTask(tasks, 'a', %1)").arg(value) << noFunction;
    }
    for (const char *value : {"1", "'x'", "['x']", "keep", "root", "new Date()"}) {
        QTest::addRow("startDebug with %s", value)
            << QString("startDebug('a', %1)").arg(value) << noObject;
        QTest::addRow("startTask with hints %s", value)
            << QString("startTask(tasks, 'a', {}, %1)").arg(value) << noObject;
        QTest::addRow("startTask with information %s", value)
            << QString("startTask(tasks, 'a', %1, {})").arg(value) << noObject;
    }
    const QString tooDeep = "RangeError: The object has more than 64 levels";
    QTest::newRow("object that holds itself")
        << "startDebug('a', (() => { const o = {}; o.o = o; return o })())" << tooDeep;
    QTest::newRow("list that holds itself")
        << "startDebug('a', (() => { const l = []; l[0] = l; return { l: l } })())" << tooDeep;
    QTest::newRow("a hundred thousand levels")
        << "startDebug('a', (() => { let o = {}; for (let i = 0; i < 100000; ++i) o = { o: o };"
           " return o })())"
        << tooDeep;
    QTest::newRow("tasks without a type") << "stopTask(noType, 'a')"
                                          << "Error: The Tasks element has no type";
    QTest::newRow("no arguments")
        << "start()"
        << "Error: Unable to determine callable overload.  Candidates are:\n"
           "    start(QJSValue)\n    start(QJSValue,QJSValue)";
}

void TestQmlBadInput::wrongArgumentsThrowAndSendNothing()
{
    QFETCH(QString, call);
    QFETCH(QString, exception);
    QObject *object = m_qml->make(
        QString("property Tasks tasks: Tasks { type: 'sync' }\nproperty Tasks noType: Tasks {}\n"
                "property string exception\n"
                "function run() { try { Lifecycle.%1 } catch (e) { exception = String(e) } }")
            .arg(call));
    QMetaObject::invokeMethod(object, "run");
    QCOMPARE(object->property("exception").toString(), exception);
    ModelRig::waitFor(*object->property("tasks").value<Ostrel::LiveModel *>(),
                      Ostrel::LiveModel::Ready);
    QCOMPARE(m_rig->simulator().calls().size(), 1);
    QCOMPARE(m_warnings->texts(), QStringList());
}

void TestQmlBadInput::exceptionOfACallbackIsAWarning_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("warning");
    QTest::newRow("error") << "throw new Error('mine')"
                           << "test.qml:5: Error: mine";
    QTest::newRow("string") << "throw 'mine'"
                            << "mine";
    QTest::newRow("null") << "throw null"
                          << "TypeError: Cannot read property 'fileName' of null";
    QTest::newRow("unknown name") << "nowhere.to.be.found()"
                                  << "test.qml:5: ReferenceError: nowhere is not defined";
    QTest::newRow("endless recursion") << "(function f() { f() })()"
                                       << "RangeError: Maximum call stack size exceeded.";
}

void TestQmlBadInput::exceptionOfACallbackIsAWarning()
{
    QFETCH(QString, statement);
    QFETCH(QString, warning);
    const QObject *object = m_qml->make("Component.onCompleted: Lifecycle.start('a',\n"
                                        "(result) => { keep(result); "
                                        + statement + " })");
    QmlRig::results(object);
    waitUntil([this] { return !m_warnings->texts().isEmpty(); });
    QCOMPARE(m_warnings->texts().size(), 1);
    QVERIFY2(m_warnings->texts().at(0).endsWith(warning), qPrintable(m_warnings->texts().at(0)));
}

void TestQmlBadInput::returnedErrorOfACallbackIsNoWarning()
{
    QmlRig::results(
        m_qml->run("Lifecycle.start('a', (result) => { keep(result); return new Error('mine') })"));
    ModelRig::roundTrip(*Ostrel::Control::instance());
    QCOMPARE(m_warnings->texts(), QStringList());
}

void TestQmlBadInput::callbackMayMakeTheNextRequest()
{
    const QObject *object = m_qml->run("Lifecycle.start('demo.Viewer', (result) => { keep(result);"
                                       "Lifecycle.terminate(result.appInstanceId, keep) })");
    const QVariantList results = QmlRig::results(object, 2);
    QCOMPARE(results.at(0).toMap().value("appInstanceId"), QVariant("demo.Viewer.instance_1"));
    QCOMPARE(results.at(1).toMap().value("name"), QVariant("NoError"));
}

void TestQmlBadInput::engineMayBeDestroyedDuringACall_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("isTask");
    QTest::newRow("start") << "Lifecycle.start('demo.Viewer', keep)" << false;
    QTest::newRow("startTask") << "Lifecycle.startTask(tasks, 'contacts', {}, {}, keep)" << true;
}

void TestQmlBadInput::engineMayBeDestroyedDuringACall()
{
    QFETCH(QString, script);
    QFETCH(bool, isTask);
    const Faults start = m_rig->simulator().faults(
        isTask ? OSTREL_TASK_INVOKER_SESSION_INTERFACE : OSTREL_CONTROL_INTERFACE, "Start");
    start.holdNext(1);
    m_qml->run(script);
    start.waitForHeld(1);
    m_qml->destroyEngine();
    start.release({0});
    ModelRig::roundTrip(*Ostrel::Control::instance());
    QCOMPARE(m_warnings->texts(), QStringList());
}

// Its function still runs, but finds nothing of its object.
void TestQmlBadInput::ownerOfACallbackMayBeDestroyedDuringACall()
{
    const Faults start = m_rig->simulator().faults(OSTREL_CONTROL_INTERFACE, "Start");
    start.holdNext(1);
    m_qml->make("property Component maker: Component { QtObject { id: gone\n"
                "property string name: 'x'\n"
                "Component.onCompleted: Lifecycle.start('a', (result) => gone.name = result.name)\n"
                "} }\n"
                "Component.onCompleted: maker.createObject(root).destroy()");
    start.waitForHeld(1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    start.release({0});
    waitUntil([this] { return !m_warnings->texts().isEmpty(); });
    QVERIFY2(m_warnings->texts().at(0).contains("Error: "), qPrintable(m_warnings->texts().at(0)));
}

void TestQmlBadInput::tasksMayBeDestroyedDuringACall()
{
    const Faults start = m_rig->simulator().faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    start.holdNext(1);
    const QObject *object =
        m_qml->make("property Component maker: Component { Tasks { type: 'sync' } }\n"
                    "Component.onCompleted: { const tasks = maker.createObject(root);\n"
                    "Lifecycle.startTask(tasks, 'contacts', {}, {}, keep); tasks.destroy() }");
    start.waitForHeld(1);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    start.release({0});
    ModelRig::roundTrip(*Ostrel::Control::instance());
    QCOMPARE(object->property("results").value<QJSValue>().property("length").toInt(), 0);
}

void TestQmlBadInput::callbackMayDestroyItsTasks()
{
    const QObject *object =
        m_qml->make("property Component maker: Component { Tasks { type: 'sync' } }\n"
                    "Component.onCompleted: { const tasks = maker.createObject(root);\n"
                    "Lifecycle.startTask(tasks, 'contacts', {}, {}, (result) => { keep(result);\n"
                    "tasks.destroy() }) }");
    QCOMPARE(QmlRig::results(object).at(0).toMap().value("code"), QVariant(0));
    ModelRig::roundTrip(*Ostrel::Control::instance());
}

// The second change destroys the invoker that called.
void TestQmlBadInput::callbackMayChangeTheTypeOfItsTasks()
{
    QObject *object = m_qml->run("Lifecycle.startTask(tasks, 'contacts', {}, {}, (result) => {\n"
                                 "tasks.type = 'none'; tasks.type = 'maintenance';\n"
                                 "keep(result) })");
    QCOMPARE(QmlRig::results(object).at(0).toMap().value("code"), QVariant(0));
    const auto *tasks = object->property("tasks").value<Ostrel::LiveModel *>();
    ModelRig::waitFor(*tasks, Ostrel::LiveModel::Ready);
    QCOMPARE(tasks->count(), 1);
}

void TestQmlBadInput::wrongPropertiesAreRefused_data()
{
    QTest::addColumn<QString>("assignment");
    QTest::newRow("type undefined") << "tasks.type = undefined";
    QTest::newRow("type object") << "tasks.type = root";
    QTest::newRow("bus undefined") << "tasks.bus = undefined";
    QTest::newRow("bus string") << "tasks.bus = 'session'";
    QTest::newRow("status") << "tasks.status = 1";
    QTest::newRow("error") << "tasks.error = null";
}

void TestQmlBadInput::wrongPropertiesAreRefused()
{
    QFETCH(QString, assignment);
    QObject *object = m_qml->run(assignment);
    waitUntil([this] { return !m_warnings->texts().isEmpty(); });
    QCOMPARE(object->property("tasks").value<QObject *>()->property("type").toString(), "sync");
}

OSTREL_TEST_MAIN(TestQmlBadInput)

#include "tst_qml_bad_input.moc"
