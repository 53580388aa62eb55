// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"
#include "outgoing_maps.h"

#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <optional>

using Ostrel::OutgoingMessage;

namespace
{

QString letters(int count)
{
    return QString(count, 'x');
}

} // namespace

// How many bytes of a message JSON takes.
class TestOutgoingJson : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void leftOutPartsTakeNoRoom();
    void countingStopsWhenTheRoomIsFull_data();
    void countingStopsWhenTheRoomIsFull();

private:
    std::optional<PrivateBus> m_bus;
};

void TestOutgoingJson::initTestCase()
{
    m_bus.emplace();
    Ostrel::registerDBusTypes();
}

void TestOutgoingJson::leftOutPartsTakeNoRoom()
{
    // Without the QJsonValue, some compilers copy the inner array.
    const QJsonArray arrays{QJsonValue(QJsonArray{letters(500)})};
    const QJsonObject object{{letters(400), arrays}, {letters(401), arrays}, {letters(800), 1}};
    QVariantMap map{{"key", object}};
    OutgoingMessage message(1000);
    message.add(map);
    QCOMPARE(message.refusal().message(), QString());
    QCOMPARE(map.value("key"), QVariant(QVariantMap{{letters(800), 1.0}}));
}

void TestOutgoingJson::countingStopsWhenTheRoomIsFull_data()
{
    QTest::addColumn<QVariant>("value");
    QVariant list = 1;
    QJsonValue object = 1;
    QJsonValue mixed = 1;
    for (int level = 0; level < 14; ++level) {
        list = QVariantList{list, list, list, list, list, list, list, list, list};
        QJsonObject parts;
        for (int i = 0; i < 9; ++i) {
            parts.insert(QString::number(i), object);
        }
        object = parts;
        mixed = QJsonArray{"x", mixed, mixed, mixed, mixed, mixed};
    }
    QTest::newRow("list") << list;
    QTest::newRow("JSON object") << QVariant(object);
    QTest::newRow("mixed JSON array") << QVariant(mixed);
    for (int level = 14; level < 30; ++level) {
        mixed = QJsonArray{"x", mixed, mixed, mixed, mixed, mixed};
    }
    QTest::newRow("deep mixed JSON array") << QVariant(mixed);
}

// A small value can hold the same part many times. To count all of this one would take centuries.
void TestOutgoingJson::countingStopsWhenTheRoomIsFull()
{
    QFETCH(QVariant, value);
    QVariantMap map{{"key", value}};
    QVERIFY(refusalOf(map).message().startsWith(
        "Marshalling failed: \"key\" is too large for a message"));
}

OSTREL_TEST_MAIN(TestOutgoingJson)

#include "tst_outgoing_json.moc"
