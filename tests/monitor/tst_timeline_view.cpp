// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "recorded_history.h"
#include "shown_timeline.h"
#include "state_colors.h"
#include "widget_test_main.h"

#include <QtGui/QTextDocument>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QScrollBar>

#include <memory>

// What the timeline paints, and where.
class TestTimelineView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyViewPaints();
    void stretchIsAtItsTime();
    void lanesOfServiceAndCallsComeFirst();
    void marksAreAboveStretches();
    void nameOfAStateIsAfterAMark();
    void filterKeepsTheServiceAndWhatMatches();
    void selectionScrollsToTheEvent();
    void selectionOfADroppedEventEnds();
    void followKeepsNowInSight();
    void fitShowsEverything();
    void paintsAtAnyZoom();
    void sizesFollowTheFont();
    void deletedHistoryLeavesAnEmptyView();
    void namesOfTheBusAreShownAsTheyAre();
};

namespace
{

QPoint placeOf(const TimelineView &view, const QString &lane, double seconds)
{
    const TimelineScene &scene = view.scene();
    const int row = scene.rows.row(laneNamed(*scene.history, lane));
    return {view.xAt(qint64((100 + seconds) * RecordedHistory::second)),
            scene.barRect(row).center().y()};
}

} // namespace

void TestTimelineView::emptyViewPaints()
{
    TimelineView view;
    QVERIFY(!view.grab().isNull());
    History history;
    view.setHistory(&history);
    view.zoomToFit();
    view.zoom(2);
    view.select({17});
    QVERIFY(!view.grab().isNull());
    QVERIFY(!view.eventAt({200, 50}).isValid());
    QCOMPARE(view.visibleLanes(), QStringList());
    QCOMPARE(view.legend(), QStringList());
}

void TestTimelineView::stretchIsAtItsTime()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    QCOMPARE(view->stretchAt(placeOf(*view, "first", 0.5)), "started");
    QCOMPARE(view->stretchAt(placeOf(*view, "first", 1.5)), "state 1");
    QCOMPARE(view->stretchAt(placeOf(*view, "first", 5.5)), "state 2");
    QCOMPARE(view->stretchAt(placeOf(*view, "first", 6.5)), QString());
    QCOMPARE(view->stretchAt(placeOf(*view, "second", 1)), QString());
    QCOMPARE(view->stretchAt(placeOf(*view, "second", 6.9)), "state 3");
    QCOMPARE(view->stretchAt(placeOf(*view, "service", 3)), "available");
    // And where a stretch is painted, it is found.
    const EventId state = eventNamed(recorded.history, "first", "state 2");
    QCOMPARE(view->eventAt(view->scene().eventRect(state).center()), state);
    const qint64 time = 103 * RecordedHistory::second;
    QVERIFY(std::abs(double(view->timeAt(view->xAt(time)) - time))
            <= 2 * view->scene().scale.perPixel());
}

void TestTimelineView::lanesOfServiceAndCallsComeFirst()
{
    RecordedHistory recorded;
    recorded.fill();
    recorded.call(1, "Start");
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    QCOMPARE(view->visibleLanes(), (QStringList{"service", "calls 1", "first", "second"}));
    QCOMPARE(view->stretchAt(placeOf(*view, "calls 1", 7)), "Start");
}

void TestTimelineView::marksAreAboveStretches()
{
    RecordedHistory recorded;
    recorded.fill();
    recorded.now -= RecordedHistory::second / 2;
    recorded.recorder.selectedByOom(recorded.now, "17");
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    const auto nameAt = [&](const QString &lane, double seconds) {
        return nameText(recorded.history, view->eventAt(placeOf(*view, lane, seconds)));
    };
    QCOMPARE(nameAt("first", 6), "Terminated");
    QCOMPARE(nameAt("first", 0), "Started");
    QCOMPARE(nameAt("service", 6.5), "SelectedByOom");
}

void TestTimelineView::nameOfAStateIsAfterAMark()
{
    RecordedHistory recorded;
    recorded.recorder.started(recorded.now, "first", {});
    recorded.recorder.stateChanged(recorded.now += 1, "first", 1);
    recorded.now += RecordedHistory::second;
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    const QImage picture = view->viewport()->grab().toImage();
    const TimelineScene &scene = view->scene();
    const QRect bar = scene.barRect(scene.rows.row(laneNamed(recorded.history, "first")));
    // The mark has its tip there.
    const int right = placeOf(*view, "first", 0).x() + scene.markSize() / 2;
    const QColor fill = StateColor::of("state 1").fill;
    for (int y = bar.top(); y <= bar.bottom(); ++y) {
        if (std::abs(y - bar.center().y()) > 2) {
            QCOMPARE(picture.pixelColor(right, y), fill);
        }
    }
}

void TestTimelineView::filterKeepsTheServiceAndWhatMatches()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    view->setFilter("SEC");
    QCOMPARE(view->visibleLanes(), (QStringList{"service", "second"}));
    recorded.recorder.started(recorded.now, "third", {});
    recorded.recorder.started(recorded.now, "sector", {});
    recorded.history.flush();
    QCOMPARE(view->visibleLanes(), (QStringList{"service", "second", "sector"}));
    // Hidden, it can be selected all the same.
    view->select(eventNamed(recorded.history, "first", "state 1"));
    QVERIFY(!view->grab().isNull());
    view->setFilter(QString());
    QCOMPARE(view->visibleLanes().size(), 5);
}

void TestTimelineView::selectionScrollsToTheEvent()
{
    RecordedHistory recorded;
    recorded.recorder.serviceAvailable(recorded.now, true);
    for (int i = 0; i < 100; ++i) {
        recorded.recorder.started(recorded.now += RecordedHistory::second, QString("i%1").arg(i),
                                  {});
    }
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    view->zoom(20);
    QSignalSpy selected(view.get(), &TimelineView::selected);
    const auto isInSight = [&](EventId id) {
        const TimelineScene &scene = view->scene();
        return scene.lanesRect().contains(
            {scene.eventRect(id).left(), scene.eventRect(id).center().y()});
    };
    for (const char *lane : {"i90", "i3", "i50"}) {
        const EventId event = eventNamed(recorded.history, lane, "Started");
        view->select(event);
        QCOMPARE(view->selection(), event);
        QCOMPARE(view->current(), event);
        QVERIFY2(isInSight(event), lane);
    }
    QCOMPARE(selected.size(), 0);
    view->select({});
    QVERIFY(!view->selection().isValid());
}

void TestTimelineView::selectionOfADroppedEventEnds()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(50);
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    view->select(recorded.history.eventAt(0));
    // Instances go with their lanes. The view paints whenever it likes.
    for (int i = 0; i < 200; ++i) {
        const QString name = QString("i%1").arg(i);
        recorded.recorder.started(++recorded.now, name, {});
        recorded.recorder.terminated(++recorded.now, name, {});
        QVERIFY(!view->grab().isNull());
    }
    QVERIFY(recorded.history.laneCount() < 50);
    recorded.history.flush();
    QVERIFY(!view->selection().isValid());
    QVERIFY(!view->current().isValid());
}

void TestTimelineView::followKeepsNowInSight()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    const auto nowIsInSight = [&] {
        const QRect lanes = view->scene().lanesRect();
        return lanes.contains({view->xAt(recorded.now), lanes.center().y()});
    };
    QVERIFY(view->follow());
    QVERIFY(nowIsInSight());
    recorded.now += 3600 * RecordedHistory::second;
    // The view looks at the clock by itself.
    waitUntil(nowIsInSight);
    QVERIFY(view->follow());

    view->setFollow(false);
    const qint64 left = view->timeAt(view->scene().lanesRect().left());
    recorded.now += 3600 * RecordedHistory::second;
    recorded.recorder.stateChanged(recorded.now, "second", 5);
    recorded.history.flush();
    QCOMPARE(view->timeAt(view->scene().lanesRect().left()), left);
    view->setFollow(true);
    QVERIFY(nowIsInSight());
}

void TestTimelineView::fitShowsEverything()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    view->zoom(100);
    view->zoomToFit();
    const QRect lanes = view->scene().lanesRect();
    const int first = view->xAt(recorded.history.firstTime());
    const int last = view->xAt(recorded.history.lastTime());
    QVERIFY(first > lanes.left() && first < lanes.left() + lanes.width() / 10);
    QVERIFY(last < lanes.right() && last > lanes.right() - lanes.width() / 10);
}

// From all states in a few pixels to a state beyond both edges. A sanitizer looks on.
void TestTimelineView::paintsAtAnyZoom()
{
    RecordedHistory recorded;
    recorded.fill();
    for (quint32 i = 0; i < 3000; ++i) {
        recorded.call(i, "Start");
        recorded.now += 1 + i % 400;
        recorded.reply(i);
        recorded.recorder.stateChanged(recorded.now, "second", i % 17);
    }
    recorded.call(0, "Wait");
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    for (const double factor : {0.7, 3.0}) {
        for (int i = 0; i < 25; ++i) {
            view->zoom(factor);
            QVERIFY(!view->grab().isNull());
        }
    }
    QVERIFY(view->scene().scale.perPixel() < 1);
}

void TestTimelineView::sizesFollowTheFont()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownTimeline view = showTimeline(recorded);
    const int small = view->scene().laneHeight();
    QFont font = view->font();
    font.setPointSize(font.pointSize() * 3);
    view->resize(1800, 800);
    view->setFont(font);
    QVERIFY(view->scene().laneHeight() > 2 * small);
    QVERIFY(view->scene().laneHeight() >= view->fontMetrics().height());
    QCOMPARE(view->stretchAt(placeOf(*view, "first", 1.5)), "state 1");
}

void TestTimelineView::deletedHistoryLeavesAnEmptyView()
{
    auto recorded = std::make_unique<RecordedHistory>();
    recorded->fill();
    const ShownTimeline view = showTimeline(*recorded);
    view->select(recorded->history.eventAt(3));
    recorded.reset();
    QVERIFY(!view->grab().isNull());
    QCOMPARE(view->visibleLanes(), QStringList());
    QTest::keyClick(view.get(), Qt::Key_Right);
}

void TestTimelineView::namesOfTheBusAreShownAsTheyAre()
{
    RecordedHistory recorded;
    recorded.recorder.started(recorded.now,
                              "<b>a</b>\n\x1b[1m" + QString(QChar(0x202e)) + QString(5000, 'x'),
                              {{"key", "<img src=x>\r\n"}});
    recorded.history.flush();
    const ShownTimeline view = showTimeline(recorded);
    QVERIFY(!view->grab().isNull());
    const QString name = view->visibleLanes().last();
    QVERIFY(name.startsWith("<b>a</b>\\n\\x1b[1m\\u202exxx"));
    const EventId event = recorded.history.eventAt(1);
    const QString tip = plainToolTip(description(recorded.history, event));
    QVERIFY(tip.contains("&lt;b&gt;a&lt;/b&gt;"));
    QVERIFY(tip.contains("key: &lt;img src=x&gt;\\x0d\\n"));
    QVERIFY(Qt::mightBeRichText(tip));
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineView)

#include "tst_timeline_view.moc"
