// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "record_rows.h"

#include "DBus/types_json_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>

// Returns a JSON value in an array, as a string. Templates find it because it is in the global
// namespace, like the JSON classes.
static QString text(const QJsonValue &value)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
}

namespace
{

QString unsupported(const char *signature)
{
    return QString("Unsupported type:  \"%1\"").arg(signature);
}

} // namespace

// JSON values are read from values of any type. busctl sends them. It shares no code with Qt, and
// can send types that Qt never writes.
class TestReadingJson : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreRead_data();
    void valuesAreRead();
    void objectsAreRead_data();
    void objectsAreRead();
    void arraysAreRead_data();
    void arraysAreRead();
    void deepValuesAreRead();
};

namespace
{

void addColumns()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("content");
    QTest::addColumn<QStringList>("warnings");
}

void row(const char *signature, const char *value, const char *json,
         const QStringList &warnings = {})
{
    QTest::addRow("%s: %s", signature, value) << signature << value << json << warnings;
}

} // namespace

void TestReadingJson::valuesAreRead_data()
{
    addColumns();
    row("b", "true", "[true]");
    row("y", "7", "[7]");
    row("n", "-3", "[-3]");
    row("q", "4", "[4]");
    row("i", "-5", "[-5]");
    row("u", "4294967295", "[4294967295]");
    row("x", "-6", "[-6]");
    row("t", "8", "[8]");
    row("d", "1.5", "[1.5]");
    row("d", "nan", "[null]");
    row("s", "x", "[\"x\"]");
    row("s", "\xc3\xbc", "[\"\xc3\xbc\"]");
    row("s", "''", "[\"\"]");
    row("o", "/a", "[null]");
    row("g", "as", "[null]");

    row("v", "i 3", "[3]");
    row("v", "y 3", "[3]");
    row("v", "s x", "[\"x\"]");
    row("v", "as 2 x y", R"([["x","y"]])");
    row("v", "a{sv} 1 k i 3", R"([{"k":3}])");
    row("v", "ai 2 1 2", "[[1,2]]");
    row("v", "v i 3", "[null]");
    row("v", "(si) x 3", "[\"old\"]", {unsupported("(si)")});

    row("as", "2 x y", R"([["x","y"]])");
    row("as", "0", "[[]]");
    row("ay", "2 97 98", "[\"ab\"]");
    row("ai", "2 1 -2", "[[1,-2]]");
    row("ai", "0", "[[]]");
    row("an", "1 -3", "[[-3]]");
    row("ab", "2 true false", "[[true,false]]");
    row("ad", "1 0.5", "[[0.5]]");
    row("av", "3 i 1 s x as 1 y", R"([[1,"x",["y"]]])");
    row("av", "0", "[[]]");
    row("aas", "2 1 x 0", R"([[["x"],[]]])");
    row("aai", "2 1 7 0", "[[[7],[]]]");
    row("aa{sv}", "2 1 k i 3 0", R"([[{"k":3},{}]])");
    row("a(si)", "2 x 1 y 2", "[[null,null]]", {unsupported("(si)"), unsupported("(si)")});
    row("a(si)", "0", "[[]]");
    row("av", "2 (si) x 1 i 3", "[[null,3]]", {unsupported("(si)")});
    row("ao", "1 /a", "[[null]]");

    row("a{sv}", "2 b i 1 a s x", R"([{"a":"x","b":1}])");
    row("a{sv}", "0", "[{}]");
    row("a{si}", "1 k 3", R"([{"k":3}])");
    row("a{ss}", "1 k v", R"([{"k":"v"}])");
    row("a{is}", "2 3 x -4 y", R"([{"-4":"y","3":"x"}])");
    row("a{yv}", "1 107 s x", R"([{"k":"x"}])");
    row("a{bs}", "1 true x", R"([{"true":"x"}])");
    row("a{os}", "1 /a x", R"([{"/a":"x"}])");
    row("a{gs}", "1 as x", R"([{"as":"x"}])");
    row("a{s(si)}", "2 k x 1 l y 2", R"([{"k":null,"l":null}])",
        {unsupported("(si)"), unsupported("(si)")});
    row("a{sv}", "2 k (si) x 1 l i 2", R"([{"k":null,"l":2}])", {unsupported("(si)")});
    row("a{sa{sv}}", "1 k 1 l i 2", R"([{"k":{"l":2}}])");
    row("a{sv}", "3 k i 1 l i 2 k i 3", R"([{"k":3,"l":2}])");

    row("(si)", "x 3", "[\"old\"]", {unsupported("(si)")});
    row("(a{sv}(v))", "1 k i 3 i 4", "[\"old\"]", {unsupported("(a{sv}(v))")});
}

void TestReadingJson::valuesAreRead()
{
    QFETCH(QStringList, warnings);
    readRow(m_bus, QJsonValue("old"), warnings);
}

void TestReadingJson::objectsAreRead_data()
{
    addColumns();
    row("a{sv}", "1 k i 3", R"([{"k":3}])");
    row("a{sv}", "0", "[{}]");
    row("a{is}", "1 3 x", R"([{"3":"x"}])");
    for (const auto &[signature, value] :
         std::vector<std::pair<const char *, const char *>>{{"ai", "1 3"},
                                                            {"ai", "0"},
                                                            {"(si)", "x 3"},
                                                            {"s", "x"},
                                                            {"i", "3"},
                                                            {"v", "i 3"},
                                                            {"as", "1 x"},
                                                            {"ay", "1 2"},
                                                            {"aa{sv}", "1 0"}}) {
        row(signature, value, R"([{"old":1}])", {unsupported(signature)});
    }
}

void TestReadingJson::objectsAreRead()
{
    QFETCH(QStringList, warnings);
    readRow(m_bus, QJsonObject{{"old", 1}}, warnings);
}

void TestReadingJson::arraysAreRead_data()
{
    addColumns();
    row("ai", "2 1 2", "[[1,2]]");
    row("ai", "0", "[[]]");
    row("as", "2 x y", R"([["x","y"]])");
    row("as", "0", "[[]]");
    row("ay", "2 97 98", "[[97,98]]");
    row("av", "1 i 3", "[[3]]");
    row("aa{sv}", "1 1 k i 3", R"([[{"k":3}]])");
    row("a(si)", "1 x 3", "[[null]]", {unsupported("(si)")});
    for (const auto &[signature, value] :
         std::vector<std::pair<const char *, const char *>>{{"a{sv}", "1 k i 3"},
                                                            {"a{is}", "0"},
                                                            {"(si)", "x 3"},
                                                            {"s", "x"},
                                                            {"i", "3"},
                                                            {"v", "ai 1 3"}}) {
        row(signature, value, R"([["old"]])", {unsupported(signature)});
    }
}

void TestReadingJson::arraysAreRead()
{
    QFETCH(QStringList, warnings);
    readRow(m_bus, QJsonArray{"old"}, warnings);
}

// 64 containers, as deep as a message may be.
void TestReadingJson::deepValuesAreRead()
{
    QStringList value;
    for (int level = 0; level < 19; ++level) {
        value.append("a{sv} 1 k");
    }
    value.append("i 3");
    const QDBusArgument argument = receive(m_bus, "v", value.join(' '));
    QJsonValue read;
    argument.beginStructure();
    argument >> read;
    argument.endStructure();
    int levels = 0;
    while (read.isObject()) {
        read = read["k"];
        ++levels;
    }
    QCOMPARE(levels, 19);
    QCOMPARE(read.toInt(), 3);
}

OSTREL_TEST_MAIN(TestReadingJson)

#include "tst_reading_json.moc"
