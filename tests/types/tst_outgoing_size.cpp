// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "outgoing_maps.h"

#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QLineF>
#include <QtCore/QUrl>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusObjectPath>

#include <optional>

using Ostrel::OutgoingMessage;

namespace
{

constexpr int largestArray = 64 * 1024 * 1024;

// The bytes of the entry "key" with a string, besides its characters: the key, the type, the length
// and the null.
constexpr int entryOfText = 4 + 4 + 3 + 1 + 4 + 1;

// The same for an array of bytes, which has no null.
constexpr int entryOfArray = 4 + 4 + 4 + 4;

// Each map takes 16 bytes in the list, and so does the entry "key" around the list.
constexpr int mostEmptyMaps = largestArray / 16 - 1;

QVariantList emptyMaps(int count)
{
    QVariantList list;
    list.reserve(count);
    for (int i = 0; i < count; ++i) {
        list.append(QVariantMap());
    }
    return list;
}

QString letters(int count)
{
    return QString(count, 'x');
}

} // namespace

// The bus drops the connection over a message that is too large. The largest allowed size arrives;
// one byte more is refused.
class TestOutgoingSize : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void largestMapsArrive_data();
    void largestMapsArrive();
    void stringsAreCountedInBytes();
    void sizesMatchTheMessage_data();
    void sizesMatchTheMessage();
    void tooLargeValuesAreFound_data();
    void tooLargeValuesAreFound();
    void largestStringsArrive();
    void tooManyEmptyMapsAreFound();
    void tooLargeStringsAreFound();
    void argumentsShareOneMessage();

private:
    std::optional<PrivateBus> m_bus;
};

void TestOutgoingSize::initTestCase()
{
    m_bus.emplace();
    Ostrel::registerDBusTypes();
    qDBusRegisterMetaType<Maps>();
    qDBusRegisterMetaType<NamedVariants>();
    qDBusRegisterMetaType<QMap<int, QDBusVariant>>();
    qDBusRegisterMetaType<QList<QPoint>>();
    qDBusRegisterMetaType<QList<QDate>>();
}

void TestOutgoingSize::largestMapsArrive_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("bytes") << QVariant(QByteArray(largestArray - entryOfArray, 'x'));
    QTest::newRow("text") << QVariant(letters(largestArray - entryOfText));
    QString pairs((largestArray - entryOfText) / 2, QChar(0xdc00));
    for (int i = 0; i < pairs.size(); i += 2) {
        pairs[i] = QChar(0xd83d);
    }
    QTest::newRow("text of four bytes a character") << QVariant(pairs);
#ifndef __SANITIZE_ADDRESS__
    // To marshal so many values takes most of a minute.
    QTest::newRow("empty maps") << QVariant(emptyMaps(mostEmptyMaps));
#endif
}

void TestOutgoingSize::largestMapsArrive()
{
    QFETCH(QVariant, value);
    QVariantMap map{{"key", value}};
    QCOMPARE(refusalOf(map).message(), QString());
    QCOMPARE(answerTo({map}), "org.freedesktop.DBus.Error.UnknownInterface");
}

void TestOutgoingSize::stringsAreCountedInBytes()
{
    for (const QChar character : {QChar(0x7f), QChar(0x80), QChar(0x7ff), QChar(0x800)}) {
        const int size = QString(character).toUtf8().size();
        QString text((largestArray - entryOfText) / size, character);
        QVariantMap map{{"key", text}};
        QVERIFY(!refusalOf(map).isValid());
        text.append(QString(3, character));
        map = {{"key", text}};
        QVERIFY(refusalOf(map).isValid());
    }
}

void TestOutgoingSize::sizesMatchTheMessage_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<int>("bytes");

    const auto row = [](const char *name, const QVariant &value, int bytes) {
        // The length of the array, padding, the key "k" and the signature of the variant.
        QTest::newRow(name) << QVariantMap{{"k", value}} << 8 + bytes;
    };
    QTest::newRow("nothing") << QVariantMap() << 8;
    row("list of empty maps", QVariantList{QVariantMap(), QVariantMap()},
        6 + 4 + 2 + 4 + 7 + 1 + 4 + 4 + 7 + 1 + 4 + 4);
    row("empty JSON objects", QJsonArray{QJsonObject(), QJsonObject()}, 6 + 8 + 2 + 4 + 4 + 4 + 4);
    row("list of no records",
        QVariantList{QVariant::fromValue(QVector<Ostrel::RunningApplication>()), QByteArray()},
        6 + 4 + 2 + 4 + 14 + 2 + 4 + 4 + 4 + 4);
    row("list of no pairs", QVariantList{QVariant::fromValue(QMap<int, QDBusVariant>()), 1},
        6 + 4 + 2 + 4 + 7 + 1 + 4 + 4 + 3 + 1 + 4);
    row("byte", QVariant::fromValue(uchar(1)), 6 + 3 + 1);
    row("16 bits", QVariant::fromValue(short(1)), 6 + 3 + 1 + 2);
    row("32 bits", 1, 6 + 3 + 3 + 4);
    row("64 bits", 1LL, 6 + 3 + 7 + 8);
    row("text", "\u20acx", 6 + 3 + 3 + 4 + 4 + 1);
    row("texts", QStringList{"a", "b"}, 6 + 4 + 2 + 4 + 8 + 6);
    row("bytes", QByteArray("abc"), 6 + 4 + 2 + 4 + 3);
    row("numbers", QVariant::fromValue(QList<int>{1, 2, 3}), 6 + 4 + 2 + 4 + 12);
    row("list", QVariantList{1, 2}, 6 + 4 + 2 + 4 + 8 + 8);
    row("variant", QVariant::fromValue(QDBusVariant(1)), 6 + 3 + 3 + 4);
    row("path", QVariant::fromValue(QDBusObjectPath("/a")), 6 + 3 + 3 + 4 + 3);
    row("map", QVariantMap{{"a", 1}}, 6 + 7 + 3 + 4 + 4 + 6 + 3 + 3 + 4);
    row("point", QPoint(1, 2), 6 + 6 + 4 + 8);
    row("points", QVariant::fromValue(QList<QPoint>{{1, 2}, {3, 4}}), 6 + 7 + 3 + 4 + 4 + 16);
    row("line", QLineF(1, 2, 3, 4), 6 + 12 + 6 + 32);
    row("time", QTime(1, 2), 6 + 8 + 2 + 16);
    row("dates", QVariant::fromValue(QList<QDate>{{2000, 1, 2}, {2000, 1, 3}}),
        6 + 8 + 2 + 4 + 4 + 12 + 4 + 12);
    row("no dates", QVariant::fromValue(QList<QDate>()), 6 + 8 + 2 + 4 + 4);
    row("date and time", QDateTime(QDate(2000, 1, 2), QTime(3, 4)), 6 + 17 + 1 + 12 + 4 + 16 + 4);
    row("record", QVariant::fromValue(Ostrel::ActiveTask{"ab", 7, QVariantMap()}),
        6 + 12 + 6 + 4 + 3 + 1 + 4 + 4);
    row("records", QVariant::fromValue(QVector<Ostrel::AvailableTask>{{"a", {}}, {{}, {}}}),
        6 + 11 + 3 + 4 + 6 + 2 + 4 + 4 + 5 + 3 + 4 + 4);
    row("JSON truths", QJsonArray{true, false}, 6 + 4 + 2 + 4 + 8);
    row("JSON numbers", QJsonArray{1, 2, 3}, 6 + 4 + 2 + 4 + 24);
    row("JSON texts", QJsonArray{"a", "b"}, 6 + 4 + 2 + 4 + 8 + 6);
    row("JSON objects", QJsonArray{QJsonObject{{"a", 1}}}, 6 + 8 + 2 + 4 + 4 + 6 + 3 + 7 + 8);
    QJsonObject members;
    for (int i = 10; i < 30; ++i) {
        members.insert(QString::number(i), i);
    }
    row("JSON object", members, 6 + 7 + 3 + 4 + 4 + 20 * (4 + 3 + 3 + 6 + 8));
    row("mixed JSON", QJsonArray{"a", true}, 6 + 4 + 2 + 4 + 3 + 1 + 6 + 3 + 3 + 4);
    row("JSON array in an object in mixed JSON",
        QJsonArray{"a", QJsonObject{{"a", QJsonArray{true}}}},
        6 + 4 + 2 + 4 + 3 + 1 + 6 + 7 + 3 + 4 + 6 + 4 + 2 + 4 + 3 + 1 + 4);
    row("map of numbers",
        QVariant::fromValue(QMap<int, QDBusVariant>{{1, QDBusVariant(2)}, {3, QDBusVariant(4)}}),
        6 + 7 + 3 + 4 + 4 + 12 + 4 + 12);
}

void TestOutgoingSize::sizesMatchTheMessage()
{
    QFETCH(const QVariantMap, map);
    QVariantMap sent = map;
    OutgoingMessage message(1000);
    message.add(sent);
    QCOMPARE(message.refusal().message(), QString());
    QTEST(int(message.bytes()), "bytes");

    for (const int missing : {0, 1}) {
        sent = map;
        OutgoingMessage full(message.bytes() - missing);
        full.add(sent);
        QCOMPARE(full.refusal().isValid(), missing == 1 && !map.isEmpty());
    }

    // What follows is looked at as well.
    sent = map;
    sent.insert("z", QUrl());
    OutgoingMessage another(1000);
    another.add(sent);
    QCOMPARE(another.refusal().message(), "Marshalling failed: \"z\" holds a value of type QUrl");
}

void TestOutgoingSize::tooLargeValuesAreFound_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *name, const QVariant &value, const char *type,
                        const char *key = "key") {
        QTest::newRow(name) << value
                            << QString("Marshalling failed: \"%1\" is too large for a "
                                       "message, with a value of type %2")
                                   .arg(key, type);
    };
    const QString half = letters(500);
    row("bytes", QByteArray(1000, 'x'), "QByteArray");
    row("text", half + half, "QString");
    row("numbers", QVariant::fromValue(QVector<int>(250, 7).toList()), "QList<int>");
    row("texts", QStringList{half, half}, "QStringList");
    row("list", QVariantList{1, half, half, 1}, "QString");
    row("map", QVariantMap{{"a", half}, {"b", half}}, "QString", "b");
    row("hash", QVariantHash{{half + half, 1}}, "int", qPrintable(half + half));
    row("list of maps", QVariant::fromValue(Maps{{{"k", half}}, {{"k", half}}}), "QString", "k");
    row("map of variants", QVariant::fromValue(NamedVariants{{half + half, QDBusVariant(1)}}),
        "int");
    row("paths",
        QVariant::fromValue(
            QList<QDBusObjectPath>{QDBusObjectPath('/' + half), QDBusObjectPath('/' + half)}),
        "QList<QDBusObjectPath>");
    row("application", QVariant::fromValue(Ostrel::RunningApplication{half + half, 0, {}, {}, {}}),
        "Ostrel::RunningApplication");
    row("service", QVariant::fromValue(Ostrel::RunningService{half, half, 0, {}, {}}),
        "Ostrel::RunningService");
    row("task", QVariant::fromValue(Ostrel::ActiveTask{half + half, 0, {}}), "Ostrel::ActiveTask");
    row("points", QVariant::fromValue(QList<QPoint>(QVector<QPoint>(130).toList())),
        "QList<QPoint>");
    row("JSON text", QJsonValue(half + half), "QJsonValue");
    row("JSON array", QJsonArray{half, half}, "QJsonArray");
    row("JSON object", QJsonObject{{half + half, 1}}, "QJsonObject");
}

void TestOutgoingSize::tooLargeValuesAreFound()
{
    QFETCH(QVariant, value);
    QVariantMap map{{"key", value}};
    OutgoingMessage message(1000);
    message.add(map);
    QTEST(message.refusal().message(), "message");
}

void TestOutgoingSize::largestStringsArrive()
{
    // The protocol allows messages of 128 MiB, including the header.
    const QString text = letters(2 * largestArray - 4096);
    QCOMPARE(refusalOf(text).message(), QString());
    QCOMPARE(answerTo({text}), "org.freedesktop.DBus.Error.UnknownInterface");
}

void TestOutgoingSize::tooManyEmptyMapsAreFound()
{
    QVariantMap map{{"key", emptyMaps(mostEmptyMaps + 1)}};
    QCOMPARE(refusalOf(map).message(),
             "Marshalling failed: \"key\" is too large for a message, with a value "
             "of type QVariantMap");
}

void TestOutgoingSize::tooLargeStringsAreFound()
{
    const QString text = letters(2 * largestArray - 4095);
    const QDBusError error = refusalOf(text);
    QCOMPARE(error.name(), "org.freedesktop.DBus.Error.Failed");
    QCOMPARE(error.message(),
             "Marshalling failed: a text of 134213633 bytes is too large for a message");
}

void TestOutgoingSize::argumentsShareOneMessage()
{
    const QString name = letters(4000);
    QVariantMap first{{"first", letters(largestArray - 100)}};
    QVariantMap second{{"second", letters(largestArray - 20000)}};
    QCOMPARE(refusalOf(name, first, second).message(), QString());
    QCOMPARE(answerTo({name, first, second}), "org.freedesktop.DBus.Error.UnknownInterface");

    // The bytes in the message count, not the most that so many characters could take.
    const QString longName = letters(50000000);
    first = {{"first", letters(20000000)}};
    second = {{"second", letters(largestArray - 20000)}};
    QCOMPARE(refusalOf(longName, first).message(), QString());
    QCOMPARE(refusalOf(first, second).message(), QString());

    first = {{"first", letters(largestArray - 100)}};
    second.insert("third", letters(19000));
    QCOMPARE(refusalOf(name, first, second).message(),
             "Marshalling failed: \"third\" is too large for a message, with a "
             "value of type QString");
    // Each map alone can be sent.
    QCOMPARE(refusalOf(second).message(), QString());
    QCOMPARE(refusalOf(second, name).message(), QString());
}

OSTREL_TEST_MAIN(TestOutgoingSize)

#include "tst_outgoing_size.moc"
