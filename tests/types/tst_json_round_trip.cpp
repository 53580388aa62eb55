// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "kit.h"

#include "DBus/names_p.h"
#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>
#include <QtCore/QLoggingCategory>

#include <optional>
#include <random>

namespace
{

// Makes random JSON values. The same seed makes the same values.
class Maker
{
public:
    explicit Maker(quint32 seed)
        : m_random(seed)
    {
    }

    QJsonValue value(int depth)
    {
        switch (number(depth > 0 ? 6 : 4)) {
        case 0:
            return QJsonValue::Null;
        case 1:
            return number(2) == 1;
        case 2:
            return number(2) == 1 ? double(number(2000000)) - 1000000 : number(1000) / 7.0;
        case 3:
            return string();
        case 4:
            return array(depth);
        default:
            return object(depth);
        }
    }

    QJsonObject object(int depth)
    {
        QJsonObject object;
        for (int left = number(5); left > 0; --left) {
            object.insert(string(), value(depth - 1));
        }
        return object;
    }

private:
    int number(int below) { return static_cast<int>(m_random() % static_cast<quint32>(below)); }

    QString string()
    {
        static const QString characters = "ab \"\\\n/\xc3\xa9\xe2\x82\xac\xf0\x9f\x8c\x8d";
        QString text;
        for (int left = number(6); left > 0; --left) {
            // A surrogate goes with its other half.
            const int at = number(characters.size() - 1);
            text += characters.at(at).isSurrogate() ? characters.right(2) : characters.mid(at, 1);
        }
        return text;
    }

    // Often of one type: the writer treats such arrays differently from mixed ones.
    QJsonArray array(int depth)
    {
        const bool same = number(2) == 1;
        QJsonValue element = value(depth - 1);
        QJsonArray array;
        for (int left = number(5); left > 0; --left) {
            array.append(element);
            do {
                element = value(depth - 1);
            } while (same && element.type() != array.first().type());
        }
        return array;
    }

    std::mt19937 m_random;
};

// Returns whether the value has a form on the bus, and reduces it to that form. An object loses the
// keys of Nulls and of arrays that cannot be written. A mixed array loses its Nulls.
bool reduce(QJsonValue &value, bool inMixedArray)
{
    if (value.isObject()) {
        QJsonObject reduced;
        const QJsonObject object = value.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            QJsonValue content = entry.value();
            if (reduce(content, inMixedArray)) {
                reduced.insert(entry.key(), content);
            }
        }
        value = reduced;
        return true;
    }
    if (!value.isArray()) {
        return !value.isNull();
    }

    const QJsonArray array = value.toArray();
    bool mixed = inMixedArray;
    for (const QJsonValue &element : array) {
        mixed = mixed || element.type() != array.first().type();
    }
    if (!mixed && !array.isEmpty() && (array.first().isArray() || array.first().isNull())) {
        return false;
    }
    QJsonArray reduced;
    for (QJsonValue element : array) {
        if (reduce(element, mixed)) {
            reduced.append(element);
        }
    }
    value = reduced;
    return true;
}

} // namespace

// Random objects go to another process and come back equal, except for what has no form on the bus.
class TestJsonRoundTrip : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomObjectsComeBackEqual();
};

void TestJsonRoundTrip::randomObjectsComeBackEqual()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    Ostrel::registerDBusTypes();
    const QByteArray given = qgetenv("JSON_SEED");
    const quint32 seed = given.isEmpty() ? std::random_device()() : given.toUInt();
    Maker maker(seed);
    // Another test looks at the warnings.
    QLoggingCategory::setFilterRules("default.warning=false");

    int different = 0;
    for (int round = 0; round < 500; ++round) {
        const QJsonObject object = maker.object(6);
        QDBusArgument argument;
        argument << object;
        QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
            << QVariant::fromValue(argument));
        const QVector<Call> calls = simulator.calls();
        simulator.reset();
        QCOMPARE(calls.size(), 1);
        QJsonValue back;
        calls.constFirst().arguments.constFirst().value<QDBusArgument>() >> back;

        QJsonValue expected = object;
        reduce(expected, false);
        different += expected != object ? 1 : 0;
        if (back != expected) {
            const auto text = [](const QJsonValue &value) {
                return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
            };
            QFAIL("JSON_SEED=" + QByteArray::number(seed) + " round " + QByteArray::number(round)
                  + "\n sent " + text(object) + "\n back " + text(back) + "\n not  "
                  + text(expected));
        }
    }
    // Both kinds have occurred.
    QVERIFY(different > 0 && different < 500);
}

OSTREL_TEST_MAIN(TestJsonRoundTrip)

#include "tst_json_round_trip.moc"
