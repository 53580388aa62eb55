// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl_messages.h"
#include "trace_reader.h"
#include "trace_recorder.h"
#include "trace_texts.h"
#include "trace_writer.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace
{

const TraceEvent odd{TraceEvent::Complete, "\"\\\n\x7f ü \U0001F680", 5, 7, 1, 2, {{"a", "b"}}};

// What a recorder makes of something, as strings.
class Recording
{
    QByteArray m_text;

public:
    TraceRecorder recorder{[this](const TraceEvent &event) {
                               m_text += (m_text.isEmpty() ? "[" : ",") + toJson(event);
                           },
                           100,
                           {}};

    TraceTexts texts() const { return traceTexts(QString::fromUtf8(m_text) + ']'); }

    // The events after the first one.
    QStringList all() const { return texts().all.mid(1); }
};

BusMessage message(const QString &peer, quint32 serial, const QString &member = QString())
{
    BusMessage made;
    made.type = member.isNull() ? BusMessage::Reply : BusMessage::Call;
    (member.isNull() ? made.destination : made.sender) = peer;
    (member.isNull() ? made.replySerial : made.serial) = serial;
    made.member = member;
    return made;
}

QByteArray signalLine(const QByteArray &member, const QByteArray &type, const QByteArray &data)
{
    return R"({"type":"signal","timestamp-realtime":7,"sender":":1.1","path":")" OSTREL_CONTROL_PATH
           R"(","interface":")" OSTREL_CONTROL_INTERFACE R"(","member":")"
        + member + R"(","payload":{"type":")" + type + R"(","data":)" + data + "}}";
}

} // namespace

// Traces without a bus: the files, the lanes, and what others may put into them.
class TestTrace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fileOpensAfterEachEvent();
    void cutFileGivesItsCompleteEvents();
    void otherFilesAreNoTraces_data();
    void otherFilesAreNoTraces();
    void invalidEventsAreSkipped();
    void endlessLineIsReadInPieces();
    void timesNeverGoBack();
    void stateMayComeBeforeTheStart();
    void endWithoutAStartIsAMoment();
    void callWithoutReplyIsAMoment();
    void reusedSerialEndsTheCall();
    void laneOfACallIsUsedAgain();
    void callIsAnnouncedAsTheStretchThatEndsIt();
    void instanceKeepsItsLane();
    void tooManyInstancesAreLeftOut();
    void tooManyCallsAreMoments();
    void linesThatAreNoMessagesAreRefused_data();
    void linesThatAreNoMessagesAreRefused();
    void oddMessagesDoNoHarm_data();
    void oddMessagesDoNoHarm();
    void signalsOfOthersAreIgnored();
};

void TestTrace::fileOpensAfterEachEvent()
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

void TestTrace::cutFileGivesItsCompleteEvents()
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

void TestTrace::otherFilesAreNoTraces_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("object") << "{\"traceEvents\":[]}";
    QTest::newRow("text") << "Dear reader,\n";
}

void TestTrace::otherFilesAreNoTraces()
{
    QFETCH(const QString, text);
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    QCOMPARE(readTrace(file, {}).error(), "cannot read " + file + ": No such file or directory");
    writeFile(file, text);
    QCOMPARE(readTrace(file, {}).error(), file + " is no trace");
}

void TestTrace::invalidEventsAreSkipped()
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

void TestTrace::endlessLineIsReadInPieces()
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

// The time of day may be set back while others record.
void TestTrace::timesNeverGoBack()
{
    Recording recording;
    recording.recorder.call(200, message(":1.1", 1, "Start"));
    recording.recorder.reply(150, message(":1.1", 1));
    recording.recorder.stateChanged(50, "a", 1);
    recording.recorder.terminated(-1, "a", {});
    recording.recorder.finish(0);
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(recording.all().constFirst(), "X calls 1: Start, success");
}

void TestTrace::stateMayComeBeforeTheStart()
{
    Recording recording;
    recording.recorder.stateChanged(200, "a", 7);
    recording.recorder.started(300, "a", {});
    recording.recorder.terminated(400, "a", {});
    QCOMPARE(recording.all(),
             (QStringList{"i a: state 7", "C service: running instances 1", "i a: Started",
                          "X a: state 7", "C service: running instances 0", "i a: Terminated"}));
}

void TestTrace::endWithoutAStartIsAMoment()
{
    Recording recording;
    recording.recorder.terminated(200, "a", {});
    QCOMPARE(recording.all(), QStringList("i a: Terminated"));
}

void TestTrace::callWithoutReplyIsAMoment()
{
    Recording recording;
    BusMessage call = message(":1.1", 1, "Start");
    call.expectsReply = false;
    recording.recorder.call(200, call);
    recording.recorder.reply(300, message(":1.1", 1));
    QCOMPARE(recording.all(), QStringList("i calls 1: Start, not wanted"));
}

void TestTrace::reusedSerialEndsTheCall()
{
    Recording recording;
    recording.recorder.call(200, message(":1.1", 1, "One"));
    recording.recorder.call(300, message(":1.1", 1, "Two"));
    recording.recorder.reply(400, message(":1.1", 1));
    recording.recorder.reply(500, message(":1.1", 1));
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(recording.all(), (QStringList{"X calls 1: One, unknown", "X calls 1: Two, success"}));
}

void TestTrace::laneOfACallIsUsedAgain()
{
    Recording recording;
    recording.recorder.call(200, message(":1.1", 1, "One"));
    recording.recorder.call(210, message(":1.2", 1, "Two"));
    recording.recorder.reply(220, message(":1.1", 1));
    recording.recorder.call(220, message(":1.3", 1, "Three"));
    recording.recorder.left(230, ":1.2");
    recording.recorder.call(240, message(":1.3", 2, "Four"));
    recording.recorder.finish(250);
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(
        recording.all().filter("X "),
        (QStringList{"X calls 1: One, success", "X calls 2: Two, none: the caller has left the bus",
                     "X calls 1: Three, none until the trace ended",
                     "X calls 2: Four, none until the trace ended"}));
}

void TestTrace::callIsAnnouncedAsTheStretchThatEndsIt()
{
    QVector<TraceEvent> begun;
    QVector<TraceEvent> ended;
    TraceRecorder recorder(
        [&ended](const TraceEvent &event) {
            if (event.phase == TraceEvent::Complete) {
                ended.append(event);
            }
        },
        100, {}, [&begun](const TraceEvent &call) { begun.append(call); });
    recorder.call(200, message(":1.1", 1, "One"));
    recorder.call(210, message(":1.1", 2, "Two"));
    BusMessage silent = message(":1.1", 3, "Three");
    silent.expectsReply = false;
    recorder.call(220, silent);
    QCOMPARE(begun.size(), 2);
    QCOMPARE(ended.size(), 0);
    recorder.finish(300);
    QCOMPARE(ended.size(), 2);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(begun.at(i).name, ended.at(i).name);
        QCOMPARE(begun.at(i).time, ended.at(i).time);
        QCOMPARE(begun.at(i).lane, ended.at(i).lane);
        QCOMPARE(begun.at(i).arguments["sender"].toString(), ":1.1");
    }
}

void TestTrace::instanceKeepsItsLane()
{
    Recording recording;
    for (int time = 200; time < 400; time += 100) {
        recording.recorder.started(time, "a", {});
        recording.recorder.terminated(time + 50, "a", {});
    }
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(recording.all().filter("X a: started").size(), 2);
    QStringList lanes;
    TraceRecorder counted(
        [&lanes](const TraceEvent &event) {
            if (event.name == "thread_name") {
                lanes.append(event.arguments["name"].toString());
            }
        },
        0, {});
    for (int i = 0; i < 3; ++i) {
        counted.started(i, "a", {});
        counted.terminated(i, "a", {});
    }
    QCOMPARE(lanes, (QStringList{"service", "a"}));
}

void TestTrace::tooManyInstancesAreLeftOut()
{
    constexpr int most = 20'000;
    QStringList last;
    TraceRecorder recorder(
        [&last](const TraceEvent &event) {
            if (event.phase == TraceEvent::Instant) {
                last.append(event.name);
                last = last.mid(last.size() - 2);
            }
        },
        0, {});
    for (int i = 0; i < most; ++i) {
        recorder.started(i, QString::number(i), {});
    }
    recorder.stateChanged(most, "a", 1);
    recorder.stateChanged(most, "b", 2);
    QCOMPARE(last, (QStringList{"Started", "further instances are left out"}));
    recorder.terminated(most, "17", {});
    recorder.stateChanged(most, "b", 3);
    QCOMPARE(last, (QStringList{"Terminated", "state 3"}));
}

void TestTrace::tooManyCallsAreMoments()
{
    constexpr int most = 10'000;
    Recording recording;
    for (int i = 0; i <= most; ++i) {
        recording.recorder.call(200, message(":1.1", quint32(i), "Start"));
    }
    QCOMPARE(recording.all(), QStringList("i calls 1: Start, not recorded: too many calls"));
}

void TestTrace::linesThatAreNoMessagesAreRefused_data()
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

void TestTrace::linesThatAreNoMessagesAreRefused()
{
    QFETCH(const QByteArray, line);
    BusctlMessages messages([](const TraceEvent &) { QFAIL("something was recorded"); });
    QVERIFY(!messages.read(line));
    QVERIFY(!messages.finish());
}

void TestTrace::oddMessagesDoNoHarm_data()
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

void TestTrace::oddMessagesDoNoHarm()
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

void TestTrace::signalsOfOthersAreIgnored()
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

OSTREL_TEST_MAIN(TestTrace)

#include "tst_trace.moc"
