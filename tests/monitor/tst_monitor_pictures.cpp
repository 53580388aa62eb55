// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "applications_table.h"
#include "details_panel.h"
#include "linked_views.h"
#include "monitor_test.h"

#include <QtGui/QImage>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QToolButton>

// What the window looks like, at the sizes and in the palettes of the documents' pictures. With a
// folder in OSTREL_PICTURES, it writes these there.
class TestMonitorPictures : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void everythingHasItsPlace_data();
    void everythingHasItsPlace();

private:
    // In a picture, some time lies between the events. The test itself does not need that.
    void pass(int milliseconds)
    {
        const History &history = window().files().history();
        const qint64 end = history.lastTime() + milliseconds * qint64(1'000);
        waitUntil([&] { return !makesPictures() || history.lastTime() >= end; });
    }
    static bool makesPictures() { return qEnvironmentVariableIsSet("OSTREL_PICTURES"); }

    static QPalette palette(bool isDark);
    void setState(const QString &instance, uint state)
    {
        m_simulator.emitStateChanged(instance, state);
        waitForEvent(QString("%1: state %2").arg(instance).arg(state));
        pass(300);
    }
    void act();
};

// The colours of a usual theme.
QPalette TestMonitorPictures::palette(bool isDark)
{
    if (!isDark) {
        return QPalette(QColor(239, 239, 239), QColor(239, 239, 239));
    }
    QPalette palette(QColor(53, 54, 58), QColor(41, 42, 45));
    palette.setColor(QPalette::Base, QColor(30, 31, 34));
    palette.setColor(QPalette::AlternateBase, QColor(36, 37, 41));
    palette.setColor(QPalette::ToolTipBase, QColor(60, 62, 66));
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Highlight, QColor(48, 110, 180));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(110, 170, 240));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(QPalette::Active, role, QColor(232, 234, 237));
        palette.setColor(QPalette::Inactive, role, QColor(232, 234, 237));
        palette.setColor(QPalette::Disabled, role, QColor(130, 132, 136));
    }
    return palette;
}

void TestMonitorPictures::act()
{
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    pass(400);
    startElsewhere("demo.Viewer");
    setState("demo.Viewer.instance_1", 3);
    startElsewhere("demo.Player");
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").delayNext(makesPictures() ? 600 : 0);
    startElsewhere("demo.Clock");
    setState("demo.Player", 4);
    startElsewhere("demo.Viewer");
    setState("demo.Viewer.instance_2", 3);
    setState("demo.Clock.instance_1", 3);
    Process task(OSTRELCTL, {"task", "start", "sync", "photos"});
    task.start();
    waitUntil([&task] { return task.state() == QProcess::NotRunning; });
    m_simulator.killByOom("demo.Viewer.instance_2");
    waitForEvent("demo.Viewer.instance_2: Terminated");
    pass(500);
    setState("demo.Player", 1);
    setState("demo.Viewer.instance_1", 1);
    // As the service has it in its list.
    setState("demo.Clock.instance_1", 1);
    pass(500);
}

void TestMonitorPictures::everythingHasItsPlace_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isDark");
    QTest::newRow("monitor-light") << QSize(1280, 800) << false;
    QTest::newRow("monitor-dark") << QSize(1280, 800) << true;
    QTest::newRow("monitor-narrow-light") << QSize(800, 600) << false;
    QTest::newRow("monitor-narrow-dark") << QSize(800, 600) << true;
}

void TestMonitorPictures::everythingHasItsPlace()
{
    QFETCH(QSize, size);
    QFETCH(bool, isDark);
    closeWindow();
    const QPalette usual = QApplication::palette();
    QApplication::setPalette(palette(isDark));
    QFont font = QApplication::font();
    font.setPointSize(10);
    QApplication::setFont(font);
    openWindow();
    window().resize(size);
    act();
    window().tables().setCurrentIndex(0);
    waitUntil([this] { return rows({0}).size() == 3; });
    window().tables().selectInstance("demo.Player");
    TimelineView &timeline = *window().views().timeline();
    timeline.zoomToFit();
    timeline.setFollow(true);
    pass(200);

    const QImage picture = window().grab().toImage();
    QCOMPARE(picture.size(), size);
    QCOMPARE(qGray(picture.pixel(2, size.height() - 2)) < 128, isDark);
    if (makesPictures()) {
        QVERIFY(picture.save(qEnvironmentVariable("OSTREL_PICTURES") + '/' + QTest::currentDataTag()
                             + ".png"));
    }
    // The properties stand beside the tables only.
    const auto *details = window().findChild<DetailsPanel *>();
    QCOMPARE(timeline.width(),
             details->mapTo(&window(), details->rect().bottomRight()).x()
                 - window().tables().mapTo(&window(), QPoint()).x() + 1);
    QVERIFY(window().tables().width() > details->width());
    QVERIFY(timeline.visibleLanes().size() >= 4);
    // No tool is hidden for want of room.
    const auto *extension = window().findChild<QToolButton *>("qt_toolbar_ext_button");
    QVERIFY(extension == nullptr || !extension->isVisible());
    // What a row is about, since when it is so, and how long it took.
    const QHeaderView *header = window().tables().currentPage()->horizontalHeader();
    QVERIFY(header->sectionViewportPosition(ApplicationsTable::ProcessColumn)
            <= header->viewport()->width());
    closeWindow();
    QApplication::setPalette(usual);
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorPictures)

#include "tst_monitor_pictures.moc"
