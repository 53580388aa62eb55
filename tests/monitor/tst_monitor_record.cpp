// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "event_text.h"
#include "file_actions.h"
#include "files.h"
#include "linked_views.h"
#include "monitor_test.h"
#include "notice.h"
#include "trace_reader.h"
#include "trace_words.h"

#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>

#include <sys/resource.h>

// What the window does with trace files.
class TestMonitorRecord : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void recordsToAFileUntilStopped();
    void recordingIsTheSameAsThatOfTheCommandLine();
    void recordingIsCompleteWhenTheWindowIsClosed();
    void recordingThatFailsIsReportedOnce();
    void savesWhatItHolds();
    void savesTheLog();
    void opensAFileAndGoesBackToLive();
    void happensMeanwhileIsKept();
    void damagedFileIsShownAsFarAsItGoes();
    void readingCanBeCancelled();
    void fileThatCannotBeUsedIsReported_data();
    void fileThatCannotBeUsedIsReported();
    void fileThatIsBeingRecordedToIsNotOverwritten();
    void longNamesDoNotWidenTheWindow();

private:
    TraceFiles &files() { return window().files(); }
    const WindowActions &actions() { return window().actions(); }

    QString path(const QString &name) const { return m_folder->filePath(name); }
    // The strips that are visible.
    QStringList notices()
    {
        QStringList texts;
        const QList<Notice *> all = window().findChildren<Notice *>();
        for (const Notice *notice : all) {
            if (notice->isVisible()) {
                texts.append(notice->text());
            }
        }
        return texts;
    }
    void clickNotice()
    {
        Notice *notice = window().fileActions().notice();
        QTest::mouseClick(notice->findChild<QPushButton *>(), Qt::LeftButton);
    }
    // Enters a file into the dialog that the action opens.
    void choose(const QAction *action, const QString &file)
    {
        press(action);
        QWidget *dialog = waitForDialog();
        auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
        name->setText(file);
        QTest::keyClick(name, Qt::Key_Return);
        waitUntil([] { return QApplication::activeModalWidget() == nullptr; });
    }
    void waitForEvent(const QString &text)
    {
        waitUntil([&] { return logged(files().history()).contains(text); });
    }
    static QStringList logged(const History &history)
    {
        QStringList texts;
        for (int row = 0; row < history.rowCount(); ++row) {
            const EventId id = history.eventAt(row);
            texts.append(laneText(history, id) + ": " + nameText(history, id));
        }
        return texts;
    }
    // The moments and stretches of instances in a file: "i Started".
    static QStringList events(const QString &file)
    {
        QStringList texts;
        const auto skipped = readTrace(file, [&texts](const TraceEvent &event) {
            if (event.group == TraceWords::Instances && event.phase != TraceEvent::Metadata) {
                texts.append(QString("%1 %2").arg(QChar(event.phase)).arg(event.name));
            }
        });
        if (!skipped || *skipped != 0) {
            texts.append("damaged");
        }
        return texts;
    }
    QString recordingLabel() { return window().fileActions().recording()->text(); }

    std::unique_ptr<QTemporaryDir> m_folder = std::make_unique<QTemporaryDir>();
};

void TestMonitorRecord::recordsToAFileUntilStopped()
{
    QVERIFY(!window().fileActions().recording()->isVisible());
    QVERIFY(!actions().stopRecording->isEnabled());
    choose(actions().record, path("recorded.json"));
    QVERIFY(window().fileActions().recording()->isVisible());
    QVERIFY2(recordingLabel().contains("Recording to recorded.json"), qPrintable(recordingLabel()));
    QVERIFY(!actions().record->isEnabled());
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    // It opens at any time.
    QCOMPARE(events(path("recorded.json")), (QStringList{"i Started", "i state 1", "X started"}));

    press(actions().stopRecording);
    QVERIFY(!window().fileActions().recording()->isVisible());
    QVERIFY(actions().record->isEnabled());
    startElsewhere("demo.Player");
    waitForEvent("demo.Player: state 1");
    QCOMPARE(events(path("recorded.json")),
             (QStringList{"i Started", "i state 1", "X started", "X state 1"}));
    QVERIFY(readFile(path("recorded.json")).endsWith("\n]\n"));
    QCOMPARE(window().messages().messages(), QStringList());
}

void TestMonitorRecord::recordingIsTheSameAsThatOfTheCommandLine()
{
    Process program(OSTRELCTL, {"trace", "-o", path("other.json")});
    program.start();
    waitUntil([&] { return QFileInfo(path("other.json")).size() > 0; });
    waitUntil([&] { return readFile(path("other.json")).contains("\"service available\""); });
    window().fileActions().record(path("own.json"));
    startElsewhere("demo.Viewer");
    m_simulator.killByOom("demo.Viewer.instance_1");
    waitForEvent("demo.Viewer.instance_1: Terminated");
    files().stopRecording();
    waitUntil([&] { return readFile(path("other.json")).contains("\"Terminated\""); });
    QCOMPARE(program.end(), 0);
    QCOMPARE(events(path("own.json")), events(path("other.json")));
    QVERIFY(events(path("own.json")).contains("X state 1"));

    window().fileActions().open(path("other.json"));
    waitForEvent("demo.Viewer.instance_1: Terminated");
    QVERIFY(!files().isLive());
}

void TestMonitorRecord::recordingIsCompleteWhenTheWindowIsClosed()
{
    window().fileActions().record(path("recorded.json"));
    closeWindow();
    QVERIFY(readFile(path("recorded.json")).endsWith("\n]\n"));
}

void TestMonitorRecord::recordingThatFailsIsReportedOnce()
{
    const QString file = path("full.json");
    struct rlimit before = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    window().fileActions().record(file);
    const struct rlimit full = {rlim_t(QFileInfo(file).size() + 20), before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &full), 0);
    startElsewhere("demo.Viewer");
    waitUntil([this] { return !window().messages().messages().isEmpty(); });
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    QVERIFY(!window().fileActions().recording()->isVisible());
    waitForEvent("demo.Viewer.instance_1: state 1");
    QCOMPARE(window().messages().messages(),
             QStringList("cannot write " + file + ": File too large"));
    // What it has is a trace.
    QVERIFY(readTrace(file, [](const TraceEvent &) {}));
    files().record(path("next.json"));
    QVERIFY(window().fileActions().recording()->isVisible());
}

void TestMonitorRecord::savesWhatItHolds()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    const QStringList held = logged(files().history());
    choose(actions().save, path("saved.json"));
    QCOMPARE(events(path("saved.json")),
             (QStringList{"i Started", "X started", "i state 1", "X state 1"}));
    choose(actions().open, path("saved.json"));
    waitUntil([this] { return !files().isReading(); });
    // The window itself goes on calling.
    QCOMPARE(logged(files().history()).mid(0, held.size()), held);
    QCOMPARE(window().messages().messages(), QStringList());
}

void TestMonitorRecord::savesTheLog()
{
    startElsewhere("demo.Viewer");
    waitForEvent("demo.Viewer.instance_1: state 1");
    choose(actions().saveLog, path("log.txt"));
    const QString text = readFile(path("log.txt"));
    QVERIFY2(text.contains("\tdemo.Viewer.instance_1\tstate 1\t"), qPrintable(text));
}

void TestMonitorRecord::opensAFileAndGoesBackToLive()
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

void TestMonitorRecord::happensMeanwhileIsKept()
{
    QVERIFY(files().save(path("saved.json")));
    window().fileActions().open(path("saved.json"));
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Viewer"});
    waitUntil([this] { return !files().isReading(); });
    QVERIFY(!logged(files().history()).contains("demo.Viewer.instance_1: Started"));
    files().backToLive();
    waitForEvent("demo.Viewer.instance_1: Started");
}

void TestMonitorRecord::damagedFileIsShownAsFarAsItGoes()
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
    QVERIFY(logged(files().history()).contains("demo.Viewer.instance_1: Started"));
    QVERIFY(!logged(files().history()).contains("demo.Viewer.instance_1: state 1"));
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

void TestMonitorRecord::readingCanBeCancelled()
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

void TestMonitorRecord::fileThatCannotBeUsedIsReported_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("opened");
    QTest::addColumn<QString>("written");
    QTest::newRow("missing folder")
        << "/nonexistent/a.json"
        << "cannot read /nonexistent/a.json: No such file or directory"
        << "cannot create /nonexistent/a.json: No such file or directory";
    QTest::newRow("device") << "/dev/zero"
                            << "/dev/zero is no trace"
                            << "cannot write /dev/zero: it is no file";
}

void TestMonitorRecord::fileThatCannotBeUsedIsReported()
{
    QFETCH(QString, file);
    window().fileActions().open(file);
    QTEST(window().messages().messages().constLast(), "opened");
    window().fileActions().record(file);
    QTEST(window().messages().messages().constLast(), "written");
    const Result<> saved = files().save(file);
    QVERIFY(!saved);
    QTEST(saved.error(), "written");
    QVERIFY(files().isLive() && files().recordFile().isNull());
    QCOMPARE(notices(), QStringList());
}

void TestMonitorRecord::fileThatIsBeingRecordedToIsNotOverwritten()
{
    const QString file = path("recorded.json");
    QVERIFY(files().record(file));
    const QString link = path("link.json");
    QVERIFY(QFile::link(file, link));
    for (const QString &each : {file, link}) {
        const Result<> saved = files().save(each);
        QVERIFY(!saved);
        QCOMPARE(saved.error(), "cannot write " + each + ": it is being recorded to");
    }
    QVERIFY(files().open(file));
    QVERIFY(!files().record(file));
    QCOMPARE(files().recordFile(), file);
}

void TestMonitorRecord::longNamesDoNotWidenTheWindow()
{
    const int width = window().minimumSizeHint().width();
    const QString file = path(QString(200, 'W') + ".json");
    window().fileActions().record(file);
    files().stopRecording();
    window().fileActions().open(file);
    window().fileActions().record("/nonexistent/" + QString(200, 'W'));
    waitUntil([this] { return !files().isReading(); });
    QCOMPARE(window().messages().messages().size(), 1);
    QVERIFY(window().minimumSizeHint().width() <= qMax(width, 800));
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorRecord)

#include "tst_monitor_record.moc"
