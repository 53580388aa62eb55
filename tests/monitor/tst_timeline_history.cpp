// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "recorded_history.h"
#include "widget_test_main.h"

#include <QtTest/QSignalSpy>

// What a history makes of the events of a trace.
class TestTimelineHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stretchIsKnownFromItsBeginning();
    void stretchKeepsTheValuesOfItsBeginningAndItsEnd();
    void callIsKnownFromItsBeginning();
    void callWithoutReplyIsAMark();
    void fileGivesTheSameHistoryAsTheRecorder();
    void cutFileShowsWhatHadBegun();
    void rowsAreInTheOrderOfTheTimes();
    void signalsComeOnceForManyEvents();
    void endOfAStretchChangesItsRow();
    void clearedHistoryIsEmpty();
};

namespace
{

using Events = QVector<TraceEvent>;

// The events of a short trace, as a recorder writes them to a file.
Events recorded(bool finishes = true)
{
    Events events;
    TraceRecorder recorder([&events](const TraceEvent &event) { events.append(event); },
                           100 * RecordedHistory::second, {});
    const auto at = [](int seconds) { return (100 + seconds) * RecordedHistory::second; };
    recorder.serviceAvailable(at(0), true);
    recorder.started(at(1), "a", {});
    recorder.stateChanged(at(2), "a", 5);
    recorder.stateChanged(at(2), "a", 6);
    recorder.stateChanged(at(3), "a", 5);
    recorder.started(at(4), "b", {});
    if (finishes) {
        recorder.serviceAvailable(at(5), false);
        recorder.finish(at(6));
    }
    return events;
}

} // namespace

void TestTimelineHistory::stretchIsKnownFromItsBeginning()
{
    RecordedHistory recorded;
    recorded.fill();
    const History &history = recorded.history;
    QCOMPARE(stretchesOf(history, "service"), QStringList("available 0-"));
    QCOMPARE(stretchesOf(history, "first"),
             (QStringList{"started 0-1", "state 1 1-2", "state 2 2-6"}));
    QCOMPARE(stretchesOf(history, "second"),
             (QStringList{"started 3-4", "state 1 4-5", "state 2 5-6", "state 3 6-"}));
    QCOMPARE(marksOf(history, "first"), (QStringList{"Started 0", "Terminated 6"}));
    const HistoryEvent &last = history.event(eventNamed(history, "second", "state 3"));
    QCOMPARE(secondsIn(history.endOf(last)), 7);
    recorded.now += 5 * RecordedHistory::second;
    QCOMPARE(secondsIn(history.endOf(last)), 12);
}

void TestTimelineHistory::stretchKeepsTheValuesOfItsBeginningAndItsEnd()
{
    RecordedHistory recorded;
    recorded.recorder.serviceAvailable(recorded.now, true);
    recorded.recorder.started(recorded.now, "a", {{"processId", 17}});
    recorded.now += RecordedHistory::second;
    recorded.recorder.serviceAvailable(recorded.now, false);
    recorded.history.flush();
    QCOMPARE(detailsText(recorded.history, eventNamed(recorded.history, "a", "Started")),
             "for 1 s, end: the service has ended, processId: 17");
}

void TestTimelineHistory::callIsKnownFromItsBeginning()
{
    RecordedHistory recorded;
    recorded.call(1, "Start");
    recorded.history.flush();
    const EventId call = eventNamed(recorded.history, "calls 1", "Start");
    QVERIFY(recorded.history.event(call).isOpen());
    QVERIFY(!recorded.history.event(call).hasFailed);
    QVERIFY(detailsText(recorded.history, call).startsWith("no reply yet, "));
    recorded.now += 1250;
    recorded.reply(1, "org.example.Refused");
    recorded.history.flush();
    QVERIFY(!recorded.history.event(call).isOpen());
    QVERIFY(recorded.history.event(call).hasFailed);
    QVERIFY(detailsText(recorded.history, call).startsWith("org.example.Refused after 1.25 ms, "));
    QCOMPARE(rowsOf(recorded.history).filter("Start").size(), 1);

    recorded.call(2, "Start");
    recorded.reply(2);
    recorded.history.flush();
    const EventId second = eventNamed(recorded.history, "calls 1", "Start");
    QVERIFY(second != call);
    QVERIFY(!recorded.history.event(second).hasFailed);
}

void TestTimelineHistory::callWithoutReplyIsAMark()
{
    RecordedHistory recorded;
    BusMessage message;
    message.type = BusMessage::Call;
    message.member = "Stop";
    message.expectsReply = false;
    recorded.recorder.call(recorded.now, message);
    QCOMPARE(marksOf(recorded.history, "calls 1"), QStringList("Stop 0"));
    QCOMPARE(stretchesOf(recorded.history, "calls 1"), QStringList());
}

void TestTimelineHistory::fileGivesTheSameHistoryAsTheRecorder()
{
    History history;
    for (const TraceEvent &event : recorded()) {
        history.append(event);
    }
    history.flush();
    QVERIFY(!history.isLive());
    QCOMPARE(secondsIn(history.firstTime()), 0);
    QCOMPARE(secondsIn(history.lastTime()), 6);
    QCOMPARE(stretchesOf(history, "service"), QStringList("available 0-5"));
    QCOMPARE(stretchesOf(history, "a"),
             (QStringList{"started 1-2", "state 5 2-2", "state 6 2-3", "state 5 3-5"}));
    QCOMPARE(stretchesOf(history, "b"), QStringList("started 4-5"));
    QCOMPARE(rowsOf(history),
             (QStringList{"service: trace begins 0", "service: service available 0", "a: Started 1",
                          "a: state 5 2", "a: state 6 2", "a: state 5 3", "b: Started 4",
                          "service: service not available 5", "service: trace ends 6"}));
}

void TestTimelineHistory::cutFileShowsWhatHadBegun()
{
    History history;
    for (const TraceEvent &event : recorded(false)) {
        history.append(event);
    }
    QCOMPARE(stretchesOf(history, "a").last(), "state 5 3-");
    QCOMPARE(stretchesOf(history, "b"), QStringList("started 4-"));
    const int lane = laneNamed(history, "a");
    QCOMPARE(secondsIn(history.endOf(history.event(history.lane(lane).stretches.back()))), 4);
}

// In a trace, a call comes when it has ended.
void TestTimelineHistory::rowsAreInTheOrderOfTheTimes()
{
    RecordedHistory source;
    Events events;
    TraceRecorder recorder([&events](const TraceEvent &event) { events.append(event); }, source.now,
                           {});
    BusMessage call;
    call.type = BusMessage::Call;
    call.sender = ":1.7";
    call.member = "Start";
    recorder.call(source.now + 1 * RecordedHistory::second, call);
    recorder.started(source.now + 2 * RecordedHistory::second, "a", {});
    const int beforeTheReply = events.size();
    BusMessage reply;
    reply.type = BusMessage::Reply;
    reply.destination = ":1.7";
    recorder.reply(source.now + 3 * RecordedHistory::second, reply);

    History history;
    QSignalSpy replaced(&history, &History::rowsReplaced);
    for (int i = 0; i < events.size(); ++i) {
        if (i == beforeTheReply) {
            history.flush();
        }
        history.append(events.at(i));
    }
    history.flush();
    QCOMPARE(rowsOf(history),
             (QStringList{"service: trace begins 0", "calls 1: Start 1", "a: Started 2"}));
    for (int row = 0; row < history.rowCount(); ++row) {
        QCOMPARE(history.event(history.eventAt(row)).row, row);
    }
    QCOMPARE(replaced.size(), 2);
    QCOMPARE(replaced.at(0).at(0).toInt(), 0);
    QCOMPARE(replaced.at(1).at(0).toInt(), 1);
}

void TestTimelineHistory::signalsComeOnceForManyEvents()
{
    RecordedHistory recorded;
    recorded.history.flush();
    QSignalSpy appended(&recorded.history, &History::appended);
    QSignalSpy lanes(&recorded.history, &History::lanesChanged);
    QSignalSpy replaced(&recorded.history, &History::rowsReplaced);
    for (int i = 0; i < 100; ++i) {
        recorded.recorder.started(recorded.now, QString::number(i), {});
    }
    QCOMPARE(appended.size(), 0);
    waitUntil([&appended] { return !appended.isEmpty(); });
    QCOMPARE(appended.size(), 1);
    QCOMPARE(lanes.size(), 1);
    QCOMPARE(replaced.size(), 1);
    QCOMPARE(recorded.history.rowCount(), 101);
}

void TestTimelineHistory::endOfAStretchChangesItsRow()
{
    RecordedHistory recorded;
    recorded.fill();
    QSignalSpy changed(&recorded.history, &History::rowsChanged);
    recorded.recorder.stateChanged(recorded.now, "second", 4);
    recorded.history.flush();
    QCOMPARE(changed.size(), 1);
    const int row = recorded.history.event(eventNamed(recorded.history, "second", "state 3")).row;
    QCOMPARE(changed.at(0).at(0).toInt(), row);
    QCOMPARE(changed.at(0).at(1).toInt(), row);
}

void TestTimelineHistory::clearedHistoryIsEmpty()
{
    RecordedHistory recorded;
    recorded.fill();
    const EventId old = recorded.history.eventAt(1);
    QSignalSpy cleared(&recorded.history, &History::cleared);
    recorded.history.clear();
    QCOMPARE(cleared.size(), 1);
    QVERIFY(recorded.history.isEmpty());
    QCOMPARE(recorded.history.laneCount(), 0);
    QCOMPARE(recorded.history.rowCount(), 0);
    QVERIFY(recorded.history.states().empty());
    for (const TraceEvent &event : ::recorded()) {
        recorded.history.append(event);
    }
    recorded.history.flush();
    QVERIFY(!recorded.history.contains(old));
    QCOMPARE(recorded.history.rowCount(), 9);
    // The new trace does not say when it was.
    QVERIFY(!recorded.history.timeOfDay());
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineHistory)

#include "tst_timeline_history.moc"
