// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "lane_cells.h"
#include "recorded_history.h"
#include "widget_test_main.h"

#include <QtTest/QSignalSpy>

#include <limits>

Q_DECLARE_METATYPE(TraceEvent)

// A history of very many events, and of events that no recorder would write.
class TestTimelineLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oldestEventsAreDropped();
    void whatGoesOnIsNotDropped();
    void droppedInstancesHaveNoLane();
    void largeArgumentsAreLeftOut();
    void tooManyLanesAreLeftOut();
    void lanesAloneDoNoHarm();
    void oddEventsDoNoHarm_data();
    void oddEventsDoNoHarm();
    void hugeLaneIsMergedByPixels();
    void hugeLaneHasFewMarks();
};

namespace
{

constexpr qint64 farthest = qint64(1) << 53;

TraceEvent moment(const QString &name, qint64 time, int lane)
{
    return {TraceEvent::Instant, name, time, 0, TraceWords::Instances, lane, {}};
}

TraceEvent stretch(const QString &name, qint64 time, qint64 duration, int lane)
{
    return {TraceEvent::Complete, name, time, duration, TraceWords::Instances, lane, {}};
}

// Whether the lanes are in the order that everything relies on.
bool isSorted(const History &history)
{
    for (int i = 0; i < history.laneCount(); ++i) {
        const HistoryLane &lane = history.lane(i);
        qint64 free = std::numeric_limits<qint64>::min();
        for (const EventId id : lane.stretches) {
            if (!history.contains(id) || history.event(id).lane != i
                || history.event(id).time < free) {
                return false;
            }
            free = history.event(id).time + std::max<qint64>(history.event(id).duration, 0);
        }
        qint64 last = std::numeric_limits<qint64>::min();
        for (const EventId id : lane.marks) {
            if (!history.contains(id) || history.event(id).lane != i
                || history.event(id).time < last) {
                return false;
            }
            last = history.event(id).time;
        }
    }
    for (int row = 0; row < history.rowCount(); ++row) {
        if (history.event(history.eventAt(row)).row != row) {
            return false;
        }
    }
    return true;
}

} // namespace

void TestTimelineLimits::oldestEventsAreDropped()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(100);
    recorded.fill();
    QSignalSpy replaced(&recorded.history, &History::rowsReplaced);
    for (int i = 0; i < 1000; ++i) {
        recorded.recorder.stateChanged(++recorded.now, "first", quint32(i));
    }
    recorded.history.flush();
    QVERIFY(replaced.size() > 10);
    QCOMPARE(replaced.at(0).at(0).toInt(), 0);
    QVERIFY(recorded.history.rowCount() <= 101);
    QVERIFY(recorded.history.rowCount() > 70);
    QVERIFY(isSorted(recorded.history));
    const QStringList rows = rowsOf(recorded.history);
    QCOMPARE(rows.filter("first: state 999").size(), 1);
    QCOMPARE(rows.filter("first: state 500").size(), 0);
    // All that is left, dropped or noted.
    const QStringList notes = rows.filter("older events are left out");
    const int dropped = notes.last().section(' ', 1, 1).toInt();
    QVERIFY2(dropped > 900, qPrintable(notes.last()));
    QVERIFY(recorded.history.states().size() < 110);
    QVERIFY(recorded.history.firstTime() > 100 * RecordedHistory::second + 500);
}

void TestTimelineLimits::whatGoesOnIsNotDropped()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(100);
    recorded.fill();
    recorded.call(1, "Start");
    for (int i = 0; i < 1000; ++i) {
        recorded.recorder.stateChanged(++recorded.now, "first", quint32(i));
    }
    recorded.history.flush();
    QVERIFY(isSorted(recorded.history));
    QCOMPARE(stretchesOf(recorded.history, "service"), QStringList("available 0-"));
    QCOMPARE(stretchesOf(recorded.history, "second"), QStringList("state 3 6-"));
    QCOMPARE(stretchesOf(recorded.history, "calls 1"), QStringList("Start 7-"));
    recorded.reply(1);
    recorded.recorder.stateChanged(recorded.now += RecordedHistory::second, "second", 4);
    recorded.history.flush();
    QCOMPARE(stretchesOf(recorded.history, "second"), (QStringList{"state 3 6-8", "state 4 8-"}));
    QCOMPARE(stretchesOf(recorded.history, "calls 1"), QStringList("Start 7-7"));
}

void TestTimelineLimits::droppedInstancesHaveNoLane()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(300);
    for (int i = 0; i < 1000; ++i) {
        const QString name = QString("instance %1").arg(i);
        recorded.recorder.started(++recorded.now, name, {});
        recorded.recorder.terminated(++recorded.now, name, {});
    }
    recorded.history.flush();
    QVERIFY(recorded.history.laneCount() < 160);
    QVERIFY(laneNamed(recorded.history, "instance 0") < 0);
    const QString last = "instance 999";
    QCOMPARE(marksOf(recorded.history, last).size(), 2);
    QVERIFY(isSorted(recorded.history));
    // An instance without a lane gets one again, with its name.
    recorded.recorder.started(++recorded.now, "new", {});
    QCOMPARE(marksOf(recorded.history, "new").size(), 1);
}

void TestTimelineLimits::largeArgumentsAreLeftOut()
{
    History history;
    TraceEvent event = moment(QString(10'000, 'n'), 1, 1);
    event.arguments.insert("value", QString(10'000, 'x'));
    history.append(event);
    history.flush();
    QCOMPARE(detailsText(history, history.eventAt(0)), "leftOut: 10012 bytes");
    QCOMPARE(nameText(history, history.eventAt(0)).size(), 201);
}

void TestTimelineLimits::tooManyLanesAreLeftOut()
{
    History history;
    history.append({TraceEvent::Instant, "begin", 0, 0, TraceWords::Service, -1, {}});
    for (int i = 0; i < 60'000; ++i) {
        history.append({TraceEvent::Metadata, "thread_name", 0, 0, TraceWords::Instances, i, {}});
    }
    history.append(moment("x", 1, 59'999));
    history.append(stretch("x", 1, 1, 59'998));
    history.flush();
    QCOMPARE(history.laneCount(), 50'000);
    QCOMPARE(rowsOf(history),
             (QStringList{"lane -1: begin -100", "lane -1: further lanes are left out -100"}));
}

void TestTimelineLimits::lanesAloneDoNoHarm()
{
    History history;
    for (int i = 0; i < 60'000; ++i) {
        history.append({TraceEvent::Metadata, "thread_name", 0, 0, TraceWords::Instances, i, {}});
    }
    history.flush();
    QCOMPARE(history.laneCount(), 50'000);
}

void TestTimelineLimits::oddEventsDoNoHarm_data()
{
    QTest::addColumn<QVector<TraceEvent>>("events");
    const auto row = [](const char *name, const QVector<TraceEvent> &events) {
        QTest::newRow(name) << events;
    };
    row("overlap", {stretch("a", 0, 100, 1), stretch("b", 50, 100, 1), stretch("c", 20, 10, 1)});
    row("backwards",
        {stretch("a", 100, 10, 1), stretch("a", 50, 10, 1), moment("m", 100, 1), moment("m", 50, 1),
         moment("state 1", 40, 1), moment("state 2", 30, 1)});
    row("negative duration", {stretch("a", 100, -50, 1), stretch("b", 100, -farthest, 1)});
    row("farthest times",
        {moment("state 1", -farthest, 1), stretch("state 1", -farthest, farthest, 1),
         stretch("b", farthest, farthest, 1), moment("m", -farthest, 1), moment("m", farthest, 1)});
    row("end without a beginning", {moment("Terminated", 5, 1), stretch("started", 1, 4, 1)});
    row("same time",
        {moment("state 1", 5, 1), moment("state 1", 5, 1), moment("Started", 5, 1),
         stretch("state 1", 5, 0, 1), stretch("state 1", 5, 0, 1), stretch("state 1", 5, 10, 1)});
    row("longer than known",
        {moment("state 1", 5, 1), moment("state 2", 10, 1), stretch("state 1", 5, 100, 1),
         stretch("state 2", 10, 1, 1)});
    row("other groups",
        {{TraceEvent::Instant, "x", 1, 0, -7, -9, {}},
         {TraceEvent::Complete, "x", 1, 9, 1'000'000, -9, {}},
         {TraceEvent::Metadata, "thread_name", 1, 9, 5, 0, {{"name", 17}}},
         {TraceEvent::Counter, "x", -5, 0, 1, 1, {{"instances", "many"}}}});
    row("no day",
        {{TraceEvent::Instant,
          "trace begins",
          farthest,
          0,
          TraceWords::Service,
          1,
          {{"clock", "time of day"}, {"time", "tomorrow"}}}});
}

void TestTimelineLimits::oddEventsDoNoHarm()
{
    QFETCH(const QVector<TraceEvent>, events);
    History history;
    for (int i = 0; i < 3; ++i) {
        for (const TraceEvent &event : events) {
            history.append(event);
            history.beginCall(event);
        }
        history.flush();
        QVERIFY(isSorted(history));
    }
    TimeScale scale;
    scale.setWidth(500);
    for (const qint64 from : {-farthest, qint64(0), qint64(50), farthest}) {
        scale.fit(from, from + 100);
        for (int i = 0; i < history.laneCount(); ++i) {
            QVERIFY(stretchCells(history, history.lane(i), scale).size() <= 1000);
            markCells(history, history.lane(i), scale, 9);
        }
    }
    for (int row = 0; row < history.rowCount(); ++row) {
        QVERIFY(!description(history, history.eventAt(row)).isEmpty());
    }
}

void TestTimelineLimits::hugeLaneIsMergedByPixels()
{
    History history;
    constexpr int count = 50'000;
    for (int i = 0; i < count; ++i) {
        history.append(stretch(QString("state %1").arg(i % 3), qint64(i) * 10, 10, 1));
    }
    // After a pause.
    history.append(stretch("state 7", 1'000'000, 500'000, 1));
    TimeScale scale;
    scale.setWidth(300);
    scale.fit(0, 1'500'000);
    const auto cells = stretchCells(history, history.lane(0), scale);
    // A cell for each of 100 pixels, and one for the last stretch.
    QCOMPARE(int(cells.size()), 101);
    int merged = 0;
    for (const LaneCell &cell : cells) {
        merged += cell.count;
    }
    QCOMPARE(merged, count + 1);
    QCOMPARE(cells.back().left, 200);
    QCOMPARE(cells.back().right, 300);
    QCOMPARE(cells.front().left, 0);
    QCOMPARE(cells.front().count, 500);
    // Zoomed in, each is there.
    scale.fit(1000, 1100);
    QCOMPARE(int(stretchCells(history, history.lane(0), scale).size()), 11);
}

void TestTimelineLimits::hugeLaneHasFewMarks()
{
    History history;
    for (int i = 0; i < 50'000; ++i) {
        history.append(moment("Terminated", i, 1));
    }
    TimeScale scale;
    scale.setWidth(300);
    scale.fit(0, 50'000);
    const auto cells = markCells(history, history.lane(0), scale, 11);
    QVERIFY(int(cells.size()) <= 62);
    QVERIFY(int(cells.size()) >= 55);
    int merged = 0;
    for (const LaneCell &cell : cells) {
        merged += cell.count;
    }
    QCOMPARE(merged, 50'000);
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineLimits)

#include "tst_timeline_limits.moc"
