// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "quiet_test.h"
#include "warnings.h"

#include "DBus/names_p.h"
#include "DBus/types_json_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace
{

QJsonValue parse(const QString &text)
{
    const QJsonDocument document = QJsonDocument::fromJson('[' + text.toUtf8() + ']');
    if (document.array().size() != 1) {
        qFatal("no JSON value: %s", qPrintable(text));
    }
    return document.array().first();
}

// Returns so many nested objects.
QJsonObject nested(int levels)
{
    QJsonObject object{{"k", 1}};
    for (int level = 1; level < levels; ++level) {
        object = QJsonObject{{"k", object}};
    }
    return object;
}

// Returns busctl's JSON with short numbers; busctl prints all their digits.
QString withPlainNumbers(const QString &json)
{
    const QRegularExpression number("-?[0-9]\\.[0-9]{21}e[+-][0-9]+");
    QString plain;
    int end = 0;
    auto each = number.globalMatch(json);
    while (each.hasNext()) {
        const auto match = each.next();
        plain += json.midRef(end, match.capturedStart() - end)
            + QString::number(match.captured().toDouble(), 'g', 17);
        end = match.capturedEnd();
    }
    return plain + json.midRef(end);
}

int levelsOf(const QString &logged)
{
    return logged.count("\"a{sv}\"");
}

} // namespace

// JSON values arrive in another process, where busctl reads them. It shares no code with Qt.
class TestWritingJson : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void valuesAreWritten_data();
    void valuesAreWritten();
    void undefinedWritesNothing();
    void nullIsWrittenAsAnEmptyVariant();
    void arraysAndObjectsAreWrittenOnTheirOwn();
    void restOfTheMessageArrives();
    void deepObjectsAreCut();
    void deepMixedArraysAreCut();

private:
    // Sends what the writer makes of a value, between two markers. Returns what busctl sees between
    // them: signature and values.
    template <typename Json> QString sent(const Json &json);
};

void TestWritingJson::initTestCase()
{
    Ostrel::registerDBusTypes();
}

template <typename Json> QString TestWritingJson::sent(const Json &json)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << QString("before");
    QDBusArgument &returned = argument << json;
    argument << QString("after");
    argument.endStructure();
    if (&returned != &argument) {
        qFatal("the writer returned another argument");
    }
    m_simulator.desk("ClearCalls");
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
        << QVariant::fromValue(argument));
    const QString logged = withPlainNumbers(busctlDesk(m_bus, "Calls"));
    const QString signature = logged.section("\"Take\",\"(s", 1).section("s)\"", 0, 0);
    const QString data = logged.section("\"before\"", 1).section(",\"after\"", 0, 0);
    return signature + ' ' + data.mid(1);
}

void TestWritingJson::valuesAreWritten_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("arrived");
    QTest::addColumn<QStringList>("warnings");

    const QString type = "Unknown JSON value type";
    const QString arrays = "JSON array of arrays are not supported";
    const auto row = [](const char *json, const char *arrived, const QStringList &warnings = {}) {
        QTest::newRow(json) << json << QString::fromUtf8(arrived).replace('\'', '"') << warnings;
    };
    row("true", "b true");
    row("false", "b false");
    row("3", "d 3");
    row("-1.5", "d -1.5");
    row("9007199254740993", "d 9007199254740992");
    row("\"\"", "s ''");
    row("\"x \xc3\xbc\"", "s 'x \xc3\xbc'");

    row("{}", "a{sv} {}");
    row(R"({"b":1,"a":true})", "a{sv} {'a':{'type':'b','data':true},'b':{'type':'d','data':1}}");
    row(R"({"k":{"l":"x"}})", "a{sv} {'k':{'type':'a{sv}','data':{'l':{'type':'s','data':'x'}}}}");
    row(R"({"k":[]})", "a{sv} {'k':{'type':'av','data':[]}}");
    row(R"({"k":[true,false]})", "a{sv} {'k':{'type':'ab','data':[true,false]}}");
    row(R"({"":1})", "a{sv} {'':{'type':'d','data':1}}");

    row("[]", "av []");
    row("[true,false]", "ab [true,false]");
    row("[1,2.5]", "ad [1,2.5]");
    row(R"(["x",""])", "as ['x','']");
    row(R"([{"k":1},{}])", "aa{sv} [{'k':{'type':'d','data':1}},{}]");
    row(R"(["x",1])", "av [{'type':'s','data':'x'},{'type':'d','data':1}]");
    row(R"([1,"x",true])",
        "av [{'type':'d','data':1},{'type':'s','data':'x'},{'type':'b','data':true}]");
    row(R"(["x",[1]])",
        "av [{'type':'s','data':'x'},{'type':'av','data':[{'type':'d','data':1}]}]");
    row(R"([[1],"x"])",
        "av [{'type':'av','data':[{'type':'d','data':1}]},{'type':'s','data':'x'}]");
    row(R"(["x",[[1],[2]]])",
        "av [{'type':'s','data':'x'},{'type':'av','data':[{'type':'av','data':[{'type':'d','data':"
        "1}]},{'type':'av','data':[{'type':'d','data':2}]}]}]");
    row(R"(["x",{"k":2}])",
        "av [{'type':'s','data':'x'},{'type':'a{sv}','data':{'k':{'type':'d','data':2}}}]");

    // Values that have no form on the bus.
    row("[[1],[2]]", " ", {arrays});
    row("[[]]", " ", {arrays});
    row("[null,null]", " ", {type});
    row("[null]", " ", {type});
    row(R"({"k":null,"z":1})", "a{sv} {'z':{'type':'d','data':1}}");
    row(R"({"k":[[1],[2]],"z":1})", "a{sv} {'z':{'type':'d','data':1}}", {arrays});
    row(R"({"k":[null],"z":1})", "a{sv} {'z':{'type':'d','data':1}}", {type});
    row(R"([{"a":null}])", "aa{sv} [{}]");
    row(R"({"k":{"l":[[1]]}})", "a{sv} {'k':{'type':'a{sv}','data':{}}}", {arrays});
    row(R"(["x",null,1])", "av [{'type':'s','data':'x'},{'type':'d','data':1}]", {type});
    row(R"([null,"x"])", "av [{'type':'s','data':'x'}]", {type});
    row(R"(["x",{"k":null,"l":1}])",
        "av [{'type':'s','data':'x'},{'type':'a{sv}','data':{'l':{'type':'d','data':1}}}]", {type});
    row(R"(["x",[null]])", "av [{'type':'s','data':'x'},{'type':'av','data':[]}]", {type});
}

void TestWritingJson::valuesAreWritten()
{
    QFETCH(QString, json);
    const Warnings warnings;
    QTEST(sent(parse(json)), "arrived");
    QTEST(warnings.texts(), "warnings");
}

void TestWritingJson::undefinedWritesNothing()
{
    const Warnings warnings;
    QCOMPARE(sent(QJsonValue(QJsonValue::Undefined)), " ");
    QCOMPARE(warnings.texts(), QStringList("Unknown JSON value type"));
}

// Qt writes no such value, and warns. It also loses the argument.
void TestWritingJson::nullIsWrittenAsAnEmptyVariant()
{
    const Warnings warnings;
    QDBusArgument argument;
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler lossesOfQt;
#endif
    argument << QJsonValue(QJsonValue::Null);
    QCOMPARE(argument.currentSignature(), QString());
    QCOMPARE(warnings.texts(), QStringList("QDBusMarshaller: cannot add a null QDBusVariant"));
}

void TestWritingJson::arraysAndObjectsAreWrittenOnTheirOwn()
{
    const Warnings warnings;
    QCOMPARE(sent(QJsonArray{1, 2}), "ad [1,2]");
    QCOMPARE(sent(QJsonArray{}), "av []");
    QCOMPARE(sent(QJsonObject{{"k", true}}), R"(a{sv} {"k":{"type":"b","data":true}})");
    QCOMPARE(sent(QJsonObject{}), "a{sv} {}");
    QCOMPARE(warnings.texts(), QStringList());
}

// Through the registration: as arguments of a message, and as values in a map.
void TestWritingJson::restOfTheMessageArrives()
{
    const Warnings warnings;
    const QJsonObject object = parse(R"({"a":[1,2],"k":[[1],[2]],"z":"x"})").toObject();
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
        << 1 << QVariant(object) << QVariantMap{{"m", object}} << 2);
    const Call call = m_simulator.calls().constFirst();
    QCOMPARE(call.signature, "ia{sv}a{sv}i");
    QCOMPARE(call.arguments.at(3), QVariant(2));
    const QString one = R"({"a":{"type":"ad","data":[1,2]},"z":{"type":"s","data":"x"}})";
    const QString logged = withPlainNumbers(busctlDesk(m_bus, "Calls"));
    QCOMPARE(logged.section("\"ia{sv}a{sv}i\",", 1),
             QString(R"([{"type":"i","data":1},{"type":"a{sv}","data":%1},)"
                     R"({"type":"a{sv}","data":{"m":{"type":"a{sv}","data":%1}}},)"
                     R"({"type":"i","data":2}]]]]})")
                 .arg(one));
    QCOMPARE(warnings.texts(),
             QStringList({"JSON array of arrays are not supported",
                          "JSON array of arrays are not supported"}));
}

// Over a message that is too deep, the bus would drop the connection.
void TestWritingJson::deepObjectsAreCut()
{
    const Warnings warnings;
    QCOMPARE(levelsOf(sent(nested(16))), 15);
    QCOMPARE(warnings.texts(), QStringList());
    for (const int levels : {17, 30, 200}) {
        QCOMPARE(levelsOf(sent(nested(levels))), 15);
    }
    const QString text = "JSON value is nested too deeply";
    QCOMPARE(warnings.texts(), (QStringList{text, text, text}));
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

void TestWritingJson::deepMixedArraysAreCut()
{
    QJsonArray array{"x", 1};
    for (int level = 1; level < 200; ++level) {
        array = QJsonArray{"x", array};
    }
    QJsonValue objects = nested(200);
    const Warnings warnings;
    const QString arrived = sent(array);
    QVERIFY(arrived.startsWith("av "));
    QCOMPARE(arrived.count("\"av\""), 15);
    QVERIFY(sent(QJsonArray{"x", objects}).startsWith("av "));
    QCOMPARE(warnings.texts().size(), 2);
    QVERIFY(QDBusConnection::sessionBus().isConnected());
}

OSTREL_TEST_MAIN(TestWritingJson)

#include "tst_writing_json.moc"
