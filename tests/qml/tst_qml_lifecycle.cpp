// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "qml_rig.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusArgument>

#include <optional>

// The requests of QML: what is sent, and what the callback receives.
class TestQmlLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void requestsAreSentAndTheirRepliesReturned_data();
    void requestsAreSentAndTheirRepliesReturned();
    void failuresHaveCodeNameAndMessage_data();
    void failuresHaveCodeNameAndMessage();
    void requestsNeedNoCallback();
    void absentServiceIsAFailure();
    void valuesAreSentAsTheirTypes_data();
    void valuesAreSentAsTheirTypes();
    void valuesThatCannotBeSentAreFailures_data();
    void valuesThatCannotBeSentAreFailures();
    void taskThatEndsWithTheServiceIsAFailure();
    void anotherTypeLeavesTheCallsThatAreUnderWay();

private:
    Faults next(const char *method) const;
    static const QVariantMap &noError();

    std::optional<ModelRig> m_rig;
    std::optional<QmlRig> m_qml;
    std::optional<Warnings> m_warnings;
};

void TestQmlLifecycle::initTestCase()
{
    m_rig.emplace();
}

void TestQmlLifecycle::init()
{
    m_qml.emplace();
    m_warnings.emplace();
}

void TestQmlLifecycle::cleanup()
{
    m_qml.reset();
    m_rig->simulator().reset();
    const QStringList warnings = m_warnings->texts();
    m_warnings.reset();
    QCOMPARE(warnings, QStringList());
}

Faults TestQmlLifecycle::next(const char *method) const
{
    const bool isTask = QByteArray(method).endsWith("Task");
    return m_rig->simulator().faults(isTask ? OSTREL_TASK_INVOKER_SESSION_INTERFACE
                                            : OSTREL_CONTROL_INTERFACE,
                                     isTask ? QByteArray(method).chopped(4).constData() : method);
}

const QVariantMap &TestQmlLifecycle::noError()
{
    static const QVariantMap none{
        {"code", 0}, {"name", "NoError"}, {"message", ""}, {"busErrorName", ""}};
    return none;
}

void TestQmlLifecycle::requestsAreSentAndTheirRepliesReturned_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QVariantList>("answer");
    QTest::addColumn<QVariantMap>("values");
    const QVariantMap details{{"Size", QVariantMap{{"Width", 7}}},
                              {"Words", QVariantList{"x", "y"}}};
    const QVariantMap started{{"appInstanceId", "a.1"}, {"details", details}};
    const QVariantList start{
        "a.1", QVariantMap{{"Size", QVariantMap{{"Width", 7}}}, {"Words", QStringList{"x", "y"}}}};
    QTest::newRow("Start") << "Lifecycle.start('a', keep)"
                           << "Start s a" << start << started;
    QTest::newRow("StartDebug") << "Lifecycle.startDebug('a', {}, keep)"
                                << "StartDebug sa{sv} a" << start << started;
    QTest::newRow("Terminate") << "Lifecycle.terminate('a.1', keep)"
                               << "Terminate s a.1" << QVariantList() << QVariantMap();
    QTest::newRow("StartTask") << "Lifecycle.startTask(tasks, 't', {}, {}, keep)"
                               << "Start sa{sv}a{sv} t" << QVariantList{42}
                               << QVariantMap{{"number", 42}};
    QTest::newRow("StopTask") << "Lifecycle.stopTask(tasks, 't', keep)"
                              << "Stop s t" << QVariantList() << QVariantMap();
}

void TestQmlLifecycle::requestsAreSentAndTheirRepliesReturned()
{
    QFETCH(QString, script);
    QFETCH(QString, sent);
    QFETCH(QVariantList, answer);
    QFETCH(QVariantMap, values);
    next(QTest::currentDataTag()).answerNext(answer);
    const QVariantList results = QmlRig::results(m_qml->run(script));
    QVariantMap expected = noError();
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        expected.insert(value.key(), value.value());
    }
    QCOMPARE(results, QVariantList{expected});
    const Call call = m_rig->simulator().calls().constLast();
    QCOMPARE(QStringList({call.member, call.signature, call.arguments.at(0).toString()}).join(' '),
             sent);
}

void TestQmlLifecycle::failuresHaveCodeNameAndMessage_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("Start") << "Lifecycle.start('a', keep)";
    QTest::newRow("StartDebug") << "Lifecycle.startDebug('a', {}, keep)";
    QTest::newRow("Terminate") << "Lifecycle.terminate('a', keep)";
    QTest::newRow("StartTask") << "Lifecycle.startTask(tasks, 'a', {}, {}, keep)";
    QTest::newRow("StopTask") << "Lifecycle.stopTask(tasks, 'a', keep)";
}

void TestQmlLifecycle::failuresHaveCodeNameAndMessage()
{
    QFETCH(QString, script);
    next(QTest::currentDataTag()).failNext(OSTREL_ERROR_PREFIX "HandlerNotFound", "no such thing");
    const QVariantMap result = QmlRig::results(m_qml->run(script)).at(0).toMap();
    QCOMPARE(result.value("code"), QVariant(2));
    QCOMPARE(result.value("name"), QVariant("HandlerNotFound"));
    QCOMPARE(result.value("message"), QVariant("no such thing"));
    QCOMPARE(result.value("busErrorName"), QVariant(OSTREL_ERROR_PREFIX "HandlerNotFound"));
}

void TestQmlLifecycle::requestsNeedNoCallback()
{
    m_qml->run("Lifecycle.start('a'); Lifecycle.startDebug('b', undefined);"
               "Lifecycle.terminate('c', null); Lifecycle.stopTask(tasks, 'd');"
               "Lifecycle.startTask(tasks, 'e');");
    QStringList sent;
    waitUntil([&] {
        sent.clear();
        const QVector<Call> calls = m_rig->simulator().calls();
        for (const Call &call : calls) {
            sent.append(call.member + ' ' + call.arguments.value(0).toString());
        }
        return sent.size() == 6;
    });
    QCOMPARE(sent,
             (QStringList{"RegisterInvoker sync", "Start a", "StartDebug b", "Terminate c",
                          "Stop d", "Start e"}));
    ModelRig::roundTrip(*Ostrel::Control::instance());
}

void TestQmlLifecycle::absentServiceIsAFailure()
{
    m_rig->simulator().end();
    const QVariantMap result =
        QmlRig::results(m_qml->make("Component.onCompleted: Lifecycle.start('a', keep)"))
            .at(0)
            .toMap();
    m_rig->simulator().start();
    QCOMPARE(result.value("name"), QVariant("Failed"));
    QCOMPARE(result.value("busErrorName"), QVariant("org.freedesktop.DBus.Error.ServiceUnknown"));
    QCOMPARE(result.value("appInstanceId"), QVariant(""));
}

void TestQmlLifecycle::valuesAreSentAsTheirTypes_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QVariant>("sent");
    QTest::newRow("string") << "'x'" << QVariant("x");
    QTest::newRow("empty string") << "''" << QVariant("");
    QTest::newRow("bool") << "false" << QVariant(false);
    QTest::newRow("whole number") << "50" << QVariant(50);
    QTest::newRow("whole number from a division") << "Math.floor(50.5)" << QVariant(50);
    QTest::newRow("smallest int") << "-2147483648" << QVariant(-2147483647 - 1);
    QTest::newRow("number beyond an int") << "2147483648" << QVariant(2147483648.0);
    QTest::newRow("fraction") << "0.5" << QVariant(0.5);
    QTest::newRow("infinity") << "1 / 0" << QVariant(std::numeric_limits<double>::infinity());
    QTest::newRow("strings") << "['a', 'b']" << QVariant(QStringList{"a", "b"});
    QTest::newRow("empty list") << "[]" << QVariant(QStringList());
    QTest::newRow("list") << "['a', 1]" << QVariant(QVariantList{"a", 1});
    QTest::newRow("map") << "({ a: { b: [true] } })"
                         << QVariant(QVariantMap{{"a", QVariantMap{{"b", QVariantList{true}}}}});
    QTest::newRow("bytes") << "new Uint8Array([1, 0, 255]).buffer"
                           << QVariant(QByteArray("\1\0\377", 3));
}

void TestQmlLifecycle::valuesAreSentAsTheirTypes()
{
    QFETCH(QString, value);
    QFETCH(QVariant, sent);
    m_qml->run(QString("Lifecycle.startDebug('a', { k: %1 })").arg(value));
    QVector<Call> calls;
    waitUntil([&] {
        calls = m_rig->simulator().calls();
        return calls.size() == 2;
    });
    const QVariant received =
        Ostrel::Control::toPlainValue(calls.at(1).arguments.value(1)).toMap().value("k");
    QCOMPARE(received, sent);
    if (sent.userType() != QMetaType::QVariantList && sent.userType() != QMetaType::QVariantMap) {
        QCOMPARE(received.userType(), sent.userType());
    }
}

void TestQmlLifecycle::valuesThatCannotBeSentAreFailures_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("null") << "null";
    QTest::newRow("undefined") << "undefined";
    QTest::newRow("function") << "keep";
    QTest::newRow("element") << "root";
    QTest::newRow("expression") << "/x/";
    QTest::newRow("null in a list") << "['a', null]";
    QTest::newRow("symbol") << "Symbol()";
    QTest::newRow("array of four thousand million holes")
        << "(() => { const a = [];"
           " a.length = 4294967295; return a })()";
}

void TestQmlLifecycle::valuesThatCannotBeSentAreFailures()
{
    QFETCH(QString, value);
    for (const char *request : {"Lifecycle.startDebug('a', { k: %1 }, keep)",
                                "Lifecycle.startTask(tasks, 'a', { k: %1 }, {}, keep)",
                                "Lifecycle.startTask(tasks, 'a', {}, { k: %1 }, keep)"}) {
        const QObject *object = m_qml->run(QString(request).arg(value));
        const QVariantMap result = QmlRig::results(object).at(0).toMap();
        QCOMPARE(result.value("code"), QVariant(1));
        QVERIFY2(result.value("message").toString().startsWith("Marshalling failed: \"k\" holds "),
                 qPrintable(result.value("message").toString()));
    }
}

// The element registers its type again meanwhile.
void TestQmlLifecycle::taskThatEndsWithTheServiceIsAFailure()
{
    next("StartTask").holdNext(1);
    QObject *object = m_qml->run("Lifecycle.startTask(tasks, 'contacts', {}, {}, keep)");
    next("StartTask").waitForHeld(1);
    m_rig->simulator().process().kill();
    m_rig->simulator().waitForEnd();
    m_rig->simulator().start();
    const auto *tasks = object->property("tasks").value<Ostrel::LiveModel *>();
    ModelRig::waitFor(*tasks, Ostrel::LiveModel::Ready);
    QCOMPARE(QmlRig::results(object).at(0).toMap().value("busErrorName"),
             QVariant("org.freedesktop.DBus.Error.NoReply"));
}

void TestQmlLifecycle::anotherTypeLeavesTheCallsThatAreUnderWay()
{
    next("StartTask").holdNext(1);
    const QObject *object = m_qml->run("Lifecycle.startTask(tasks, 'contacts', {}, {}, keep)");
    next("StartTask").waitForHeld(1);
    object->property("tasks").value<QObject *>()->setProperty("type", "maintenance");
    next("StartTask").release({0});
    QCOMPARE(QmlRig::results(object).at(0).toMap().value("name"), QVariant("NoError"));
}

OSTREL_TEST_MAIN(TestQmlLifecycle)

#include "tst_qml_lifecycle.moc"
