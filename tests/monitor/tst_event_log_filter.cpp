// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "shown_log.h"
#include "widget_test_main.h"

#include <QtTest/QAbstractItemModelTester>

// The rows of the log that contain a string.
class TestEventLogFilter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filterKeepsWhatMatches();
    void filterFollowsTheDetails();
    void filterOfVeryManyEventsDoesNotHoldUp();
    void filteredModelStaysValidWhateverHappens();
};

void TestEventLogFilter::filterKeepsWhatMatches()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    view->setFilter("STATE 2");
    QCOMPARE(view->text().count('\n'), 2);
    recorded.recorder.stateChanged(recorded.now, "first", 2);
    recorded.recorder.stateChanged(recorded.now, "first", 7);
    recorded.history.flush();
    QCOMPARE(view->text().count('\n'), 3);
    view->setFilter("processid: 17");
    QCOMPARE(view->text().count('\n'), 2);
    view->setFilter(QString());
    QCOMPARE(view->text().count('\n'), recorded.history.rowCount());
}

void TestEventLogFilter::filterFollowsTheDetails()
{
    RecordedHistory recorded;
    recorded.fill();
    const ShownLog view = showLog(recorded);
    const auto shown = [&view](const QString &filter) {
        view->setFilter(filter);
        return view->text().count('\n');
    };
    QCOMPARE(shown("for 5 s"), 0);
    recorded.now += 4 * RecordedHistory::second;
    recorded.recorder.stateChanged(recorded.now, "second", 4);
    recorded.history.flush();
    QCOMPARE(view->text(), QString("12:00:06.000000\tsecond\tstate 3\tfor 5 s\n"));

    QCOMPARE(shown("goes on"), 2);
    recorded.recorder.stateChanged(recorded.now += RecordedHistory::second, "second", 5);
    recorded.history.flush();
    QCOMPARE(view->text(),
             QString("12:00:00.000000\tservice\tservice available\tgoes on\n"
                     "12:00:12.000000\tsecond\tstate 5\tgoes on\n"));
}

void TestEventLogFilter::filterOfVeryManyEventsDoesNotHoldUp()
{
    RecordedHistory recorded;
    recorded.fill();
    constexpr int count = 200'000;
    for (int i = 0; i < count; ++i) {
        recorded.recorder.stateChanged(++recorded.now, "many", 1);
    }
    recorded.history.flush();
    const ShownLog view = showLog(recorded);
    view->select(recorded.history.eventAt(recorded.history.rowCount() - 1));
    view->setFilter("many");
    QVERIFY(view->model()->rowCount() < count);
    waitUntil([&view] { return view->model()->rowCount() == count; });
    QVERIFY(view->selectedText().contains("many\tstate 1\tgoes on"));
    // What comes while it searches is found as well.
    view->setFilter("MANY");
    recorded.recorder.stateChanged(++recorded.now, "many", 2);
    recorded.history.flush();
    waitUntil([&view] { return view->model()->rowCount() == count + 1; });
    // The text, and so a file, has all of it.
    view->setFilter("state 1");
    QCOMPARE(view->text().count("many"), count);
}

void TestEventLogFilter::filteredModelStaysValidWhateverHappens()
{
    RecordedHistory recorded;
    recorded.history.setMostEvents(60);
    EventLogModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setHistory(&recorded.history);
    recorded.fill();
    const QStringList filters{"Start", "goes on", "no reply", "state 3", QString(), "nothing"};
    for (quint32 i = 0; i < 200; ++i) {
        recorded.call(i, "Start");
        recorded.now += 10;
        if (i % 3 != 0) {
            recorded.reply(i);
        }
        recorded.recorder.stateChanged(recorded.now, "first", i);
        if (i % 7 == 0) {
            recorded.history.flush();
        }
        if (i % 5 == 0) {
            model.setFilter(filters.at(int(i / 5) % filters.size()));
        }
        if (i % 11 != 0) {
            continue;
        }
        recorded.history.flush();
        model.complete();
        QStringList expected;
        for (int row = 0; row < recorded.history.rowCount(); ++row) {
            const EventId id = recorded.history.eventAt(row);
            const QString texts = laneText(recorded.history, id) + '\n'
                + nameText(recorded.history, id) + '\n' + detailsText(recorded.history, id);
            if (texts.contains(model.filter(), Qt::CaseInsensitive)) {
                expected.append(texts);
                QCOMPARE(model.rowOf(id), expected.size() - 1);
                QCOMPARE(model.eventAt(expected.size() - 1), id);
            } else {
                QCOMPARE(model.rowOf(id), -1);
            }
        }
        QCOMPARE(model.rowCount(), expected.size());
    }
    recorded.history.clear();
    QCOMPARE(model.rowCount(), 0);
}

OSTREL_WIDGET_TEST_MAIN(TestEventLogFilter)

#include "tst_event_log_filter.moc"
