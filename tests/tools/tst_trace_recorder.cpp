// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_recorder.h"
#include "trace_texts.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QRegularExpression>

namespace
{

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

} // namespace

// What becomes of calls and signals in a trace.
class TestTraceRecorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timesNeverGoBack();
    void stateMayComeBeforeTheStart();
    void endWithoutAStartIsAMoment();
    void callWithoutReplyIsAMoment();
    void reusedSerialEndsTheCall();
    void laneOfACallIsUsedAgain();
    void callIsAnnouncedAsTheStretchThatEndsIt();
    void instanceKeepsItsLane();
    void listedInstanceRunsUnlessASignalHasComeBefore();
    void tooManyInstancesAreLeftOut();
    void tooManyCallsAreMoments();
};

// The time of day may be set back while others record.
void TestTraceRecorder::timesNeverGoBack()
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

void TestTraceRecorder::stateMayComeBeforeTheStart()
{
    Recording recording;
    recording.recorder.stateChanged(200, "a", 7);
    recording.recorder.started(300, "a", {});
    recording.recorder.terminated(400, "a", {});
    QCOMPARE(recording.all(),
             (QStringList{"i a: state 7", "C service: running instances 1", "i a: Started",
                          "X a: state 7", "C service: running instances 0", "i a: Terminated"}));
}

void TestTraceRecorder::endWithoutAStartIsAMoment()
{
    Recording recording;
    recording.recorder.terminated(200, "a", {});
    QCOMPARE(recording.all(), QStringList("i a: Terminated"));
}

void TestTraceRecorder::callWithoutReplyIsAMoment()
{
    Recording recording;
    BusMessage call = message(":1.1", 1, "Start");
    call.expectsReply = false;
    recording.recorder.call(200, call);
    recording.recorder.reply(300, message(":1.1", 1));
    QCOMPARE(recording.all(), QStringList("i calls 1: Start, not wanted"));
}

void TestTraceRecorder::reusedSerialEndsTheCall()
{
    Recording recording;
    recording.recorder.call(200, message(":1.1", 1, "One"));
    recording.recorder.call(300, message(":1.1", 1, "Two"));
    recording.recorder.reply(400, message(":1.1", 1));
    recording.recorder.reply(500, message(":1.1", 1));
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(recording.all(), (QStringList{"X calls 1: One, unknown", "X calls 1: Two, success"}));
}

void TestTraceRecorder::laneOfACallIsUsedAgain()
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

void TestTraceRecorder::callIsAnnouncedAsTheStretchThatEndsIt()
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

void TestTraceRecorder::instanceKeepsItsLane()
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

void TestTraceRecorder::listedInstanceRunsUnlessASignalHasComeBefore()
{
    Recording recording;
    TraceRecorder &recorder = recording.recorder;
    recorder.serviceAvailable(200, true);
    recorder.listed(210, "a", 3);
    recorder.listed(220, "a", 4);
    recorder.started(230, "b", {});
    recorder.listed(240, "b", 5);
    recorder.terminated(250, "b", {});
    recorder.listed(260, "b", 5);
    recorder.serviceAvailable(300, false);
    recorder.listed(310, "c", 6);
    recorder.serviceAvailable(400, true);
    recorder.listed(410, "b", 7);
    QCOMPARE(recording.texts().faults, QStringList());
    QCOMPARE(recording.all().filter(QRegularExpression("^. [abc]: ")),
             (QStringList{"i a: state 3, in the list of what runs", "i b: Started", "X b: started",
                          "i b: Terminated", "X a: state 3, the service has ended",
                          "i b: state 7, in the list of what runs"}));
}

void TestTraceRecorder::tooManyInstancesAreLeftOut()
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

void TestTraceRecorder::tooManyCallsAreMoments()
{
    constexpr int most = 10'000;
    Recording recording;
    for (int i = 0; i <= most; ++i) {
        recording.recorder.call(200, message(":1.1", quint32(i), "Start"));
    }
    QCOMPARE(recording.all(), QStringList("i calls 1: Start, not recorded: too many calls"));
}

OSTREL_TEST_MAIN(TestTraceRecorder)

#include "tst_trace_recorder.moc"
