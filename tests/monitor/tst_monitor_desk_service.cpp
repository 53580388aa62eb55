// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "desk_test.h"
#include "files.h"

#include <QtCore/QDir>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusPendingCall>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QTreeWidget>

// What the simulator does besides replies: signals, ends of applications, lists, and what it knows.
class TestMonitorDeskService : public DeskTest
{
    Q_OBJECT

private Q_SLOTS:
    void sendsASignal();
    void sendsASignalOfAnotherInterface();
    void sendsManyNumberedSignals();
    void saysAtTheFieldWhichSignalIsImpossible();
    void endsAnInstanceLikeTheOutOfMemoryKiller();
    void nextListHasMadeUpRecords();
    void showsTheReportedWindows();
    void showsTheCalls();
    void showsOnlyTheNewestCalls();
    void showsTheRootFolder();
    void resetEndsWhatRuns();
    void showsWhetherTheStepsOfTheScenarioHaveHappened();

private:
    QStringList listed(const QString &accessibleName, int columns);
};

QStringList TestMonitorDeskService::listed(const QString &accessibleName, int columns)
{
    QStringList rows;
    const auto *list = child<QTreeWidget>(accessibleName);
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        QStringList values;
        for (int column = 0; column < columns; ++column) {
            values.append(list->topLevelItem(i)->text(column));
        }
        rows.append(values.join(" | "));
    }
    return rows;
}

void TestMonitorDeskService::sendsASignal()
{
    QSignalSpy changed(&window().connection().control(), &Ostrel::Control::selectedByOom);
    openDesk();
    openPage("Signal");
    choose("Signal", "Control1.SelectedByOom");
    QCOMPARE(child<QLineEdit>("Path")->text(), QString(OSTREL_CONTROL_PATH));
    QCOMPARE(child<QLineEdit>("Types")->text(), QString("s"));
    fill("Values", "\"4711\"");
    click("Send", "Control1.SelectedByOom has been sent");
    waitUntil([&] { return !changed.isEmpty(); });
    QCOMPARE(changed.at(0).at(0).toString(), QString("4711"));
}

void TestMonitorDeskService::sendsASignalOfAnotherInterface()
{
    BusMonitor monitor(m_bus);
    openDesk();
    openPage("Signal");
    fill("Signal", "com.example.Clock.Tick");
    fill("Path", "/com/example");
    fill("Types", "");
    fill("Values", "true, 1, 1.5, [\"a\"], {\"type\": \"y\", \"data\": 7}");
    QTest::keyClick(child<QLineEdit>("Values"), Qt::Key_Return);
    const QJsonObject sent =
        monitor
            .messagesUntil([](const QJsonObject &message) { return message["member"] == "Tick"; })
            .constLast();
    QCOMPARE(sent["interface"].toString(), QString("com.example.Clock"));
    QCOMPARE(sent["path"].toString(), QString("/com/example"));
    const QJsonObject payload = sent["payload"].toObject();
    QCOMPARE(payload["type"].toString(), QString("bidasy"));
    QCOMPARE(payload["data"].toArray(), QJsonArray({true, 1, 1.5, QJsonArray{"a"}, 7}));
}

void TestMonitorDeskService::sendsManyNumberedSignals()
{
    QSignalSpy selected(&window().connection().control(), &Ostrel::Control::selectedByOom);
    openDesk();
    openPage("Signal");
    choose("Signal", "Control1.SelectedByOom");
    fill("Values", "\"process %n\"");
    QTest::mouseClick(child<QCheckBox>("Many, numbered"), Qt::LeftButton);
    set("How many", 3);
    click("Send", "Control1.SelectedByOom has been sent 3 times");
    waitUntil([&] { return selected.size() == 3; });
    QCOMPARE(selected.at(0).at(0).toString(), QString("process 0"));
    QCOMPARE(selected.at(2).at(0).toString(), QString("process 2"));
}

void TestMonitorDeskService::saysAtTheFieldWhichSignalIsImpossible()
{
    openDesk();
    openPage("Signal");
    fill("Signal", "Tick");
    QTest::mouseClick(button("Send"), Qt::LeftButton);
    QVERIFY(
        texts().contains("This is no interface and signal, such as \"com.example.Clock.Tick\""));
    QVERIFY(child<QLineEdit>("Signal")->hasFocus());
    fill("Signal", "com.example.Clock.Tick");
    fill("Path", "nowhere");
    QTest::mouseClick(button("Send"), Qt::LeftButton);
    QVERIFY2(texts().contains("\"nowhere\" is no object path"), qPrintable(texts().join('\n')));
    QVERIFY(child<QLineEdit>("Path")->hasFocus());
}

void TestMonitorDeskService::endsAnInstanceLikeTheOutOfMemoryKiller()
{
    QSignalSpy selected(&window().connection().control(), &Ostrel::Control::selectedByOom);
    startElsewhere("demo.Clock");
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Clock", "demo.Viewer"});
    openDesk();
    openPage("More");
    QTest::mouseClick(button("Kill (out of memory)"), Qt::LeftButton);
    QVERIFY(texts().contains("Enter an instance, or choose one that runs"));
    // One of those that run.
    auto *instance = child<QComboBox>("Instance");
    instance->setFocus();
    QTest::keyClick(instance, Qt::Key_Down);
    QTest::keyClick(instance, Qt::Key_Down);
    QCOMPARE(instance->currentText(), QString("demo.Viewer.instance_1"));
    click("Kill (out of memory)", "demo.Viewer.instance_1 has ended");
    waitForRows({0}, {"demo.Clock"});
    QCOMPARE(selected.size(), 1);
    // Or the one that is selected in the table.
    window().tables().currentPage()->select(0);
    QCOMPARE(instance->currentText(), QString("demo.Clock.instance_1"));
    // The desk refuses one that is gone.
    fill("Instance", "demo.Viewer.instance_1");
    QTest::keyClick(instance, Qt::Key_Return);
    waitUntil([this] { return !messages().isEmpty(); });
    QCOMPARE(messages(),
             QStringList({"Cannot end demo.Viewer.instance_1: InvalidArgs: No instance "
                          "\"demo.Viewer.instance_1\" is running"}));
}

void TestMonitorDeskService::nextListHasMadeUpRecords()
{
    openDesk();
    openPage("More");
    set("Applications", 12);
    set("Services", 3);
    click("Arrange", "The next list has made-up records");
    press(window().actions().refresh);
    waitUntil([this] { return rows({0}).size() == 12; });
    window().tables().setCurrentIndex(1);
    QCOMPARE(rows({0}).size(), 3);
}

void TestMonitorDeskService::showsTheReportedWindows()
{
    openDesk();
    openPage("More");
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_WINDOW_MANAGEMENT_PATH,
                                       OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus")
        << "main" << 1 << 2 << 3);
    QTest::mouseClick(button("List again"), Qt::LeftButton);
    waitUntil(
        [this] { return listed("Reported windows", 4) == QStringList({"main | 1 | 2 | 3"}); });
}

void TestMonitorDeskService::showsTheCalls()
{
    openDesk();
    openPage("Calls");
    // The window asks for what has started, too.
    const auto starts = [this] {
        return listed("Calls that the service has received", 2).filter("Control1.Start(");
    };
    startElsewhere("demo.Viewer");
    // Without being asked for.
    waitUntil([&] { return starts().size() == 1; });
    QVERIFY2(starts().at(0).endsWith(" | Control1.Start(\"demo.Viewer\")"),
             qPrintable(starts().at(0)));
    const int count = listed("Calls that the service has received", 2).size();
    QVERIFY(texts().contains(QString("Calls: %1").arg(count)));

    QTest::mouseClick(child<QCheckBox>("Live"), Qt::LeftButton);
    startElsewhere("demo.Clock");
    waitUntil([&] {
        QTest::mouseClick(button("Refresh"), Qt::LeftButton);
        return starts().size() == 2;
    });
    QVERIFY2(starts().at(1).endsWith(" | Control1.Start(\"demo.Clock\")"),
             qPrintable(starts().at(1)));

    click("Clear", "The log of the calls is empty");
    waitUntil([&] { return starts().isEmpty(); });
    QCOMPARE(calls("Start"), QStringList());
}

void TestMonitorDeskService::showsOnlyTheNewestCalls()
{
    for (int i = 0; i < 600; ++i) {
        QDBusConnection::sessionBus().asyncCall(
            QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_WINDOW_MANAGEMENT_PATH,
                                           OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus")
            << "main" << i << 0 << 0);
    }
    QVERIFY(m_simulator.faults(OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus")
                .waitForCalls(600));
    openDesk();
    openPage("Calls");
    const QString list = "Calls that the service has received";
    waitUntil([&] { return listed(list, 1).size() == 500; });
    const int all = m_simulator.calls().size();
    QVERIFY2(texts().contains(QString("The newest 500 of %1 calls").arg(all)),
             qPrintable(texts().join('\n')));
    QCOMPARE(
        listed(list, 2).constLast(),
        QString("%1 | WindowManagement1.UpdateWindowStatus(\"main\", 599, 0, 0)").arg(all - 1));
}

void TestMonitorDeskService::showsTheRootFolder()
{
    openDesk();
    openPage("More");
    const QString folder = m_simulator.desk("RootFs").arguments().at(0).toString();
    QCOMPARE(child<QLineEdit>("Root folder")->text(), folder);
    waitUntil(
        [this] { return child<QLabel>("Scenario")->text() == "The simulator has no scenario"; });
}

void TestMonitorDeskService::resetEndsWhatRuns()
{
    startElsewhere("demo.Viewer");
    openDesk();
    openPage("More");
    click("Reset", "The simulator has been reset");
    QCOMPARE(calls("Start"), QStringList());
    press(window().actions().refresh);
    waitForRows({0}, {});
}

void TestMonitorDeskService::showsWhetherTheStepsOfTheScenarioHaveHappened()
{
    closeWindow();
    m_simulator.end();
    const QString file = QDir::homePath() + "/retry.json";
    writeFile(file, R"({"steps": [{"at": {"call": "Control1.Start"}}]})");
    Simulator simulator(m_bus, {"--scenario", file});
    simulator.start();
    openWindow();
    openDesk();
    openPage("More");
    const auto *scenario = child<QLabel>("Scenario");
    waitUntil([&] { return scenario->text() == "Steps are still to come"; });
    startElsewhere("demo.Viewer");
    waitUntil([&] { return scenario->text() == "All steps have happened"; });
    // It begins again.
    click("Reset", "The simulator has been reset");
    waitUntil([&] { return scenario->text() == "Steps are still to come"; });
    // Also when others reset it, meanwhile or at the end.
    simulator.reset();
    startElsewhere("demo.Viewer");
    waitUntil([&] { return scenario->text() == "All steps have happened"; });
    simulator.reset();
    openPage("Calls");
    openPage("More");
    waitUntil([&] { return scenario->text() == "Steps are still to come"; });
    closeWindow();
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorDeskService)

#include "tst_monitor_desk_service.moc"
