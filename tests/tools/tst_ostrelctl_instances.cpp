// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>

// Which instance a running application belongs to. The service does not say it, but the simulator
// does.
class TestOstrelctlInstances : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void psPrintsTheInstances();
    void terminateHintsAtTheInstances_data();
    void terminateHintsAtTheInstances();
    void terminateWaitsAMomentForItsHint();

private:
    static Result ostrelctl(const char *arguments)
    {
        return run(OSTRELCTL, QString::fromLatin1(arguments).split(' '));
    }

    // Makes the next list hold an application whose property names its instance, one whose process
    // names it, two without a name, and one whose only instance has its name.
    void arrangeList() const;

    QTemporaryDir m_root;
};

void TestOstrelctlInstances::initTestCase()
{
    QVERIFY(QDir(m_root.path()).mkpath("proc/12"));
    writeFile(m_root.filePath("proc/12/cgroup"), "4:memory:/ostrel-helper/a.b/instance_2\n");
    qputenv("OSTREL_ROOTFS", m_root.path().toLocal8Bit());
}

void TestOstrelctlInstances::arrangeList() const
{
    busctlDesk(m_bus, "AnswerNext",
               QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2"}
                   + wordsOf("a(siuua{sv}) 5 a.b 11 1 0 1 InstanceId s one "
                             "a.b 12 1 0 1 InstanceId s '' "
                             "c.d 13 1 0 1 InstanceId u 7 c.d 14 1 0 0 "
                             "e.f 15 1 0 1 InstanceId s e.f "
                             "a(ssiua{sv}) 1 a.b s 12 1 0"));
}

void TestOstrelctlInstances::psPrintsTheInstances()
{
    arrangeList();
    QCOMPARE(ostrelctl("ps").output,
             "APPLICATION  SERVICE  PID  STATE  KIND  INSTANCE        PROPERTIES\n"
             "a.b          -        11   1      0     one             "
             "InstanceId=\"one\"\n"
             "a.b          -        12   1      0     a.b.instance_2  "
             "InstanceId=\"\"\n"
             "c.d          -        13   1      0     -               "
             "InstanceId=7\n"
             "c.d          -        14   1      0     -\n"
             "e.f          -        15   1      0     e.f             "
             "InstanceId=\"e.f\"\n"
             "a.b          s        12   1      -     a.b.instance_2\n");
    arrangeList();
    QStringList instances = ostrelctl("ps --json").output.split("\"appInstanceId\":");
    instances.removeFirst();
    for (QString &instance : instances) {
        instance = instance.section(',', 0, 0);
    }
    QCOMPARE(instances,
             (QStringList{"\"one\"", "\"a.b.instance_2\"", "null", "null", "\"e.f\"",
                          "\"a.b.instance_2\""}));
}

void TestOstrelctlInstances::terminateHintsAtTheInstances_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("hint");
    const QString notRunning = "ApplicationNotRunning";
    const QString known = "hint: this takes an instance, not an application or a process: ";
    const QString unknown =
        "hint: this takes an instance, not an application or a process; 'start' and "
        "'watch' print the instances that are started\n";
    const auto row = [](const char *command, const QString &error, const QString &hint) {
        QTest::addRow("%s, %s", command, qPrintable(error)) << command << error << hint;
    };
    row("terminate a.b", notRunning, known + "one a.b.instance_2\n");
    row("terminate --json a.b", notRunning, known + "one a.b.instance_2\n");
    row("terminate a.b", "HandlerNotFound", known + "one a.b.instance_2\n");
    row("terminate 12", notRunning, known + "a.b.instance_2\n");
    row("terminate c.d", notRunning, unknown);
    row("terminate 14", notRunning, unknown);
    row("terminate a", notRunning, QString());
    row("terminate e.f", "HandlerFailed", QString());
}

void TestOstrelctlInstances::terminateHintsAtTheInstances()
{
    QFETCH(const QString, command);
    QFETCH(const QString, error);
    QFETCH(const QString, hint);
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Terminate")
        .failNext(OSTREL_ERROR_PREFIX + error, "no");
    arrangeList();
    const Result result = ostrelctl(qPrintable(command));
    QCOMPARE(result.errors, QString("error: %1: no\n").arg(error) + hint);
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlInstances::terminateWaitsAMomentForItsHint()
{
    const Faults list = m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications");
    list.ignoreNext();
    list.ignoreNext();
    Process longer(OSTRELCTL, {"ps", "--timeout", "2147483"});
    longer.start();
    list.waitForCalls(1);
    const Result result = ostrelctl("terminate a.b");
    QCOMPARE(result.errors, "error: ApplicationNotRunning: No instance \"a.b\" is running\n");
    QCOMPARE(result.exitStatus, 1);
    QVERIFY(!longer.waitForFinished(0));
}

OSTREL_TEST_MAIN(TestOstrelctlInstances)

#include "tst_ostrelctl_instances.moc"
