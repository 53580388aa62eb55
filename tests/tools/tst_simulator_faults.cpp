// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "outcomes.h"
#include "quiet_test.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusPendingCall>

using Ostrel::WindowManagement;

// What each fault of the desk does to its calls, and to no others, and which arguments are refused.
class TestSimulatorFaults : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void failNextFailsOneCall();
    void faultsAreUsedInOrder();
    void delayedCallsAreAnsweredLater();
    void wrongAnswersAreSentUnchanged_data();
    void wrongAnswersAreSentUnchanged();
    void ignoredCallsAreNeverAnswered();
    void heldAnswersAreSentInTheRequestedOrder();
    void waitingEndsWhenTheCallComes();
    void dyingEndsTheProcess();
    void resetForgetsEverything();
    void refusesWhatItDoesNotKnow_data();
    void refusesWhatItDoesNotKnow();
    void gdbusCanUseTheDesk();
};

void TestSimulatorFaults::failNextFailsOneCall()
{
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b.C", "text");
    QCOMPARE(reportWindow().error.message(), "text");
    QVERIFY(!reportWindow().error);
    // A call that fails has no effect, but is logged.
    QCOMPARE(m_simulator.calls().size(), 2);
}

void TestSimulatorFaults::faultsAreUsedInOrder()
{
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "first");
    m_simulator.faults(Method::UpdateWindowStatus).answerNext({77U});
    m_simulator.faults(Method::UpdateWindowStatus).delayNext(0);
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "last");
    QCOMPARE(reportWindow().error.message(), "first");
    QCOMPARE(reportWindow().state, 77U);
    QCOMPARE(reportWindow("w", 5).state, 5U);
    QCOMPARE(reportWindow().error.message(), "last");
    QCOMPARE(reportWindow("w", 6).state, 6U);
}

void TestSimulatorFaults::delayedCallsAreAnsweredLater()
{
    m_simulator.faults(Method::UpdateWindowStatus).delayNext(200);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(reportWindow("w", 3).state, 3U);
    QVERIFY(timer.elapsed() >= 200);
}

void TestSimulatorFaults::wrongAnswersAreSentUnchanged_data()
{
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("answer");

    const auto row = [](const char *values, const char *answer) {
        QTest::newRow(answer) << QString::fromLatin1(values).split(' ') << answer;
    };
    row("0", "");
    row("1 s x", "s \"x\"");
    row("2 y 3 t 18446744073709551615", "yt 3 18446744073709551615");
    row("1 (si) x 3", "(si) \"x\" 3");
    row("1 a(si) 0", "a(si) 0");
    row("1 a{sv} 1 k (i) 3", "a{sv} 1 \"k\" (i) 3");
    row("1 v v i 3", "v v i 3");
    row("1 a{i(sas)} 1 7 x 1 y", "a{i(sas)} 1 7 \"x\" 1 \"y\"");
    row("3 o /a g as d 1.5", "ogd \"/a\" \"as\" 1.5");
}

void TestSimulatorFaults::wrongAnswersAreSentUnchanged()
{
    QFETCH(QStringList, values);
    busctlDesk(m_bus, "AnswerNext",
               QStringList{"ssav", OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus"}
                   + values);
    const Result result = busctl(m_bus,
                                 {"call", OSTREL_SERVICE_NAME, OSTREL_WINDOW_MANAGEMENT_PATH,
                                  OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus", "siii",
                                  "w", "1", "2", "3"});
    QCOMPARE(result.exitStatus, 0);
    QTEST(result.output.trimmed(), "answer");
}

void TestSimulatorFaults::ignoredCallsAreNeverAnswered()
{
    m_simulator.faults(Method::UpdateWindowStatus).ignoreNext();
    WindowManagement windows;
    Outcomes outcomes;
    const QObject context;
    windows.updateWindowStatus("w", 1, 2, 3, &context, outcomes.callback());
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
    QCOMPARE(m_simulator.calls().size(), 2);
}

void TestSimulatorFaults::heldAnswersAreSentInTheRequestedOrder()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(4);
    WindowManagement windows;
    Outcomes outcomes;
    for (int status = 0; status < 4; ++status) {
        windows.updateWindowStatus("w", status, 0, 0, this, outcomes.callback());
    }
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(4);
    // The next call is not held.
    QCOMPARE(reportWindow("w", 9).state, 9U);
    QCOMPARE(outcomes.size(), 0);

    m_simulator.faults(Method::UpdateWindowStatus).release({3, 1});
    outcomes.waitFor(2);
    // Two calls remain, which now have the numbers 0 and 1.
    m_simulator.faults(Method::UpdateWindowStatus).release({1});
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    outcomes.waitFor(4);
    QVector<quint32> states;
    for (int i = 0; i < 4; ++i) {
        states.append(outcomes.at(i).state);
    }
    QCOMPARE(states, (QVector<quint32>{3, 1, 2, 0}));
}

void TestSimulatorFaults::waitingEndsWhenTheCallComes()
{
    QDBusMessage call = QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SIMULATOR_PATH,
                                                       OSTREL_SIMULATOR_INTERFACE, "WaitForCalls");
    call.setArguments({OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus", 2U});
    const QDBusPendingCall waiting = QDBusConnection::sessionBus().asyncCall(call);
    reportWindow();
    QVERIFY(!waiting.isFinished());
    reportWindow();
    waitUntil([&] { return waiting.isFinished(); });
    QVERIFY(!waiting.isError());
}

void TestSimulatorFaults::dyingEndsTheProcess()
{
    m_simulator.faults(Method::UpdateWindowStatus).dieInNext();
    QVERIFY(reportWindow().error);
    QCOMPARE(m_simulator.waitForEnd(), 1);
    m_simulator.start();
    QCOMPARE(reportWindow().state, 1U);
}

void TestSimulatorFaults::resetForgetsEverything()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    Outcomes outcomes;
    const QObject context;
    windows.updateWindowStatus("w", 1, 2, 3, &context, outcomes.callback());
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    m_simulator.faults(Method::UpdateWindowStatus).delayNext(300);
    windows.updateWindowStatus("w", 1, 2, 3, &context, outcomes.callback());
    m_simulator.faults(Method::UpdateWindowStatus).waitForCalls(2);
    m_simulator.faults(Method::UpdateWindowStatus).failNext("a.b", "forgotten");
    m_simulator.reset();

    QVERIFY(m_simulator.calls().isEmpty());
    QCOMPARE(busctlDesk(m_bus, "Windows"), "{\"type\":\"a(siii)\",\"data\":[[]]}");
    const QDBusMessage release =
        m_simulator.desk("Release",
                         {OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus",
                          QVariant::fromValue(QList<uint>{0})});
    QCOMPARE(release.errorMessage(), "0 held answers; 0 is out of range or named twice");
    // On a slow machine, the delay has passed before the reset.
    reportWindow();
    const int earlier = outcomes.size();
    // When a later delay has passed, the forgotten one would have as well.
    m_simulator.faults(Method::UpdateWindowStatus).delayNext(400);
    QVERIFY(!reportWindow().error);
    QCOMPARE(outcomes.size(), earlier);
}

void TestSimulatorFaults::refusesWhatItDoesNotKnow_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");

    const QString interface = OSTREL_WINDOW_MANAGEMENT_INTERFACE;
    const QString method = "UpdateWindowStatus";
    const QString invalid = "org.freedesktop.DBus.Error.InvalidArgs";
    for (const char *const desk : {"IgnoreNext", "DieInNext"}) {
        QTest::addRow("%s of an unknown method", desk)
            << desk << QVariantList{interface, "Nonsense"} << invalid
            << QString("The service has no method \"Nonsense\" in an interface \"%1\"")
                   .arg(interface);
    }
    QTest::newRow("unknown interface")
        << "HoldNext" << QVariantList{"a.b", method, 1U} << invalid
        << QString("The service has no method \"%1\" in an interface \"a.b\"").arg(method);
    QTest::newRow("the desk itself")
        << "IgnoreNext" << QVariantList{OSTREL_SIMULATOR_INTERFACE, "Calls"} << invalid
        << QString("The service has no method \"Calls\" in an interface \"%1\"")
               .arg(OSTREL_SIMULATOR_INTERFACE);
    for (const char *const name : {"", "one", "a..b", "a.1b", "a.b-c", "a.b\n"}) {
        QTest::addRow("error name \"%s\"", name)
            << "FailNext" << QVariantList{interface, method, name, "text"} << invalid
            << QString("\"%1\" is no error name").arg(name);
    }
    QTest::newRow("a delay beyond counting")
        << "DelayNext" << QVariantList{interface, method, 4294967295U} << invalid
        << "4294967295 milliseconds are too many";
    QTest::newRow("releasing what is not held")
        << "Release" << QVariantList{interface, method, QVariant::fromValue(QList<uint>{0})}
        << invalid << "0 held answers; 0 is out of range or named twice";
    QTest::newRow("unknown method")
        << "Nonsense" << QVariantList() << "org.freedesktop.DBus.Error.UnknownMethod"
        << QString("No method \"Nonsense\" in the interface %1").arg(OSTREL_SIMULATOR_INTERFACE);
    QTest::newRow("wrong signature") << "HoldNext" << QVariantList{interface, method, 1} << invalid
                                     << "HoldNext takes \"ssu\", not \"ssi\"";
}

void TestSimulatorFaults::refusesWhatItDoesNotKnow()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    const QDBusMessage answer = m_simulator.desk(method, arguments);
    QCOMPARE(answer.type(), QDBusMessage::ErrorMessage);
    QTEST(answer.errorName(), "error");
    QTEST(answer.errorMessage(), "message");
    // A refused fault has no effect.
    QCOMPARE(reportWindow().state, 1U);
}

// Users may have other tools.
void TestSimulatorFaults::gdbusCanUseTheDesk()
{
    const auto gdbus = [this](const QStringList &call) {
        return run("gdbus",
                   QStringList{"call", QString("--timeout=%1").arg(forever / 1000), "--address",
                               m_bus.address(), "--dest", OSTREL_SERVICE_NAME, "--object-path",
                               OSTREL_SIMULATOR_PATH, "--method"}
                       + call);
    };
    const QString desk = OSTREL_SIMULATOR_INTERFACE ".";
    const Result fail = gdbus({desk + "FailNext", OSTREL_WINDOW_MANAGEMENT_INTERFACE,
                               "UpdateWindowStatus", "a.b", "said gdbus"});
    QCOMPARE(fail.output, "()\n");
    QCOMPARE(reportWindow("main", 1, 2, 3).error.message(), "said gdbus");
    const Result calls = gdbus({desk + "Calls"});
    QCOMPARE(calls.output,
             QString("([('%1', '%2', 'UpdateWindowStatus', 'siii', "
                     "[<'main'>, <1>, <2>, <3>])],)\n")
                 .arg(OSTREL_WINDOW_MANAGEMENT_PATH, OSTREL_WINDOW_MANAGEMENT_INTERFACE));
}

OSTREL_TEST_MAIN(TestSimulatorFaults)

#include "tst_simulator_faults.moc"
