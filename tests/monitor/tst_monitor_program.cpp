// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "program_help.h"
#include "run.h"
#include "state_colors.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>

namespace
{

QSet<QRgb> colorsOf(const QImage &image)
{
    QSet<QRgb> colors;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            colors.insert(image.pixel(x, y));
        }
    }
    return colors;
}

} // namespace

// The program itself, with its options.
class TestMonitorProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void helpNamesTheOptions();
    void printsItsVersionWithoutADisplay();
    void refusesBadArguments_data();
    void refusesBadArguments();
    void takesAScreenshot_data();
    void takesAScreenshot();
    void looksAtTheChosenBus();
    void screenshotThatCannotBeWrittenIsAnError();
    void recordsAndOpensATrace();
    void endsCleanlyAtATerminationSignal();
};

void TestMonitorProgram::helpNamesTheOptions()
{
    const ProgramHelp help = helpOf(MONITOR);
    QCOMPARE(help.options,
             QStringList({"-h, --help", "-v, --version", "--bus BUS", "--open FILE",
                          "--record FILE", "--screenshot FILE", "--size WIDTHxHEIGHT"}));
    QVERIFY(help.text.startsWith("Usage: ostrel-monitor [options]\n"));
}

void TestMonitorProgram::printsItsVersionWithoutADisplay()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        environment.remove(name);
    }
    const Result result = run(MONITOR, {"--version"}, environment);
    QCOMPARE(result.output, QString("ostrel-monitor " PROJECT_VERSION "\n"));
    QCOMPARE(result.exitStatus, 0);
}

void TestMonitorProgram::refusesBadArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::newRow("word") << QStringList{"word"} << "unexpected argument \"word\"";
    QTest::newRow("unknown") << QStringList{"--unknown"} << "Unknown option 'unknown'.";
    QTest::newRow("no value") << QStringList{"--bus"} << "Missing value after '--bus'.";
    QTest::newRow("size") << QStringList{"--size", "9x12345"}
                          << "--size takes WIDTHxHEIGHT in pixels, not \"9x12345\"";
    QTest::newRow("empty") << QStringList{"--open", ""} << "--open takes a name, not an empty one";
}

void TestMonitorProgram::refusesBadArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    const Result result = run(MONITOR, arguments);
    QCOMPARE(result.exitStatus, 2);
    QCOMPARE(result.errors, "ostrel-monitor: " + error + "\nTry 'ostrel-monitor --help'.\n");
}

void TestMonitorProgram::takesAScreenshot_data()
{
    QTest::addColumn<bool>("hasService");
    QTest::addColumn<QStringList>("bus");
    QTest::newRow("with a service") << true << QStringList();
    QTest::newRow("without a service") << false << QStringList();
    QTest::newRow("without a bus") << false << QStringList{"--bus", "unix:path=/nonexistent/bus"};
}

void TestMonitorProgram::takesAScreenshot()
{
    QFETCH(bool, hasService);
    QFETCH(QStringList, bus);
    const PrivateBus privateBus;
    Simulator simulator(privateBus);
    if (hasService) {
        simulator.start();
    }
    const QTemporaryDir folder;
    const QString file = folder.filePath("window.png");
    const Result result =
        run(MONITOR, QStringList{"--size", "800x600", "--screenshot", file} + bus);
    QCOMPARE(result.exitStatus, 0);
    const QImage image(file);
    QCOMPARE(image.size(), QSize(800, 600));
    // The window has been painted, with text in many shades.
    QVERIFY2(colorsOf(image).size() > 20, qPrintable(QString::number(colorsOf(image).size())));
    // The picture leaves no settings behind.
    QVERIFY(!QDir(QDir::homePath() + "/.config/ostrel").exists());
}

void TestMonitorProgram::looksAtTheChosenBus()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace.json");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    // An input method that connects to the session bus, before anything else does.
    environment.insert("QT_IM_MODULE", "ibus");
    environment.insert("IBUS_USE_PORTAL", "1");
    const Result result = run(
        MONITOR,
        {"--bus", bus.address(), "--record", trace, "--screenshot", folder.filePath("window.png")},
        environment);
    QCOMPARE(result.exitStatus, 0);
    QVERIFY2(readFile(trace).contains("service available"), qPrintable(readFile(trace)));
}

void TestMonitorProgram::screenshotThatCannotBeWrittenIsAnError()
{
    const Result result = run(MONITOR, {"--screenshot", "/nonexistent/window.png"});
    QCOMPARE(result.exitStatus, 1);
    QVERIFY2(result.errors.contains("cannot write /nonexistent/window.png: "),
             qPrintable(result.errors));
}

void TestMonitorProgram::recordsAndOpensATrace()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace.json");
    Process monitor(MONITOR, {"--record", trace});
    monitor.start();
    waitUntil(
        [&] { return QFile::exists(trace) && readFile(trace).contains("service available"); });
    QCOMPARE(run(OSTRELCTL, {"start", "demo.Viewer"}).exitStatus, 0);
    simulator.emitStateChanged("demo.Viewer.instance_1", 3);
    waitUntil([&] { return readFile(trace).contains("\"state 3\""); });
    QCOMPARE(monitor.end(), 0);
    QVERIFY(readFile(trace).endsWith("\n]\n"));

    // Only the trace has an instance now.
    simulator.restart();
    const QString picture = folder.filePath("window.png");
    const QStringList options{"--size", "800x600", "--screenshot", picture};
    const auto showsState = [&picture] {
        return colorsOf(QImage(picture)).contains(StateColor::of("state 3").fill.rgb());
    };
    QCOMPARE(run(MONITOR, options).exitStatus, 0);
    QVERIFY(!showsState());
    QCOMPARE(run(MONITOR, options + QStringList{"--open", trace}).exitStatus, 0);
    QVERIFY(showsState());
}

void TestMonitorProgram::endsCleanlyAtATerminationSignal()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    Process monitor(MONITOR, {});
    monitor.start();
    simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications").waitForCalls(1);
    QCOMPARE(monitor.end(), 0);
    // It has remembered its window.
    QVERIFY(QDir(QDir::homePath() + "/.config/ostrel").exists());
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Ostrel::Testing::isolate();
    const QGuiApplication application(argc, argv);
    TestMonitorProgram test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_monitor_program.moc"
