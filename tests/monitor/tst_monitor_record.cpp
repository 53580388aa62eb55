// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "files_test.h"
#include "linked_views.h"
#include "trace_reader.h"
#include "trace_words.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QLabel>

#include <sys/resource.h>

// What the window writes to files.
class TestMonitorRecord : public FilesTest
{
    Q_OBJECT

private Q_SLOTS:
    void recordsToAFileUntilStopped();
    void recordingIsTheSameAsThatOfTheCommandLine();
    void recordingIsCompleteWhenTheWindowIsClosed();
    void recordingThatFailsIsReportedOnce();
    void savesWhatItHolds();
    void savesTheLog();
    void fileThatCannotBeUsedIsReported_data();
    void fileThatCannotBeUsedIsReported();
    void fileThatIsBeingRecordedToIsNotOverwritten();

private:
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
    const QStringList held = logged();
    choose(actions().save, path("saved.json"));
    QCOMPARE(events(path("saved.json")),
             (QStringList{"i Started", "X started", "i state 1", "X state 1"}));
    choose(actions().open, path("saved.json"));
    waitUntil([this] { return !files().isReading(); });
    // The window itself goes on calling.
    QCOMPARE(logged().mid(0, held.size()), held);
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
    choose(actions().saveLog, link);
    QCOMPARE(window().messages().messages(),
             QStringList("cannot write " + link + ": it is being recorded to"));
    QVERIFY(readFile(file).startsWith("[\n"));
    QVERIFY(files().open(file));
    QVERIFY(!files().record(file));
    QCOMPARE(files().recordFile(), file);
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorRecord)

#include "tst_monitor_record.moc"
