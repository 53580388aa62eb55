// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "applications_table.h"
#include "details_panel.h"
#include "monitor_test.h"
#include "services_table.h"
#include "task_page.h"
#include "tasks_table.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QRegularExpression>
#include <QtDBus/QDBusMetaType>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QTabBar>

#include <algorithm>

// What the tables hold.
class TestMonitorTables : public MonitorTest
{
    Q_OBJECT

private Q_SLOTS:
    void listsApplicationsWithInstanceStateAndProcess();
    void listsServices();
    void listsTasksOfTheTypesThatTheUserAdds();
    void saysSinceWhenAStateLasts();
    void saysHowLongItsOwnStartsTook();
    void saysHowLongTheStartsOfOthersTook();
    void measuresStartsOfOthersWhenItIsBusy();
    void saysHowLongTheStartOfATaskTook();
    void filterLeavesTheRowsThatContainIt();
    void emptyTableSaysWhy();
    void panelAndToolTipShowTheProperties();
    void onlyAChangeOfTheSelectedRowRenewsThePanel();
    void takesNothingFromTheBusForHtml();

private:
    // Shows these applications.
    void list(const QVector<Ostrel::RunningApplication> &applications)
    {
        m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications")
            .answerNext({QVariant::fromValue(applications),
                         QVariant::fromValue(QVector<Ostrel::RunningService>())});
        window().actions().refresh->trigger();
    }

    // How long the starts of the applications took, in microseconds.
    QVector<qint64> startTimes()
    {
        QVector<qint64> times;
        const QAbstractItemModel *model = window().tables().currentPage()->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            times.append(model->index(row, ApplicationsTable::StartColumn)
                             .data(TableModel::SortRole)
                             .toLongLong());
        }
        return times;
    }
};

void TestMonitorTables::listsApplicationsWithInstanceStateAndProcess()
{
    startElsewhere("demo.Viewer");
    startElsewhere("demo.Player");
    waitForRows({ApplicationsTable::ApplicationColumn, ApplicationsTable::InstanceColumn,
                 ApplicationsTable::StateColumn, ApplicationsTable::KindColumn},
                {"demo.Player | demo.Player | state 1 | 1",
                 "demo.Viewer | demo.Viewer.instance_1 | state 1 | 1"});
    QVERIFY(rows({ApplicationsTable::ProcessColumn}).constFirst().toInt() > 0);
}

void TestMonitorTables::listsServices()
{
    startElsewhere("demo.Player");
    window().tables().setCurrentIndex(1);
    waitForRows({ServicesTable::ServiceColumn, ServicesTable::ApplicationColumn,
                 ServicesTable::StateColumn},
                {"decoder | demo.Player | state 1", "mixer | demo.Player | state 1"});
    QVERIFY(rows({ServicesTable::ProcessColumn}).constFirst().toInt() > 0);
    QVERIFY(!rows({ServicesTable::SinceColumn}).constFirst().isEmpty());
}

void TestMonitorTables::listsTasksOfTheTypesThatTheUserAdds()
{
    QCOMPARE(window().tables().count(), 2);
    // The dialog does not block the window.
    press(window().actions().addTaskType);
    waitForDialog();
    type("sync", Qt::Key_Return);
    QCOMPARE(window().tables().tabText(2), QString("Tasks: sync"));
    waitForRows({TasksTable::TaskColumn, TasksTable::StateColumn, TasksTable::ProcessColumn},
                {"calendar | can be started | ", "contacts | can be started | ",
                 "photos | can be started | "});

    window().tables().addTaskType("maintenance");
    waitForRows({TasksTable::TaskColumn}, {"cleanup"});
    // A type has one tab.
    window().tables().addTaskType("sync");
    QCOMPARE(window().tables().taskTypes(), QStringList({"sync", "maintenance"}));
    QCOMPARE(window().tables().currentIndex(), 2);

    press(window().actions().removeTaskType);
    QCOMPARE(window().tables().taskTypes(), QStringList({"maintenance"}));
    // The other tabs stay.
    window().tables().setCurrentIndex(0);
    press(window().actions().removeTaskType);
    QCOMPARE(window().tables().count(), 3);

    const auto *tabs = window().tables().findChild<QTabBar *>();
    QCOMPARE(tabs->tabButton(0, QTabBar::RightSide), nullptr);
    window().tables().addTaskType("sync");
    QTest::mouseClick(tabs->tabButton(2, QTabBar::RightSide), Qt::LeftButton);
    QCOMPARE(window().tables().taskTypes(), QStringList({"sync"}));
    QCOMPARE(window().tables().currentTaskPage()->type(), QString("sync"));
}

void TestMonitorTables::saysSinceWhenAStateLasts()
{
    const QDateTime before = QDateTime::currentDateTime();
    list({{"a.b", 1, Ostrel::ApplicationState(1), Ostrel::ApplicationKind(0), {}}});
    waitForRows({ApplicationsTable::StateColumn}, {"state 1"});
    const auto since = [this] {
        return window()
            .tables()
            .applications()
            .index(0, ApplicationsTable::SinceColumn)
            .data(TableModel::SortRole)
            .toDateTime();
    };
    const QDateTime first = since();
    QVERIFY(first.addSecs(1) >= before && first <= QDateTime::currentDateTime());
    QVERIFY(QRegularExpression("^\\d\\d:\\d\\d:\\d\\d$")
                .match(rows({ApplicationsTable::SinceColumn}).constFirst())
                .hasMatch());
    waitUntil([&] { return QDateTime::currentDateTime() > first; });
    list({{"a.b", 1, Ostrel::ApplicationState(7), Ostrel::ApplicationKind(0), {}}});
    waitForRows({ApplicationsTable::StateColumn}, {"state 7"});
    QVERIFY(since() > first);
}

void TestMonitorTables::saysHowLongItsOwnStartsTook()
{
    enter("demo.Viewer");
    waitUntil([this] {
        const QStringList times = rows({ApplicationsTable::StartColumn});
        return !times.isEmpty() && times.constFirst().endsWith(" ms");
    });
}

// The bus of the test lets its user monitor it.
void TestMonitorTables::saysHowLongTheStartsOfOthersTook()
{
    const Faults starts = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    starts.holdNext(1);
    Process program(OSTRELCTL, {"start", "demo.Viewer"});
    program.start();
    const QRegularExpression call("^calls .*: Start");
    waitUntil([&] { return !logged().filter(call).empty(); });
    QElapsedTimer held;
    held.start();
    // A whole start of another application fits into this one.
    startElsewhere("demo.Clock");
    const qint64 atLeast = held.nsecsElapsed() / 1'000;
    starts.release({0});
    waitUntil([this] {
        const QStringList times = rows({ApplicationsTable::StartColumn});
        return times.size() == 2 && times.constLast().endsWith(" ms");
    });
    QCOMPARE(rows({0}), QStringList({"demo.Clock", "demo.Viewer"}));
    const qint64 time = startTimes().at(1);
    QVERIFY2(time >= atLeast, qPrintable(QString("%1 < %2").arg(time).arg(atLeast)));
    waitUntil([&program] { return program.state() == QProcess::NotRunning; });
}

void TestMonitorTables::measuresStartsOfOthersWhenItIsBusy()
{
    // Other programs may be busy, too, so it may need more than one.
    const auto isLong = [](qint64 time) { return time > 25'000; };
    QVector<qint64> times;
    while (std::none_of(times.cbegin(), times.cend(), isLong)) {
        m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").delayNext(50);
        Process program(OSTRELCTL, {"start", "demo.Viewer"});
        program.start();
        // The window handles the call and the reply together, after both.
        program.waitForFinished(-1);
        const int count = times.size() + 1;
        waitUntil([&] {
            times = startTimes();
            return times.size() == count && !times.contains(0);
        });
    }
}

void TestMonitorTables::saysHowLongTheStartOfATaskTook()
{
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    window().tables().currentPage()->select(0);
    press(window().actions().start);
    waitUntil([this] { return rows({TasksTable::StartColumn}).constFirst().endsWith(" ms"); });
}

void TestMonitorTables::filterLeavesTheRowsThatContainIt()
{
    startElsewhere("demo.Viewer");
    startElsewhere("demo.Clock");
    window().tables().addTaskType("sync");
    waitUntil([this] { return rows({0}).size() == 3; });
    window().tables().setCurrentIndex(0);
    waitForRows({0}, {"demo.Clock", "demo.Viewer"});

    press(window().actions().filter);
    QTest::keyClicks(QApplication::focusWidget(), "vIEW");
    QCOMPARE(rows({0}), QStringList({"demo.Viewer"}));
    // In all tables, and in those that are added.
    window().tables().setCurrentIndex(2);
    QCOMPARE(rows({0}), QStringList());
    QCOMPARE(window().tables().currentPage()->emptyText(), QString("The filter hides all rows"));
    child<QLineEdit>("Filter")->clear();
    QCOMPARE(rows({0}).size(), 3);
}

void TestMonitorTables::emptyTableSaysWhy()
{
    QCOMPARE(window().tables().currentPage()->emptyText(), QString("No application runs"));
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications")
        .failNext("org.freedesktop.DBus.Error.Failed", "<i>not</i> now");
    window().actions().refresh->trigger();
    waitUntil([this] {
        return window().tables().currentPage()->emptyText() == "No list: <i>not</i> now";
    });
}

void TestMonitorTables::panelAndToolTipShowTheProperties()
{
    startElsewhere("demo.Player");
    waitForRows({0}, {"demo.Player"});
    window().tables().currentPage()->select(0);
    const auto *panel = child<DetailsPanel>("Properties of the selected row");
    const auto value = [panel](const QString &name) {
        const auto items = panel->findItems(name, Qt::MatchExactly);
        return items.isEmpty() ? QString() : items.constFirst()->text(1);
    };
    QCOMPARE(value("Volume"), QString("60"));
    QCOMPARE(value("Title"), QString("Player"));
    QCOMPARE(value("State"), QString("state 1"));
    const QString tip =
        window().tables().applications().index(0, 0).data(Qt::ToolTipRole).toString();
    QVERIFY2(tip.contains("Volume:&nbsp;</td><td>60</td>"), qPrintable(tip));

    press(window().actions().details);
    QVERIFY(!panel->isVisible());
}

// Otherwise, it would lose what the user has scrolled to and folded.
void TestMonitorTables::onlyAChangeOfTheSelectedRowRenewsThePanel()
{
    const auto listStates = [this](uint first, uint second) {
        const auto kind = Ostrel::ApplicationKind(0);
        list({{"a.First", 1, Ostrel::ApplicationState(first), kind, {}},
              {"a.Second", 2, Ostrel::ApplicationState(second), kind, {}}});
        waitForRows({ApplicationsTable::StateColumn},
                    {QString("state %1").arg(first), QString("state %1").arg(second)});
    };
    listStates(1, 1);
    window().tables().currentPage()->select(0);
    const auto *panel = child<DetailsPanel>("Properties of the selected row");
    QSignalSpy renewed(panel->model(), &QAbstractItemModel::modelReset);
    listStates(1, 7);
    QCOMPARE(renewed.size(), 0);
    listStates(8, 7);
    QCOMPARE(renewed.size(), 1);
    QCOMPARE(panel->findItems("state 8", Qt::MatchExactly, 1).size(), 1);
}

void TestMonitorTables::takesNothingFromTheBusForHtml()
{
    const QString text = "<b>x</b> & \n\x1b[31m";
    list({{text,
           1,
           Ostrel::ApplicationState(1),
           Ostrel::ApplicationKind(0),
           {{text, text}, {"long", QString(1'000'000, 'x')}}}});
    waitForRows({ApplicationsTable::ApplicationColumn}, {"<b>x</b> & \\n\\x1b[31m"});
    const QString tip =
        window().tables().applications().index(0, 0).data(Qt::ToolTipRole).toString();
    QVERIFY(tip.contains("&lt;b&gt;x&lt;/b&gt; &amp; \\n\\x1b[31m"));
    QVERIFY(!tip.contains("<b>"));
    QVERIFY(tip.size() < 3000);
    // A tab would take "&" for a mnemonic.
    window().tables().addTaskType("a&b");
    QCOMPARE(window().tables().tabText(2), QString("Tasks: a&&b"));
    QStringList warnings;
    waitUntil([&] {
        warnings += takeWarnings();
        return !warnings.isEmpty();
    });
    QVERIFY(warnings.constFirst().startsWith("TaskInvoker registration failed:"));
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorTables)

#include "tst_monitor_tables.moc"
