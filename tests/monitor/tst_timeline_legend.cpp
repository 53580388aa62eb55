// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "absence.h"
#include "shown_timeline.h"
#include "widget_test_main.h"

// What stands below the timeline, and the shade behind it.
class TestTimelineLegend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void timeWithoutAServiceIsShaded();
    void captureOfTheBusIsNotShadedBeforeTheService();
    void legendHasTheStatesThatOccur();
    void legendIsBounded();
};

void TestTimelineLegend::timeWithoutAServiceIsShaded()
{
    RecordedHistory recorded;
    const auto wait = [&recorded] { recorded.now += RecordedHistory::second; };
    recorded.history.flush();
    wait();
    recorded.recorder.serviceAvailable(recorded.now, true);
    wait();
    recorded.recorder.serviceAvailable(recorded.now, false);
    wait();
    recorded.recorder.serviceAvailable(recorded.now, true);
    wait();
    recorded.recorder.serviceAvailable(recorded.now, false);
    wait();
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    const auto shades = absences(recorded.history, view->scene().scale);
    QCOMPARE(int(shades.size()), 3);
    const auto pixel = [&](int seconds) {
        return view->scene().scale.pixel((100 + seconds) * RecordedHistory::second);
    };
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(shades.at(std::size_t(i)).left, pixel(2 * i));
        QCOMPARE(shades.at(std::size_t(i)).right, pixel(2 * i + 1));
    }
}

void TestTimelineLegend::captureOfTheBusIsNotShadedBeforeTheService()
{
    History history;
    qint64 now = 100 * RecordedHistory::second;
    TraceRecorder recorder([&history](const TraceEvent &event) { history.append(event); }, now,
                           {{TraceWords::clock, TraceWords::timeOfDay}});
    recorder.started(now += RecordedHistory::second, "a", {});
    TimeScale scale;
    scale.setWidth(1000);
    scale.fit(history.firstTime(), history.lastTime());
    QVERIFY(absences(history, scale).empty());
    recorder.serviceAvailable(now += RecordedHistory::second, true);
    recorder.serviceAvailable(now += RecordedHistory::second, false);
    recorder.finish(now + RecordedHistory::second);
    scale.fit(history.firstTime(), history.lastTime());
    const auto shades = absences(history, scale);
    QCOMPARE(int(shades.size()), 1);
    QCOMPARE(shades.front().left, 750);
}

void TestTimelineLegend::legendHasTheStatesThatOccur()
{
    RecordedHistory recorded;
    recorded.fill();
    recorded.recorder.stateChanged(recorded.now, "second", 10);
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    QCOMPARE(view->legend(),
             (QStringList{"started", "state 1", "state 2", "state 3", "state 10", "start", "end",
                          "out of memory", "no service"}));
    recorded.call(1, "Start");
    recorded.history.flush();
    QVERIFY(view->legend().contains("failed call"));
}

void TestTimelineLegend::legendIsBounded()
{
    RecordedHistory recorded;
    for (int i = 0; i < 10'000; ++i) {
        recorded.recorder.stateChanged(recorded.now, "a", quint32(i));
    }
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    QVERIFY(view->legend().contains("and 9984 more"));
    QVERIFY(view->scene().lanesRect().height() > 200);
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineLegend)

#include "tst_timeline_legend.moc"
