// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "history_loader.h"
#include "history_replay.h"
#include "recorded_history.h"
#include "trace_writer.h"
#include "widget_test_main.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>

#include <sys/resource.h>
#include <unistd.h>

// Histories from files, and as files.
class TestTimelineFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savedHistoryIsReadAgain();
    void savedFileSaysHowManyInstancesRan();
    void fileThatCannotBeSavedIsAsBefore_data();
    void fileThatCannotBeSavedIsAsBefore();
    void missingFileLeavesTheHistory_data();
    void missingFileLeavesTheHistory();
    void loadingCanBeCancelled();
};

void TestTimelineFiles::savedHistoryIsReadAgain()
{
    RecordedHistory recorded;
    recorded.fill();
    recorded.call(1, "Start");
    recorded.now += RecordedHistory::second;
    recorded.reply(1);
    recorded.call(2, "Wait");
    recorded.now += RecordedHistory::second;
    recorded.history.flush();
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    QVERIFY(saveHistory(recorded.history, file));

    History history;
    HistoryLoader loader(history);
    QSignalSpy finished(&loader, &HistoryLoader::finished);
    QVERIFY(loader.load(file));
    waitUntil([&finished] { return !finished.isEmpty(); });
    QCOMPARE(finished.at(0).at(0).toInt(), 0);
    QVERIFY(!loader.isLoading());
    QCOMPARE(rowsOf(history), rowsOf(recorded.history));
    QCOMPARE(stretchesOf(history, "first"), stretchesOf(recorded.history, "first"));
    QCOMPARE(stretchesOf(history, "second").last(), "state 3 6-9");
    QCOMPARE(stretchesOf(history, "calls 1"), (QStringList{"Start 7-8", "Wait 8-9"}));
    QVERIFY(history.event(eventNamed(history, "calls 1", "Wait")).hasFailed);
    QCOMPARE(detailsText(history, eventNamed(history, "second", "state 3")),
             "for 3 s, end: the trace has ended");
    QCOMPARE(history.timeOfDay(), recorded.history.timeOfDay());
}

void TestTimelineFiles::savedFileSaysHowManyInstancesRan()
{
    RecordedHistory recorded;
    recorded.fill();
    recorded.recorder.serviceAvailable(recorded.now, false);
    QStringList counts;
    replay(recorded.history, [&counts](const TraceEvent &event) {
        if (event.phase == TraceEvent::Counter) {
            counts.append(QString("%1: %2")
                              .arg(secondsIn(event.time))
                              .arg(event.arguments[TraceWords::instances].toInt()));
        }
    });
    QCOMPARE(counts, (QStringList{"0: 1", "3: 2", "6: 1", "7: 0"}));
}

void TestTimelineFiles::fileThatCannotBeSavedIsAsBefore_data()
{
    QTest::addColumn<int>("resource");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("error");
    QTest::newRow("size") << int(RLIMIT_FSIZE) << 200 << "File too large";
    const int firstFree = ::dup(STDERR_FILENO);
    ::close(firstFree);
    // The file takes that one, and there is no other.
    QTest::newRow("descriptors") << int(RLIMIT_NOFILE) << firstFree + 1 << "Too many open files";
}

void TestTimelineFiles::fileThatCannotBeSavedIsAsBefore()
{
    QFETCH(const int, resource);
    QFETCH(const int, limit);
    QFETCH(const QString, error);
    const auto limited = decltype(RLIMIT_FSIZE)(resource);
    RecordedHistory recorded;
    recorded.fill();
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    writeFile(file, "what was there");
    struct rlimit before = {};
    QCOMPARE(::getrlimit(limited, &before), 0);
    const struct rlimit low = {rlim_t(limit), before.rlim_max};
    QCOMPARE(::setrlimit(limited, &low), 0);
    const Result<> saved = saveHistory(recorded.history, file);
    QCOMPARE(::setrlimit(limited, &before), 0);
    QVERIFY(!saved);
    QCOMPARE(saved.error(), "cannot write " + file + ": " + error);
    QCOMPARE(readFile(file), QString("what was there"));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList("trace"));
}

void TestTimelineFiles::missingFileLeavesTheHistory_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("error");
    QTest::newRow("missing") << "/nonexistent/trace"
                             << "cannot read /nonexistent/trace: No such file or directory";
    QTest::newRow("folder") << "/proc"
                            << "/proc is no trace";
    QTest::newRow("device") << "/dev/zero"
                            << "/dev/zero is no trace";
    QTest::newRow("other file") << "/proc/version"
                                << "/proc/version is no trace";
}

void TestTimelineFiles::missingFileLeavesTheHistory()
{
    QFETCH(const QString, file);
    RecordedHistory recorded;
    recorded.fill();
    const int rows = recorded.history.rowCount();
    HistoryLoader loader(recorded.history);
    const Result<> loaded = loader.load(file);
    QVERIFY(!loaded);
    QTEST(loaded.error(), "error");
    QVERIFY(!loader.isLoading());
    QVERIFY(recorded.history.isLive());
    QCOMPARE(recorded.history.rowCount(), rows);
}

void TestTimelineFiles::loadingCanBeCancelled()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("trace");
    TraceWriter writer;
    QVERIFY(writer.open(file));
    // More than is read at a time.
    for (int i = 0; i < 20'000; ++i) {
        QVERIFY(writer.write({TraceEvent::Instant, "x", i, 0, 1, 1, {}}));
    }
    History history;
    HistoryLoader loader(history);
    QSignalSpy finished(&loader, &HistoryLoader::finished);
    QVERIFY(loader.load(file));
    waitUntil([&history] { return !history.isEmpty(); });
    QVERIFY(loader.isLoading());
    loader.cancel();
    QVERIFY(!loader.isLoading());
    history.flush();
    QVERIFY(history.rowCount() < 20'000);
    QVERIFY(loader.load(file));
    waitUntil([&finished] { return !finished.isEmpty(); });
    QCOMPARE(history.rowCount(), 20'000);
    QCOMPARE(finished.size(), 1);
}

OSTREL_WIDGET_TEST_MAIN(TestTimelineFiles)

#include "tst_timeline_files.moc"
