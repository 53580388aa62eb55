// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "peer.h"
#include "task_texts.h"
#include "test_bus.h"
#include "warnings.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>
#include <QtDBus/QDBusMetaType>

#include <optional>

namespace
{

QString json(const QJsonValue &value)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
}

// A signature, and the words of a value in busctl's form.
struct Value
{
    QString signature;
    QString words;
};

// Returns the value in so many nested arrays of one element.
Value inArrays(int count, const Value &value)
{
    return {QString(count, 'a') + value.signature, QString("1 ").repeated(count) + value.words};
}

Value inStructures(int count, const Value &value)
{
    return {QString(count, '(') + value.signature + QString(count, ')'), value.words};
}

Value inDicts(int count, const Value &value)
{
    return {QString("a{s").repeated(count) + value.signature + QString(count, '}'),
            QString("1 k ").repeated(count) + value.words};
}

// Returns the value in so many nested variants.
Value inVariants(int count, const Value &value)
{
    return {"v", QString("v ").repeated(count - 1) + value.signature + ' ' + value.words};
}

QString brackets(int count, const QString &content)
{
    return QString(count, '[') + content + QString(count, ']');
}

QString objects(int count, const QString &content)
{
    return QString("{\"k\":").repeated(count) + content + QString(count, '}');
}

const Value three{"i", "3"};

} // namespace

// Every reader reads values of every kind, as deep as a message allows. Whatever it reads, it skips
// exactly one value.
class TestReadingAnything : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void everyReaderSkipsOneValue_data();
    void everyReaderSkipsOneValue();
    void descriptorsLeaveMembersAtTheirDefaults();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_peer;
};

void TestReadingAnything::initTestCase()
{
    m_bus.emplace();
    m_peer.emplace(*m_bus);
}

void TestReadingAnything::everyReaderSkipsOneValue_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("words");
    // The JSON value that is read, in brackets, and the types that are refused.
    QTest::addColumn<QString>("content");
    QTest::addColumn<QStringList>("refused");
    // How many records a vector reads.
    QTest::addColumn<int>("records");

    const auto row = [](const Value &value, const QString &content, const QStringList &refused = {},
                        int records = 0) {
        QTest::addRow("%s: %s", qPrintable(value.signature), qPrintable(value.words))
            << value.signature << value.words << content << refused << records;
    };
    const auto simple = [&row](const char *signature, const char *words, const char *content,
                               const QStringList &refused = {}, int records = 0) {
        row({signature, words}, content, refused, records);
    };
    const QString old = "[\"old\"]";

    // File descriptors, which no command-line tool sends.
    simple("h", "-", "[null]");
    simple("v", "h -", "[null]");
    simple("v", "v h -", "[null]");
    simple("ah", "0", "[[]]");
    simple("ah", "2 - -", "[[null,null]]");
    simple("av", "2 h - i 3", "[[null,3]]");
    simple("a{sh}", "1 k -", "[{\"k\":null}]");
    simple("a{sv}", "2 k h - l i 3", "[{\"k\":null,\"l\":3}]");
    simple("a{hs}", "1 - x", "[{\"\":\"x\"}]");
    simple("(h)", "-", "[\"old\"]", {"(h)"});
    simple("a(h)", "2 - -", "[[null,null]]", {"(h)", "(h)"}, 2);
    simple("a(shuua{sv})", "1 x - 1 2 0", "[[null]]", {"(shuua{sv})"}, 1);

    // Keys of every type.
    simple("a{ys}", "1 107 x", R"([{"k":"x"}])");
    simple("a{bs}", "1 true x", R"([{"true":"x"}])");
    simple("a{ns}", "1 -3 x", R"([{"-3":"x"}])");
    simple("a{qs}", "1 65535 x", R"([{"65535":"x"}])");
    simple("a{is}", "1 -3 x", R"([{"-3":"x"}])");
    simple("a{us}", "1 4294967295 x", R"([{"4294967295":"x"}])");
    simple("a{xs}", "1 -9223372036854775808 x", R"([{"-9223372036854775808":"x"}])");
    simple("a{ts}", "1 18446744073709551615 x", R"([{"18446744073709551615":"x"}])");
    simple("a{ds}", "1 1.5 x", R"([{"1.5":"x"}])");
    simple("a{ss}", "1 k x", R"([{"k":"x"}])");
    simple("a{os}", "1 /a x", R"([{"/a":"x"}])");
    simple("a{gs}", "1 as x", R"([{"as":"x"}])");
    simple("a{i(si)}", "1 3 x 3", R"([{"3":null}])", {"(si)"});

    // Structures in variants.
    simple("v", "(si) x 3", "[\"old\"]", {"(si)"});
    simple("v", "(v) (si) x 3", "[\"old\"]", {"(v)"});
    simple("v", "a(si) 1 x 3", "[[null]]", {"(si)"});
    simple("v", "(sia{sv}) x 3 0", "[\"old\"]", {"(sia{sv})"});
    simple("av", "2 (si) x 3 (s) x", "[[null,null]]", {"(si)", "(s)"});
    simple("a{sv}", "1 k (sia{sv}) x 3 0", R"([{"k":null}])", {"(sia{sv})"});
    simple("(v)", "(sia{sv}) x 3 0", "[\"old\"]", {"(v)"});

    // Empty arrays of every kind.
    for (const char *type :
         {"ab",  "an",     "aq",    "ai",      "au",         "ax",       "at",  "ad",
          "as",  "ao",     "ag",    "ah",      "av",         "aai",      "aas", "aay",
          "aav", "aa{sv}", "a(si)", "a(a(v))", "a(sia{sv})", "aaaaaaaai"}) {
        simple(type, "0", "[[]]");
    }
    simple("ay", "0", "[null]"); // bytes read as a string; no bytes read as Null
    for (const char *type : {"a{sv}", "a{si}", "a{is}", "a{s(si)}", "a{sa{sv}}", "a{hh}"}) {
        simple(type, "0", "[{}]");
    }

    // A message allows 32 nested arrays and 32 nested structures. The value is in a structure.
    row(inArrays(32, three), brackets(33, "3"));
    row({QString(32, 'a') + 'i', QString("1 ").repeated(31) + '0'}, brackets(33, QString()));
    row(inStructures(31, three), old, {inStructures(31, three).signature});
    const int arrays = deepestMessage() - 32;
    row(inArrays(arrays, inStructures(31, three)), brackets(arrays + 1, "null"),
        {inStructures(31, three).signature});
    row(inDicts(31, three), '[' + objects(31, "3") + ']');
    const int containers = deepestMessage() - 1;
    const int pairs = (containers - 1) / 2;
    row(inDicts(pairs, {"v", "i 3"}), '[' + objects(pairs, "3") + ']');
    row(inVariants(containers, three), "[null]");
    row(inVariants(containers - 1, inArrays(1, three)), "[null]");
    row({"v", QString("av 1 ").repeated(pairs) + "i 3"}, brackets(pairs + 1, "3"));
    const int maps = (containers - 2) / 3;
    row({"v", QString("a{sv} 1 k ").repeated(maps) + "as 1 3"},
        '[' + objects(maps, "[\"3\"]") + ']');
    const Value structuresInVariants{"v", QString("(v) ").repeated(pairs) + "i 3"};
    row(structuresInVariants, old, {"(v)"});
    row({"a(v)", "1 " + QString("(v) ").repeated(pairs - 1) + "i 3"}, "[[null]]", {"(v)"}, 1);
}

namespace
{

// Reads the value before the marker into a target that holds another value.
template <typename Target> Target readBeforeMarker(const QVariant &structure, Target target)
{
    const auto argument = structure.value<QDBusArgument>();
    QString marker;
    argument.beginStructure();
    argument >> target;
    argument >> marker;
    const bool isAtEnd = argument.atEnd();
    argument.endStructure();
    if (marker != "marker" || !isAtEnd) {
        qFatal("a reader does not skip one value");
    }
    return target;
}

template <typename Record> void readRecords(const QVariant &structure)
{
    QFETCH(int, records);
    QCOMPARE(text(readBeforeMarker(structure, Record{})), text(Record{}));
    const auto vector = readBeforeMarker(structure, QVector<Record>(5, Record{}));
    QCOMPARE(vector.size(), records);
}

} // namespace

void TestReadingAnything::everyReaderSkipsOneValue()
{
    QFETCH(QString, signature);
    QFETCH(QString, words);
    QFETCH(QString, content);
    QFETCH(QStringList, refused);
    const QVariant structure =
        m_peer->receive('(' + signature + "s)", words + " marker").constFirst();

    const Warnings warnings;
    const QJsonValue old = "old";
    const QJsonValue value = readBeforeMarker(structure, old);
    QCOMPARE(json(value), content);
    QStringList expected;
    for (const QString &type : qAsConst(refused)) {
        expected.append(QString("Unsupported type:  \"%1\"").arg(type));
    }
    QCOMPARE(warnings.texts(), expected);

    const QJsonObject object = readBeforeMarker(structure, QJsonObject{{"k", old}});
    QCOMPARE(QJsonValue(object),
             signature.startsWith("a{") ? value : QJsonValue(QJsonObject{{"k", old}}));
    const QJsonArray array = readBeforeMarker(structure, QJsonArray{old});
    const bool isArray = signature.startsWith('a') && !signature.startsWith("a{");
    if (signature == "ay") {
        QCOMPARE(array, QJsonArray());
    } else {
        QCOMPARE(QJsonValue(array), isArray ? value : QJsonValue(QJsonArray{old}));
    }

    const Warnings none;
    readRecords<Ostrel::RunningApplication>(structure);
    readRecords<Ostrel::RunningService>(structure);
    readRecords<Ostrel::TaskState>(structure);
    readRecords<Ostrel::AvailableTask>(structure);
    readRecords<Ostrel::ActiveTask>(structure);
    QCOMPARE(none.texts(), QStringList());
}

void TestReadingAnything::descriptorsLeaveMembersAtTheirDefaults()
{
    const auto read = [this](const char *signature, const char *words, auto target) {
        const QString type = signature;
        return text(readBeforeMarker(
            m_peer->receive('(' + type + "s)", QString::fromLatin1(words) + " marker").constFirst(),
            target));
    };
    using namespace Ostrel;
    QCOMPARE(read("(shuua{sv})", "a - 2 3 1 k s v", RunningApplication{}), "a 0 2 3 {k=v}");
    QCOMPARE(read("(hihha{sv})", "- 1 - - 1 k s v", RunningApplication{}), " 1 0 0 {k=v}");
    QCOMPARE(read("(siuuh)", "a 1 2 3 -", RunningApplication{}), "a 1 2 3 {}");
    QCOMPARE(read("(shhha{sv})", "a - - - 1 k s v", RunningService{}), "a  0 0 {k=v}");
    QCOMPARE(read("(sha{sv})", "a - 1 k s v", TaskState{}), "a 0 {k=v}");
    QCOMPARE(read("(ha{sv})", "- 1 k s v", AvailableTask{}), " {k=v}");
    QCOMPARE(read("(sha{sv})", "a - 1 k s v", ActiveTask{}), "a 0 {k=v}");
    QCOMPARE(read("(sih)", "a 1 -", ActiveTask{}), "a 1 {}");
    // Properties keep descriptors.
    QCOMPARE(read("(sia{sv})", "a 1 1 k h -", ActiveTask{}), "a 1 {k=}");
    QCOMPARE(read("a(sha{sv})", "2 a - 0 b - 0", QVector<ActiveTask>(1, ActiveTask{})),
             "a 0 {}; b 0 {}");
}

OSTREL_TEST_MAIN(TestReadingAnything)

#include "tst_reading_anything.moc"
