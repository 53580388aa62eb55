// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "simulator.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"
#include "DBus/nesting_p.h"
#include "DBus/outgoing_map_p.h"
#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <QtCore/QUrl>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusUnixFileDescriptor>
#include <QtDBus/QDBusVariant>

#include <optional>

namespace
{

QVariant inLists(QVariant value, int levels)
{
    for (int level = 0; level < levels; ++level) {
        value = QVariantList{value};
    }
    return value;
}

QVariant inMaps(QVariant value, int levels)
{
    for (int level = 0; level < levels; ++level) {
        value = QVariantMap{{QStringLiteral("inner"), value}};
    }
    return value;
}

// An argument of nothing but containers of one kind within one another.
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

QVariant inObjects(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QJsonObject{{QStringLiteral("k"), value}};
    }
    return value;
}

QVariant inMixedArrays(int levels)
{
    QJsonValue value = 1;
    for (int level = 0; level < levels; ++level) {
        value = QJsonArray{QStringLiteral("x"), value};
    }
    return value;
}

QVariantMap oneEntry(const QVariant &value)
{
    return {{QStringLiteral("k"), value}};
}

using Maps = QList<QVariantMap>;
using NamedMaps = QMap<QString, QVariantMap>;
using NamedVariants = QMap<QString, QDBusVariant>;

// A caller's own type that writes nothing, so that Qt knows no type for it.
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

QVariantMap mapOf(const QVariant &value)
{
    return {{QStringLiteral("key"), value}};
}

} // namespace

Q_DECLARE_METATYPE(Nothing)

// The maps that callers hand over: what can be sent arrives, and what cannot be sent is found
// before it costs the process its life or its bus.
class TestOutgoingMap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void sendableValuesStayAsTheyAre_data();
    void sendableValuesStayAsTheyAre();
    void jsonValuesAreReplaced_data();
    void jsonValuesAreReplaced();
    void unsendableValuesAreFound_data();
    void unsendableValuesAreFound();
    void descriptorsMayStandApartFromJson();
    void deepestValuesArrive_data();
    void deepestValuesArrive();
    void tooDeepValuesAreFound_data();
    void tooDeepValuesAreFound();
    void nestingIsThatOfTheTypes_data();
    void nestingIsThatOfTheTypes();
    void nestingEndsWithTheSignature();

private:
    // Sends a map in a call that the simulator refuses, but logs; returns the name of its error.
    static QString answerTo(const QVariantMap &map);

    // Sends a map, and returns its signature and contents as the simulator logged them.
    QString sent(const QVariantMap &map);

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestOutgoingMap::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();

    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Maps>();
    qDBusRegisterMetaType<NamedMaps>();
    qDBusRegisterMetaType<Nothing>();
    qDBusRegisterMetaType<Nothings>();
    // Qt complains of the types once.
    QDBusMetaType::typeToSignature(qMetaTypeId<Nothing>());
    QDBusMetaType::typeToSignature(qMetaTypeId<Nothings>());
    qDBusRegisterMetaType<NamedVariants>();
    qDBusRegisterMetaType<QList<Maps>>();
    qDBusRegisterMetaType<QList<QStringList>>();
    qDBusRegisterMetaType<QMap<int, QDBusVariant>>();
}

void TestOutgoingMap::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
    m_simulator->reset();
}

QString TestOutgoingMap::answerTo(const QVariantMap &map)
{
    return QDBusConnection::sessionBus()
        .call(QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME),
                                             QStringLiteral(OSTREL_SERVICE_PATH),
                                             QStringLiteral("a.b"), QStringLiteral("Take"))
              << map)
        .errorName();
}

QString TestOutgoingMap::sent(const QVariantMap &map)
{
    if (answerTo(map) != QLatin1String("org.freedesktop.DBus.Error.UnknownInterface")) {
        return QString();
    }
    const Result result =
        run(QStringLiteral("busctl"),
            {QStringLiteral("--address=%1").arg(m_bus->address()), QStringLiteral("call"),
             QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
             QStringLiteral(OSTREL_SIMULATOR_INTERFACE), QStringLiteral("Calls")});
    return result.output.section(QStringLiteral("\"Take\" \"a{sv}\" 1 a{sv} "), 1).trimmed();
}

void TestOutgoingMap::sendableValuesStayAsTheyAre_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("string") << QVariant(QStringLiteral("x"));
    QTest::newRow("null string") << QVariant(QString());
    QTest::newRow("number") << QVariant(3);
    QTest::newRow("strings") << QVariant(QStringList{QStringLiteral("x")});
    QTest::newRow("bytes") << QVariant(QByteArray("a\0b", 3));
    QTest::newRow("path") << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a")));
    QTest::newRow("map") << QVariant(QVariantMap{{QStringLiteral("k"), 1}});
    QTest::newRow("list") << QVariant(QVariantList{1, QStringLiteral("x")});
    QTest::newRow("variant") << QVariant::fromValue(QDBusVariant(3));
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QTest::newRow("empty list") << QVariant(QVariantList());
    QTest::newRow("paths") << QVariant::fromValue(
        QList<QDBusObjectPath>{QDBusObjectPath(QStringLiteral("/a"))});
    QTest::newRow("numbers") << QVariant::fromValue(QList<int>{1, 2});
    QTest::newRow("signature") << QVariant::fromValue(QDBusSignature(QStringLiteral("a{sv}")));
    QTest::newRow("descriptor") << QVariant::fromValue(QDBusUnixFileDescriptor(0));
    QTest::newRow("list of maps") << QVariant::fromValue(Maps{oneEntry(1), {}});
    QTest::newRow("map of maps") << QVariant::fromValue(
        NamedMaps{{QStringLiteral("n"), oneEntry(1)}});
    QTest::newRow("map of variants")
        << QVariant::fromValue(NamedVariants{{QStringLiteral("n"), QDBusVariant(1)}});
    QTest::newRow("application") << QVariant::fromValue(
        Ostrel::RunningApplication{QStringLiteral("a.b"), 1, {}, {}, oneEntry(1)});
    QTest::newRow("structure") << QVariant(QPoint(1, 2));
}

void TestOutgoingMap::sendableValuesStayAsTheyAre()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QVariantMap original = map;
    QVERIFY(!Ostrel::makeSendable(map).isValid());
    // The very same map: nothing was copied.
    QVERIFY(map.isSharedWith(original));
    QVERIFY(sent(map).startsWith(QStringLiteral("1 \"key\" ")));
}

void TestOutgoingMap::jsonValuesAreReplaced_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("arrived");

    const QJsonArray flags{true, false};
    QTest::newRow("array") << QVariant(flags) << QStringLiteral("ab 2 true false");
    QTest::newRow("array in a value")
        << QVariant(QJsonValue(flags)) << QStringLiteral("ab 2 true false");
    QTest::newRow("number") << QVariant(QJsonValue(3)) << QStringLiteral("d 3");
    QTest::newRow("string") << QVariant(QJsonValue(QStringLiteral("x")))
                            << QStringLiteral("s \"x\"");
    QTest::newRow("object") << QVariant(QJsonObject{{QStringLiteral("k"), flags}})
                            << QStringLiteral("a{sv} 1 \"k\" ab 2 true false");
    QTest::newRow("in a map") << QVariant(QVariantMap{{QStringLiteral("k"), QJsonValue(true)}})
                              << QStringLiteral("a{sv} 1 \"k\" b true");
    QTest::newRow("in a hash") << QVariant(QVariantHash{{QStringLiteral("k"), QJsonValue(true)}})
                               << QStringLiteral("a{sv} 1 \"k\" b true");
    QTest::newRow("in a list") << QVariant(QVariantList{1, QJsonArray{QStringLiteral("x")}})
                               << QStringLiteral("av 2 i 1 as 1 \"x\"");
    QTest::newRow("in a variant") << QVariant::fromValue(QDBusVariant(QJsonValue(2.5)))
                                  << QStringLiteral("v d 2.5");
    QTest::newRow("far inside") << inMaps(inLists(QJsonValue(true), 1), 1)
                                << QStringLiteral("a{sv} 1 \"inner\" av 1 b true");

    const QVariantMap inside = oneEntry(flags);
    QTest::newRow("in a list of maps") << QVariant::fromValue(Maps{{}, inside})
                                       << QStringLiteral("aa{sv} 2 0 1 \"k\" ab 2 true false");
    QTest::newRow("in a list of lists of maps")
        << QVariant::fromValue(QList<Maps>{{inside}, {}})
        << QStringLiteral("aaa{sv} 2 1 1 \"k\" ab 2 true false 0");
    QTest::newRow("in a map of maps")
        << QVariant::fromValue(NamedMaps{{QStringLiteral("m"), {}}, {QStringLiteral("n"), inside}})
        << QStringLiteral("a{sa{sv}} 2 \"m\" 0 \"n\" 1 \"k\" ab 2 true false");
    QTest::newRow("in a map of numbers")
        << QVariant::fromValue(QMap<int, QDBusVariant>{{7, QDBusVariant(flags)}})
        << QStringLiteral("a{iv} 1 7 ab 2 true false");
    QTest::newRow("in a record") << QVariant::fromValue(
        Ostrel::ActiveTask{QStringLiteral("t"), 3, inside})
                                 << QStringLiteral("(sia{sv}) \"t\" 3 1 \"k\" ab 2 true false");
    QMultiMap<QString, QVariant> twice;
    twice.insert(QStringLiteral("k"), 1);
    twice.insert(QStringLiteral("k"), flags);
    twice.insert(QStringLiteral("k"), 2);
    QTest::newRow("behind a key that comes twice")
        << QVariant(QVariantMap(twice))
        << QStringLiteral("a{sv} 3 \"k\" i 2 \"k\" ab 2 true false \"k\" i 1");
}

void TestOutgoingMap::jsonValuesAreReplaced()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QVariantMap original = map;
    QVERIFY(!Ostrel::makeSendable(map).isValid());
    QTEST(sent(map).mid(8), "arrived");
    QCOMPARE(original.value(QStringLiteral("key")), value);
}

void TestOutgoingMap::unsendableValuesAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const QVariant &value, const char *message) {
        QTest::newRow(name) << value
                            << QStringLiteral("Marshalling failed: ") + QLatin1String(message);
    };
    row("nothing", QVariant(), "\"key\" holds a value of type none");
    row("float", QVariant(1.5F), "\"key\" holds a value of type float");
    row("character", QVariant(QChar(QLatin1Char('x'))), "\"key\" holds a value of type QChar");
    row("URL", QVariant(QUrl()), "\"key\" holds a value of type QUrl");
    row("empty argument", QVariant::fromValue(QDBusArgument()),
        "\"key\" holds a value of type QDBusArgument");
    QDBusArgument several;
    several << 1 << QStringLiteral("x");
    row("argument of several values", QVariant::fromValue(several),
        "\"key\" holds several values of type QDBusArgument");
    row("what writes nothing", QVariant::fromValue(Nothing()),
        "\"key\" holds a value of type Nothing");
    row("list of it", QVariant::fromValue(Nothings()),
        "\"key\" holds a value of type QList<Nothing>");
    row("in a map", inMaps(QVariant(), 1), "\"inner\" holds a value of type none");
    row("in a list", QVariantList{1, QVariant(1.5F)}, "\"key\" holds a value of type float");
    row("in a hash", QVariantHash{{QStringLiteral("k"), QVariant()}},
        "\"k\" holds a value of type none");
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
    row("no descriptor", QVariant::fromValue(QDBusUnixFileDescriptor()),
        "\"key\" holds a value of type QDBusUnixFileDescriptor");
    row("empty path in a list", QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath()}),
        "\"key\" holds a value of type QDBusObjectPath");

    const QVariantMap bad = oneEntry(QVariant());
    const char *const found = "\"k\" holds a value of type none";
    row("in a list of maps", QVariant::fromValue(Maps{{}, bad}), found);
    row("in a list of lists of maps", QVariant::fromValue(QList<Maps>{{{}, bad}}), found);
    row("in a map of maps", QVariant::fromValue(NamedMaps{{QStringLiteral("n"), bad}}), found);
    row("in a map of variants",
        QVariant::fromValue(NamedVariants{{QStringLiteral("n"), QDBusVariant(QVariant())}}),
        "\"key\" holds a value of type none");
    row("in an application", QVariant::fromValue(Ostrel::RunningApplication{{}, 0, {}, {}, bad}),
        found);
    row("in a service", QVariant::fromValue(Ostrel::RunningService{{}, {}, 0, {}, bad}), found);
    row("in a task's state", QVariant::fromValue(Ostrel::TaskState{{}, 0, bad}), found);
    row("in an available task", QVariant::fromValue(Ostrel::AvailableTask{{}, bad}), found);
    row("in active tasks",
        QVariant::fromValue(QVector<Ostrel::ActiveTask>{{{}, 0, {}}, {{}, 0, bad}}), found);
    row("JSON null", QJsonValue(QJsonValue::Null), "\"key\" holds a value of type QJsonValue");

    const QVariantMap beside{
        {QStringLiteral("j"), QJsonValue(1)},
        {QStringLiteral("h"), QVariant::fromValue(QDBusUnixFileDescriptor(0))}};
    row("descriptor beside JSON in a list of maps", QVariant::fromValue(Maps{beside}),
        "\"key\" holds a file descriptor beside JSON, in a value of type QList<QVariantMap>");
    row("descriptor beside JSON in a map of maps",
        QVariant::fromValue(NamedMaps{{QStringLiteral("n"), beside}}),
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
    map.insert(QStringLiteral("a"), 1);
    map.insert(QStringLiteral("z"), QJsonValue(true));
    const Warnings warnings;
    const QDBusError error = Ostrel::makeSendable(map);
    QCOMPARE(error.name(), QStringLiteral("org.freedesktop.DBus.Error.Failed"));
    QTEST(error.message(), "message");
    QCOMPARE(warnings.texts(), QStringList());
}

// Not in what JSON has to be put into anew.
void TestOutgoingMap::descriptorsMayStandApartFromJson()
{
    const QVariant descriptor = QVariant::fromValue(QDBusUnixFileDescriptor(0));
    const QVariantMap json = oneEntry(QJsonValue(1));
    QVariantMap map{
        {QStringLiteral("a"), QVariant::fromValue(Maps{oneEntry(descriptor)})},
        {QStringLiteral("b"), QVariantList{descriptor, QVariant::fromValue(Maps{json})}},
        {QStringLiteral("c"),
         QVariantMap{{QStringLiteral("h"), descriptor}, {QStringLiteral("j"), QJsonValue(1)}}},
        {QStringLiteral("d"), QVariant::fromValue(NamedMaps{{QStringLiteral("n"), json}})}};
    const Warnings warnings;
    const QDBusError error = Ostrel::makeSendable(map);
    QCOMPARE(error.message(), QString());
    QVERIFY(sent(map).startsWith(QStringLiteral("4 \"a\" aa{sv} 1 1 \"k\" h ")));
    QCOMPARE(warnings.texts(), QStringList());
}

void TestOutgoingMap::deepestValuesArrive_data()
{
    QTest::addColumn<QVariant>("value");
    // In all, 62 to 64 containers.
    QTest::newRow("maps") << inMaps(1, 20);
    QTest::newRow("lists") << inLists(1, 30);
    QTest::newRow("lists and strings") << inLists(QStringList{QStringLiteral("x")}, 30);
    QTest::newRow("lists and a variant") << inLists(QVariant::fromValue(QDBusVariant(1)), 30);
    QTest::newRow("structures") << inStructures(32);
    QTest::newRow("lists and a list of maps")
        << inLists(QVariant::fromValue(Maps{oneEntry(1)}), 28);
    const QVariantMap strings{{QStringLiteral("key"), QStringList{QStringLiteral("x")}}};
    QTest::newRow("lists and maps") << inLists(QVariant::fromValue(Maps{strings}), 28);
    QTest::newRow("lists and a map of maps")
        << inLists(QVariant::fromValue(NamedMaps{{QString(), {{QString(), 1}}}}), 28);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, strings}), 28);
    QTest::newRow("lists and JSON") << inLists(QJsonArray{1}, 30);
    QTest::newRow("lists and mixed JSON") << inLists(QJsonArray{1, QStringLiteral("x")}, 29);
    QTest::newRow("lists and a JSON object") << inLists(QJsonObject{{QStringLiteral("k"), 1}}, 29);
    QTest::newRow("JSON objects") << inObjects(16);
    QTest::newRow("JSON arrays") << inMixedArrays(16);
}

void TestOutgoingMap::deepestValuesArrive()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const Warnings warnings;
    QVERIFY(!Ostrel::makeSendable(map).isValid());
    QCOMPARE(answerTo(map), QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"));
    QCOMPARE(warnings.texts(), QStringList());
}

void TestOutgoingMap::tooDeepValuesAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("maps") << inMaps(1, 21);
    QTest::newRow("lists") << inLists(1, 31);
    QTest::newRow("lists, a variant and strings")
        << inLists(QVariant::fromValue(QDBusVariant(QStringList{QStringLiteral("x")})), 30);
    QTest::newRow("lists and arrays in arrays")
        << inLists(QVariant::fromValue(QList<QStringList>{QStringList()}), 30);
    QTest::newRow("lists and a JSON object") << inLists(QJsonObject{{QStringLiteral("k"), 1}}, 30);
    QTest::newRow("lists and mixed JSON") << inLists(QJsonArray{1, QStringLiteral("x")}, 30);
    QTest::newRow("lists and JSON objects")
        << inLists(QJsonArray{QJsonObject{{QStringLiteral("k"), 1}}}, 29);
    QTest::newRow("structures") << inStructures(33);
    const QVariantMap strings{{QStringLiteral("key"), QStringList{QStringLiteral("x")}}};
    const QVariantMap arrays{{QStringLiteral("key"), QVariant::fromValue(QList<QStringList>())}};
    QTest::newRow("lists and maps") << inLists(QVariant::fromValue(Maps{arrays}), 28);
    QTest::newRow("lists and a map of maps")
        << inLists(QVariant::fromValue(NamedMaps{{QString(), strings}}), 28);
    QTest::newRow("lists and a record of arrays")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, arrays}), 28);
    const QVariantMap key{{QStringLiteral("key"), 1}};
    QTest::newRow("lists and a list of maps") << inLists(QVariant::fromValue(Maps{key}), 29);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, key}), 29);
    QVariant variant = 1;
    for (int level = 0; level < 30; ++level) {
        variant = QVariant::fromValue(NamedVariants{
            {QStringLiteral("n"),
             qvariant_cast<QDBusVariant>(QVariant::fromValue(QDBusVariant(variant)))}});
    }
    QTest::newRow("maps of variants") << variant;
    QTest::newRow("JSON objects") << inObjects(17);
    QTest::newRow("JSON arrays") << inMixedArrays(17);
    QTest::newRow("far too many lists") << inLists(1, 1000);
    QJsonArray array;
    for (int level = 0; level < 100000; ++level) {
        array = QJsonArray{array};
    }
    QTest::newRow("far too many arrays") << QVariant(array);
}

void TestOutgoingMap::tooDeepValuesAreFound()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    const QString message = Ostrel::makeSendable(map).message();
    QVERIFY2(
        message.startsWith(QStringLiteral("Marshalling failed: \"key\" is nested too deeply for "
                                          "a message, with a value of type "))
            || message.startsWith(QStringLiteral("Marshalling failed: \"inner\" is nested")),
        qPrintable(message));
}

void TestOutgoingMap::nestingIsThatOfTheTypes_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("arrays");
    QTest::addColumn<int>("structures");
    QTest::addColumn<int>("containers");
    QTest::addColumn<bool>("isTooDeep");
    const auto row = [](const QByteArray &signature, int arrays, int structures, int containers,
                        bool isTooDeep = false) {
        QTest::newRow(signature) << signature << arrays << structures << containers << isTooDeep;
    };
    row("i", 0, 0, 0);
    row("v", 0, 0, 1);
    row("as", 1, 0, 1);
    row("a{sv}", 1, 1, 3);
    row("(iasi)", 1, 1, 2);
    row("(a(i)((v)i))", 1, 3, 4);
    row(QByteArray(32, 'a') + 'i', 32, 0, 32);
    row(QByteArray(33, 'a') + 'i', 33, 0, 33, true);
    row(QByteArray(32, '(') + 'i' + QByteArray(32, ')'), 0, 32, 32);
    row(QByteArray(33, '(') + 'i' + QByteArray(33, ')'), 0, 33, 33, true);
}

void TestOutgoingMap::nestingIsThatOfTheTypes()
{
    QFETCH(QByteArray, signature);
    signature += "xyz";
    const char *rest = signature.constData();
    const Ostrel::Nesting nesting = Ostrel::nestingOf(rest);
    QTEST(nesting.arrays, "arrays");
    QTEST(nesting.structures, "structures");
    QTEST(nesting.containers, "containers");
    QTEST(nesting.isTooDeep(), "isTooDeep");
    QCOMPARE(rest, "xyz");
}

void TestOutgoingMap::nestingEndsWithTheSignature()
{
    for (const char *signature : {"", "a", "(", "(a", "a{s"}) {
        const char *rest = signature;
        Ostrel::nestingOf(rest);
        QCOMPARE(rest, signature + qstrlen(signature));
    }
}

OSTREL_TEST_MAIN(TestOutgoingMap)

#include "tst_outgoing_map.moc"
