// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "monitor_test.h"
#include "notice.h"
#include "task_page.h"

#include <QtCore/QTemporaryDir>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <algorithm>

// The service and the bus come and go: states of the window, not errors.
class TestMonitorConnection : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void serviceThatIsAwayIsAStateAndComesBack();
    void serviceThatReplacesAnotherHasItsOwnRows();
    void requestWithoutServiceShowsAHint();
    void choiceOfABusIsThatOfTheProcess();
    void busThatHasEndedCanBeTriedAgain(); // Nothing works after this one.

private:
    // What the window says about its state; null if it says nothing.
    QString notice()
    {
        const auto *notice = window().findChild<Notice *>();
        return notice->isVisible() ? notice->text() : QString();
    }
    bool shows(const QString &text)
    {
        const QList<QLabel *> labels = window().findChildren<QLabel *>();
        return std::any_of(labels.cbegin(), labels.cend(), [&text](const QLabel *label) {
            return label->isVisible() && label->text() == text;
        });
    }
};

void TestMonitorConnection::serviceThatIsAwayIsAStateAndComesBack()
{
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Viewer"});
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    QCOMPARE(notice(), QString());

    m_simulator.end();
    waitUntil(
        [this] { return notice().startsWith("The service does not run on the session bus."); });
    QVERIFY2(notice().contains("ostrel-simulator --session"), qPrintable(notice()));
    waitForRows({0}, {});
    QCOMPARE(window().tables().currentPage()->emptyText(), QString("The service does not run"));
    QCOMPARE(window().messages().messages(), QStringList());
    QVERIFY(!window().actions().connectAgain->isEnabled());

    m_simulator.start();
    waitUntil([this] { return notice().isEmpty(); });
    // The window registers for the tasks again.
    waitUntil([this] { return rows({0}).size() == 3; });
    startElsewhere("demo.Clock");
    window().tables().setCurrentIndex(0);
    waitForRows({0}, {"demo.Clock"});
    QCOMPARE(window().messages().messages(), QStringList());
}

// A window that was opened before the service.
void TestMonitorConnection::serviceThatReplacesAnotherHasItsOwnRows()
{
    closeWindow();
    endService();
    openWindow();
    window().tables().addTaskType("sync");
    QCOMPARE(window().tables().currentTaskPage()->invoker(), nullptr);
    m_simulator.start();
    waitUntil([this] { return rows({0}).size() == 3; });
}

void TestMonitorConnection::requestWithoutServiceShowsAHint()
{
    m_simulator.end();
    waitUntil([this] { return !notice().isEmpty(); });
    enter("demo.Viewer");
    waitUntil([this] { return window().messages().messages().size() == 1; });
    const QString message = window().messages().messages().constFirst();
    QVERIFY2(message.startsWith("Cannot start demo.Viewer: Failed: "), qPrintable(message));
    QVERIFY2(message.contains("\nNo service owns the name"), qPrintable(message));
    m_simulator.start();
}

void TestMonitorConnection::choiceOfABusIsThatOfTheProcess()
{
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    BusChoice("session").apply();
    QCOMPARE(qgetenv("DBUS_SESSION_BUS_ADDRESS"), before);
    QCOMPARE(BusChoice("session").label(), QString("the session bus"));

    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/device");
    BusChoice("system").apply();
    QCOMPARE(qgetenv("DBUS_SESSION_BUS_ADDRESS"), QByteArray("unix:path=/nonexistent/device"));
    qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    BusChoice("system").apply();
    QCOMPARE(qgetenv("DBUS_SESSION_BUS_ADDRESS"),
             QByteArray("unix:path=/var/run/dbus/system_bus_socket"));
    QCOMPARE(BusChoice("system").label(), QString("the system bus"));

    BusChoice("tcp:host=device,port=1").apply();
    QCOMPARE(qgetenv("DBUS_SESSION_BUS_ADDRESS"), QByteArray("tcp:host=device,port=1"));
    QCOMPARE(BusChoice("tcp:host=device,port=1").label(),
             QString("the bus at tcp:host=device,port=1"));
    QVERIFY(BusChoice("tcp:host=device,port=1")
                .adviceOnMissingService()
                .contains("ostrel-simulator --address tcp:host=device,port=1"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", before);
}

void TestMonitorConnection::busThatHasEndedCanBeTriedAgain()
{
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Viewer"});
    QVERIFY(shows("Calls: seen"));
    m_bus.end();
    waitUntil([this] { return notice().startsWith("The bus has ended"); });
    waitUntil([this] { return shows("Calls: not seen any more"); });
    waitForRows({0}, {});
    QCOMPARE(window().messages().messages(), QStringList());

    // What "Connect again" ends is said before.
    const QTemporaryDir folder;
    QVERIFY(window().files().record(folder.filePath("recorded.json")));
    QVERIFY2(notice().endsWith("\"Connect again\" ends the recording to recorded.json."),
             qPrintable(notice()));
    window().files().stopRecording();
    QVERIFY2(!notice().contains("recorded.json"), qPrintable(notice()));

    QSignalSpy restarts(&window(), &MainWindow::restartWanted);
    QTest::mouseClick(window().findChild<Notice *>()->findChild<QPushButton *>(), Qt::LeftButton);
    QCOMPARE(restarts.size(), 1);
    press(window().actions().connectAgain);
    QCOMPARE(restarts.size(), 2);
    // Requests fail, and say so.
    enter("demo.Viewer");
    waitUntil([this] { return window().messages().messages().size() == 1; });
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorConnection)

#include "tst_monitor_connection.moc"
