// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "applications_table.h"
#include "event_text.h"
#include "linked_views.h"
#include "monitor_test.h"

#include <QtCore/QRegularExpression>
#include <QtWidgets/QSplitter>

// The tables, the timeline and the log together.
class TestMonitorJoin : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void whatHappensIsInTheTimelineAndInTheLog();
    void whatRanBeforeTheWindowIsInTheTimeline();
    void callsOfOthersAreInTheTimeline();
    void noCallIsMissingAfterTheWindowWasBusy();
    void selectedRowIsSelectedInTheTimelineAndInTheLog();
    void runningInstanceIsSelectedWhereTheTimelineStands();
    void eventSelectedInTheLogIsSelectedInTheTimelineAndInTheTable();
    void eventSelectedInTheTimelineIsSelectedInTheLogAndInTheTable();
    void endOfAnInstanceSelectsNoOther();
    void filterLeavesLanesAndRowsThatContainIt();
    void actionsMoveTheTimeline();
    void partsShareTheWindowAsTheUserWants();

private:
    TimelineView &timeline() { return *window().views().timeline(); }
    EventLogView &log() { return *window().views().log(); }
    History &history() { return window().files().history(); }

    QString textOf(EventId event)
    {
        return history().contains(event)
            ? laneText(history(), event) + ": " + nameText(history(), event)
            : QString();
    }
    QString selectedInstance()
    {
        const TablePage *page = window().tables().currentPage();
        return page->currentRow() < 0 ? QString() : page->table().instance(page->currentRow());
    }
    // Clicks on the row of the log.
    void clickInLog(const QString &text)
    {
        const int row = history().event(waitForEvent(text)).row;
        const QModelIndex index = log().model()->index(row, 0);
        log().scrollTo(index);
        QTest::mouseClick(log().viewport(), Qt::LeftButton, {}, log().visualRect(index).center());
    }
    // Clicks on the row of the table in front.
    void clickInTable(const QString &instance)
    {
        TablePage *page = window().tables().currentPage();
        const QAbstractItemModel *model = page->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            const QModelIndex index = model->index(row, ApplicationsTable::InstanceColumn);
            if (index.data().toString() == instance) {
                QTest::mouseClick(page->viewport(), Qt::LeftButton, {},
                                  page->visualRect(index).center());
                return;
            }
        }
        qFatal("%s is not listed", qPrintable(instance));
    }
    void startBoth()
    {
        startElsewhere("demo.Viewer");
        startElsewhere("demo.Player");
        waitForRows({ApplicationsTable::InstanceColumn}, {"demo.Player", "demo.Viewer.instance_1"});
        waitForEvent("demo.Player: state 1");
    }
};

void TestMonitorJoin::whatHappensIsInTheTimelineAndInTheLog()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    m_simulator.killByOom("demo.Viewer.instance_1");
    waitForEvent("demo.Viewer.instance_1: Terminated");
    QStringList texts = logged();
    QCOMPARE(texts.takeFirst(), QString("service: trace begins"));
    texts = texts.filter(QRegularExpression("^(?!calls)"));
    QCOMPARE(
        texts.filter("demo.Viewer.instance_1: "),
        (QStringList{"demo.Viewer.instance_1: Started", "demo.Viewer.instance_1: state 1",
                     "demo.Viewer.instance_1: state 2", "demo.Viewer.instance_1: Terminated"}));
    QCOMPARE(texts.filter("SelectedByOom").size(), 1);
    waitUntil([this] { return timeline().visibleLanes().contains("demo.Viewer.instance_1"); });
    QCOMPARE(log().model()->rowCount(), history().rowCount());
    QVERIFY(history().isLive());
}

void TestMonitorJoin::whatRanBeforeTheWindowIsInTheTimeline()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    closeWindow();
    openWindow();
    const EventId state = waitForEvent("demo.Viewer.instance_1: state 1");
    QCOMPARE(detailsText(history(), state), QString("goes on, seen: in the list of what runs"));
    waitUntil([this] { return timeline().visibleLanes().contains("demo.Viewer.instance_1"); });
    clickInTable("demo.Viewer.instance_1");
    QCOMPARE(timeline().selection(), state);
    // The window's own lists are no calls that anyone looks for.
    window().actions().refresh->trigger();
    startElsewhere("demo.Player");
    waitForEvent("demo.Player: Started");
    QCOMPARE(logged().filter("GetRunningApplications"), QStringList());
}

void TestMonitorJoin::callsOfOthersAreInTheTimeline()
{
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").holdNext(1);
    Process program(OSTRELCTL, {"start", "demo.Viewer"});
    program.start();
    // It is there before the reply.
    waitUntil([this] { return !logged().filter(QRegularExpression("^calls .*: Start")).empty(); });
    const EventId call = history().eventAt(
        logged().indexOf(logged().filter(QRegularExpression("^calls .*: Start")).constFirst()));
    QVERIFY(history().event(call).isOpen());
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").waitForHeld(1);
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").release({0});
    waitUntil([&] { return !history().event(call).isOpen(); });
    QVERIFY(!history().event(call).hasFailed);
    waitUntil([&program] { return program.state() == QProcess::NotRunning; });
}

void TestMonitorJoin::noCallIsMissingAfterTheWindowWasBusy()
{
    // More than are kept until the window has time for them.
    constexpr int count = 12'000;
    QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "other");
    const QDBusMessage call = QDBusMessage::createMethodCall(
        OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, "Nothing");
    for (int i = 0; i < count; ++i) {
        QVERIFY(other.send(call));
    }
    // The service has received them.
    QCOMPARE(other.call(call).type(), QDBusMessage::ErrorMessage);
    QDBusConnection::disconnectFromBus("other");
    waitUntil([this] { return history().rowCount() > count; });
    waitUntil([this] { return logged().filter(": Nothing").size() == count + 1; });
}

void TestMonitorJoin::selectedRowIsSelectedInTheTimelineAndInTheLog()
{
    startBoth();
    clickInTable("demo.Viewer.instance_1");
    QCOMPARE(textOf(timeline().selection()), QString("demo.Viewer.instance_1: state 1"));
    QCOMPARE(log().selection(), timeline().selection());
    QCOMPARE(log().currentIndex().data(EventLogModel::IdRole).value<EventId>(),
             timeline().selection());

    // Further events of the instance do not move what the user looks at.
    const EventId selected = timeline().selection();
    m_simulator.emitStateChanged("demo.Viewer.instance_1", 3);
    waitForEvent("demo.Viewer.instance_1: state 3");
    QCOMPARE(timeline().selection(), selected);
    QCOMPARE(log().selection(), selected);

    clickInTable("demo.Player");
    QCOMPARE(textOf(log().selection()), QString("demo.Player: state 1"));
}

void TestMonitorJoin::runningInstanceIsSelectedWhereTheTimelineStands()
{
    startBoth();
    // What has begun before that, and goes on.
    const EventId event = waitForEvent("demo.Player: state 1");
    waitUntil([&] { return history().lastTime() > history().event(event).time + 10'000; });
    const qint64 now = history().lastTime();
    timeline().showTimes(now, now + 1000);
    timeline().setFollow(true);
    QVERIFY(history().event(event).time < timeline().scene().scale.begin());
    clickInTable("demo.Player");
    QCOMPARE(timeline().selection(), event);
    QVERIFY(timeline().follow());
}

void TestMonitorJoin::eventSelectedInTheLogIsSelectedInTheTimelineAndInTheTable()
{
    startBoth();
    window().tables().setCurrentIndex(1);
    clickInLog("demo.Viewer.instance_1: Started");
    QCOMPARE(textOf(timeline().selection()), QString("demo.Viewer.instance_1: Started"));
    QVERIFY(window().tables().showsApplications());
    QCOMPARE(selectedInstance(), QString("demo.Viewer.instance_1"));
    clickInLog("demo.Player: Started");
    QCOMPARE(selectedInstance(), QString("demo.Player"));
    QCOMPARE(textOf(log().selection()), QString("demo.Player: Started"));
    clickInLog("service: trace begins");
    QCOMPARE(selectedInstance(), QString());
    QCOMPARE(textOf(timeline().selection()), QString("service: trace begins"));
}

void TestMonitorJoin::eventSelectedInTheTimelineIsSelectedInTheLogAndInTheTable()
{
    startBoth();
    timeline().zoomToFit();
    const EventId event = waitForEvent("demo.Viewer.instance_1: state 1");
    waitUntil([&] { return timeline().scene().eventRect(event).isValid(); });
    timeline().setFocus();
    // To the last lane, to the one above that if it is not the viewer's, and to its last event.
    QTest::keyClick(&timeline(), Qt::Key_End, Qt::ControlModifier);
    for (int i = 0; i < 5 && !textOf(timeline().current()).startsWith("demo.Viewer.instance_1");
         ++i) {
        QTest::keyClick(&timeline(), Qt::Key_Up);
    }
    QTest::keyClick(&timeline(), Qt::Key_End);
    QTest::keyClick(&timeline(), Qt::Key_Return);
    QCOMPARE(log().selection(), event);
    QCOMPARE(selectedInstance(), QString("demo.Viewer.instance_1"));
    QCOMPARE(timeline().selection(), event);
}

void TestMonitorJoin::endOfAnInstanceSelectsNoOther()
{
    startBoth();
    clickInTable("demo.Player");
    const EventId selected = timeline().selection();
    m_simulator.killByOom("demo.Player");
    waitForRows({ApplicationsTable::InstanceColumn}, {"demo.Viewer.instance_1"});
    waitForEvent("demo.Player: Terminated");
    QCOMPARE(selectedInstance(), QString());
    QVERIFY(!window().actions().stop->isEnabled());
    QCOMPARE(timeline().selection(), selected);
}

void TestMonitorJoin::filterLeavesLanesAndRowsThatContainIt()
{
    startBoth();
    press(window().actions().filter);
    QTest::keyClicks(QApplication::focusWidget(), "player");
    waitUntil([this] {
        return timeline().visibleLanes() == QStringList({"service", "demo.Player"});
    });
    QCOMPARE(rows({ApplicationsTable::InstanceColumn}), QStringList("demo.Player"));
    waitUntil([this] { return log().model()->rowCount() > 0; });
    for (int row = 0; row < log().model()->rowCount(); ++row) {
        const auto id = log().model()->index(row, 0).data(EventLogModel::IdRole).value<EventId>();
        QVERIFY((textOf(id) + detailsText(history(), id)).contains("player", Qt::CaseInsensitive));
    }
}

void TestMonitorJoin::actionsMoveTheTimeline()
{
    startBoth();
    const auto span = [this] { return timeline().scene().scale.span(); };
    const double before = span();
    press(window().actions().zoomIn);
    QCOMPARE(span(), before / 2);
    press(window().actions().zoomOut);
    QCOMPARE(span(), before);
    QVERIFY(timeline().follow() && window().actions().follow->isChecked());
    press(window().actions().follow);
    QVERIFY(!timeline().follow());
    timeline().setFollow(true);
    QVERIFY(window().actions().follow->isChecked());
    timeline().showTimes(0, 1000);
    press(window().actions().zoomToFit);
    QVERIFY(timeline().xAt(history().firstTime()) > 0);
    QVERIFY(timeline().xAt(history().lastTime()) <= timeline().viewport()->width());
}

void TestMonitorJoin::partsShareTheWindowAsTheUserWants()
{
    auto *parts = qobject_cast<QSplitter *>(timeline().parentWidget());
    QVERIFY(parts != nullptr);
    QCOMPARE(parts->indexOf(&timeline()), 1);
    QCOMPARE(parts->indexOf(&log()), 2);
    const int height = parts->height();
    const QList<int> usual = parts->sizes();
    const QList<int> percents{35, 40, 25};
    for (int i = 0; i < 3; ++i) {
        QVERIFY(qAbs(usual.at(i) * 100 / height - percents.at(i)) <= 2);
    }
    parts->setSizes({height - 300, 150, 150});
    const QList<int> sizes = parts->sizes();
    QVERIFY(sizes != usual);
    log().setColumnWidth(EventLogModel::Instance, 77);
    window().close();
    openWindow();
    QCOMPARE(qobject_cast<QSplitter *>(timeline().parentWidget())->sizes(), sizes);
    QCOMPARE(log().columnWidth(EventLogModel::Instance), 77);
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorJoin)

#include "tst_monitor_join.moc"
