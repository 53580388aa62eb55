// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "files.h"
#include "process_handle.h"
#include "run.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtDBus/QDBusConnection>

#include <memory>
#include <vector>

// A test of another project leaves the user's buses and home alone, and leaves nothing.
class TestTestingIsolation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busOfTheUserSeesNothing();
    void homeOfTheUserStaysEmpty();
    void displayOfTheUserStaysReachable();
    void nothingIsLeftAfterTheEnd();
    void nothingIsLeftAfterAKill();
    void nothingStartsAfterTheEnd();
    void testWithWindowsRuns();

private:
    // The user's environment, with a home below this folder.
    static QProcessEnvironment userAt(const QTemporaryDir &home);
    // Returns what the program prints of its environment.
    static QString value(const QString &output, const QString &name);
};

QProcessEnvironment TestTestingIsolation::userAt(const QTemporaryDir &home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", QFileInfo(SIMULATOR).path() + ':' + environment.value("PATH"));
    environment.insert("HOME", home.path());
    environment.insert("XDG_CONFIG_HOME", home.filePath("config"));
    environment.insert("XDG_CACHE_HOME", home.filePath("cache"));
    environment.insert("XDG_DATA_HOME", home.filePath("data"));
    environment.insert("XDG_STATE_HOME", home.filePath("state"));
    return environment;
}

QString TestTestingIsolation::value(const QString &output, const QString &name)
{
    const QStringList lines = output.split('\n');
    for (const QString &line : lines) {
        if (line.startsWith(name + '=')) {
            return line.mid(name.size() + 1);
        }
    }
    return "not printed";
}

void TestTestingIsolation::busOfTheUserSeesNothing()
{
    const PrivateBus usersBus(PrivateBus::BothBuses);
    BusMonitor monitor(usersBus);
    const QTemporaryDir home;
    QCOMPARE(run(USER, {"passes"}, userAt(home)).exitStatus, 0);
    const QString self = QDBusConnection::sessionBus().baseService();
    QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId"));
    const QVector<QJsonObject> messages = monitor.messagesUntil(
        [](const QJsonObject &message) { return message["member"] == "GetId"; });
    for (const QJsonObject &message : messages) {
        const QString sender = message["sender"].toString();
        QVERIFY2(sender == self || sender == "org.freedesktop.DBus", qPrintable(sender));
        QVERIFY2(message["member"] != "NameOwnerChanged" || message["payload"]["data"][0] == self,
                 qPrintable(message["payload"]["data"][0].toString()));
    }
}

void TestTestingIsolation::homeOfTheUserStaysEmpty()
{
    const QTemporaryDir home;
    const Result result = run(USER, {"writesSettings"}, userAt(home));
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
    QCOMPARE(filesBelow(home.path()), QStringList());
}

void TestTestingIsolation::displayOfTheUserStaysReachable()
{
    const QTemporaryDir home;
    writeFile(home.filePath(".Xauthority"), "secret");
    QProcessEnvironment environment = userAt(home);
    environment.remove("XAUTHORITY");
    environment.insert("XDG_RUNTIME_DIR", "/run/somebody");
    environment.insert("WAYLAND_DISPLAY", "wayland-0");
    const QString output = run(USER, {"printsItsEnvironment"}, environment).output;
    QCOMPARE(value(output, "XAUTHORITY"), home.filePath(".Xauthority"));
    QCOMPARE(value(output, "WAYLAND_DISPLAY"), "/run/somebody/wayland-0");

    environment.insert("XAUTHORITY", "/somewhere/else");
    environment.insert("WAYLAND_DISPLAY", "/run/other");
    const QString other = run(USER, {"printsItsEnvironment"}, environment).output;
    QCOMPARE(value(other, "XAUTHORITY"), "/somewhere/else");
    QCOMPARE(value(other, "WAYLAND_DISPLAY"), "/run/other");
}

void TestTestingIsolation::nothingIsLeftAfterTheEnd()
{
    const QTemporaryDir home;
    const QString output = run(USER, {"printsItsEnvironment"}, userAt(home)).output;
    const QString folder = value(output, "HOME");
    QCOMPARE(QFileInfo(folder).path(), qEnvironmentVariable("TMPDIR"));
    QCOMPARE(value(output, "TMPDIR"), folder);
    QCOMPARE(value(output, "XDG_RUNTIME_DIR"), folder);
    for (const char *name :
         {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}) {
        QCOMPARE(value(output, name), QString());
    }
    waitUntil([&folder] { return !QFileInfo::exists(folder); });
}

void TestTestingIsolation::nothingIsLeftAfterAKill()
{
    const QTemporaryDir home;
    Process user(USER, {"hangs"});
    user.setProcessEnvironment(userAt(home));
    user.start();
    QString folder;
    std::vector<std::unique_ptr<const ProcessHandle>> processes;
    for (QString line; line != "ready"; line = user.readLine()) {
        if (line.startsWith("folder ")) {
            folder = line.section(' ', 1);
        } else if (line.startsWith("process ")) {
            processes.push_back(std::make_unique<ProcessHandle>(line.section(' ', 1).toInt()));
            QVERIFY(processes.back()->exists());
        }
    }
    QCOMPARE(processes.size(), std::size_t(3));
    QVERIFY(QFileInfo::exists(folder));
    user.kill();
    user.waitForEnd();
    waitUntil([&folder] { return !QFileInfo::exists(folder); });
    for (const auto &process : processes) {
        waitUntil([&process] { return !process->exists(); });
    }
}

void TestTestingIsolation::nothingStartsAfterTheEnd()
{
    const QTemporaryDir home;
    const QString file = home.filePath("file");
    QProcessEnvironment environment = userAt(home);
    environment.insert("OSTREL_TEST_FILE", file);
    // Returns when the program has ended, too: it has the output of the test.
    const QString output =
        run("sh", {"-c", "'" USER "' endsBeforeAProgramHasStarted | cat"}, environment).output;
    QVERIFY2(output.contains("process "), qPrintable(output));
    QVERIFY(!QFileInfo::exists(file));
}

void TestTestingIsolation::testWithWindowsRuns()
{
    if (!HAS_WINDOWS) {
        QSKIP("Qt Widgets is missing");
    }
    const PrivateBus usersBus(PrivateBus::BothBuses);
    const QTemporaryDir home;
    QProcessEnvironment environment = userAt(home);
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    const Result result = run(USER "-of-windows", {}, environment);
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

OSTREL_TEST_MAIN(TestTestingIsolation)

#include "tst_testing_isolation.moc"
