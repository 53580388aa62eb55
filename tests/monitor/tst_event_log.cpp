// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "shown_log.h"
#include "widget_test_main.h"

#include <QtCore/QTemporaryDir>
#include <QtGui/QClipboard>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QScrollBar>

// The log: its rows, and what is done with them.
class TestEventLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsHaveTheirColumns();
    void rowsAreAppendedInRanges();
    void endOfAStretchChangesTheDetails();
    void modelStaysValidWhatever();
    void valuesOfTheBusArePlainText();
    void selectionIsShownWithoutASignal();
    void userSelectsWithMouseAndKeys();
    void selectionStaysWhenRowsAreReplaced();
    void endStaysInSight();
    void copiedRowsAreLinesWithTabs();
    void savedFileHasTheShownRows();
    void deletedHistoryLeavesAnEmptyLog();
};

namespace
{

QStringList cells(const QAbstractItemModel &model, int row)
{
    QStringList texts;
    for (int column = 0; column < model.columnCount(); ++column) {
        texts.append(model.index(row, column).data().toString());
    }
    return texts;
}

} // namespace

void TestEventLog::rowsHaveTheirColumns()
{
    RecordedHistory recorded;
    recorded.fill();
    EventLogModel model;
    model.setHistory(&recorded.history);
    QCOMPARE(model.rowCount(), recorded.history.rowCount());
    QStringList titles;
    for (int column = 0; column < model.columnCount(); ++column) {
        titles.append(model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString());
    }
    QCOMPARE(titles, (QStringList{"Time", "Instance", "Event", "Details"}));
    QCOMPARE(cells(model, 2),
             (QStringList{"12:00:00.000000", "first", "Started", "for 1 s, processId: 17"}));
    QCOMPARE(cells(model, model.rowCount() - 1),
             (QStringList{"12:00:06.000000", "second", "state 3", "goes on"}));
    QCOMPARE(model.rowOf(model.eventAt(3)), 3);
    QCOMPARE(model.rowOf({}), -1);
    QVERIFY(!model.eventAt(-1).isValid());
    QVERIFY(!model.eventAt(10'000).isValid());
}

void TestEventLog::rowsAreAppendedInRanges()
{
    RecordedHistory recorded;
    recorded.fill();
    EventLogModel model;
    model.setHistory(&recorded.history);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    const int before = model.rowCount();
    for (int i = 0; i < 1000; ++i) {
        recorded.recorder.stateChanged(++recorded.now, "first", 1);
    }
    recorded.history.flush();
    QCOMPARE(inserted.size(), 1);
    QCOMPARE(inserted.at(0).at(1).toInt(), before);
    QCOMPARE(inserted.at(0).at(2).toInt(), before + 999);
    QCOMPARE(removed.size(), 0);
}

void TestEventLog::endOfAStretchChangesTheDetails()
{
    RecordedHistory recorded;
    recorded.fill();
    EventLogModel model;
    model.setHistory(&recorded.history);
    const int row = model.rowCount() - 1;
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    recorded.recorder.terminated(recorded.now, "second", {});
    recorded.history.flush();
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.at(0).at(0).toModelIndex().row(), row);
    QCOMPARE(cells(model, row).last(), "for 1 s");
}

void TestEventLog::modelStaysValidWhatever()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(60);
    EventLogModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QSortFilterProxyModel proxy;
    proxy.setSourceModel(&model);
    const QAbstractItemModelTester proxyTester(
        &proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setHistory(&recorded.history);
    recorded.fill();
    for (quint32 i = 0; i < 100; ++i) {
        recorded.call(i, "Start");
        recorded.now += 10;
        recorded.reply(i);
        recorded.recorder.stateChanged(recorded.now, "first", i);
        // Also while the history has dropped rows and has not said so.
        QVERIFY(model.rowCount() == 0 || !model.index(model.rowCount() - 1, 0).data().isValid()
                || !cells(model, model.rowCount() - 1).isEmpty());
        if (i % 7 == 0) {
            recorded.history.flush();
        }
    }
    recorded.history.clear();
    QCOMPARE(model.rowCount(), 0);
    recorded.fill();
    QVERIFY(model.rowCount() > 0);
    model.setHistory(nullptr);
    QCOMPARE(model.rowCount(), 0);
}

void TestEventLog::valuesOfTheBusArePlainText()
{
    RecordedHistory recorded;
    recorded.recorder.started(
        recorded.now, "<b>a</b>\n" + QString(QChar(0x202e)) + QChar(0x2066) + QChar(0x2028) + 'z',
        {{"k\ne\ty", "<a href=x>\x1b[2J"}});
    recorded.history.flush();
    EventLogModel model;
    model.setHistory(&recorded.history);
    QCOMPARE(cells(model, 1).mid(1),
             (QStringList{"<b>a</b>\\n\\u202e\\u2066\\u2028z", "Started",
                          "goes on, k\\ne\\x09y: <a href=x>\\x1b[2J"}));
    const QString tip = model.index(1, EventLogModel::Details).data(Qt::ToolTipRole).toString();
    QVERIFY(tip.contains("&lt;a href=x&gt;"));
    QVERIFY(!tip.contains("<a"));
    // An ampersand is one as well.
    QCOMPARE(plainToolTip("a & b"), "<span>a &amp; b</span>");
}

void TestEventLog::selectionIsShownWithoutASignal()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    QSignalSpy selected(view.get(), &EventLogView::selected);
    const EventId state = eventNamed(recorded.history, "first", "state 1");
    view->select(state);
    QCOMPARE(view->selection(), state);
    QVERIFY(view->selectedText().endsWith("first\tstate 1\tfor 1 s\n"));
    // Filtered out, nothing is selected; it comes back.
    view->setFilter("second");
    QCOMPARE(view->selectedText(), QString());
    view->setFilter(QString());
    QVERIFY(view->selectedText().endsWith("first\tstate 1\tfor 1 s\n"));
    view->setFilter("nothing has this");
    view->setFilter(QString());
    QVERIFY(view->selectedText().endsWith("first\tstate 1\tfor 1 s\n"));
    view->select({});
    QCOMPARE(view->selectedText(), QString());
    QCOMPARE(selected.size(), 0);
}

void TestEventLog::userSelectsWithMouseAndKeys()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    QSignalSpy selected(view.get(), &EventLogView::selected);
    view->scrollToTop();
    const QModelIndex index = view->model()->index(3, EventLogModel::Event);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(index).center());
    QCOMPARE(selected.size(), 1);
    QCOMPARE(selected.at(0).at(0).value<EventId>(), recorded.history.eventAt(3));
    QTest::keyClick(view.get(), Qt::Key_Down);
    QCOMPARE(selected.size(), 2);
    QCOMPARE(selected.at(1).at(0).value<EventId>(), recorded.history.eventAt(4));
    QCOMPARE(view->selection(), recorded.history.eventAt(4));
}

void TestEventLog::selectionStaysWhenRowsAreReplaced()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    const EventId state = eventNamed(recorded.history, "second", "state 3");
    view->select(state);
    QSignalSpy selected(view.get(), &EventLogView::selected);
    // Earlier than what is there.
    recorded.history.append({TraceEvent::Instant,
                             "early",
                             101 * RecordedHistory::second,
                             0,
                             TraceWords::Instances,
                             1000,
                             {}});
    recorded.history.flush();
    QCOMPARE(view->selection(), state);
    QVERIFY(view->selectedText().contains("second\tstate 3"));
    QCOMPARE(selected.size(), 0);
}

void TestEventLog::endStaysInSight()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    const auto append = [&] {
        for (int i = 0; i < 100; ++i) {
            recorded.recorder.stateChanged(++recorded.now, "first", 1);
        }
        recorded.history.flush();
        QCoreApplication::processEvents();
    };
    const auto lastIsVisible = [&] {
        const QModelIndex last = view->model()->index(view->model()->rowCount() - 1, 0);
        return view->viewport()->rect().intersects(view->visualRect(last));
    };
    append();
    QVERIFY(lastIsVisible());
    view->select(recorded.history.eventAt(10));
    append();
    QVERIFY(!lastIsVisible());
    view->scrollToBottom();
    append();
    QVERIFY(lastIsVisible());
}

void TestEventLog::copiedRowsAreLinesWithTabs()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    // From below upwards.
    for (const int row : {4, 3}) {
        view->selectionModel()->select(view->model()->index(row, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    view->activateWindow();
    view->setFocus();
    waitUntil([&view] { return view->hasFocus(); });
    QTest::keyClick(view.get(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(),
             "12:00:01.000000\tfirst\tstate 1\tfor 1 s\n"
             "12:00:02.000000\tfirst\tstate 2\tfor 4 s\n");
}

void TestEventLog::savedFileHasTheShownRows()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    const QTemporaryDir folder;
    const QString file = folder.filePath("log");
    view->setFilter("second");
    QVERIFY(view->save(file));
    QFile saved(file);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(saved.readAll());
    QCOMPARE(text, view->text());
    QCOMPARE(text.count('\n'), 4);
    QVERIFY(text.startsWith("12:00:03.000000\tsecond\tStarted\tfor 1 s, processId: 17\n"));
    QCOMPARE(view->save("/nonexistent/log").error(),
             "cannot write /nonexistent/log: No such file or directory");
}

void TestEventLog::deletedHistoryLeavesAnEmptyLog()
{
    auto recorded = std::make_unique<RecordedHistory>();
    recorded->fill();
    const ShownLog view = showLog(*recorded);
    view->select(recorded->history.eventAt(2));
    recorded.reset();
    QCOMPARE(view->text(), QString());
    QVERIFY(!view->selection().isValid());
    QVERIFY(!view->grab().isNull());
}

OSTREL_WIDGET_TEST_MAIN(TestEventLog)

#include "tst_event_log.moc"
