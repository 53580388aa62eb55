// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "stamp.h"
#include "watcher.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QScopeGuard>

#include <algorithm>
#include <csignal>

namespace
{

bool hasSocket(const QDir &files)
{
    const QFileInfoList all = files.entryInfoList(QDir::System | QDir::NoDotAndDotDot);
    return std::any_of(all.cbegin(), all.cend(), [](const QFileInfo &file) {
        return file.symLinkTarget().contains("socket:");
    });
}

// As strings of this form compare, so do the times.
QString isoTime(Stamp stamp)
{
    const QDateTime second = QDateTime::fromSecsSinceEpoch(stamp.timeOfDay / 1'000'000, Qt::UTC);
    return second.toString("yyyy-MM-ddTHH:mm:ss.")
        + QString::number(1'000'000 + stamp.timeOfDay % 1'000'000).mid(1) + 'Z';
}

const QString watching = // clazy:exclude=non-pod-global-static
    "watching the applications; Ctrl-C ends it";

} // namespace

// The command that follows the applications, and commands whose bus ends or hangs.
class TestOstrelctlWatch : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void watchPrintsEvents();
    void watchPrintsJson();
    void watchEndsInGoodOrder();
    void watchCanBeInterruptedWhileTheBusHangs();
    void watchWithoutBus();
    void startEndsWithTheBus();
    void whichDoesNotAskTheBus();

private:
    // While the object lives, the test may have a bus of its own.
    auto otherBus() const
    {
        return qScopeGuard(
            [address = m_bus.address().toUtf8()] { qputenv("DBUS_SESSION_BUS_ADDRESS", address); });
    }

    void emitEvents() const;
};

void TestOstrelctlWatch::emitEvents() const
{
    const auto send = [this](const QString &member, const QVariantList &arguments) {
        m_simulator.emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, arguments);
    };
    const QString id = "a.b.instance_1";
    send("Started", {id, QVariantMap{{"Pid", 17}}});
    send("StateChanged", {id, QVariantMap{{"State", 255U}}});
    send("SelectedByOom", {"1\n7"});
    send("Terminated", {id, QVariantMap()});
}

void TestOstrelctlWatch::watchPrintsEvents()
{
    Watcher watcher({"watch"});
    QCOMPARE(watcher.readLine(), watching);
    emitEvents();
    const QStringList expected{
        "started        a.b.instance_1 {\"Pid\":17}",
        "stateChanged   a.b.instance_1 255",
        "selectedByOom  1\\n7",
        "terminated     a.b.instance_1 {}",
    };
    for (const QString &event : expected) {
        QCOMPARE(watcher.readEvent(), event);
    }
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlWatch::watchPrintsJson()
{
    Watcher watcher({"watch", "--json"}, "Asia/Kathmandu");
    QCOMPARE(watcher.readLine(), watching);
    const Stamp before = Stamp::now();
    qint64 last = 0;
    emitEvents();
    const QStringList expected{
        R"({"appInstanceId":"a.b.instance_1","details":{"Pid":17},"event":"started"})",
        R"({"appInstanceId":"a.b.instance_1","event":"stateChanged","state":255})",
        R"({"event":"selectedByOom","processId":"1\n7"})",
        R"({"appInstanceId":"a.b.instance_1","details":{},"event":"terminated"})",
    };
    for (const QString &event : expected) {
        QJsonObject object = QJsonDocument::fromJson(watcher.readLine().toUtf8()).object();
        const QString time = object.take("time").toString();
        // The printed times are now, in any time zone.
        QVERIFY2(isoTime(before) <= time && time <= isoTime(Stamp::now()), qPrintable(time));
        const qint64 monotonic = qint64(object.take("monotonic").toDouble());
        QVERIFY(before.monotonic <= monotonic && monotonic <= Stamp::now().monotonic);
        QVERIFY2(monotonic >= last, "the clock went back");
        last = monotonic;
        QCOMPARE(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)), event);
    }
    QCOMPARE(watcher.interrupt(), 0);
}

void TestOstrelctlWatch::watchEndsInGoodOrder()
{
    Watcher watcher({"watch"});
    QCOMPARE(watcher.readLine(), watching);
    // end() sends SIGTERM.
    QCOMPARE(watcher.end(), 0);
}

// Nothing that would hold the signal until the bus answers has been set up yet.
void TestOstrelctlWatch::watchCanBeInterruptedWhileTheBusHangs()
{
    const auto back = otherBus();
    PrivateBus bus;
    bus.suspend();
    const auto resume = qScopeGuard([&bus] { bus.resume(); });
    Watcher watcher({"watch"});
    watcher.waitForStarted(forever);
    const QDir files(QString("/proc/%1/fd").arg(watcher.processId()));
    // It has connected to the bus.
    waitUntil([&] { return hasSocket(files); });
    ::kill(pid_t(watcher.processId()), SIGINT);
    watcher.waitForEnd();
}

void TestOstrelctlWatch::watchWithoutBus()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session");
    const Result result = run(OSTRELCTL, {"watch"}, environment);
    QCOMPARE(result.output, QString());
    QCOMPARE(result.errors,
             "error: Failed: Not connected to D-Bus server\n"
             "hint: no message bus can be reached at DBUS_SESSION_BUS_ADDRESS; "
             "'dbus-run-session -- bash' opens a shell with a bus of its own\n");
    QCOMPARE(result.exitStatus, 1);
}

// A call that blocks ends with the bus as well.
void TestOstrelctlWatch::startEndsWithTheBus()
{
    const auto back = otherBus();
    PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    const Faults faults = simulator.faults(OSTREL_CONTROL_INTERFACE, "Start");
    faults.holdNext(1);
    Process start(OSTRELCTL, {"start", "a.b"});
    start.start();
    faults.waitForHeld(1);
    bus.end();
    start.waitForEnd();
    QCOMPARE(start.exitStatus(), QProcess::NormalExit);
    QCOMPARE(start.exitCode(), 1);
    QVERIFY(start.readAllStandardError().startsWith("error: Failed: "));
}

void TestOstrelctlWatch::whichDoesNotAskTheBus()
{
    const auto back = otherBus();
    PrivateBus bus;
    bus.suspend();
    const auto resume = qScopeGuard([&bus] { bus.resume(); });
    Process which(OSTRELCTL, {"which", QString::number(QCoreApplication::applicationPid())});
    which.start();
    which.waitForEnd();
    QCOMPARE(which.exitCode(), 1);
}

OSTREL_TEST_MAIN(TestOstrelctlWatch)

#include "tst_ostrelctl_watch.moc"
