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

QVariant inStructures(int levels)
{
    QDBusArgument argument;
    for (int level = 0; level < levels; ++level) {
        argument.beginStructure();
    }
    argument << 1;
    for (int level = 0; level < levels; ++level) {
        argument.endStructure();
    }
    return QVariant::fromValue(argument);
}

QVariantMap mapOf(const QVariant &value)
{
    return {{QStringLiteral("key"), value}};
}

} // namespace

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
    void deepestValuesArrive_data();
    void deepestValuesArrive();
    void tooDeepValuesAreFound_data();
    void tooDeepValuesAreFound();
    void nestingIsThatOfTheTypes_data();
    void nestingIsThatOfTheTypes();

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
    qDBusRegisterMetaType<QList<QVariantMap>>();
    qDBusRegisterMetaType<QMap<QString, QVariantMap>>();
    qDBusRegisterMetaType<QList<QStringList>>();
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
    QTest::newRow("list of maps") << QVariant::fromValue(
        QList<QVariantMap>{{{QStringLiteral("k"), 1}}, {}});
    QTest::newRow("map of maps") << QVariant::fromValue(
        QMap<QString, QVariantMap>{{QStringLiteral("k"), {{QStringLiteral("l"), 1}}}});
    QTest::newRow("record") << QVariant::fromValue(
        Ostrel::AvailableTask{QStringLiteral("x"), {{QStringLiteral("k"), 1}}});
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
    row("in a map", inMaps(QVariant(), 1), "\"inner\" holds a value of type none");
    row("in a list", QVariantList{1, QVariant(1.5F)}, "\"key\" holds a value of type float");
    row("in a hash", QVariantHash{{QStringLiteral("k"), QVariant()}},
        "\"k\" holds a value of type none");
    row("in a variant", QVariant::fromValue(QDBusVariant(QVariant())),
        "\"key\" holds a value of type none");
    row("far inside", inMaps(inLists(inMaps(QVariant(1.5F), 1), 2), 1),
        "\"inner\" holds a value of type float");
    row("invalid path", QVariant::fromValue(QDBusObjectPath()),
        "\"key\" holds a value of type QDBusObjectPath");
    row("invalid signature", QVariant::fromValue(QDBusSignature()),
        "\"key\" holds a value of type QDBusSignature");
    row("invalid descriptor", QVariant::fromValue(QDBusUnixFileDescriptor()),
        "\"key\" holds a value of type QDBusUnixFileDescriptor");
    row("in a list of paths", QVariant::fromValue(QList<QDBusObjectPath>{QDBusObjectPath()}),
        "\"key\" holds a value of type QDBusObjectPath");

    const QVariantMap bad{{QStringLiteral("k"), QVariant()}};
    const char *const found = "\"k\" holds a value of type none";
    row("in a list of maps", QVariant::fromValue(QList<QVariantMap>{{}, bad}), found);
    row("in a map of maps",
        QVariant::fromValue(QMap<QString, QVariantMap>{{QStringLiteral("x"), bad}}), found);
    using namespace Ostrel;
    row("in an application", QVariant::fromValue(RunningApplication{{}, 0, {}, {}, bad}), found);
    row("in a service", QVariant::fromValue(RunningService{{}, {}, 0, {}, bad}), found);
    row("in a task's state", QVariant::fromValue(TaskState{{}, 0, bad}), found);
    row("in an available task", QVariant::fromValue(AvailableTask{{}, bad}), found);
    row("in an active task", QVariant::fromValue(ActiveTask{{}, 0, bad}), found);
    row("in tasks", QVariant::fromValue(QVector<ActiveTask>{{{}, 0, {}}, {{}, 0, bad}}), found);
    // A list of maps has no place for what would replace a JSON value.
    row("JSON in a list of maps",
        QVariant::fromValue(QList<QVariantMap>{{{QStringLiteral("k"), QJsonArray{true, false}}}}),
        "\"key\" holds a JSON value of type QList<QVariantMap>");
    row("JSON null", QJsonValue(QJsonValue::Null), "\"key\" holds a value of type QJsonValue");
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

void TestOutgoingMap::deepestValuesArrive_data()
{
    QTest::addColumn<QVariant>("value");
    // In all, 62 to 64 containers.
    QTest::newRow("maps") << inMaps(1, 20);
    QTest::newRow("lists") << inLists(1, 30);
    QTest::newRow("lists and strings") << inLists(QStringList{QStringLiteral("x")}, 30);
    QTest::newRow("lists and a variant") << inLists(QVariant::fromValue(QDBusVariant(1)), 30);
    QTest::newRow("structures") << inStructures(32);
    const QVariantMap strings{{QStringLiteral("key"), QStringList{QStringLiteral("x")}}};
    QTest::newRow("lists and maps")
        << inLists(QVariant::fromValue(QList<QVariantMap>{strings}), 28);
    QTest::newRow("lists and a map of maps") << inLists(
        QVariant::fromValue(QMap<QString, QVariantMap>{{QString(), {{QString(), 1}}}}), 28);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, strings}), 28);
    QTest::newRow("lists and JSON") << inLists(QJsonArray{1}, 29);
    QTest::newRow("lists and a JSON object") << inLists(QJsonObject{{QStringLiteral("k"), 1}}, 29);
}

void TestOutgoingMap::deepestValuesArrive()
{
    QFETCH(QVariant, value);
    QVariantMap map = mapOf(value);
    QVERIFY(!Ostrel::makeSendable(map).isValid());
    QCOMPARE(answerTo(map), QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"));
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
    QTest::newRow("structures") << inStructures(33);
    const QVariantMap strings{{QStringLiteral("key"), QStringList{QStringLiteral("x")}}};
    const QVariantMap arrays{{QStringLiteral("key"), QVariant::fromValue(QList<QStringList>())}};
    QTest::newRow("lists and maps") << inLists(QVariant::fromValue(QList<QVariantMap>{arrays}), 28);
    QTest::newRow("lists and a map of maps")
        << inLists(QVariant::fromValue(QMap<QString, QVariantMap>{{QString(), strings}}), 28);
    QTest::newRow("lists and a record")
        << inLists(QVariant::fromValue(Ostrel::AvailableTask{{}, arrays}), 28);
    QTest::newRow("lists and a record") << inLists(
        QVariant::fromValue(Ostrel::AvailableTask{{}, {{QStringLiteral("key"), 1}}}), 29);
    QTest::newRow("lists and JSON") << inLists(QJsonObject{{QStringLiteral("k"), 1}}, 30);
    QTest::newRow("far too many lists") << inLists(1, 1000);
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

OSTREL_TEST_MAIN(TestOutgoingMap)

#include "tst_outgoing_map.moc"
