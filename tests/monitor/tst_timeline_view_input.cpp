// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "recorded_history.h"
#include "timeline_view.h"
#include "widget_test_main.h"

#include <QtGui/QAccessible>
#include <QtGui/QHelpEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolTip>

#include <memory>

// Mouse, wheel and keys in the timeline.
class TestTimelineViewInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void wheelZoomsAtThePointer();
    void wheelWithControlScrollsTheLanes();
    void wheelWithShiftMovesTheTime();
    void wheelAboveTheNamesScrollsTheLanes();
    void dragMovesBothWays();
    void movingAwayEndsFollowing();
    void zoomingOutKeepsFollowing();
    void scrollBarsMoveTheView();
    void clickSelectsTheEvent();
    void dragSelectsNothing();
    void keysGoThroughALane();
    void keysGoFromLaneToLane();
    void keysZoom();
    void everyEventIsReachedByKeys();
    void screenReaderFindsTheCurrentEvent();
    void toolTipDescribesWhatIsUnderThePointer();

private:
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(m_view.get(), Qt::Key(key), modifiers);
    }
    void wheel(QPoint position, int steps, Qt::KeyboardModifiers modifiers = {});
    void drag(QPoint from, QPoint to);
    QPoint middle() const { return m_view->scene().lanesRect().center(); }
    QString currentName() const;
    qint64 leftTime() const { return m_view->timeAt(m_view->scene().lanesRect().left()); }

    std::unique_ptr<RecordedHistory> m_recorded;
    std::unique_ptr<TimelineView> m_view;
};

void TestTimelineViewInput::init()
{
    m_recorded = std::make_unique<RecordedHistory>();
    m_recorded->fill();
    // More lanes than there is room for.
    for (int i = 0; i < 50; ++i) {
        m_recorded->recorder.started(m_recorded->now, QString("i%1").arg(i), {});
    }
    m_recorded->now += RecordedHistory::second;
    m_recorded->history.flush();
    m_view = std::make_unique<TimelineView>();
    m_view->resize(900, 400);
    m_view->setHistory(&m_recorded->history);
    m_view->show();
    m_view->zoomToFit();
}

void TestTimelineViewInput::cleanup()
{
    m_view.reset();
    m_recorded.reset();
}

void TestTimelineViewInput::wheel(QPoint position, int steps, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent event(position, m_view->viewport()->mapToGlobal(position), {}, {0, 120 * steps},
                      Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(m_view->viewport(), &event);
}

void TestTimelineViewInput::drag(QPoint from, QPoint to)
{
    QWidget *const viewport = m_view->viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, from);
    for (const QPoint position : {(from + to) / 2, to}) {
        QMouseEvent move(QEvent::MouseMove, position, viewport->mapToGlobal(position), Qt::NoButton,
                         Qt::LeftButton, {});
        QCoreApplication::sendEvent(viewport, &move);
    }
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
}

QString TestTimelineViewInput::currentName() const
{
    const EventId current = m_view->current();
    return current.isValid()
        ? laneText(m_recorded->history, current) + ' ' + nameText(m_recorded->history, current)
        : QString();
}

void TestTimelineViewInput::wheelZoomsAtThePointer()
{
    const QPoint place = middle() + QPoint(50, 0);
    const qint64 there = m_view->timeAt(place.x());
    const double before = m_view->scene().scale.perPixel();
    wheel(place, 5);
    const double after = m_view->scene().scale.perPixel();
    QVERIFY(after < before / 2);
    QVERIFY(std::abs(m_view->xAt(there) - place.x()) <= 1);
    wheel(place, -5);
    QCOMPARE(qRound(m_view->scene().scale.perPixel()), qRound(before));
    QVERIFY(std::abs(m_view->xAt(there) - place.x()) <= 1);
}

void TestTimelineViewInput::wheelWithControlScrollsTheLanes()
{
    const double before = m_view->scene().scale.perPixel();
    wheel(middle(), -1, Qt::ControlModifier);
    QCOMPARE(m_view->scene().top, 3 * m_view->scene().laneHeight());
    QCOMPARE(m_view->verticalScrollBar()->value(), m_view->scene().top);
    QVERIFY(m_view->visibleLanes().constFirst() != "service");
    wheel(middle(), 100, Qt::ControlModifier);
    QCOMPARE(m_view->scene().top, 0);
    wheel(middle(), -1000, Qt::ControlModifier);
    QVERIFY(m_view->visibleLanes().contains("i49"));
    QCOMPARE(m_view->scene().scale.perPixel(), before);
}

void TestTimelineViewInput::wheelWithShiftMovesTheTime()
{
    wheel(middle(), 10);
    const qint64 before = leftTime();
    const double perPixel = m_view->scene().scale.perPixel();
    wheel(middle(), -1, Qt::ShiftModifier);
    QVERIFY(leftTime() > before);
    wheel(middle(), 2, Qt::ShiftModifier);
    QVERIFY(leftTime() < before);
    QCOMPARE(m_view->scene().scale.perPixel(), perPixel);
    QCOMPARE(m_view->scene().top, 0);
}

void TestTimelineViewInput::wheelAboveTheNamesScrollsTheLanes()
{
    const double before = m_view->scene().scale.perPixel();
    wheel({10, middle().y()}, -1);
    QVERIFY(m_view->scene().top > 0);
    QCOMPARE(m_view->scene().scale.perPixel(), before);
}

void TestTimelineViewInput::dragMovesBothWays()
{
    m_view->zoom(10);
    const qint64 held = m_view->timeAt(middle().x());
    drag(middle(), middle() + QPoint(100, -80));
    QVERIFY(std::abs(m_view->xAt(held) - middle().x() - 100) <= 1);
    QCOMPARE(m_view->scene().top, 80);
}

void TestTimelineViewInput::movingAwayEndsFollowing()
{
    QSignalSpy followed(m_view.get(), &TimelineView::followChanged);
    m_view->zoom(5);
    m_view->setFollow(true);
    followed.clear();
    drag(middle(), middle() + QPoint(300, 0));
    QVERIFY(!m_view->follow());
    QCOMPARE(followed.size(), 1);
    QCOMPARE(followed.at(0).at(0).toBool(), false);
    const qint64 before = leftTime();
    m_recorded->now += RecordedHistory::second;
    m_recorded->recorder.stateChanged(m_recorded->now, "second", 9);
    m_recorded->history.flush();
    QCOMPARE(leftTime(), before);
}

void TestTimelineViewInput::zoomingOutKeepsFollowing()
{
    wheel(middle(), -3);
    QVERIFY(m_view->follow());
    wheel({m_view->scene().lanesRect().left() + 5, middle().y()}, 20);
    QVERIFY(!m_view->follow());
}

void TestTimelineViewInput::scrollBarsMoveTheView()
{
    m_view->zoom(10);
    m_view->horizontalScrollBar()->setValue(0);
    QVERIFY(leftTime() <= m_recorded->history.firstTime());
    QVERIFY(!m_view->follow());
    m_view->horizontalScrollBar()->setValue(m_view->horizontalScrollBar()->maximum());
    QVERIFY(m_view->scene().scale.x(m_recorded->history.lastTime())
            <= m_view->scene().scale.width() + 1);
    m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
    QVERIFY(m_view->visibleLanes().contains("i49"));
}

void TestTimelineViewInput::clickSelectsTheEvent()
{
    QSignalSpy selected(m_view.get(), &TimelineView::selected);
    const EventId state = eventNamed(m_recorded->history, "first", "state 2");
    QTest::mouseClick(m_view->viewport(), Qt::LeftButton, {},
                      m_view->scene().eventRect(state).center());
    QCOMPARE(m_view->selection(), state);
    QCOMPARE(m_view->current(), state);
    QCOMPARE(selected.size(), 1);
    QCOMPARE(selected.at(0).at(0).value<EventId>(), state);
    // Where nothing is, nothing changes.
    QTest::mouseClick(m_view->viewport(), Qt::LeftButton, {}, {5, 5});
    QCOMPARE(m_view->selection(), state);
    QCOMPARE(selected.size(), 1);
}

void TestTimelineViewInput::dragSelectsNothing()
{
    QSignalSpy selected(m_view.get(), &TimelineView::selected);
    const QPoint place =
        m_view->scene().eventRect(eventNamed(m_recorded->history, "first", "state 2")).center();
    drag(place, place + QPoint(60, 0));
    QCOMPARE(selected.size(), 0);
}

void TestTimelineViewInput::keysGoThroughALane()
{
    QSignalSpy selected(m_view.get(), &TimelineView::selected);
    m_view->select(eventNamed(m_recorded->history, "first", "state 1"));
    key(Qt::Key_Right);
    QCOMPARE(currentName(), "first state 2");
    key(Qt::Key_Right);
    QCOMPARE(currentName(), "first Terminated");
    key(Qt::Key_Right);
    QCOMPARE(currentName(), "first Terminated");
    key(Qt::Key_Home);
    QCOMPARE(currentName(), "first Started");
    key(Qt::Key_Left);
    QCOMPARE(currentName(), "first Started");
    key(Qt::Key_End);
    key(Qt::Key_Left);
    QCOMPARE(currentName(), "first state 2");
    QCOMPARE(selected.size(), 0);
    QVERIFY(m_view->selection() != m_view->current());
    key(Qt::Key_Return);
    QCOMPARE(selected.size(), 1);
    QCOMPARE(m_view->selection(), m_view->current());
}

void TestTimelineViewInput::keysGoFromLaneToLane()
{
    m_view->select(eventNamed(m_recorded->history, "first", "Terminated"));
    key(Qt::Key_Down);
    QCOMPARE(currentName(), "second state 3");
    key(Qt::Key_Down);
    QCOMPARE(currentName(), "i0 Started");
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    // The first one, since the lane has none at that time.
    QVERIFY(currentName().startsWith("first "));
    key(Qt::Key_End, Qt::ControlModifier);
    QCOMPARE(currentName(), "i49 Started");
    QVERIFY(m_view->visibleLanes().contains("i49"));
    key(Qt::Key_Down);
    QCOMPARE(currentName(), "i49 Started");
    key(Qt::Key_Home, Qt::ControlModifier);
    QVERIFY(currentName().startsWith("service "));
    QVERIFY(m_view->visibleLanes().contains("service"));
    key(Qt::Key_PageDown);
    QVERIFY(currentName().startsWith("i"));
    key(Qt::Key_PageUp);
    QVERIFY(currentName().startsWith("service "));
}

void TestTimelineViewInput::keysZoom()
{
    const double before = m_view->scene().scale.perPixel();
    const EventId event = eventNamed(m_recorded->history, "first", "state 2");
    m_view->select(event);
    const int x = m_view->xAt(m_recorded->history.event(event).time);
    key(Qt::Key_Plus);
    QVERIFY(m_view->scene().scale.perPixel() < before);
    QVERIFY(std::abs(m_view->xAt(m_recorded->history.event(event).time) - x) <= 1);
    key(Qt::Key_Minus);
    QCOMPARE(qRound(m_view->scene().scale.perPixel()), qRound(before));
    const qint64 left = leftTime();
    key(Qt::Key_Plus);
    key(Qt::Key_Left, Qt::ControlModifier);
    QVERIFY(leftTime() < left + qint64(before) * 200);
    key(Qt::Key_0);
    QCOMPARE(qRound(m_view->scene().scale.perPixel()), qRound(before));
}

void TestTimelineViewInput::everyEventIsReachedByKeys()
{
    QSet<qint64> reached;
    key(Qt::Key_Home, Qt::ControlModifier);
    QString lane;
    do {
        key(Qt::Key_Home);
        EventId last;
        while (m_view->current() != last) {
            last = m_view->current();
            reached.insert(last.number);
            key(Qt::Key_Right);
        }
        lane = laneText(m_recorded->history, m_view->current());
        key(Qt::Key_Down);
    } while (laneText(m_recorded->history, m_view->current()) != lane);
    QCOMPARE(reached.size(), m_recorded->history.rowCount());
}

// Qt sends it the event whenever the description changes.
void TestTimelineViewInput::screenReaderFindsTheCurrentEvent()
{
    QAccessibleInterface *const accessible = QAccessible::queryAccessibleInterface(m_view.get());
    QCOMPARE(accessible->text(QAccessible::Name), "Timeline");
    m_view->select(eventNamed(m_recorded->history, "first", "state 1"));
    QCOMPARE(accessible->text(QAccessible::Description),
             "first: state 1, at 12:00:01.000000, for 1 s");
    key(Qt::Key_Right);
    QCOMPARE(accessible->text(QAccessible::Description),
             "first: state 2, at 12:00:02.000000, for 4 s");
}

void TestTimelineViewInput::toolTipDescribesWhatIsUnderThePointer()
{
    const EventId event = eventNamed(m_recorded->history, "first", "state 2");
    QHelpEvent help(QEvent::ToolTip, m_view->scene().eventRect(event).center(), {});
    QCoreApplication::sendEvent(m_view->viewport(), &help);
    QVERIFY(QToolTip::text().contains("first: state 2, at 12:00:02.000000, for 4 s"));
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineViewInput)

#include "tst_timeline_view_input.moc"
