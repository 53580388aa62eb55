// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "control_calls.h"
#include "scenario_test.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusPendingCall>

namespace
{

bool isEmptyArray(const QVariant &value)
{
    const auto array = value.value<QDBusArgument>();
    array.beginArray();
    const bool isEmpty = array.atEnd();
    array.endArray();
    return isEmpty;
}

} // namespace

// How a scenario ends, and how it ends and restarts the service.
class TestSimulatorScenarioEnd : public QObject, private ScenarioTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_simulator.reset(); }

    void endOfTheLastStepIsKnown();
    void firstStepThatHasNotHappenedIsNamed();
    void scenarioWithoutStepsIsAtItsEnd();
    void resetBeginsAgain();
    void stepThatIsImpossibleEndsTheSimulator();
    void ruleThatIsImpossibleEndsTheSimulator_data();
    void ruleThatIsImpossibleEndsTheSimulator();
    void stepEndsTheService();
    void endOfTheServiceNamesTheNextStep();
    void serviceGoesAndComesBack();
    void restartedServiceHasForgottenEverything();
    void scenarioGoesOnAfterARestart();

private:
    // Starts the simulator with these steps.
    void start(const QString &steps)
    {
        writeFile(m_file, QString("{\"steps\":\n[%1]}").arg(steps));
        startFile(m_file);
    }

    QString m_file = m_folder.filePath("scenario.json");
};

void TestSimulatorScenarioEnd::endOfTheLastStepIsKnown()
{
    start(R"({"at": {"call": "Terminate"}}, {"at": {"call": "UpdateWindowStatus"}})");
    callControl("Terminate", {"x"});
    reportWindow();
    QCOMPARE(m_simulator->process().readLine(),
             QString("ostrel-simulator: %1: all steps have happened").arg(m_file));
    QCOMPARE(m_simulator->desk("WaitForScenario").type(), QDBusMessage::ReplyMessage);
    QCOMPARE(m_simulator->end(), 0);
    QCOMPARE(m_simulator->process().readAllStandardError(), QByteArray());
}

void TestSimulatorScenarioEnd::firstStepThatHasNotHappenedIsNamed()
{
    start("{\"at\": {\"call\": \"Terminate\"}},\n\n"
          "{\"at\": {\"call\": \"UpdateWindowStatus\"}},\n{\"after\": 10}");
    callControl("Terminate", {"x"});
    QCOMPARE(m_simulator->end(), 3);
    QCOMPARE(QString::fromUtf8(m_simulator->process().readAllStandardError()),
             QString("ostrel-simulator: %1:4: steps[1] has not happened\n").arg(m_file));
}

void TestSimulatorScenarioEnd::scenarioWithoutStepsIsAtItsEnd()
{
    start("");
    QCOMPARE(m_simulator->desk("WaitForScenario").type(), QDBusMessage::ReplyMessage);
    QCOMPARE(m_simulator->end(), 0);
    QCOMPARE(m_simulator->process().readLine(),
             QString("ostrel-simulator: %1: all steps have happened").arg(m_file));
}

void TestSimulatorScenarioEnd::resetBeginsAgain()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1]}]},
             {"after": 1000000, "do": [{"die": true}]})");
    QCOMPARE(reportWindow("w", 5).state, 1U);
    QCOMPARE(reportWindow("w", 5).state, 5U);
    m_simulator->reset();
    QCOMPARE(reportWindow("w", 5).state, 1U);
    QCOMPARE(m_simulator->end(), 3);
}

void TestSimulatorScenarioEnd::stepThatIsImpossibleEndsTheSimulator()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"killByOom": "demo.Viewer"}]})");
    reportWindow();
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(
        QString::fromUtf8(m_simulator->process().readAllStandardError()),
        QString("ostrel-simulator: %1:2: No instance \"demo.Viewer\" is running\n").arg(m_file));
}

void TestSimulatorScenarioEnd::ruleThatIsImpossibleEndsTheSimulator_data()
{
    QTest::addColumn<QString>("moment");

    QTest::newRow("call") << R"({"call": "Terminate"})";
    QTest::newRow("signal") << R"({"signal": "SelectedByOom"})";
}

void TestSimulatorScenarioEnd::ruleThatIsImpossibleEndsTheSimulator()
{
    QFETCH(const QString, moment);
    writeFile(m_file,
              QString(R"({"always": [
{"at": {"call": "UpdateWindowStatus"}, "do": [{"emit": "SelectedByOom", "values": ["x"]}]},
{"at": %1, "do": [{"killByOom": "demo.Viewer"}]}]})")
                  .arg(moment));
    startFile(m_file);
    reportWindow();
    callControl("Terminate", {"x"});
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(
        QString::fromUtf8(m_simulator->process().readAllStandardError()),
        QString("ostrel-simulator: %1:3: No instance \"demo.Viewer\" is running\n").arg(m_file));
}

void TestSimulatorScenarioEnd::stepEndsTheService()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"die": true}]})");
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.error.message(), endedServiceText());
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(m_simulator->process().readAllStandardError(), QByteArray());
}

void TestSimulatorScenarioEnd::endOfTheServiceNamesTheNextStep()
{
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"die": true}]},
             {"at": {"call": "Terminate"}})");
    reportWindow();
    QCOMPARE(m_simulator->waitForEnd(), 1);
    QCOMPARE(QString::fromUtf8(m_simulator->process().readAllStandardError()),
             QString("ostrel-simulator: %1:3: steps[1] has not happened\n").arg(m_file));
}

void TestSimulatorScenarioEnd::serviceGoesAndComesBack()
{
    const Ostrel::Control control;
    QStringList events;
    QObject::connect(&control, &Ostrel::Control::serviceAvailableChanged, this,
                     [&events](bool available) { events.append(available ? "came" : "went"); });
    QObject::connect(&control, &Ostrel::Control::selectedByOom, this,
                     [&events](const QString &id) { events.append(id); });
    start(R"({"at": {"call": "UpdateWindowStatus"}, "do": [{"restart": 200}]},
             {"at": {"call": "Terminate"}, "do": [{"emit": "SelectedByOom", "values": ["after"]}]})");
    waitUntil([&events] { return events.size() == 1; });
    const QString owner =
        QDBusConnection::sessionBus().interface()->serviceOwner(OSTREL_SERVICE_NAME);
    QElapsedTimer timer;
    timer.start();
    // The call is not carried out: the service is gone.
    QCOMPARE(reportWindow().error.message(), endedServiceText());
    waitUntil([&events] { return events.size() == 3; });
    QVERIFY(timer.elapsed() >= 200);
    QVERIFY(QDBusConnection::sessionBus().interface()->serviceOwner(OSTREL_SERVICE_NAME).value()
            != owner);
    callControl("Terminate", {"x"});
    waitUntil([&events] { return events.size() == 4; });
    QCOMPARE(events, (QStringList{"came", "went", "came", "after"}));
}

void TestSimulatorScenarioEnd::restartedServiceHasForgottenEverything()
{
    start(R"({"at": {"signal": "StateChanged"}},
             {"at": {"call": "Terminate"}, "do": [{"hold": true}]},
             {"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [1]}, {"restart": 0}]})");
    reportWindow("forgotten");
    int states = 0;
    const Ostrel::Control control;
    QObject::connect(&control, &Ostrel::Control::stateChanged, this, [&states] { ++states; });
    startApplication("demo.Viewer");
    waitUntil([&states] { return states == 1; });
    const QDBusPendingCall held = asyncCallControl("Terminate", {"x"});
    m_simulator->faults(OSTREL_CONTROL_INTERFACE, "Terminate").waitForHeld(1);
    QCOMPARE(reportWindow().state, 1U);
    QVERIFY(m_simulator->process().readLine().contains(" is ready on "));
    QDBusPendingCall lost = held;
    lost.waitForFinished();
    QCOMPARE(lost.error().message(), endedServiceText());
    const QDBusMessage running = callControl("GetRunningApplications");
    QVERIFY(isEmptyArray(running.arguments().at(0)));
    QVERIFY(isEmptyArray(m_simulator->desk("Windows").arguments().at(0)));
    QCOMPARE(
        m_simulator
            ->desk("Release",
                   {OSTREL_CONTROL_INTERFACE, "Terminate", QVariant::fromValue(QList<uint>{0})})
            .errorMessage(),
        "0 held answers; 0 is out of range or named twice");
    // The log is the simulator's.
    QCOMPARE(m_simulator->calls().size(), 5);
}

void TestSimulatorScenarioEnd::scenarioGoesOnAfterARestart()
{
    start(R"({"at": {"call": "UpdateWindowStatus"},
              "do": [{"answer": [1]}, {"restart": 0}, {"restart": 10}]},
             {"after": 50, "do": [{"restart": 0}]},
             {"at": {"call": "UpdateWindowStatus"}, "do": [{"answer": [2]}]})");
    QCOMPARE(reportWindow().state, 1U);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(m_simulator->process().readLine().contains(" is ready on "));
    }
    QCOMPARE(reportWindow().state, 2U);
    QCOMPARE(m_simulator->process().readLine(),
             QString("ostrel-simulator: %1: all steps have happened").arg(m_file));
    QCOMPARE(m_simulator->end(), 0);
}

OSTREL_TEST_MAIN(TestSimulatorScenarioEnd)

#include "tst_simulator_scenario_end.moc"
