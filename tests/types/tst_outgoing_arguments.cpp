// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "outgoing_maps.h"
#include "test_bus.h"

#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QLineF>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusUnixFileDescriptor>

#include <optional>

namespace
{

// A structure with a value of each kind, as a caller writes it.
QVariant everything()
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << uchar(1) << short(-2) << ushort(3) << -4 << 5U << -6LL << 7ULL << 8.5 << true
             << QString("text") << QDBusObjectPath("/path") << QDBusSignature("a{sv}")
             << QDBusVariant("inner") << QStringList{"a", "bc"} << QByteArray("bytes")
             << QList<int>{1, 2, 3} << QVariantMap{{"k", QVariantList{1, true}}}
             << QVariantList{QVariantMap(), "x"};
    argument.beginStructure();
    argument << uchar(9) << 10LL;
    argument.endStructure();
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QVariant descriptors(int count)
{
    QList<QDBusUnixFileDescriptor> descriptors;
    for (int i = 0; i < count; ++i) {
        descriptors.append(QDBusUnixFileDescriptor(0));
    }
    return QVariant::fromValue(descriptors);
}

// Returns the bytes of a map with the value, or -1 if it cannot be sent.
int bytesOf(const QVariant &value)
{
    QVariantMap map = mapOf(value);
    Ostrel::OutgoingMessage message(1000);
    message.add(map);
    return message.refusal().isValid() ? -1 : int(message.bytes());
}

} // namespace

// A program may send on a value that it received. Such a value may be as deep and as large as a
// message.
class TestOutgoingArguments : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void take(const QDBusMessage &message);

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void deepestValuesAreSentOn_data();
    void deepestValuesAreSentOn();
    void sizesAreThoseOfOwnValues_data();
    void sizesAreThoseOfOwnValues();
    void tooLargeValuesAreFound();
    void descriptorsAreCounted();
    void argumentsAreNotAdvanced();

private:
    // Sends the value over the bus, and returns what comes back.
    QVariant received(const QVariant &value);

    std::optional<PrivateBus> m_bus;
    std::optional<QDBusConnection> m_sender;
    QVariantMap m_received;
};

void TestOutgoingArguments::initTestCase()
{
    m_bus.emplace();
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Maps>();
    qDBusRegisterMetaType<QMap<int, QDBusVariant>>();
    qDBusRegisterMetaType<QList<QDBusUnixFileDescriptor>>();
    m_sender = QDBusConnection::connectToBus(m_bus->address(), "sender");
    QVERIFY(QDBusConnection::sessionBus().connect(QString(), "/a", "a.b", "Given", this,
                                                  SLOT(take(QDBusMessage))));
    // The bus knows the subscription when it has answered this.
    answerTo({});
}

void TestOutgoingArguments::cleanup()
{
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

void TestOutgoingArguments::take(const QDBusMessage &message)
{
    m_received = qdbus_cast<QVariantMap>(message.arguments().constFirst());
}

QVariant TestOutgoingArguments::received(const QVariant &value)
{
    m_received.clear();
    m_sender->send(QDBusMessage::createSignal("/a", "a.b", "Given") << mapOf(value));
    waitUntil([this] { return !m_received.isEmpty(); });
    return m_received.value("key");
}

void TestOutgoingArguments::deepestValuesAreSentOn_data()
{
    if (deepestMessage() < 64) {
        QSKIP("dbus-broker drops the connection over 64 nested containers");
    }
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("lists");
    // 64 containers in all.
    QTest::newRow("lists") << inLists(QVariant::fromValue(QDBusVariant(1)), 29) << 1;
    QTest::newRow("maps") << inMaps(1, 19) << 2;
    QTest::newRow("a structure") << QVariant::fromValue(
        QVector<Ostrel::ActiveTask>{{"abc", 1, oneEntry(inLists(1, 27))}})
                                 << 1;
}

void TestOutgoingArguments::deepestValuesAreSentOn()
{
    QFETCH(const QVariant, value);
    QFETCH(const int, lists);
    const QVariant argument = received(value);
    QCOMPARE(argument.userType(), qMetaTypeId<QDBusArgument>());
    QVariantMap map = mapOf(inLists(argument, lists));
    QCOMPARE(refusalOf(map).message(), QString());
    QCOMPARE(answerTo({map}), "org.freedesktop.DBus.Error.UnknownInterface");

    map = mapOf(inLists(QVariant::fromValue(QDBusVariant(argument)), lists));
    QVERIFY(refusalOf(map).message().startsWith(
        "Marshalling failed: \"key\" is nested too deeply for a message, with a value of type "));
}

void TestOutgoingArguments::sizesAreThoseOfOwnValues_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("list") << QVariant(QVariantList{QVariant::fromValue(uchar(1)), "x", 1.5});
    QTest::newRow("list of lists")
        << inLists(QVariantList{1LL, QVariant::fromValue(uchar(1)), 2LL}, 3);
    QTest::newRow("no list") << QVariant(QVariantList());
    QTest::newRow("map") << QVariant(
        QVariantMap{{"a", QVariant::fromValue(uchar(1))}, {"bc", QByteArray("xyz")}, {"d", true}});
    QTest::newRow("maps") << QVariant::fromValue(Maps{oneEntry(1), {}, oneEntry(inLists(1, 2))});
    QTest::newRow("map of numbers") << QVariant::fromValue(QMap<int, QDBusVariant>{
        {1, QDBusVariant(QVariant::fromValue(short(2)))}, {3, QDBusVariant(4)}});
    QTest::newRow("strings") << inLists(QStringList{"a", QString()}, 1);
    QTest::newRow("numbers") << QVariant::fromValue(QList<qlonglong>{1, 2, 3});
    QTest::newRow("structure") << QVariant(QLineF(1, 2, 3, 4));
    QTest::newRow("record") << QVariant::fromValue(Ostrel::ActiveTask{"abc", 1, oneEntry("x")});
    QTest::newRow("records") << QVariant::fromValue(
        QVector<Ostrel::AvailableTask>{{"abc", oneEntry(1)}, {"d", {}}});
    QTest::newRow("signatures") << QVariant::fromValue(
        QList<QDBusSignature>{QDBusSignature("as"), QDBusSignature("(yi)")});
    QTest::newRow("path and signature")
        << QVariant(QVariantList{QVariant::fromValue(QDBusObjectPath("/a/b")),
                                 QVariant::fromValue(QDBusSignature("as")), 1});
}

void TestOutgoingArguments::sizesAreThoseOfOwnValues()
{
    QFETCH(QVariant, value);
    const QVariant argument = received(value);
    QCOMPARE(argument.userType(), qMetaTypeId<QDBusArgument>());
    QCOMPARE(bytesOf(argument), bytesOf(value));
}

void TestOutgoingArguments::tooLargeValuesAreFound()
{
    QCOMPARE(bytesOf(received(QVariantList{QString(900, 'x'), 1})), 940);
    QCOMPARE(bytesOf(received(QVariantList{QString(1900, 'x'), 1})), -1);
}

void TestOutgoingArguments::descriptorsAreCounted()
{
    QVariantMap map{{"a", received(descriptors(10))}, {"b", descriptors(6)}};
    QCOMPARE(refusalOf(map).message(), QString());
    QCOMPARE(answerTo({map}), "org.freedesktop.DBus.Error.UnknownInterface");
    map.insert("b", received(descriptors(7)));
    QCOMPARE(refusalOf(map).message(),
             "Marshalling failed: \"b\" holds one file descriptor too many, in a "
             "value of type QDBusArgument");
}

void TestOutgoingArguments::argumentsAreNotAdvanced()
{
    const auto argument = received(everything()).value<QDBusArgument>();
    const QString signature = argument.currentSignature();
    QVERIFY(bytesOf(QVariant::fromValue(argument)) > 0);
    QCOMPARE(argument.currentSignature(), signature);

    QStringList types;
    QVariantList values;
    argument.beginStructure();
    while (!argument.atEnd()) {
        types.append(argument.currentSignature());
        QVERIFY(bytesOf(QVariant::fromValue(argument)) > 0);
        QCOMPARE(argument.currentSignature(), types.constLast());
        values.append(argument.asVariant());
    }
    QCOMPARE(types.join(QString()), signature.mid(1, signature.size() - 2));
    QCOMPARE(values.at(5), QVariant(-6LL));
    QCOMPARE(values.at(9), QVariant("text"));
    QCOMPARE(values.at(14), QVariant(QByteArray("bytes")));
    QCOMPARE(qdbus_cast<QList<int>>(values.at(15)), (QList<int>{1, 2, 3}));
    // There is no value at the end.
    QCOMPARE(bytesOf(QVariant::fromValue(argument)), -1);
    argument.endStructure();
}

OSTREL_TEST_MAIN(TestOutgoingArguments)

#include "tst_outgoing_arguments.moc"
