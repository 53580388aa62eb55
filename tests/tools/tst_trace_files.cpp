// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl_messages.h"
#include "trace_reader.h"
#include "trace_texts.h"
#include "trace_writer.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace
{

const TraceEvent odd{TraceEvent::Complete, "\"\\\n\x7f ü \U0001F680", 5, 7, 1, 2, {{"a", "b"}}};

QByteArray signalLine(const QByteArray &member, const QByteArray &type, const QByteArray &data)
{
    return R"({"type":"signal","timestamp-realtime":7,"sender":":1.1","path":")" OSTREL_CONTROL_PATH
           R"(","interface":")" OSTREL_CONTROL_INTERFACE R"(","member":")"
        + member + R"(","payload":{"type":")" + type + R"(","data":)" + data + "}}";
}

} // namespace

// The files of traces, and the output of 'busctl' that becomes a trace.
class TestTraceFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fileOpensAfterEachEvent();
    void cutFileGivesItsCompleteEvents();
    void otherFilesAreNoTraces_data();
    void otherFilesAreNoTraces();
    void invalidEventsAreSkipped();
    void endlessLineIsReadInPieces();
    void linesThatAreNoMessagesAreRefused_data();
    void linesThatAreNoMessagesAreRefused();
    void oddMessagesDoNoHarm_data();
    void oddMessagesDoNoHarm();
    void signalsOfOthersAreIgnored();
};

void TestTraceFiles::fileOpensAfterEachEvent()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    TraceWriter writer;
    QVERIFY(writer.open(file));
    for (int i = 1; i <= 3; ++i) {
        QVERIFY(writer.write(odd));
        const QJsonDocument document = QJsonDocument::fromJson((readFile(file) + "\n]").toUtf8());
        QCOMPARE(document.array().size(), i);
        QCOMPARE(document.array().last()["name"].toString(), odd.name);
    }
    QVERIFY(writer.close());
    QCOMPARE(QJsonDocument::fromJson(readFile(file).toUtf8()).array().size(), 3);
}

void TestTraceFiles::cutFileGivesItsCompleteEvents()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    TraceWriter writer;
    QVERIFY(writer.open(file));
    QVector<int> ends;
    for (int i = 0; i < 3; ++i) {
        QVERIFY(writer.write(odd));
        ends.append(int(QFileInfo(file).size()));
    }
    QVERIFY(writer.close());
    QFile opened(file);
    QVERIFY(opened.open(QIODevice::ReadOnly));
    const QByteArray whole = opened.readAll();

    const QString cut = folder.filePath("cut");
    for (int size = 1; size <= whole.size(); ++size) {
        QFile output(cut);
        QVERIFY(output.open(QIODevice::WriteOnly));
        output.write(whole.left(size));
        output.close();
        int count = 0;
        const auto skipped = readTrace(cut, [&count](const TraceEvent &event) {
            ++count;
            QCOMPARE(toJson(event), toJson(odd));
        });
        QVERIFY(skipped);
        const auto complete =
            std::count_if(ends.cbegin(), ends.cend(), [size](int end) { return end <= size; });
        QCOMPARE(count, int(complete));
    }
}

void TestTraceFiles::otherFilesAreNoTraces_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("object") << "{\"traceEvents\":[]}";
    QTest::newRow("text") << "Dear reader,\n";
}

void TestTraceFiles::otherFilesAreNoTraces()
{
    QFETCH(const QString, text);
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    QCOMPARE(readTrace(file, {}).error(), "cannot read " + file + ": No such file or directory");
    writeFile(file, text);
    QCOMPARE(readTrace(file, {}).error(), file + " is no trace");
}

void TestTraceFiles::invalidEventsAreSkipped()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    writeFile(file,
              QStringList{"[", R"({"ph":"B","ts":1},)", R"({"ph":"i","ts":"1"},)",
                          R"({"ph":"X","ts":1},)", R"({"ph":"X","ts":1,"dur":1e300},)",
                          R"({"ph":"","ts":1},)", "null,", R"({"ph":"i","ts":1,"name":"good"},)",
                          R"({"ph":"M","name":"untimed"})", "]"}
                  .join('\n'));
    QStringList names;
    const auto skipped =
        readTrace(file, [&names](const TraceEvent &event) { names.append(event.name); });
    QCOMPARE(*skipped, 6);
    QCOMPARE(names, (QStringList{"good", "untimed"}));
}

void TestTraceFiles::endlessLineIsReadInPieces()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    writeFile(file, R"([
{"ph":"i","ts":1,"name":"first"},
)");
    QFile output(file);
    QVERIFY(output.open(QIODevice::Append));
    // No line may be longer than a fifth of this.
    QVERIFY(output.resize(qint64(80) * 1024 * 1024));
    QVERIFY(output.seek(output.size()));
    output.write("\n{\"ph\":\"i\",\"ts\":2,\"name\":\"last\"}");
    output.close();

    TraceReader reader;
    QVERIFY(reader.open(file));
    QStringList names;
    int calls = 0;
    while (*reader.next([&names](const TraceEvent &event) { names.append(event.name); })) {
        ++calls;
    }
    QVERIFY2(calls > 8, qPrintable(QString::number(calls)));
    QCOMPARE(names, (QStringList{"first", "last"}));
    QCOMPARE(reader.skipped(), 1);

    // Not even the first line of such a file.
    QVERIFY(output.open(QIODevice::WriteOnly));
    QVERIFY(output.resize(qint64(80) * 1024 * 1024));
    TraceReader other;
    QCOMPARE(other.open(file).error(), file + " is no trace");
}

void TestTraceFiles::linesThatAreNoMessagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("Monitoring bus message stream.");
    QTest::newRow("array") << QByteArray("[1,2]");
    QTest::newRow("no time") << QByteArray(R"({"type":"signal"})");
    QTest::newRow("no type") << QByteArray(R"({"timestamp-realtime":7})");
    QTest::newRow("odd type") << QByteArray(R"({"type":"invalid","timestamp-realtime":7})");
    QTest::newRow("cut") << signalLine("Started", "sa{sv}", "[]").chopped(1);
    QTest::newRow("deep") << signalLine("Started", "sa{sv}", QByteArray(100'000, '['));
    QTest::newRow("binary") << QByteArray("\0\xff\xfe{", 4);
}

void TestTraceFiles::linesThatAreNoMessagesAreRefused()
{
    QFETCH(const QByteArray, line);
    BusctlMessages messages([](const TraceEvent &) { QFAIL("something was recorded"); });
    QVERIFY(!messages.read(line));
    QVERIFY(!messages.finish());
}

void TestTraceFiles::oddMessagesDoNoHarm_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("recorded");
    const auto row = [](const char *name, const char *member, const char *type,
                        const QByteArray &data, const QString &recorded) {
        QTest::newRow(name) << signalLine(member, type, data) << recorded;
    };
    row("state", "StateChanged", "sa{sv}", R"(["a",{"State":{"type":"u","data":5}}])",
        "i a: state 5");
    row("largest state", "StateChanged", "sa{sv}",
        R"(["a",{"State":{"type":"u","data":4294967295}}])", "i a: state 4294967295");
    row("negative state", "StateChanged", "sa{sv}", R"(["a",{"State":{"type":"i","data":-1}}])",
        "i a: state 4294967295");
    row("state as a string", "StateChanged", "sa{sv}", R"(["a",{"State":{"type":"s","data":"3"}}])",
        "i a: state 3");
    row("state of another type", "StateChanged", "sa{sv}",
        R"(["a",{"State":{"type":"as","data":["x"]}}])", "i a: state 0");
    row("no state", "StateChanged", "sa{sv}", R"(["a",{}])", QString());
    row("other signature", "StateChanged", "su", R"(["a",5])", QString());
    row("no arguments", "Started", "sa{sv}", "[]", "i : Started");
    row("arguments of other types", "Started", "sa{sv}", R"([[1],"x"])", "i : Started");
    row("no array", "Started", "sa{sv}", R"("x")", "i : Started");
    row("details of other types", "Started", "sa{sv}", R"(["a",{"x":1,"y":[]}])", "i a: Started");
    row("process as a number", "SelectedByOom", "i", "[17]", QString());
    QTest::newRow("numbers as strings")
        << QByteArray(R"({"type":"method_call","timestamp-realtime":"7","cookie":"x",)"
                      R"("flags":[],"destination":{},"sender":7,"payload":null})")
        << QString();
    QTest::newRow("huge numbers") << QByteArray(
        R"({"type":"method_return","timestamp-realtime":1e300,"cookie":-1e300})")
                                  << QString();
}

void TestTraceFiles::oddMessagesDoNoHarm()
{
    QFETCH(const QByteArray, line);
    QByteArray text = "[";
    BusctlMessages messages([&text](const TraceEvent &event) {
        text += (text.size() == 1 ? "" : ",") + toJson(event);
    });
    messages.read(line);
    messages.finish();
    const TraceTexts trace = traceTexts(QString::fromUtf8(text) + ']');
    QCOMPARE(trace.faults, QStringList());
    QStringList moments = trace.all.filter(QRegularExpression("^i (?!service)"));
    QTEST(moments.join('\n'), "recorded");
}

void TestTraceFiles::signalsOfOthersAreIgnored()
{
    QStringList names;
    BusctlMessages messages([&names](const TraceEvent &event) { names.append(event.name); });
    const auto owner = [](const char *name) {
        return QByteArray(R"({"type":"signal","timestamp-realtime":7,)"
                          R"("sender":"org.freedesktop.DBus","member":"NameOwnerChanged",)"
                          R"("payload":{"type":"sss","data":[")" OSTREL_SERVICE_NAME R"(","",")")
            + name + R"("]}})";
    };
    const QByteArray line =
        signalLine("StateChanged", "sa{sv}", R"(["a",{"State":{"type":"u","data":5}}])");
    messages.read(owner(":1.2"));
    messages.read(line);
    messages.read(owner(""));
    messages.read(line);
    QVERIFY(!names.contains("state 5"));
    messages.read(owner(":1.1"));
    messages.read(line);
    QVERIFY(names.contains("state 5"));
}

OSTREL_TEST_MAIN(TestTraceFiles)

#include "tst_trace_files.moc"
