// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "applications_table.h"
#include "debug_dialog.h"
#include "monitor_test.h"
#include "tasks_table.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolButton>

// What the user asks the service for.
class TestMonitorRequests : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void startsTheApplicationWhoseNameIsEntered();
    void offersTheNamesThatItKnows();
    void startsAndTerminatesWhatARowIsAbout();
    void rowHasAMenu();
    void startsForDebuggingUnderTheEnteredConditions();
    void startsAndStopsATask();
    void outcomeOfATaskIsShownAfterItsTabIsClosed();
    void showsErrorsUntilTheyAreDismissed();
    void saysThatAnInstanceIsUnknown();
    void doesNotWaitForTheService();
    void doesNotCrashWhenItIsClosedDuringACall();
};

void TestMonitorRequests::startsTheApplicationWhoseNameIsEntered()
{
    enter("demo.Viewer");
    waitForRows({ApplicationsTable::InstanceColumn}, {"demo.Viewer.instance_1"});
    QCOMPARE(calls("Start"), QStringList({"demo.Viewer"}));
    // By the button.
    for (QToolButton *button : window().findChildren<QToolButton *>()) {
        if (button->toolTip() == "Start the application of this name") {
            QTest::mouseClick(button, Qt::LeftButton);
        }
    }
    waitForRows({ApplicationsTable::InstanceColumn},
                {"demo.Viewer.instance_1", "demo.Viewer.instance_2"});
}

void TestMonitorRequests::offersTheNamesThatItKnows()
{
    startElsewhere("demo.Clock");
    waitForRows({0}, {"demo.Clock"});
    auto *field = child<QComboBox>("Application to start");
    QCOMPARE(field->findText("demo.Clock"), 0);
    // That it was listed does not change what is being typed.
    QCOMPARE(field->currentText(), QString());
    // Nothing that cannot be read, and nothing twice.
    startElsewhere("demo.Clock");
    waitForRows({0}, {"demo.Clock", "demo.Clock"});
    QCOMPARE(field->count(), 1);
}

void TestMonitorRequests::startsAndTerminatesWhatARowIsAbout()
{
    startElsewhere("demo.Viewer");
    waitForRows({0}, {"demo.Viewer"});
    // Without a row there is nothing to do.
    QVERIFY(!window().actions().start->isEnabled());
    QVERIFY(!window().actions().stop->isEnabled());
    TablePage *page = window().tables().currentPage();
    page->setFocus();
    QTest::keyClick(page, Qt::Key_Down);
    QCOMPARE(page->currentRow(), 0);

    press(window().actions().start);
    waitForRows({ApplicationsTable::InstanceColumn},
                {"demo.Viewer.instance_1", "demo.Viewer.instance_2"});
    page->select(0);
    press(window().actions().stop);
    waitForRows({ApplicationsTable::InstanceColumn}, {"demo.Viewer.instance_2"});
    QCOMPARE(calls("Terminate"), QStringList({"demo.Viewer.instance_1"}));
    QCOMPARE(window().messages().messages(), QStringList());
}

void TestMonitorRequests::rowHasAMenu()
{
    const TablePage *page = window().tables().currentPage();
    QCOMPARE(page->contextMenuPolicy(), Qt::ActionsContextMenu);
    QCOMPARE(page->actions(), window().actions().ofRow());
    // So has one of a table that is added.
    window().tables().addTaskType("sync");
    QCOMPARE(window().tables().currentPage()->actions(), window().actions().ofRow());
}

void TestMonitorRequests::startsForDebuggingUnderTheEnteredConditions()
{
    child<QLineEdit>("Application to start")->setText("demo.Viewer");
    press(window().actions().startDebug);
    auto *dialog = window().findChild<DebugDialog *>();
    QCOMPARE(dialog->application(), QString("demo.Viewer"));
    // The dialog begins where there is something to fill in.
    QCOMPARE(waitForDialog(), dialog);
    type("nice -n 5", Qt::Key_Tab);
    type("--verbose \"two words\"", Qt::Key_Tab);
    type("A=1", Qt::Key_Tab);
    type("/tmp/out", Qt::Key_Tab);
    type("", Qt::Key_Tab);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    const Ostrel::DebugParams params = dialog->params();
    QCOMPARE(params.applicationWrapper(), QStringList({"nice", "-n", "5"}));
    QCOMPARE(params.commandLineParams(), QStringList({"--verbose", "two words"}));
    QCOMPARE(params.environment(), QStringList({"A=1"}));
    QCOMPARE(params.stdoutFile(), QString("/tmp/out"));
    QVERIFY(!params.toMap().contains("stderrFile"));
    QCOMPARE(params.sandboxEnabled(), false);

    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "StartDebug")
        .failNext("org.freedesktop.DBus.Error.NotSupported", "not here");
    dialog->accept();
    waitUntil([this] { return !window().messages().messages().isEmpty(); });
    QCOMPARE(window().messages().messages(),
             QStringList({"Cannot start demo.Viewer: NotSupported: not here"}));
    QCOMPARE(calls("StartDebug").size(), 1);
}

void TestMonitorRequests::startsAndStopsATask()
{
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    window().tables().currentPage()->setFocus();
    window().tables().currentPage()->select(1);
    QCOMPARE(window().actions().start->text(), QString("&Start contacts"));
    QVERIFY(!window().actions().startDebug->isEnabled());
    press(window().actions().start);
    waitForRows({TasksTable::TaskColumn, TasksTable::StateColumn},
                {"calendar | can be started", "contacts | running", "photos | can be started"});
    QVERIFY(rows({TasksTable::ProcessColumn}).at(1).toInt() > 0);

    QCOMPARE(window().actions().stop->text(), QString("&Stop contacts"));
    press(window().actions().stop);
    waitForRows({TasksTable::StateColumn, TasksTable::ProcessColumn},
                {"can be started | ", "can be started | ", "can be started | "});
    QCOMPARE(window().messages().messages(), QStringList());
}

void TestMonitorRequests::outcomeOfATaskIsShownAfterItsTabIsClosed()
{
    const Faults starts = m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    const Faults stops = m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Stop");
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    window().tables().currentPage()->setFocus();
    window().tables().currentPage()->select(1);
    starts.holdNext(1);
    press(window().actions().start);
    starts.waitForHeld(1);
    stops.holdNext(1);
    press(window().actions().stop);
    stops.waitForHeld(1);
    press(window().actions().removeTaskType);
    QVERIFY(window().tables().currentTaskPage() == nullptr);

    const auto waitForMessage = [this](const QString &text) {
        waitUntil([&] { return window().statusBar()->currentMessage() == text; });
    };
    starts.release({0});
    waitForMessage("The task contacts has been started");
    stops.release({0});
    waitForMessage("The task contacts has been stopped");
}

void TestMonitorRequests::showsErrorsUntilTheyAreDismissed()
{
    enter("demo.<b>None");
    enter("demo.Broken");
    waitUntil([this] { return window().messages().messages().size() == 2; });
    QVERIFY2(window().messages().messages().constFirst().startsWith(
                 "Cannot start demo.<b>None: HandlerNotFound: "),
             qPrintable(window().messages().messages().constFirst()));
    for (const QLabel *label : window().messages().findChildren<QLabel *>()) {
        QVERIFY(label->text().isEmpty() || label->textFormat() == Qt::PlainText);
    }
    // In the window, and not in a dialog that blocks.
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
    QVERIFY(window().messages().isVisible());

    auto *dismiss = window().messages().findChild<QToolButton *>();
    QTest::mouseClick(dismiss, Qt::LeftButton);
    QCOMPARE(window().messages().messages().size(), 1);
    press(window().actions().dismissErrors);
    QCOMPARE(window().messages().messages(), QStringList());
    QVERIFY(!window().messages().isVisible());

    // Many errors leave room for the rest.
    for (int i = 0; i < 20; ++i) {
        window().messages().add(QString::number(i));
    }
    QCOMPARE(window().messages().messages(), QStringList({"16", "17", "18", "19"}));
}

void TestMonitorRequests::saysThatAnInstanceIsUnknown()
{
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications")
        .answerNext({QVariant::fromValue(QVector<Ostrel::RunningApplication>{
                         {"a.b", -1, Ostrel::ApplicationState(1), Ostrel::ApplicationKind(0), {}}}),
                     QVariant::fromValue(QVector<Ostrel::RunningService>())});
    press(window().actions().refresh);
    waitForRows({0, 1}, {"a.b | "});
    window().tables().currentPage()->select(0);
    press(window().actions().stop);
    QVERIFY(window().messages().messages().value(0).contains("does not say which instance"));
    QCOMPARE(calls("Terminate"), QStringList());
}

void TestMonitorRequests::doesNotWaitForTheService()
{
    const Faults starts = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    starts.holdNext(1);
    enter("demo.Viewer");
    starts.waitForHeld(1);
    // The window goes on meanwhile.
    enter("demo.Clock");
    const auto hasTime = [this](int row) {
        return rows({ApplicationsTable::StartColumn}).value(row).endsWith(" ms");
    };
    waitUntil([&] { return rows({0}).value(0) == "demo.Clock" && hasTime(0); });
    QVERIFY(!hasTime(1));
    starts.release({0});
    waitUntil([&] { return hasTime(1); });
}

void TestMonitorRequests::doesNotCrashWhenItIsClosedDuringACall()
{
    const Faults starts = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    starts.holdNext(1);
    enter("demo.Viewer");
    starts.waitForHeld(1);
    closeWindow();
    starts.release({0});
    openWindow();
    waitForRows({0}, {"demo.Viewer"});
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorRequests)

#include "tst_monitor_requests.moc"
