// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>

// The command that finds the application of a process.
class TestOstrelctlWhich : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void printsTheApplication_data();
    void printsTheApplication();
    void processThatDoesNotExistIsAnotherError();
    void hintsAtTheRootFolderOfTheProcess_data();
    void hintsAtTheRootFolderOfTheProcess();
    void hintsAtNoRootFolderThatDoesNotHelp();

private:
    static Result which(
        qint64 pid, const QStringList &options = {},
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        return run(OSTRELCTL, QStringList{"which", QString::number(pid)} + options, environment);
    }
};

void TestOstrelctlWhich::initTestCase()
{
    qunsetenv("OSTREL_ROOTFS");
}

void TestOstrelctlWhich::printsTheApplication_data()
{
    QTest::addColumn<QString>("controlGroup");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");
    QTest::addColumn<QString>("json");

    QTest::newRow("instance") << "/ostrel-helper/a.b/instance_1"
                              << "a.b a.b.instance_1\n"
                              << QString()
                              << R"({"appId":"a.b","appInstanceId":"a.b.instance_1","pid":%1})";
    QTest::newRow("one instance") << "/ostrel-helper/a.b/app"
                                  << "a.b a.b\n"
                                  << QString()
                                  << R"({"appId":"a.b","appInstanceId":"a.b","pid":%1})";
    QTest::newRow("application alone")
        << "/ostrel-helper/a.b/x"
        << "a.b -\n"
        << QString() << R"({"appId":"a.b","appInstanceId":null,"pid":%1})";
    QTest::newRow("none") << "/user.slice/x" << QString()
                          << "error: Failed: process %1 belongs to no application\n"
                          << R"({"appId":null,"appInstanceId":null,"error":)"
                             R"({"code":1,"message":"process %1 belongs to no )"
                             R"(application","name":"Failed"},"pid":%1})";
}

// The command needs no bus.
void TestOstrelctlWhich::printsTheApplication()
{
    QFETCH(const QString, controlGroup);
    QFETCH(const QString, output);
    QFETCH(QString, errors);
    QFETCH(const QString, json);
    const qint64 pid = QCoreApplication::applicationPid();
    errors = errors.isEmpty() ? errors : errors.arg(pid);
    const QTemporaryDir root;
    const QString folder = root.filePath(QString("proc/%1").arg(pid));
    QVERIFY(QDir().mkpath(folder));
    writeFile(folder + "/cgroup", QString("4:memory:%1\n").arg(controlGroup));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("OSTREL_ROOTFS", root.path());
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");

    const Result plain = which(pid, {}, environment);
    QCOMPARE(plain.output, output);
    QCOMPARE(plain.errors, errors);
    QCOMPARE(plain.exitStatus, errors.isEmpty() ? 0 : 1);

    const Result asJson = which(pid, {"--json"}, environment);
    QCOMPARE(asJson.output, json.arg(pid) + '\n');
    QCOMPARE(asJson.errors, errors);
    QCOMPARE(asJson.exitStatus, plain.exitStatus);
}

void TestOstrelctlWhich::processThatDoesNotExistIsAnotherError()
{
    // Linux has no process with this number.
    const Result result = which(2147483647);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors, "error: Failed: there is no process 2147483647\n");
    QCOMPARE(result.exitStatus, 1);
}

void TestOstrelctlWhich::hintsAtTheRootFolderOfTheProcess_data()
{
    QTest::addColumn<QString>("rootFs");
    QTest::newRow("none here") << QString();
    QTest::newRow("another one here") << "/nonexistent/root";
}

void TestOstrelctlWhich::hintsAtTheRootFolderOfTheProcess()
{
    QFETCH(const QString, rootFs);
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const QString root = simulator.desk("RootFs").arguments().constFirst().toString();
    run(OSTRELCTL, {"start", "demo.Viewer"});
    const qint64 pid = QDir(root + "/proc").entryList({"[0-9]*"}).value(0).toInt();
    QVERIFY(pid > 0);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("OSTREL_ROOTFS");
    if (!rootFs.isEmpty()) {
        environment.insert("OSTREL_ROOTFS", rootFs);
    }
    const Result result = which(pid, {}, environment);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             QString("error: Failed: process %1 belongs to no application\n"
                     "hint: with OSTREL_ROOTFS=%2, which the process has in its "
                     "environment, it is found\n")
                 .arg(pid)
                 .arg(root));
    QCOMPARE(result.exitStatus, 1);

    // The hint is right.
    environment.insert("OSTREL_ROOTFS", root);
    QCOMPARE(which(pid, {}, environment).output, "demo.Viewer demo.Viewer.instance_1\n");
}

void TestOstrelctlWhich::hintsAtNoRootFolderThatDoesNotHelp()
{
    Process process("sleep", {"infinity"});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("OSTREL_ROOTFS", "/nonexistent/root");
    process.setProcessEnvironment(environment);
    process.start();
    process.waitForStarted(forever);
    QCOMPARE(
        which(process.processId()).errors,
        QString("error: Failed: process %1 belongs to no application\n").arg(process.processId()));
}

OSTREL_TEST_MAIN(TestOstrelctlWhich)

#include "tst_ostrelctl_which.moc"
