// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>
#include <Ostrel/Testing/waiting.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QThread>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVirtualObject>
#include <QtTest/QTest>

#include <csignal>
#include <iostream>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Ostrel::Testing;

namespace
{

void print(const QString &line)
{
    std::cout << qPrintable(line) << std::endl;
}

// Begins when the test has ended.
class LateProcess : public Process
{
public:
    using Process::Process;

protected:
    void setupChildProcess() override
    {
        sigset_t end;
        sigemptyset(&end);
        sigaddset(&end, SIGUSR1);
        sigprocmask(SIG_BLOCK, &end, nullptr);
        prctl(PR_SET_PDEATHSIG, SIGUSR1);
        // The end of each of the test's threads sends the signal, and the last one takes the parent
        // away.
        while (getppid() == m_test) {
            sigwaitinfo(&end, nullptr);
        }
        Process::setupChildProcess();
    }

private:
    const pid_t m_test = getpid();
};

// Returns a number from every call.
class NumberDesk : public QDBusVirtualObject
{
public:
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(message.createReply(1));
    }
};

} // namespace

// A test of another project. Most functions fail, each in its own way.
class User : public SimulatorTest
{
    Q_OBJECT

private Q_SLOTS:
    void passes();
    void otherCallsCame();
    void tooFewCallsCame();
    void waitsForCalls();
    void waitsForACondition();
    void arrangesAFaultOfNoMethod();
    void asksASimulatorThatHangs();
    void waitsForASimulatorThatHangs();
    void asksAServiceThatIsAway();
    void startsAServiceThatIsAway();
    void resetsAServiceThatIsAway();
    void asksAServiceWithoutAFaultDesk();
    void asksAFaultDeskOfOtherTypes();
    void startsWithoutItsFolder();
    void asksWithoutASimulator();
    void asksWithoutAProcess();
    void startsWithoutItsCatalogue();
    void leavesAStepOfItsScenario();
    void leavesAStepAfterAProgramHasWritten();
    void waitsForAStepOfItsScenario();
    void waitsForAScenarioThatEnds();
    void asksAScenarioThatEnds();
    void leavesAStepWhenTheServiceDies();
    void playsAScenarioThatDiesAtItsEnd();
    void waitsForNoScenario();
    void printsItsEnvironment();
    void writesSettings();
    void hangs();
    void endsBeforeAProgramHasStarted();

private:
    // Stops the simulator.
    void suspend();
    // Restarts the simulator with a scenario of these steps.
    void play(const QByteArray &steps);
    // Has a scenario take the service away, for longer than the test lasts.
    void sendTheServiceAway();
    // Has later waits end soon. QtTest has read its own limit before the function, so a slow start
    // does not end the test.
    static void shortenWaits() { qputenv("QTEST_FUNCTION_TIMEOUT", "20000"); }
};

void User::suspend()
{
    ::kill(static_cast<pid_t>(simulator().process().processId()), SIGSTOP);
}

void User::play(const QByteArray &steps)
{
    QFile file(QDir::home().filePath(QStringLiteral("scenario.json")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{\"steps\": [" + steps + "]}");
    file.close();
    simulator().setScenarioFile(file.fileName());
    simulator().restart();
}

void User::sendTheServiceAway()
{
    play(R"({"at": {"call": "Terminate"}, "do": [{"restart": 1000000}]})");
    Ostrel::Control().terminate(QStringLiteral("a"));
}

void User::passes()
{
    OSTREL_COMPARE_CALLS(simulator());
    Ostrel::Control control;
    QVERIFY(control.isServiceAvailable());
    simulator()
        .faults(Method::Start)
        .failNext(Ostrel::Error::HandlerFailed, QStringLiteral("not today"));
    QCOMPARE(control.start(QStringLiteral("demo.Viewer")).error.message(),
             QStringLiteral("not today"));
    OSTREL_COMPARE_CALLS(
        simulator(), call(Method::Start).with(QStringLiteral("demo.") + QLatin1String("Viewer")));
}

void User::otherCallsCame()
{
    Ostrel::Control control;
    control.start(QStringLiteral("demo.None"));
    control.terminate(QStringLiteral("x"));
    OSTREL_COMPARE_CALLS(simulator(), call(Method::Start).with("demo.Viewer"),
                         call(Method::Terminate).with(anything()));
    qFatal("a test goes on after calls that differ");
}

void User::tooFewCallsCame()
{
    shortenWaits();
    Ostrel::Control().start(QStringLiteral("demo.None"));
    OSTREL_COMPARE_CALLS(simulator(), Method::Start, Method::Terminate);
}

void User::waitsForCalls()
{
    shortenWaits();
    Ostrel::Control().start(QStringLiteral("demo.None"));
    QVERIFY(!simulator().faults(Method::Terminate).waitForCalls(2));
}

void User::waitsForACondition()
{
    shortenWaits();
    QVERIFY(!waitUntil([] { return false; }, QStringLiteral("better times")));
}

void User::arrangesAFaultOfNoMethod()
{
    simulator().faults(QStringLiteral("a.b"), QStringLiteral("C")).ignoreNext();
}

void User::asksASimulatorThatHangs()
{
    suspend();
    shortenWaits();
    simulator().calls();
}

void User::waitsForASimulatorThatHangs()
{
    suspend();
    shortenWaits();
    QVERIFY(!simulator().faults(Method::Terminate).waitForCalls());
    simulator().end();
}

void User::asksAServiceThatIsAway()
{
    sendTheServiceAway();
    shortenWaits();
    simulator().calls();
}

void User::startsAServiceThatIsAway()
{
    sendTheServiceAway();
    shortenWaits();
    simulator().start();
}

void User::resetsAServiceThatIsAway()
{
    sendTheServiceAway();
    shortenWaits();
    simulator().reset();
}

void User::asksAServiceWithoutAFaultDesk()
{
    simulator().end();
    // QtDBus reads nothing from the session bus before the event loop has run.
    QDBusConnection other = QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    QVERIFY(other.registerService(Ostrel::Control::serviceName()));
    simulator().calls();
}

void User::asksAFaultDeskOfOtherTypes()
{
    simulator().end();
    QDBusConnection other = QDBusConnection::sessionBus();
    QCoreApplication::processEvents();
    NumberDesk desk;
    QThread thread; // This one waits for the reply.
    desk.moveToThread(&thread);
    thread.start();
    QVERIFY(other.registerVirtualObject(QStringLiteral("/"), &desk, QDBusConnection::SubPath));
    QVERIFY(other.registerService(Ostrel::Control::serviceName()));
    simulator().calls();
}

void User::startsWithoutItsFolder()
{
    QDir home = QDir::home();
    const QStringList folders = home.entryList({QStringLiteral("simulator-*")});
    for (const QString &folder : folders) {
        QVERIFY(QDir(home.filePath(folder)).removeRecursively());
    }
    simulator().restart();
}

void User::asksWithoutASimulator()
{
    simulator().end();
    simulator().calls();
}

void User::asksWithoutAProcess()
{
    Simulator other(bus());
    other.waitForEnd();
}

void User::startsWithoutItsCatalogue()
{
    simulator().setCatalogueFile(QStringLiteral("/nonexistent/catalogue.json"));
    simulator().restart();
}

void User::leavesAStepOfItsScenario()
{
    play(R"({"at": {"call": "Control1.Start"}}, {"at": {"call": "Terminate"}})");
    Ostrel::Control().start(QStringLiteral("demo.Viewer"));
}

// The program inherits the simulator's file, and then empties it.
void User::leavesAStepAfterAProgramHasWritten()
{
    const QString file = QDir::home().filePath(QStringLiteral("written"));
    Catalogue catalogue;
    catalogue.addApplication(
        {QStringLiteral("a.Writer"),
         QStringLiteral("sh"),
         {QStringLiteral("-c"),
          QStringLiteral("echo before >&2; echo after >/dev/stderr; touch '%1'").arg(file)}});
    simulator().setCatalogue(catalogue);
    play(R"({"at": {"call": "Terminate"}})");
    Ostrel::Control().start(QStringLiteral("a.Writer"));
    QVERIFY(waitUntil([&file] { return QFile::exists(file); }));
}

void User::waitsForAStepOfItsScenario()
{
    play(R"({"at": {"call": "Terminate"}})");
    shortenWaits();
    QVERIFY(!simulator().waitForScenario());
}

void User::waitsForAScenarioThatEnds()
{
    play(R"({"at": {"call": "Terminate"}, "do": [{"killByOom": "demo.Viewer"}]})");
    Ostrel::Control().terminate(QStringLiteral("a"));
    QVERIFY(!simulator().waitForScenario());
}

void User::asksAScenarioThatEnds()
{
    play(R"({"at": {"call": "Terminate"}, "do": [{"killByOom": "demo.Viewer"}]})");
    Ostrel::Control().terminate(QStringLiteral("a"));
    simulator().calls();
}

void User::leavesAStepWhenTheServiceDies()
{
    play(R"({"at": {"call": "Terminate"}})");
    simulator().faults(Method::Start).dieInNext();
    Ostrel::Control().start(QStringLiteral("demo.Viewer"));
    QVERIFY(!simulator().waitForScenario());
}

void User::playsAScenarioThatDiesAtItsEnd()
{
    play(R"({"at": {"call": "Terminate"}, "do": [{"die": true}]})");
    Ostrel::Control().terminate(QStringLiteral("a"));
    QVERIFY(simulator().waitForScenario());
}

void User::waitsForNoScenario()
{
    simulator().waitForScenario();
}

void User::printsItsEnvironment()
{
    for (const char *name :
         {"HOME", "TMPDIR", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
          "XDG_STATE_HOME", "XAUTHORITY", "WAYLAND_DISPLAY"}) {
        print(QString::fromLatin1(name) + QLatin1Char('=') + qEnvironmentVariable(name));
    }
}

void User::writesSettings()
{
    QSettings settings(QStringLiteral("ostrel"), QStringLiteral("user"));
    settings.setValue(QStringLiteral("key"), 1);
    settings.sync();
    QCOMPARE(settings.status(), QSettings::NoError);
}

void User::hangs()
{
    const QVariantMap details = Ostrel::Control().start(QStringLiteral("demo.Viewer")).details;
    print(QStringLiteral("folder ") + qEnvironmentVariable("HOME"));
    print(QStringLiteral("process %1").arg(bus().processId()));
    print(QStringLiteral("process %1").arg(simulator().process().processId()));
    print(QStringLiteral("process %1").arg(details.value(QStringLiteral("Pid")).toInt()));
    print(QStringLiteral("ready"));
    waitUntil([] { return false; });
}

void User::endsBeforeAProgramHasStarted()
{
    LateProcess late(QStringLiteral("touch"), {qEnvironmentVariable("OSTREL_TEST_FILE")});
    // It keeps the test's output open until it ends.
    late.setProcessChannelMode(QProcess::ForwardedChannels);
    late.start();
    print(QStringLiteral("process %1").arg(late.processId()));
    _exit(EXIT_SUCCESS);
}

OSTREL_TEST_MAIN(User)

#include "user.moc"
