// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "outgoing_maps.h"
#include "test_bus.h"
#include "warnings.h"

#include "DBus/nesting_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>

#include <optional>

namespace
{

// Returns an argument of nested containers of one kind.
QVariant argumentOf(int levels, void (QDBusArgument::*begin)(), void (QDBusArgument::*end)())
{
    QDBusArgument argument;
    for (int level = 0; level < levels; ++level) {
        (argument.*begin)();
    }
    argument << 1;
    for (int level = 0; level < levels; ++level) {
        (argument.*end)();
    }
    return QVariant::fromValue(argument);
}

QVariant inStructures(int levels)
{
    return argumentOf(levels, &QDBusArgument::beginStructure, &QDBusArgument::endStructure);
}

// Returns a structure with a signature of that length.
QVariant structureOf(int length)
{
    QDBusArgument argument;
    argument.beginStructure();
    for (int member = 2; member < length; ++member) {
        argument << uchar(1);
    }
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QVariant inObjects(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QJsonObject{{"k", value}};
    }
    return value;
}

QVariant inMixedArrays(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QJsonArray{"x", value};
    }
    return value;
}

} // namespace

// The bus drops the connection over a message with more than 64 nested containers. The largest
// allowed depth arrives; one more is refused.
class TestOutgoingDepth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void deepestValuesArrive_data();
    void deepestValuesArrive();
    void tooDeepValuesAreFound_data();
    void tooDeepValuesAreFound();
    void nestingIsThatOfTheTypes_data();
    void nestingIsThatOfTheTypes();
    void nestingEndsWithTheSignature();

private:
    std::optional<PrivateBus> m_bus;
};

void TestOutgoingDepth::initTestCase()
{
    m_bus.emplace();
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Maps>();
    qDBusRegisterMetaType<NamedMaps>();
    qDBusRegisterMetaType<NamedVariants>();
    qDBusRegisterMetaType<QList<QStringList>>();
}

void TestOutgoingDepth::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

void TestOutgoingDepth::deepestValuesArrive_data()
{
    if (deepestMessage() < 64) {
        QSKIP("dbus-broker drops the connection over 64 nested containers");
    }
    QTest::addColumn<QVariant>("value");
    // 62 to 64 containers in all.
    QTest::newRow("maps") << inMaps(1, 20);
    QTest::newRow("lists") << inLists(1, 30);
    QTest::newRow("lists and strings") << inLists(QStringList{"x"}, 30);
    QTest::newRow("lists and a variant") << inLists(QVariant::fromValue(QDBusVariant(1)), 30);
    QTest::newRow("structures") << inStructures(32);
    QTest::newRow("lists and a list of maps")
        << inLists(QVariant::fromValue(Maps{oneEntry(1)}), 28);
    const QVariantMap strings{{"key", QStringList{"x"}}};
    QTest::newRow("lists and maps") << inLists(QVariant::fromValue(Maps{strings}), 28);
    QTest::newRow("lists and a map of maps")
        << inLists(QVariant::fromValue(NamedMaps{{QString(), {{QString(), 1}}}}), 28);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, strings}), 28);
    QTest::newRow("longest type") << structureOf(255);
    QTest::newRow("longest signature") << QVariant::fromValue(QDBusSignature(QString(255, 'i')));
    QTest::newRow("deepest signature")
        << QVariant::fromValue(QDBusSignature(QString(32, 'a') + 'i'));
    QTest::newRow("lists and JSON") << inLists(QJsonArray{1}, 30);
    QTest::newRow("lists and mixed JSON") << inLists(QJsonArray{1, "x"}, 29);
    QTest::newRow("lists and a JSON object") << inLists(QJsonObject{{"k", 1}}, 29);
    QTest::newRow("JSON objects") << inObjects(20);
    QTest::newRow("JSON arrays") << inMixedArrays(30);
}

void TestOutgoingDepth::deepestValuesArrive()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const Warnings warnings;
    QVERIFY(!refusalOf(map).isValid());
    QCOMPARE(answerTo({map}), "org.freedesktop.DBus.Error.UnknownInterface");
    QCOMPARE(warnings.texts(), QStringList());
}

void TestOutgoingDepth::tooDeepValuesAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("maps") << inMaps(1, 21);
    QTest::newRow("lists") << inLists(1, 31);
    QTest::newRow("lists, a variant and strings")
        << inLists(QVariant::fromValue(QDBusVariant(QStringList{"x"})), 30);
    QTest::newRow("lists and arrays in arrays")
        << inLists(QVariant::fromValue(QList<QStringList>{QStringList()}), 30);
    QTest::newRow("lists and a JSON object") << inLists(QJsonObject{{"k", 1}}, 30);
    QTest::newRow("lists and mixed JSON") << inLists(QJsonArray{1, "x"}, 30);
    QTest::newRow("lists and JSON objects") << inLists(QJsonArray{QJsonObject{{"k", 1}}}, 29);
    QTest::newRow("structures") << inStructures(33);
    const QVariantMap strings{{"key", QStringList{"x"}}};
    const QVariantMap arrays{{"key", QVariant::fromValue(QList<QStringList>())}};
    QTest::newRow("lists and maps") << inLists(QVariant::fromValue(Maps{arrays}), 28);
    QTest::newRow("lists and a map of maps")
        << inLists(QVariant::fromValue(NamedMaps{{QString(), strings}}), 28);
    QTest::newRow("lists and a record of arrays")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, arrays}), 28);
    const QVariantMap key{{"key", 1}};
    QTest::newRow("lists and a list of maps") << inLists(QVariant::fromValue(Maps{key}), 29);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, key}), 29);
    QVariant variant = 1;
    for (int level = 0; level < 30; ++level) {
        variant = QVariant::fromValue(NamedVariants{
            {"n", qvariant_cast<QDBusVariant>(QVariant::fromValue(QDBusVariant(variant)))}});
    }
    QTest::newRow("maps of variants") << variant;
    QTest::newRow("JSON objects") << inObjects(21);
    QTest::newRow("JSON arrays") << inMixedArrays(31);
    QTest::newRow("far too many JSON objects") << inObjects(1000);
    QTest::newRow("far too many lists") << inLists(1, 1000);
    // Qt frees them recursively. Ten times as many are more than some processors have stack for.
    QJsonArray array;
    for (int level = 0; level < 10000; ++level) {
        array = QJsonArray{"x", array};
    }
    QTest::newRow("far too many arrays") << QVariant(array);
}

void TestOutgoingDepth::tooDeepValuesAreFound()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QString message = refusalOf(map).message();
    QVERIFY2(message.startsWith("Marshalling failed: \"key\" is nested too deeply for "
                                "a message, with a value of type ")
                 || message.startsWith("Marshalling failed: \"inner\" is nested"),
             qPrintable(message));
}

void TestOutgoingDepth::nestingIsThatOfTheTypes_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("arrays");
    QTest::addColumn<int>("structures");
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("containers");
    QTest::addColumn<bool>("isTooDeep");
    const auto row = [](const QByteArray &signature, int arrays, int structures, int entries,
                        int containers, bool isTooDeep = false) {
        QTest::newRow(signature) << signature << arrays << structures << entries << containers
                                 << isTooDeep;
    };
    row("i", 0, 0, 0, 0);
    row("v", 0, 0, 0, 1);
    row("as", 1, 0, 0, 1);
    row("a{sv}", 1, 0, 1, 3);
    row("(xasi)", 1, 1, 0, 2);
    row("(a(i)((v)i))", 1, 3, 0, 4);
    row("a{s(a{si}v)}", 2, 1, 2, 5);
    row(QByteArray(32, 'a') + 'i', 32, 0, 0, 32);
    row(QByteArray(33, 'a') + 'i', 33, 0, 0, 33, true);
    row(QByteArray(32, '(') + 'i' + QByteArray(32, ')'), 0, 32, 0, 32);
    row(QByteArray(33, '(') + 'i' + QByteArray(33, ')'), 0, 33, 0, 33, true);
    row(QByteArray("a{s").repeated(32) + 'i' + QByteArray(32, '}'), 32, 0, 32, 64);
}

void TestOutgoingDepth::nestingIsThatOfTheTypes()
{
    QFETCH(QByteArray, signature);
    signature += "xyz";
    const char *rest = signature.constData();
    const Ostrel::Nesting nesting = Ostrel::nestingOf(rest);
    QTEST(nesting.arrays, "arrays");
    QTEST(nesting.structures, "structures");
    QTEST(nesting.containers, "containers");
    QTEST(nesting.entries, "entries");
    QTEST(nesting.isTooDeep(), "isTooDeep");
    QCOMPARE(rest, "xyz");
}

void TestOutgoingDepth::nestingEndsWithTheSignature()
{
    for (const char *signature : {"", "a", "(", "(a", "a{s"}) {
        const char *rest = signature;
        Ostrel::nestingOf(rest);
        QCOMPARE(rest, signature + qstrlen(signature));
    }
}

OSTREL_TEST_MAIN(TestOutgoingDepth)

#include "tst_outgoing_depth.moc"
