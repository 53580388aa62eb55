// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QStringBuilder>
#include <QtDBus/QDBusObjectPath>

#include <vector>

using namespace Ostrel::Testing;

Q_DECLARE_METATYPE(Call)
Q_DECLARE_METATYPE(std::vector<ExpectedCall>)

namespace
{

// A call of ".Control1" as if it had been received.
Call received(const QString &member, const QVariantList &arguments = {})
{
    return {OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, QString(), arguments};
}

} // namespace

// What a test expects of calls, and how it is told what came instead.
class TestTestingCalls : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreWrittenAsGLibWritesThem_data();
    void valuesAreWrittenAsGLibWritesThem();
    void expectedValuesMatchWhatArrives_data();
    void expectedValuesMatchWhatArrives();
    void anyStringOfQtIsAString();
    void otherValuesDoNotMatch_data();
    void otherValuesDoNotMatch();
    void differenceNamesEachCall_data();
    void differenceNamesEachCall();
    void everyMethodHasItsName();

private:
    // Sends a map with this value, and returns the value as it arrived.
    QVariant arrived(const QString &value) const;
};

QVariant TestTestingCalls::arrived(const QString &value) const
{
    busctl(m_bus,
           QStringList{"call", "--", OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                       OSTREL_CONTROL_INTERFACE, "StartDebug", "sa{sv}", "no.such", "1", "k"}
               + wordsOf(value));
    const QVariant map = m_simulator.calls().constLast().arguments.at(1);
    return qdbus_cast<QVariantMap>(map).value("k");
}

void TestTestingCalls::valuesAreWrittenAsGLibWritesThem_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *value, const char *text) {
        QTest::newRow(value) << value << text;
    };
    row("s a\"b\\c\n\x01\xc3\xa9", "\"a\\\"b\\\\c\\n\\u0001\xc3\xa9\"");
    row("b true", "true");
    row("y 7", "byte 7");
    row("n -3", "int16 -3");
    row("q 4", "uint16 4");
    row("i -5", "-5");
    row("u 6", "uint32 6");
    row("x -7", "int64 -7");
    row("t 8", "uint64 8");
    row("d 9", "9.0");
    row("d 0.1", "0.1");
    row("d 1e300", "1e+300");
    row("d nan", "nan");
    row("o /a", "objectpath \"/a\"");
    row("g as", "signature \"as\"");
    row("ay 2 65 66", "bytes \"AB\"");
    row("as 2 a b", "[\"a\", \"b\"]");
    row("ai 0", "[]");
    row("(iv) 1 s x", "[1, \"x\"]");
    row("a{sv} 2 b u 1 a as 1 x", "{\"a\": [\"x\"], \"b\": uint32 1}");
    row("a{is} 1 5 x", "{\"5\": \"x\"}");
}

void TestTestingCalls::valuesAreWrittenAsGLibWritesThem()
{
    QFETCH(const QString, value);
    QFETCH(const QString, text);
    arrived(value);
    QCOMPARE(m_simulator.calls().constLast().text(),
             "Control1.StartDebug(\"no.such\", {\"k\": " + text + "})");
}

void TestTestingCalls::expectedValuesMatchWhatArrives_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("string") << "s x" << QVariant("x");
    QTest::newRow("number") << "i 3" << QVariant(3);
    QTest::newRow("unsigned number") << "u 3" << QVariant(3U);
    QTest::newRow("strings") << "as 1 x" << QVariant(QStringList{"x"});
    QTest::newRow("numbers") << "ai 2 1 2" << QVariant::fromValue(QList<int>{1, 2});
    QTest::newRow("structure") << "(is) 1 x" << QVariant(QVariantList{1, "x"});
    QTest::newRow("map") << "a{sv} 1 a v i 1" << QVariant(QVariantMap{{"a", 1}});
    QTest::newRow("map of strings")
        << "a{ss} 1 a b" << QVariant::fromValue(QMap<QString, QString>{{"a", "b"}});
    QTest::newRow("path") << "o /a" << QVariant::fromValue(QDBusObjectPath("/a"));
}

void TestTestingCalls::expectedValuesMatchWhatArrives()
{
    QFETCH(const QString, value);
    QFETCH(const QVariant, expected);
    QVERIFY(Argument(expected).matches(arrived(value)));
}

void TestTestingCalls::anyStringOfQtIsAString()
{
    const QString string = "ab";
    const QVector<Argument> all{Argument(string),
                                Argument("ab"),
                                Argument(QLatin1String("ab")),
                                Argument(QStringView(string)),
                                Argument(u"ab"),
                                Argument(string.leftRef(1) % QLatin1String("b")),
                                Argument(string.midRef(0))};
    for (const Argument &argument : all) {
        QCOMPARE(argument.text(), "\"ab\"");
    }
    QCOMPARE(Argument(QByteArray("ab")).text(), "bytes \"ab\"");
}

void TestTestingCalls::otherValuesDoNotMatch_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("other string") << "s x" << QVariant("y");
    QTest::newRow("other type of number") << "u 3" << QVariant(3);
    QTest::newRow("number for string") << "s 3" << QVariant(3);
    QTest::newRow("longer list") << "ai 1 1" << QVariant(QVariantList{1, 2});
    QTest::newRow("further entry") << "a{si} 2 a 1 b 2" << QVariant(QVariantMap{{"a", 1}});
    QTest::newRow("nothing") << "s ''" << QVariant();
}

void TestTestingCalls::otherValuesDoNotMatch()
{
    QFETCH(const QString, value);
    QFETCH(const QVariant, expected);
    QVERIFY(!Argument(expected).matches(arrived(value)));
}

void TestTestingCalls::differenceNamesEachCall_data()
{
    QTest::addColumn<QVector<Call>>("calls");
    QTest::addColumn<std::vector<ExpectedCall>>("expected");
    QTest::addColumn<QString>("difference");

    using Calls = QVector<Call>;
    using Expected = std::vector<ExpectedCall>;
    const Call start = received("Start", {"a"});
    const Call terminate = received("Terminate", {"b"});
    const Call debug = received("StartDebug", {"a", QVariantMap{{"x", 1}, {"y", "z"}}});

    QTest::newRow("nothing") << Calls() << Expected() << QString();
    QTest::newRow("as expected") << Calls{start, terminate}
                                 << Expected{call(Method::Start).with("a"), Method::Terminate}
                                 << QString();
    QTest::newRow("none came") << Calls() << Expected{Method::Start} << "- Control1.Start(...)";
    QTest::newRow("one too many") << Calls{start} << Expected() << "+ Control1.Start(\"a\")";
    QTest::newRow("other argument") << Calls{start} << Expected{call(Method::Start).with("b")}
                                    << "- Control1.Start(\"b\")\n+ Control1.Start(\"a\")";
    QTest::newRow("further argument") << Calls{start} << Expected{call(Method::Start).with()}
                                      << "- Control1.Start()\n+ Control1.Start(\"a\")";
    QTest::newRow("one is missing between others")
        << Calls{start, terminate}
        << Expected{Method::Start, call(Method::StopTask).with("t"), Method::Terminate}
        << "  Control1.Start(\"a\")\n- TaskInvokerSession1.Stop(\"t\")\n"
           "  Control1.Terminate(\"b\")";
    QTest::newRow("one more came before") << Calls{terminate, start} << Expected{Method::Start}
                                          << "+ Control1.Terminate(\"b\")\n  Control1.Start(\"a\")";
    QTest::newRow("other order") << Calls{terminate, start}
                                 << Expected{Method::Start, Method::Terminate}
                                 << "- Control1.Start(...)\n  Control1.Terminate(\"b\")\n"
                                    "+ Control1.Start(\"a\")";
    QTest::newRow("anything") << Calls{debug}
                              << Expected{call(Method::StartDebug).with(anything(), anything())}
                              << QString();
    QTest::newRow("contained")
        << Calls{debug} << Expected{call(Method::StartDebug).with("a", containing({{"y", "z"}}))}
        << QString();
    QTest::newRow("not contained")
        << Calls{debug} << Expected{call(Method::StartDebug).with("a", containing({{"y", 1}}))}
        << "- Control1.StartDebug(\"a\", containing {\"y\": 1})\n"
           "+ Control1.StartDebug(\"a\", {\"x\": 1, \"y\": \"z\"})";
    QTest::newRow("no map") << Calls{start} << Expected{call(Method::Start).with(containing({}))}
                            << "- Control1.Start(containing {})\n+ Control1.Start(\"a\")";
    const auto isLong = [](const QVariant &value) { return value.toString().size() > 1; };
    QTest::newRow("condition")
        << Calls{start} << Expected{call(Method::Start).with(satisfying("a long string", isLong))}
        << "- Control1.Start(a long string)\n+ Control1.Start(\"a\")";
    Call foreign = start;
    foreign.interface = "a.b";
    QTest::newRow("other interface")
        << Calls{foreign} << Expected{Method::Start} << "- Control1.Start(...)\n+ a.b.Start(\"a\")";
}

void TestTestingCalls::differenceNamesEachCall()
{
    QFETCH(const QVector<Call>, calls);
    QFETCH(const std::vector<ExpectedCall>, expected);
    QTEST(Ostrel::Testing::difference(calls, {expected.begin(), expected.end()}), "difference");
}

// The simulator refuses a fault of a method that it does not have.
void TestTestingCalls::everyMethodHasItsName()
{
    for (const Method method : {Method::Start, Method::StartDebug, Method::Terminate,
                                Method::GetRunningApplications, Method::RegisterInvoker,
                                Method::StartTask, Method::StopTask, Method::UpdateWindowStatus}) {
        m_simulator.faults(method).ignoreNext();
    }
    QCOMPARE(call(Method::StartTask).text(), "TaskInvokerSession1.Start(...)");
}

OSTREL_TEST_MAIN(TestTestingCalls)

#include "tst_testing_calls.moc"
