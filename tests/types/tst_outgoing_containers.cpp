// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outgoing_maps.h"
#include "quiet_test.h"
#include "test_bus.h"
#include "variant_containers.h"
#include "warnings.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QUrl>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusUnixFileDescriptor>

// A caller's own types, which it registers with QtDBus. One is a map on the bus and converts to a
// map; the other is a list and converts to a list.
struct Settings
{
    QString name;
};
struct Steps
{
    int count = 0;
};

Q_DECLARE_METATYPE(Settings)
Q_DECLARE_METATYPE(Steps)

QDBusArgument &operator<<(QDBusArgument &argument, const Settings &settings)
{
    return argument << QVariantMap{{"name", settings.name}};
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Settings & /*settings*/)
{
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, Steps steps)
{
    return argument << QVariantList{steps.count};
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Steps & /*steps*/)
{
    return argument;
}

// Maps hold types and containers of the caller. QtDBus can send most of them, and aborts the
// process on some.
class TestOutgoingContainers : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void sendableContainersArrive_data();
    void sendableContainersArrive();
    void unsendableElementsAreFound_data();
    void unsendableElementsAreFound();
    void variantsInVariantsAreCounted();
};

void TestOutgoingContainers::initTestCase()
{
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Settings>();
    qDBusRegisterMetaType<Steps>();
    qDBusRegisterMetaType<QList<Settings>>();
    qDBusRegisterMetaType<Variants>();
    qDBusRegisterMetaType<NumberedVariants>();
    qDBusRegisterMetaType<QVector<QJsonObject>>();
    qDBusRegisterMetaType<QVector<QJsonArray>>();
    qDBusRegisterMetaType<QMap<QString, QJsonObject>>();
    QMetaType::registerConverter<Settings, QVariantMap>(
        [](const Settings &settings) -> QVariantMap {
            return {{settings.name, QVariant()}};
        });
    QMetaType::registerConverter<Steps, QVariantList>(
        [](Steps /*steps*/) -> QVariantList { return {QVariant()}; });
}

void TestOutgoingContainers::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    QuietTest::cleanup();
}

void TestOutgoingContainers::sendableContainersArrive_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("arrived");

    const auto row = [](const char *name, const QVariant &value, const char *arrived) {
        QTest::newRow(name) << value << arrived;
    };
    row("type that converts to a map", QVariant::fromValue(Settings{"x"}),
        "a{sv} 1 \"name\" s \"x\"");
    row("type that converts to a list", QVariant::fromValue(Steps{7}), "av 1 i 7");
    row("list of a type that converts", QVariant::fromValue(QList<Settings>{{"x"}}),
        "aa{sv} 1 1 \"name\" s \"x\"");

    const QJsonObject object{{"k", QJsonArray{1, 2}}};
    row("vector of JSON objects", QVariant::fromValue(QVector<QJsonObject>{object, {}}),
        "aa{sv} 2 1 \"k\" ad 2 1 2 0");
    row("vector of JSON arrays", QVariant::fromValue(QVector<QJsonArray>{{1, 2}, {}, {"x", true}}),
        "aav 3 2 d 1 d 2 0 2 s \"x\" b true");
    row("map of JSON objects", QVariant::fromValue(QMap<QString, QJsonObject>{{"m", object}}),
        "a{sa{sv}} 1 \"m\" 1 \"k\" ad 2 1 2");

    row("no variants", QVariant::fromValue(Variants()), "av 0");
    row("vector of variants", QVariant::fromValue(Variants{1, "x", oneEntry(true)}),
        "av 3 i 1 s \"x\" a{sv} 1 \"k\" b true");
    row("map of variants", QVariant::fromValue(NumberedVariants{{7, 1}, {8, QByteArray("a")}}),
        "a{iv} 2 7 i 1 8 ay 1 97");
    row("JSON in a vector of variants",
        QVariant::fromValue(Variants{1, QJsonArray{true}, QVariant::fromValue(QDBusVariant(2))}),
        "av 3 i 1 ab 1 true v i 2");
    row("JSON in a map of variants",
        QVariant::fromValue(NumberedVariants{{7, QVariantList{QJsonValue(1)}}, {8, 2}}),
        "a{iv} 2 7 av 1 d 1 8 i 2");
    row("JSON in vectors of variants",
        QVariant::fromValue(Variants{QVariant::fromValue(Variants{QJsonArray{true}})}),
        "av 1 av 1 ab 1 true");
}

void TestOutgoingContainers::sendableContainersArrive()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const Warnings warnings;
    QCOMPARE(refusalOf(map).message(), QString());
    QTEST(sentOn(m_bus, map).mid(8), "arrived");
    QCOMPARE(warnings.texts(), QStringList());
}

void TestOutgoingContainers::unsendableElementsAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    const auto rows = [](const char *name, const QVariant &element, const char *message) {
        const QString whole = "Marshalling failed: \"key\" " + QLatin1String(message);
        QTest::addRow("%s in a vector", name) << QVariant::fromValue(Variants{1, element}) << whole;
        QTest::addRow("%s in a map", name)
            << QVariant::fromValue(NumberedVariants{{1, 2}, {3, element}}) << whole;
    };
    rows("nothing", QVariant(), "holds a value of type none");
    rows("float", 1.5F, "holds a value of type float");
    rows("URL", QUrl("file:///"), "holds a value of type QUrl");
    rows("JSON null", QJsonValue(), "holds a value of type QJsonValue");
    rows("variant of nothing", QVariant::fromValue(QDBusVariant(QVariant())),
         "holds a value of type none");
    rows("list of nothing", QVariantList{QVariant()}, "holds a value of type none");
    rows("deep lists", inLists(1, 30),
         "is nested too deeply for a message, with a value of type "
         "QVariantList");

    const QVariant descriptor = QVariant::fromValue(QDBusUnixFileDescriptor(0));
    QTest::newRow("descriptor beside JSON in a vector")
        << QVariant::fromValue(Variants{descriptor, QJsonValue(1)})
        << "Marshalling failed: \"key\" holds a file descriptor beside JSON, in a "
           "value of type QVector<QVariant>";
}

void TestOutgoingContainers::unsendableElementsAreFound()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const Warnings warnings;
    QTEST(refusalOf(map).message(), "message");
    QCOMPARE(warnings.texts(), QStringList());
}

void TestOutgoingContainers::variantsInVariantsAreCounted()
{
    if (deepestMessage() < 64) {
        QSKIP("dbus-broker drops the connection over 64 nested containers");
    }
    // The map takes three containers, each vector two, and each variant in a vector another one.
    QVariant value = 1;
    for (int level = 0; level < 20; ++level) {
        value = QVariant::fromValue(Variants{QVariant::fromValue(QDBusVariant(value))});
    }
    QVariantMap map = mapOf(QVariant::fromValue(QDBusVariant(value)));
    QCOMPARE(refusalOf(map).message(), QString());
    QCOMPARE(answerTo({map}), "org.freedesktop.DBus.Error.UnknownInterface");
    map = mapOf(QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(value)))));
    QVERIFY(refusalOf(map).isValid());
}

OSTREL_TEST_MAIN(TestOutgoingContainers)

#include "tst_outgoing_containers.moc"
