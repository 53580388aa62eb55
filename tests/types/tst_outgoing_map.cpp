// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "outgoing_maps.h"
#include "quiet_test.h"
#include "warnings.h"

#include "DBus/names_p.h"
#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QUrl>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

namespace
{

// A caller's own type whose operator writes nothing, so QtDBus knows no signature for it.
struct Nothing
{
};
using Nothings = QList<Nothing>;

QDBusArgument &operator<<(QDBusArgument &argument, Nothing /*nothing*/)
{
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, Nothing & /*nothing*/)
{
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(Nothing)

// Callers pass maps. What can be sent arrives. What cannot be sent is found before it costs the
// process its life or its bus.
class TestOutgoingMap : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void sendableValuesAreUnchanged_data();
    void sendableValuesAreUnchanged();
    void jsonValuesAreReplaced_data();
    void jsonValuesAreReplaced();
    void unsendableValuesAreFound_data();
    void unsendableValuesAreFound();
    void descriptorsMayBeBesideJson();
};

void TestOutgoingMap::initTestCase()
{
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Maps>();
    qDBusRegisterMetaType<NamedMaps>();
    qDBusRegisterMetaType<Nothing>();
    qDBusRegisterMetaType<Nothings>();
    // Qt warns of these types once.
    QDBusMetaType::typeToSignature(qMetaTypeId<Nothing>());
    QDBusMetaType::typeToSignature(qMetaTypeId<Nothings>());
    qDBusRegisterMetaType<NamedVariants>();
    qDBusRegisterMetaType<QList<Maps>>();
    qDBusRegisterMetaType<QMap<int, QDBusVariant>>();
}

void TestOutgoingMap::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    QuietTest::cleanup();
}

void TestOutgoingMap::sendableValuesAreUnchanged_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("string") << QVariant("x");
    QTest::newRow("null string") << QVariant(QString());
    QTest::newRow("number") << QVariant(3);
    QTest::newRow("strings") << QVariant(QStringList{"x"});
    QTest::newRow("bytes") << QVariant(QByteArray("a\0b", 3));
    QTest::newRow("path") << QVariant::fromValue(QDBusObjectPath("/a"));
    QTest::newRow("map") << QVariant(QVariantMap{{"k", 1}});
    QTest::newRow("list") << QVariant(QVariantList{1, "x"});
    QTest::newRow("variant") << QVariant::fromValue(QDBusVariant(3));
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QTest::newRow("empty list") << QVariant(QVariantList());
    QTest::newRow("paths") << QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath("/a")});
    QTest::newRow("numbers") << QVariant::fromValue(QList<int>{1, 2});
    QTest::newRow("signature") << QVariant::fromValue(QDBusSignature("a{sv}"));
    QTest::newRow("descriptor") << QVariant::fromValue(QDBusUnixFileDescriptor(0));
    QTest::newRow("list of maps") << QVariant::fromValue(Maps{oneEntry(1), {}});
    QTest::newRow("map of maps") << QVariant::fromValue(NamedMaps{{"n", oneEntry(1)}});
    QTest::newRow("map of variants") << QVariant::fromValue(NamedVariants{{"n", QDBusVariant(1)}});
    QTest::newRow("application") << QVariant::fromValue(
        Ostrel::RunningApplication{"a.b", 1, {}, {}, oneEntry(1)});
    QTest::newRow("structure") << QVariant(QPoint(1, 2));
}

void TestOutgoingMap::sendableValuesAreUnchanged()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QVariantMap original = map;
    QVERIFY(!refusalOf(map).isValid());
    // The map is still shared: nothing was copied.
    QVERIFY(map.isSharedWith(original));
    QVERIFY(sentOn(m_bus, map).startsWith("1 \"key\" "));
}

void TestOutgoingMap::jsonValuesAreReplaced_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("arrived");

    const QJsonArray flags{true, false};
    QTest::newRow("array") << QVariant(flags) << "ab 2 true false";
    QTest::newRow("array in a value") << QVariant(QJsonValue(flags)) << "ab 2 true false";
    QTest::newRow("number") << QVariant(QJsonValue(3)) << "d 3";
    QTest::newRow("string") << QVariant(QJsonValue("x")) << "s \"x\"";
    QTest::newRow("object") << QVariant(QJsonObject{{"k", flags}})
                            << "a{sv} 1 \"k\" ab 2 true false";
    QTest::newRow("in a map") << QVariant(QVariantMap{{"k", QJsonValue(true)}})
                              << "a{sv} 1 \"k\" b true";
    QTest::newRow("in a hash") << QVariant(QVariantHash{{"k", QJsonValue(true)}})
                               << "a{sv} 1 \"k\" b true";
    QTest::newRow("in a list") << QVariant(QVariantList{1, QJsonArray{"x"}})
                               << "av 2 i 1 as 1 \"x\"";
    QTest::newRow("in a variant") << QVariant::fromValue(QDBusVariant(QJsonValue(2.5)))
                                  << "v d 2.5";
    QTest::newRow("far inside") << inMaps(inLists(QJsonValue(true), 1), 1)
                                << "a{sv} 1 \"inner\" av 1 b true";

    const QVariantMap inside = oneEntry(flags);
    QTest::newRow("in a list of maps")
        << QVariant::fromValue(Maps{{}, inside}) << "aa{sv} 2 0 1 \"k\" ab 2 true false";
    QTest::newRow("in a list of lists of maps") << QVariant::fromValue(QList<Maps>{{inside}, {}})
                                                << "aaa{sv} 2 1 1 \"k\" ab 2 true false 0";
    QTest::newRow("in a map of maps") << QVariant::fromValue(NamedMaps{{"m", {}}, {"n", inside}})
                                      << "a{sa{sv}} 2 \"m\" 0 \"n\" 1 \"k\" ab 2 true false";
    QTest::newRow("in a map of numbers")
        << QVariant::fromValue(QMap<int, QDBusVariant>{{7, QDBusVariant(flags)}})
        << "a{iv} 1 7 ab 2 true false";
    QTest::newRow("in a record") << QVariant::fromValue(Ostrel::ActiveTask{"t", 3, inside})
                                 << "(sia{sv}) \"t\" 3 1 \"k\" ab 2 true false";
    QMultiMap<QString, QVariant> twice;
    twice.insert("k", 1);
    twice.insert("k", flags);
    twice.insert("k", 2);
    QTest::newRow("behind a key that comes twice")
        << QVariant(QVariantMap(twice)) << "a{sv} 3 \"k\" i 2 \"k\" ab 2 true false \"k\" i 1";
}

void TestOutgoingMap::jsonValuesAreReplaced()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QVariantMap original = map;
    QVERIFY(!refusalOf(map).isValid());
    QTEST(sentOn(m_bus, map).mid(8), "arrived");
    QCOMPARE(original.value("key"), value);
}

void TestOutgoingMap::unsendableValuesAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const QVariant &value, const char *message) {
        QTest::newRow(name) << value << "Marshalling failed: " + QLatin1String(message);
    };
    row("nothing", QVariant(), "\"key\" holds a value of type none");
    row("float", QVariant(1.5F), "\"key\" holds a value of type float");
    row("character", QVariant(QChar('x')), "\"key\" holds a value of type QChar");
    row("URL", QVariant(QUrl()), "\"key\" holds a value of type QUrl");
    row("empty argument", QVariant::fromValue(QDBusArgument()),
        "\"key\" holds a value of type QDBusArgument");
    QDBusArgument several;
    several << 1 << QString("x");
    row("argument of several values", QVariant::fromValue(several),
        "\"key\" holds several values of type QDBusArgument");
    row("what writes nothing", QVariant::fromValue(Nothing()),
        "\"key\" holds a value of type Nothing");
    row("list of it", QVariant::fromValue(Nothings()),
        "\"key\" holds a value of type QList<Nothing>");
    row("in a map", inMaps(QVariant(), 1), "\"inner\" holds a value of type none");
    row("in a list", QVariantList{1, QVariant(1.5F)}, "\"key\" holds a value of type float");
    row("in a hash", QVariantHash{{"k", QVariant()}}, "\"k\" holds a value of type none");
    row("in a variant", QVariant::fromValue(QDBusVariant(QVariant())),
        "\"key\" holds a value of type none");
    row("behind a map", QVariantList{oneEntry(1), QVariant()},
        "\"key\" holds a value of type none");
    row("far inside", inMaps(inLists(inMaps(QVariant(1.5F), 1), 2), 1),
        "\"inner\" holds a value of type float");
    row("empty path", QVariant::fromValue(QDBusObjectPath()),
        "\"key\" holds a value of type QDBusObjectPath");
    row("empty signature", QVariant::fromValue(QDBusSignature()),
        "\"key\" holds a value of type QDBusSignature");
    row("too long a signature", QVariant::fromValue(QDBusSignature(QString(256, 'i'))),
        "\"key\" holds a value of type QDBusSignature");
    row("too deep a signature", QVariant::fromValue(QDBusSignature(QString(33, 'a') + 'i')),
        "\"key\" holds a value of type QDBusSignature");
    row("no descriptor", QVariant::fromValue(QDBusUnixFileDescriptor()),
        "\"key\" holds a value of type QDBusUnixFileDescriptor");
    row("empty path in a list", QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath()}),
        "\"key\" holds a value of type QDBusObjectPath");

    const QVariantMap bad = oneEntry(QVariant());
    const char *const found = "\"k\" holds a value of type none";
    row("in a list of maps", QVariant::fromValue(Maps{{}, bad}), found);
    row("in a list of lists of maps", QVariant::fromValue(QList<Maps>{{{}, bad}}), found);
    row("in a map of maps", QVariant::fromValue(NamedMaps{{"n", bad}}), found);
    row("in a map of variants", QVariant::fromValue(NamedVariants{{"n", QDBusVariant(QVariant())}}),
        "\"key\" holds a value of type none");
    row("in an application", QVariant::fromValue(Ostrel::RunningApplication{{}, 0, {}, {}, bad}),
        found);
    row("in a service", QVariant::fromValue(Ostrel::RunningService{{}, {}, 0, {}, bad}), found);
    row("in a task's state", QVariant::fromValue(Ostrel::TaskState{{}, 0, bad}), found);
    row("in an available task", QVariant::fromValue(Ostrel::AvailableTask{{}, bad}), found);
    row("in active tasks",
        QVariant::fromValue(QVector<Ostrel::ActiveTask>{{{}, 0, {}}, {{}, 0, bad}}), found);
    row("JSON null", QJsonValue(QJsonValue::Null), "\"key\" holds a value of type QJsonValue");
    row("JSON array of arrays", QJsonArray{QJsonArray{1}, QJsonArray{2}},
        "\"key\" holds a value of type QJsonArray");
    row("JSON array of nulls", QJsonArray{QJsonValue()},
        "\"key\" holds a value of type QJsonArray");

    const QVariantMap beside{{"j", QJsonValue(1)},
                             {"h", QVariant::fromValue(QDBusUnixFileDescriptor(0))}};
    row("descriptor beside JSON in a list of maps", QVariant::fromValue(Maps{beside}),
        "\"key\" holds a file descriptor beside JSON, in a value of type QList<QVariantMap>");
    row("descriptor beside JSON in a map of maps", QVariant::fromValue(NamedMaps{{"n", beside}}),
        "\"key\" holds a file descriptor beside JSON, in a value of type "
        "QMap<QString,QVariantMap>");
    row("descriptor beside JSON in active tasks",
        QVariant::fromValue(QVector<Ostrel::ActiveTask>{{{}, 0, beside}}),
        "\"key\" holds a file descriptor beside JSON, in a value of type "
        "QVector<Ostrel::ActiveTask>");
}

void TestOutgoingMap::unsendableValuesAreFound()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    map.insert("a", 1);
    map.insert("z", QJsonValue(true));
    const Warnings warnings;
    const QDBusError error = refusalOf(map);
    QCOMPARE(error.name(), "org.freedesktop.DBus.Error.Failed");
    QTEST(error.message(), "message");
    QCOMPARE(warnings.texts(), QStringList());
}

// A descriptor cannot be in a container that is rebuilt for JSON.
void TestOutgoingMap::descriptorsMayBeBesideJson()
{
    const QVariant descriptor = QVariant::fromValue(QDBusUnixFileDescriptor(0));
    const QVariantMap json = oneEntry(QJsonValue(1));
    QVariantMap map{{"a", QVariant::fromValue(Maps{oneEntry(descriptor)})},
                    {"b", QVariantList{descriptor, QVariant::fromValue(Maps{json})}},
                    {"c", QVariantMap{{"h", descriptor}, {"j", QJsonValue(1)}}},
                    {"d", QVariant::fromValue(NamedMaps{{"n", json}})}};
    const Warnings warnings;
    const QDBusError error = refusalOf(map);
    QCOMPARE(error.message(), QString());
    QVERIFY(sentOn(m_bus, map).startsWith("4 \"a\" aa{sv} 1 1 \"k\" h "));
    QCOMPARE(warnings.texts(), QStringList());
}

OSTREL_TEST_MAIN(TestOutgoingMap)

#include "tst_outgoing_map.moc"
