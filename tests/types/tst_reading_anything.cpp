// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "peer.h"
#include "task_texts.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

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

    void everyReaderStepsOverOneValue_data();
    void everyReaderStepsOverOneValue();
    void descriptorsLeaveMembersAtTheirDefaults();
    void entriesOfAMapAreSteppedOver();
    void emptyArgumentsAreReadAsDefaults();
    void registeredReadersAreTheSame();
    void readingLeavesCopiesWhereTheyAre_data();
    void readingLeavesCopiesWhereTheyAre();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Peer> m_peer;
};

void TestReadingAnything::initTestCase()
{
    m_bus.emplace();
    m_peer.emplace(*m_bus);
}

void TestReadingAnything::everyReaderStepsOverOneValue_data()
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

    // A message allows 32 nested arrays, 32 nested structures and 64 nested containers. The value
    // is in a structure.
    row(inArrays(32, three), brackets(33, "3"));
    row({QString(32, 'a') + 'i', QString("1 ").repeated(31) + '0'}, brackets(33, QString()));
    row(inStructures(31, three), old, {inStructures(31, three).signature});
    row(inArrays(32, inStructures(31, three)), brackets(33, "null"),
        {inStructures(31, three).signature});
    row(inDicts(31, three), '[' + objects(31, "3") + ']');
    row(inDicts(31, {"v", "i 3"}), '[' + objects(31, "3") + ']');
    row(inVariants(63, three), "[null]");
    row(inVariants(62, inArrays(1, three)), "[null]");
    row({"v", QString("av 1 ").repeated(31) + "i 3"}, brackets(32, "3"));
    row({"v", QString("a{sv} 1 k ").repeated(20) + "av 1 i 3"}, '[' + objects(20, "[3]") + ']');
    const Value structuresInVariants{"v", QString("(v) ").repeated(31) + "i 3"};
    row(structuresInVariants, old, {"(v)"});
    row({"a(v)", "1 " + QString("(v) ").repeated(30) + "i 3"}, "[[null]]", {"(v)"}, 1);
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
        qFatal("a reader does not step over one value");
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

void TestReadingAnything::everyReaderStepsOverOneValue()
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

namespace
{

template <typename Target> int readEntriesOf(const QVariant &map)
{
    const auto argument = map.value<QDBusArgument>();
    int count = 0;
    argument.beginMap();
    while (!argument.atEnd()) {
        Target target{};
        argument >> target;
        ++count;
    }
    argument.endMap();
    return count;
}

} // namespace

// Qt's readers of lists do the same when they read a map.
void TestReadingAnything::entriesOfAMapAreSteppedOver()
{
    using namespace Ostrel;
    const QVariant map = m_peer->receive("a{sv}", "3 a i 1 b (si) x 3 c v as 0").constFirst();
    const Warnings warnings;
    QCOMPARE(readEntriesOf<QJsonValue>(map), 3);
    QCOMPARE(readEntriesOf<QJsonObject>(map), 3);
    QCOMPARE(readEntriesOf<QJsonArray>(map), 3);
    QCOMPARE(warnings.texts().size(), 9);
    QCOMPARE(warnings.texts().count("Unsupported type:  \"{sv}\""), 9);
    QCOMPARE(readEntriesOf<RunningApplication>(map), 3);
    QCOMPARE(readEntriesOf<RunningService>(map), 3);
    QCOMPARE(readEntriesOf<TaskState>(map), 3);
    QCOMPARE(readEntriesOf<AvailableTask>(map), 3);
    QCOMPARE(readEntriesOf<ActiveTask>(map), 3);
    QCOMPARE(readEntriesOf<QVector<ActiveTask>>(map), 3);
    QCOMPARE(warnings.texts().size(), 9);
}

// After the last value, and in an argument that never held one.
void TestReadingAnything::emptyArgumentsAreReadAsDefaults()
{
    using namespace Ostrel;
    const auto argument = m_peer->receive("(i)", "3").constFirst().value<QDBusArgument>();
    int number = 0;
    argument.beginStructure();
    argument >> number;
    QVERIFY(argument.atEnd());
    for (const QDBusArgument &nothing : {argument, QDBusArgument()}) {
        const Warnings warnings;
        QJsonValue value = "old";
        QJsonObject object{{"old", 1}};
        QJsonArray array{1};
        nothing >> value >> object >> array;
        QCOMPARE(value, QJsonValue("old"));
        QCOMPARE(object.size(), 1);
        QCOMPARE(array.size(), 1);
        const QString refused = "Unsupported type:  \"\"";
        QCOMPARE(warnings.texts(), (QStringList{refused, refused, refused}));

        ActiveTask task{"old", 99, {{"old", 1}}};
        RunningService service{"old", "old", 1, ServiceState(2), {}};
        QVector<ActiveTask> tasks{task};
        nothing >> task >> service >> tasks;
        QCOMPARE(text(task), text(ActiveTask{}));
        QCOMPARE(text(service), text(RunningService{}));
        QVERIFY(tasks.isEmpty());
        QCOMPARE(warnings.texts().size(), 3);
    }
    argument.endStructure();
}

// Typed replies and the parameters of slots are read through the registration.
void TestReadingAnything::registeredReadersAreTheSame()
{
    using namespace Ostrel;
    registerDBusTypes();
    const auto read = [this](const char *signature, const char *words, auto target) {
        // In a structure, because QtDBus makes no arguments of basic types.
        const auto argument = m_peer->receive(QString("(%1)").arg(signature), words)
                                  .constFirst()
                                  .template value<QDBusArgument>();
        argument.beginStructure();
        if (!QDBusMetaType::demarshall(argument, qMetaTypeId<decltype(target)>(), &target)) {
            qFatal("%s is not read", signature);
        }
        argument.endStructure();
        return target;
    };
    QCOMPARE(text(read("(siuua{sv})", "a -1 2 3 1 k s v", RunningApplication{})), "a -1 2 3 {k=v}");
    QCOMPARE(text(read("(ssiua{sv})", "a b -1 2 1 k s v", RunningService{})), "a b -1 2 {k=v}");
    QCOMPARE(text(read("(sua{sv})", "a 1 1 k s v", TaskState{})), "a 1 {k=v}");
    QCOMPARE(text(read("(sa{sv})", "a 1 k s v", AvailableTask{})), "a {k=v}");
    QCOMPARE(text(read("(sia{sv})", "a -1 1 k s v", ActiveTask{})), "a -1 {k=v}");
    QCOMPARE(text(read("a(siuua{sv})", "1 a -1 2 3 0", QVector<RunningApplication>())),
             "a -1 2 3 {}");
    QCOMPARE(text(read("a(ssiua{sv})", "1 a b -1 2 0", QVector<RunningService>())), "a b -1 2 {}");
    QCOMPARE(text(read("a(sua{sv})", "1 a 1 0", QVector<TaskState>())), "a 1 {}");
    QCOMPARE(text(read("a(sa{sv})", "1 a 0", QVector<AvailableTask>())), "a {}");
    QCOMPARE(text(read("a(sia{sv})", "1 a -1 0", QVector<ActiveTask>())), "a -1 {}");
    // Other types as well.
    QCOMPARE(text(read("(ss)", "a b", ActiveTask{})), "a 0 {}");
    QCOMPARE(read("ai", "1 3", QVector<ActiveTask>()).size(), 0);

    QCOMPARE(json(read("(v)", "i 3", QJsonValue(true))), "[true]");
    QCOMPARE(json(read("v", "i 3", QJsonValue())), "[3]");
    QCOMPARE(json(read("a{sv}", "1 k i 3", QJsonObject())), "[{\"k\":3}]");
    QCOMPARE(json(read("av", "1 i 3", QJsonArray())), "[[3]]");
}

void TestReadingAnything::readingLeavesCopiesWhereTheyAre_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("words");
    const auto row = [](const char *signature, const char *words) {
        QTest::newRow(signature) << signature << words;
    };
    row("(si)", "x 3");
    row("(sia{sv})", "x 3 0");
    row("ai", "1 3");
    row("aas", "1 0");
    row("a(sia{sv})", "0");
    row("a{sv}", "1 k i 3");
    row("a{si}", "0");
}

namespace
{

template <typename... Targets> bool areReadInPlace(const QVariant &value, const QString &signature)
{
    const auto isReadInPlace = [&](auto target) {
        value.value<QDBusArgument>() >> target;
        return value.value<QDBusArgument>().currentSignature() == signature;
    };
    return (isReadInPlace(Targets{}) && ...);
}

} // namespace

// A value of a signal or a reply can be read several times, as different types.
void TestReadingAnything::readingLeavesCopiesWhereTheyAre()
{
    using namespace Ostrel;
    QFETCH(QString, signature);
    QFETCH(QString, words);
    const QVariant value = m_peer->receive(signature, words).constFirst();
    const Warnings warnings;
    QVERIFY((areReadInPlace<QJsonValue, QJsonObject, QJsonArray>(value, signature)));
    QVERIFY(
        (areReadInPlace<RunningApplication, RunningService, TaskState, AvailableTask, ActiveTask>(
            value, signature)));
    QVERIFY(
        (areReadInPlace<QVector<RunningApplication>, QVector<RunningService>, QVector<TaskState>,
                        QVector<AvailableTask>, QVector<ActiveTask>>(value, signature)));
}

OSTREL_TEST_MAIN(TestReadingAnything)

#include "tst_reading_anything.moc"
