// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <functional>
#include <type_traits>

using Hints = Ostrel::TaskInvoker::Hints;
using Ostrel::TaskInvoker;
using StartupInfo = Ostrel::TaskInvoker::StartupInfo;

Q_DECLARE_METATYPE(std::function<void(Hints &)>)
Q_DECLARE_METATYPE(std::function<void(StartupInfo &)>)

static_assert(std::is_base_of_v<QVariantMap, Hints> && std::is_base_of_v<QVariantMap, StartupInfo>);
static_assert(std::is_convertible_v<const Hints &, const QVariantMap &>);
static_assert(sizeof(Hints) == sizeof(QVariantMap) && sizeof(StartupInfo) == sizeof(QVariantMap));

// What the maps of a start hold, and what they are on the wire.
class TestTaskInvokerMaps : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsSetAtFirst();
    void eachHintWritesItsKey_data();
    void eachHintWritesItsKey();
    void eachStartupInfoWritesItsKey_data();
    void eachStartupInfoWritesItsKey();
    void secondValueReplacesTheFirst();
    void environmentVariablesAreAppended();
    void environmentContinuesAnExistingEntry();
    void cgroupSettingsAreKeptByName();
    void cgroupSettingsContinueAnExistingEntry();
    void autostartIsClamped_data();
    void autostartIsClamped();
    void copiesAreIndependent();
    void otherKeysAreSentToo();
    void jsonValuesAreSentAsTheirTypes();

private:
    // Returns the two maps of a start, as busctl reads them from the call log.
    QStringList onTheWire(const StartupInfo &info, const Hints &hints) const;
};

QStringList TestTaskInvokerMaps::onTheWire(const StartupInfo &info, const Hints &hints) const
{
    TaskInvoker invoker(TaskInvoker::SessionBus, "sync");
    waitUntilReady(invoker);
    m_simulator.desk("ClearCalls");
    Events events;
    invoker.start("photos", info, hints, events.started());
    events.waitFor(1);
    if (events.all().constFirst() != "started 1: 0") {
        qFatal("the task is not started");
    }
    const QJsonDocument log = QJsonDocument::fromJson(busctlDesk(m_bus, "Calls").toUtf8());
    const QJsonArray call = log["data"][0][0].toArray();
    if (call.at(3) != "sa{sv}a{sv}") {
        qFatal("the signature is not the right one");
    }
    QStringList maps;
    for (const int argument : {1, 2}) {
        const QJsonObject map = call.at(4)[argument].toObject();
        if (map.value("type") != "a{sv}") {
            qFatal("an argument is not of its type");
        }
        maps.append(QString::fromUtf8(
            QJsonDocument(map.value("data").toObject()).toJson(QJsonDocument::Compact)));
        maps.last().replace('"', '\'');
    }
    return maps;
}

void TestTaskInvokerMaps::nothingIsSetAtFirst()
{
    QVERIFY(Hints().isEmpty());
    QVERIFY(StartupInfo().isEmpty());
    QCOMPARE(onTheWire({}, {}), (QStringList{"{}", "{}"}));
}

void TestTaskInvokerMaps::eachHintWritesItsKey_data()
{
    QTest::addColumn<std::function<void(Hints &)>>("set");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("wire");
    const auto row = [](const char *name, const std::function<void(Hints &)> &set, const char *key,
                        const QVariant &value,
                        const char *wire) { QTest::newRow(name) << set << key << value << wire; };
    const QStringList list{"a", QString(), "a"};
    const QByteArray bytes("\0\1\0\xff", 4);
    row(
        "setCPULimit", [](Hints &hints) { hints.setCPULimit(-7); }, "CPULimit", -7,
        "{'CPULimit':{'data':-7,'type':'i'}}");
    row(
        "setUser", [](Hints &hints) { hints.setUser("me"); }, "User", "me",
        "{'User':{'data':'me','type':'s'}}");
    row(
        "setDBusService", [](Hints &hints) { hints.setDBusService("a.b"); }, "DBusService", "a.b",
        "{'DBusService':{'data':'a.b','type':'s'}}");
    row(
        "setHomeless true", [](Hints &hints) { hints.setHomeless(true); }, "Homeless", true,
        "{'Homeless':{'data':true,'type':'b'}}");
    row(
        "setHomeless false", [](Hints &hints) { hints.setHomeless(false); }, "Homeless", false,
        "{'Homeless':{'data':false,'type':'b'}}");
    row(
        "setMaximumRunningTime", [](Hints &hints) { hints.setMaximumRunningTime(60); },
        "RunningTime", 60, "{'RunningTime':{'data':60,'type':'i'}}");
    row(
        "setOomWeight", [](Hints &hints) { hints.setOomWeight(2147483647); }, "Weight", 2147483647,
        "{'Weight':{'data':2147483647,'type':'i'}}");
    row(
        "setPermissions", [list](Hints &hints) { hints.setPermissions(list); }, "Permissions", list,
        "{'Permissions':{'data':['a','','a'],'type':'as'}}");
    row(
        "setPriority", [](Hints &hints) { hints.setPriority(-20); }, "Priority", -20,
        "{'Priority':{'data':-20,'type':'i'}}");
    row(
        "setConditions", [](Hints &hints) { hints.setConditions({}); }, "Conditions", QStringList(),
        "{'Conditions':{'data':[],'type':'as'}}");
    row(
        "setAutostart", [](Hints &hints) { hints.setAutostart(TaskInvoker::AutostartDisabled); },
        "Autostart", 2, "{'Autostart':{'data':2,'type':'i'}}");
    row(
        "addCGroupSetting", [bytes](Hints &hints) { hints.addCGroupSetting("memory.max", bytes); },
        "CGroups", QVariantMap{{"memory.max", bytes}},
        "{'CGroups':{'data':{'memory.max':{'data':[0,1,0,255],'type':'ay'}},'type':'a{sv}'}}");
}

void TestTaskInvokerMaps::eachHintWritesItsKey()
{
    QFETCH(std::function<void(Hints &)>, set);
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(QString, wire);
    Hints hints;
    hints.insert(key, 1.5);
    set(hints);
    QCOMPARE(hints, (QVariantMap{{key, value}}));
    QCOMPARE(hints.value(key).userType(), value.userType());
    QCOMPARE(onTheWire({}, hints), (QStringList{"{}", wire}));
}

void TestTaskInvokerMaps::eachStartupInfoWritesItsKey_data()
{
    QTest::addColumn<std::function<void(StartupInfo &)>>("set");
    QTest::addColumn<QString>("wire");
    const auto row = [](const char *name, const std::function<void(StartupInfo &)> &set,
                        const char *wire) { QTest::newRow(name) << set << wire; };
    row(
        "setParameters",
        [](StartupInfo &info) {
            info.setParameters({"-a", QString(), "\xc3\xa9"});
        },
        "{'Params':{'data':['-a','','\xc3\xa9'],'type':'as'}}");
    row(
        "setParameters to none", [](StartupInfo &info) { info.setParameters({}); },
        "{'Params':{'data':[],'type':'as'}}");
    row(
        "addEnvironmentVariable", [](StartupInfo &info) { info.addEnvironmentVariable("A", "b"); },
        "{'Environment':{'data':['A=b'],'type':'as'}}");
}

void TestTaskInvokerMaps::eachStartupInfoWritesItsKey()
{
    QFETCH(std::function<void(StartupInfo &)>, set);
    QFETCH(QString, wire);
    StartupInfo info;
    set(info);
    QCOMPARE(info.size(), 1);
    QCOMPARE(info.first().userType(), int(QMetaType::QStringList));
    QCOMPARE(onTheWire(info, {}), (QStringList{wire, "{}"}));
}

void TestTaskInvokerMaps::secondValueReplacesTheFirst()
{
    Hints hints;
    hints.setUser("first");
    hints.setUser("second");
    hints.setPriority(1);
    hints.setPriority(2);
    hints.setHomeless(true);
    hints.setHomeless(false);
    hints.setPermissions({"x"});
    hints.setPermissions({});
    QCOMPARE(hints,
             (QVariantMap{{"User", "second"},
                          {"Priority", 2},
                          {"Homeless", false},
                          {"Permissions", QStringList()}}));
    StartupInfo info;
    info.setParameters({"x"});
    info.setParameters({"y"});
    QCOMPARE(info, (QVariantMap{{"Params", QStringList("y")}}));
}

void TestTaskInvokerMaps::environmentVariablesAreAppended()
{
    StartupInfo info;
    info.addEnvironmentVariable("A", "1");
    info.setParameters({"p"});
    info.addEnvironmentVariable(QString(), "v");
    info.addEnvironmentVariable("A", "2");
    info.addEnvironmentVariable("x=y", "=z");
    info.addEnvironmentVariable("E", QString());
    info.setParameters({"q"});
    QCOMPARE(info,
             (QVariantMap{{"Environment", QStringList{"A=1", "=v", "A=2", "x=y==z", "E="}},
                          {"Params", QStringList("q")}}));
}

void TestTaskInvokerMaps::environmentContinuesAnExistingEntry()
{
    StartupInfo info;
    info.insert("Environment", QStringList("own"));
    info.addEnvironmentVariable("A", "1");
    QCOMPARE(info.value("Environment").toStringList(), (QStringList{"own", "A=1"}));
    // Anything that QVariant converts to a list is kept.
    info.insert("Environment", "own=1");
    info.addEnvironmentVariable("A", "1");
    info.addEnvironmentVariable("B", "2");
    QCOMPARE(info.value("Environment"), QVariant(QStringList{"own=1", "A=1", "B=2"}));
    // Anything else is replaced.
    info.insert("Environment", QVariantMap());
    info.addEnvironmentVariable("B", "2");
    QCOMPARE(info.value("Environment"), QVariant(QStringList("B=2")));
}

void TestTaskInvokerMaps::cgroupSettingsAreKeptByName()
{
    Hints hints;
    hints.addCGroupSetting("a", QByteArray("1"));
    hints.addCGroupSetting("b", QByteArray());
    hints.addCGroupSetting("a", QByteArray("2\0", 2));
    QCOMPARE(
        hints,
        (QVariantMap{{"CGroups", QVariantMap{{"a", QByteArray("2\0", 2)}, {"b", QByteArray()}}}}));
    QCOMPARE(onTheWire({}, hints).at(1),
             "{'CGroups':{'data':{'a':{'data':[50,0],'type':'ay'},"
             "'b':{'data':[],'type':'ay'}},'type':'a{sv}'}}");
}

void TestTaskInvokerMaps::cgroupSettingsContinueAnExistingEntry()
{
    const QString key = "CGroups";
    Hints hints;
    hints.insert(key, QVariantMap{{"own", 3}});
    hints.addCGroupSetting("a", QByteArray("1"));
    QCOMPARE(hints.value(key), QVariant(QVariantMap{{"a", QByteArray("1")}, {"own", 3}}));
    // Anything that QVariant converts to a map is kept.
    hints.insert(key, QVariantHash{{"own", 3}});
    hints.addCGroupSetting("a", QByteArray("1"));
    QCOMPARE(hints.value(key), QVariant(QVariantMap{{"a", QByteArray("1")}, {"own", 3}}));
    // Anything else is replaced.
    hints.insert(key, "own");
    hints.addCGroupSetting("b", QByteArray("2"));
    QCOMPARE(hints.value(key), QVariant(QVariantMap{{"b", QByteArray("2")}}));
}

void TestTaskInvokerMaps::autostartIsClamped_data()
{
    QTest::addColumn<quint32>("autostart");
    QTest::addColumn<int>("stored");
    QTest::newRow("0") << 0U << 0;
    QTest::newRow("1") << 1U << 1;
    QTest::newRow("2") << 2U << 2;
    QTest::newRow("3") << 3U << 0;
    QTest::newRow("all bits") << 4294967295U << 0;
    QTest::newRow("257") << 257U << 0;
}

void TestTaskInvokerMaps::autostartIsClamped()
{
    QFETCH(quint32, autostart);
    QFETCH(int, stored);
    Hints hints;
    hints.setAutostart(TaskInvoker::AutostartEnabled);
    hints.setAutostart(static_cast<TaskInvoker::Autostart>(autostart));
    QCOMPARE(hints, (QVariantMap{{"Autostart", stored}}));
    QCOMPARE(hints.first().userType(), int(QMetaType::Int));
}

void TestTaskInvokerMaps::copiesAreIndependent()
{
    Hints hints;
    hints.setPriority(1);
    Hints copy = hints;
    copy.setPriority(2);
    hints.addCGroupSetting("a", QByteArray("1"));
    QCOMPARE(hints.value("Priority").toInt(), 1);
    QCOMPARE(copy, (QVariantMap{{"Priority", 2}}));
    copy = hints;
    QCOMPARE(copy, hints);
}

// Nothing is filtered: the service may know more keys than this library.
void TestTaskInvokerMaps::otherKeysAreSentToo()
{
    StartupInfo info;
    info.insert("own", QVariantList{1, "x"});
    info.insert("params", 3U);
    Hints hints;
    hints.insert(QString(), QVariantMap{{"k", true}});
    QCOMPARE(onTheWire(info, hints),
             (QStringList{"{'own':{'data':[{'data':1,'type':'i'},"
                          "{'data':'x','type':'s'}],'type':'av'},"
                          "'params':{'data':3,'type':'u'}}",
                          "{'':{'data':{'k':{'data':true,'type':'b'}},"
                          "'type':'a{sv}'}}"}));
}

void TestTaskInvokerMaps::jsonValuesAreSentAsTheirTypes()
{
    StartupInfo info;
    info.insert("json", QJsonArray{true, false});
    Hints hints;
    hints.insert("json", QJsonValue(1.5));
    QCOMPARE(onTheWire(info, hints),
             (QStringList{"{'json':{'data':[true,false],'type':'ab'}}",
                          "{'json':{'data':1.5,'type':'d'}}"}));
    // The caller's map is unchanged.
    QCOMPARE(info.first().userType(), int(QMetaType::QJsonArray));
}

OSTREL_TEST_MAIN(TestTaskInvokerMaps)

#include "tst_task_invoker_maps.moc"
