// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "kit.h"

#include "DBus/names_p.h"
#include "DBus/outgoing_message_p.h"
#include "Ostrel/debug_params.h"

#include <Ostrel/Testing/Main>

using Ostrel::DebugParams;

namespace
{

QVariantMap mapOf(const DebugParams &params)
{
    return params.toMap();
}

} // namespace

class TestDebugParams : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsSetAtFirst();
    void settersWriteTheirKeys();
    void gettersReadTheirKeys();
    void settersReplaceEarlierValues();
    void copiesKeepWhatTheyHeld();
    void mapIsTakenUnchanged();
    void sandboxIsConvertedToABool_data();
    void sandboxIsConvertedToABool();
    void valuesOfOtherTypesAreConverted();
    void valuesAreSentWithTheirTypes();
};

void TestDebugParams::nothingIsSetAtFirst()
{
    const DebugParams params;
    QVERIFY(mapOf(params).isEmpty());
    QVERIFY(params.sandboxEnabled());
    QCOMPARE(params.applicationWrapper(), QStringList());
    QCOMPARE(params.commandLineParams(), QStringList());
    QCOMPARE(params.environment(), QStringList());
    QCOMPARE(params.firejailParams(), QStringList());
    QVERIFY(params.stdoutFile().isNull());
    QVERIFY(params.stderrFile().isNull());
    static_assert(sizeof(DebugParams) == sizeof(QVariantMap));
}

void TestDebugParams::settersWriteTheirKeys()
{
    const auto after = [](const auto &set) {
        DebugParams params;
        set(params);
        return mapOf(params);
    };
    const QStringList list{"x", QString()};
    const auto one = [](const char *key, const QVariant &value) {
        return QVariantMap{{key, value}};
    };
    QCOMPARE(after([&](DebugParams &params) { params.setApplicationWrapper(list); }),
             one("applicationWrapper", list));
    QCOMPARE(after([&](DebugParams &params) { params.setCommandLineParams(list); }),
             one("commandLineParams", list));
    QCOMPARE(after([&](DebugParams &params) { params.setEnvironment(list); }),
             one("environment", list));
    QCOMPARE(after([&](DebugParams &params) { params.setFireJailParams(list); }),
             one("firejailParams", list));
    QCOMPARE(after([&](DebugParams &params) { params.setSandboxEnabled(false); }),
             one("sandbox", false));
    QCOMPARE(after([&](DebugParams &params) { params.setSandboxEnabled(true); }),
             one("sandbox", true));
    QCOMPARE(after([&](DebugParams &params) { params.setStdoutFile("/o"); }),
             one("stdoutFile", "/o"));
    QCOMPARE(after([&](DebugParams &params) { params.setStderrFile("/e"); }),
             one("stderrFile", "/e"));
}

void TestDebugParams::gettersReadTheirKeys()
{
    DebugParams params;
    params.setApplicationWrapper({"a"});
    params.setCommandLineParams({"b"});
    params.setEnvironment({"c=d"});
    params.setFireJailParams({"e"});
    params.setSandboxEnabled(false);
    params.setStdoutFile("f");
    params.setStderrFile("g");
    QCOMPARE(params.applicationWrapper(), QStringList("a"));
    QCOMPARE(params.commandLineParams(), QStringList("b"));
    QCOMPARE(params.environment(), QStringList("c=d"));
    QCOMPARE(params.firejailParams(), QStringList("e"));
    QVERIFY(!params.sandboxEnabled());
    QCOMPARE(params.stdoutFile(), "f");
    QCOMPARE(params.stderrFile(), "g");
}

void TestDebugParams::settersReplaceEarlierValues()
{
    DebugParams params;
    params.setStdoutFile("first");
    params.setStdoutFile("second");
    QCOMPARE(params.stdoutFile(), "second");
    QCOMPARE(mapOf(params).count("stdoutFile"), 1);
}

void TestDebugParams::copiesKeepWhatTheyHeld()
{
    DebugParams params;
    params.setEnvironment({"a=b"});
    const DebugParams copy(params);
    DebugParams assigned;
    assigned = params;
    QVERIFY(mapOf(copy).isSharedWith(mapOf(params)));
    params.setEnvironment({"c=d"});
    params.setSandboxEnabled(false);
    QCOMPARE(copy.environment(), QStringList("a=b"));
    QVERIFY(copy.sandboxEnabled());
    QCOMPARE(assigned.environment(), QStringList("a=b"));
}

void TestDebugParams::mapIsTakenUnchanged()
{
    const QVariantMap map{{"extra", 3}, {"stdoutFile", "x"}};
    DebugParams params(map);
    QVERIFY(mapOf(params).isSharedWith(map));
    QCOMPARE(params.stdoutFile(), "x");
    params.setStderrFile("y");
    QCOMPARE(mapOf(params).value("extra"), QVariant(3));
    QCOMPARE(map.size(), 2);
}

void TestDebugParams::sandboxIsConvertedToABool_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("text false") << QVariant("false") << false;
    QTest::newRow("text FALSE") << QVariant("FALSE") << false;
    QTest::newRow("text 0") << QVariant("0") << false;
    QTest::newRow("empty text") << QVariant(QString()) << false;
    QTest::newRow("text no") << QVariant("no") << true;
    QTest::newRow("number 0") << QVariant(0) << false;
    QTest::newRow("number 2") << QVariant(2) << true;
    QTest::newRow("nothing") << QVariant() << false;
}

void TestDebugParams::sandboxIsConvertedToABool()
{
    QFETCH(QVariant, value);
    QTEST(DebugParams(QVariantMap{{"sandbox", value}}).sandboxEnabled(), "enabled");
}

void TestDebugParams::valuesOfOtherTypesAreConverted()
{
    const DebugParams params(QVariantMap{
        {"environment", "a=b"}, {"firejailParams", QVariantList{1, true}}, {"stdoutFile", 3}});
    QCOMPARE(params.environment(), QStringList("a=b"));
    QCOMPARE(params.firejailParams(), (QStringList{"1", "true"}));
    QCOMPARE(params.stdoutFile(), "3");
}

void TestDebugParams::valuesAreSentWithTheirTypes()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const auto send = [](const DebugParams &params) {
        QVariantMap map = mapOf(params);
        Ostrel::OutgoingMessage message(1000);
        message.add(map);
        QVERIFY(!message.refusal().isValid());
        QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
            << map);
    };
    DebugParams params(QVariantMap{{"extra", 3}});
    params.setApplicationWrapper({"a"});
    params.setSandboxEnabled(false);
    params.setStdoutFile("f");
    send(params);
    send(DebugParams());
    const QString logged = busctlDesk(bus, "Calls");
    QCOMPARE(logged.section("\"Take\"", 1, 1).section("]],", 0, 0),
             R"(,"a{sv}",[{"type":"a{sv}","data":{)"
             R"("applicationWrapper":{"type":"as","data":["a"]},)"
             R"("extra":{"type":"i","data":3},"sandbox":{"type":"b","data":false},)"
             R"("stdoutFile":{"type":"s","data":"f"}}})");
    QVERIFY(logged.endsWith(R"("Take","a{sv}",[{"type":"a{sv}","data":{}}]]]]})"));
}

OSTREL_TEST_MAIN(TestDebugParams)

#include "tst_debug_params.moc"
