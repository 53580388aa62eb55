// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "files_test.h"
#include "linked_views.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>

// What the window shows of a trace file.
class TestMonitorOpen : public FilesTest
{
    Q_OBJECT

private Q_SLOTS:
    void opensAFileAndGoesBackToLive();
    void happensMeanwhileIsKept();
    void damagedFileIsShownAsFarAsItGoes();
    void readingCanBeCancelled();
    void longNamesDoNotWidenTheWindow();
};

void TestMonitorOpen::opensAFileAndGoesBackToLive()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    QVERIFY(files().save(path("saved.json")));
    const QString title = window().windowTitle();
    QVERIFY(!actions().backToLive->isEnabled());
    choose(actions().open, path("saved.json"));
    waitUntil([this] { return !files().isReading(); });

    QCOMPARE(notices(), QStringList("Looking at saved.json"));
    QCOMPARE(window().windowTitle(), QString("Trace saved.json"));
    QVERIFY(!window().tables().isEnabled());
    QVERIFY(!actions().startDebug->isEnabled());
    QVERIFY(!actions().follow->isEnabled());
    History &loaded = files().history();
    QVERIFY(!loaded.isLive());
    const TimelineView &timeline = *window().views().timeline();
    QVERIFY(timeline.visibleLanes().contains("demo.Viewer.instance_1"));
    QVERIFY(timeline.xAt(loaded.firstTime()) > 0);
    QVERIFY(timeline.xAt(loaded.lastTime()) <= timeline.viewport()->width());
    QCOMPARE(window().views().log()->model()->rowCount(), loaded.rowCount());
    // An event of the file selects nothing of what runs.
    window().views().log()->selectRow(loaded.rowCount() - 1);
    QCOMPARE(window().tables().currentPage()->currentRow(), -1);

    clickNotice();
    QCOMPARE(notices(), QStringList());
    QCOMPARE(window().windowTitle(), title);
    QVERIFY(window().tables().isEnabled());
    QVERIFY(actions().startDebug->isEnabled());
    QVERIFY(actions().follow->isEnabled() && actions().follow->isChecked());
    QVERIFY(files().history().isLive());
    waitForEvent("demo.Viewer.instance_1: state 1");
    QVERIFY(timeline.visibleLanes().contains("demo.Viewer.instance_1"));

    choose(actions().open, path("saved.json"));
    press(actions().backToLive);
    QVERIFY(files().isLive() && !files().isReading());
}

void TestMonitorOpen::happensMeanwhileIsKept()
{
    QVERIFY(files().save(path("saved.json")));
    window().fileActions().open(path("saved.json"));
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Viewer"});
    waitUntil([this] { return !files().isReading(); });
    QVERIFY(!logged().contains("demo.Viewer.instance_1: Started"));
    files().backToLive();
    waitForEvent("demo.Viewer.instance_1: Started");
}

void TestMonitorOpen::damagedFileIsShownAsFarAsItGoes()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    QVERIFY(files().save(path("saved.json")));
    const QByteArray whole = readFile(path("saved.json")).toUtf8();
    const int cut = whole.indexOf("\"state 1\"");
    QVERIFY(cut > 0);
    writeFile(path("cut.json"), whole.left(cut));
    window().fileActions().open(path("cut.json"));
    waitUntil([this] { return !files().isReading(); });
    QVERIFY(logged().contains("demo.Viewer.instance_1: Started"));
    QVERIFY(!logged().contains("demo.Viewer.instance_1: state 1"));
    QCOMPARE(notices(),
             QStringList("Looking at cut.json\n1 of its lines are no events: the file is damaged "
                         "or incomplete."));

    // Lines that are no events, hostile numbers and names.
    writeFile(path("hostile.json"),
              "[\n{\"ph\":\"X\",\"name\":\"<b>\\u202e\",\"ts\":-9e18,\"dur\":9e99,\"pid\":3,"
              "\"tid\":1},\n\xff\xfe{{{,\n[[[[,\n{\"ph\":\"i\",\"name\":\"state 1\",\"ts\":9e18,"
              "\"pid\":-7,\"tid\":99999999999},\nnull\n");
    window().fileActions().open(path("hostile.json"));
    waitUntil([this] { return !files().isReading(); });
    window().grab();
    press(actions().zoomToFit);
    window().grab();
    writeFile(path("empty.json"), "[\n]\n");
    window().fileActions().open(path("empty.json"));
    waitUntil([this] { return !files().isReading(); });
    QCOMPARE(notices(), QStringList("Looking at empty.json\nThe file has no events."));
}

void TestMonitorOpen::readingCanBeCancelled()
{
    QByteArray large("[\n");
    for (int i = 0; i < 100'000; ++i) {
        large += "{\"ph\":\"i\",\"name\":\"x\",\"ts\":" + QByteArray::number(i)
            + ",\"pid\":3,\"tid\":1,\"s\":\"t\"},\n";
    }
    writeFile(path("large.json"), large);
    QSignalSpy progressed(&files(), &TraceFiles::progressed);
    window().fileActions().open(path("large.json"));
    const QProgressBar *bar = window().fileActions().progress();
    waitUntil([&] { return progressed.size() > 1; });
    QVERIFY(bar->isVisible());
    QVERIFY(bar->value() > 0 && bar->value() < 100);
    QCOMPARE(notices(), QStringList("Reading large.json"));
    QVERIFY(!actions().save->isEnabled());

    clickNotice();
    QVERIFY(!files().isReading());
    QVERIFY(!bar->isVisible());
    QCOMPARE(notices(), QStringList("Looking at large.json\nOnly a part of it has been read."));
    QVERIFY(files().history().rowCount() > 0 && files().history().rowCount() < 100'000);

    window().fileActions().open(path("large.json"));
    waitUntil([this] { return !files().isReading(); });
    QCOMPARE(files().history().rowCount(), 100'000);
    QCOMPARE(notices(), QStringList("Looking at large.json"));
}

void TestMonitorOpen::longNamesDoNotWidenTheWindow()
{
    const int width = window().minimumSizeHint().width();
    const QString file = path(QString(200, 'W') + ".json");
    window().fileActions().record(file);
    files().stopRecording();
    window().fileActions().open(file);
    window().fileActions().record("/nonexistent/" + QString(200, 'W'));
    waitUntil([this] { return !files().isReading(); });
    QCOMPARE(window().messages().messages().size(), 1);
    // The address of a bus.
    window().findChild<Notice *>()->setText(QString(200, 'W'));
    QVERIFY(window().minimumSizeHint().width() <= qMax(width, 800));
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorOpen)

#include "tst_monitor_open.moc"
