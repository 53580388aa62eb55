// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "outcomes.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusPendingCall>

#include <optional>

using Ostrel::WindowManagement;

// The fault desk: what each fault does to the calls that it is meant for and to no other, and what
// is refused.
class TestSimulatorFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void failNextFailsOneCall();
    void faultsAreUsedUpInOrder();
    void delayedCallsAreAnsweredLater();
    void wrongAnswersGoOutAsGiven_data();
    void wrongAnswersGoOutAsGiven();
    void ignoredCallsAreNeverAnswered();
    void heldAnswersGoOutInTheOrderAskedFor();
    void waitingEndsWhenTheCallComes();
    void dyingEndsTheProcess();
    void resetForgetsEverything();
    void refusesWhatItDoesNotKnow_data();
    void refusesWhatItDoesNotKnow();
    void worksWithGdbus();

private:
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorFaults::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestSimulatorFaults::cleanup()
{
    m_simulator->reset();
}

void TestSimulatorFaults::failNextFailsOneCall()
{
    m_simulator->windowStatus().failNext(QStringLiteral("a.b.C"), QStringLiteral("text"));
    QCOMPARE(reportWindow().error.message(), QStringLiteral("text"));
    QVERIFY(!reportWindow().error);
    // A call that fails has no effect, but is logged.
    QCOMPARE(m_simulator->calls().size(), 2);
}

void TestSimulatorFaults::faultsAreUsedUpInOrder()
{
    m_simulator->windowStatus().failNext(QStringLiteral("a.b"), QStringLiteral("first"));
    m_simulator->windowStatus().answerNext({77U});
    m_simulator->windowStatus().delayNext(0);
    m_simulator->windowStatus().failNext(QStringLiteral("a.b"), QStringLiteral("last"));
    QCOMPARE(reportWindow().error.message(), QStringLiteral("first"));
    QCOMPARE(reportWindow().state, 77U);
    QCOMPARE(reportWindow(QStringLiteral("w"), 5).state, 5U);
    QCOMPARE(reportWindow().error.message(), QStringLiteral("last"));
    QCOMPARE(reportWindow(QStringLiteral("w"), 6).state, 6U);
}

void TestSimulatorFaults::delayedCallsAreAnsweredLater()
{
    m_simulator->windowStatus().delayNext(200);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(reportWindow(QStringLiteral("w"), 3).state, 3U);
    QVERIFY(timer.elapsed() >= 200);
}

void TestSimulatorFaults::wrongAnswersGoOutAsGiven_data()
{
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("answer");

    const auto row = [](const char *values, const char *answer) {
        QTest::newRow(answer) << QString::fromLatin1(values).split(QLatin1Char(' '))
                              << QString::fromLatin1(answer);
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

void TestSimulatorFaults::wrongAnswersGoOutAsGiven()
{
    QFETCH(QStringList, values);
    busctlDesk(*m_bus, QStringLiteral("AnswerNext"),
               QStringList{QStringLiteral("ssav"),
                           QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                           QStringLiteral("UpdateWindowStatus")}
                   + values);
    const Result result =
        busctl(*m_bus,
               {QStringLiteral("call"), QStringLiteral(OSTREL_SERVICE_NAME),
                QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
                QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                QStringLiteral("UpdateWindowStatus"), QStringLiteral("siii"), QStringLiteral("w"),
                QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")});
    QCOMPARE(result.exitStatus, 0);
    QTEST(result.output.trimmed(), "answer");
}

void TestSimulatorFaults::ignoredCallsAreNeverAnswered()
{
    m_simulator->windowStatus().ignoreNext();
    WindowManagement windows;
    Outcomes outcomes;
    const QObject context;
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, &context, outcomes.callback());
    reportWindow();
    QCOMPARE(outcomes.size(), 0);
    QCOMPARE(m_simulator->calls().size(), 2);
}

void TestSimulatorFaults::heldAnswersGoOutInTheOrderAskedFor()
{
    m_simulator->windowStatus().holdNext(4);
    WindowManagement windows;
    Outcomes outcomes;
    for (int status = 0; status < 4; ++status) {
        windows.updateWindowStatus(QStringLiteral("w"), status, 0, 0, this, outcomes.callback());
    }
    m_simulator->windowStatus().waitForHeld(4);
    // The next one is not held.
    QCOMPARE(reportWindow(QStringLiteral("w"), 9).state, 9U);
    QCOMPARE(outcomes.size(), 0);

    m_simulator->windowStatus().release({3, 1});
    outcomes.waitFor(2);
    // Two are left; they have the numbers 0 and 1 now.
    m_simulator->windowStatus().release({1});
    m_simulator->windowStatus().release({0});
    outcomes.waitFor(4);
    QVector<quint32> states;
    for (int i = 0; i < 4; ++i) {
        states.append(outcomes.at(i).state);
    }
    QCOMPARE(states, (QVector<quint32>{3, 1, 2, 0}));
}

void TestSimulatorFaults::waitingEndsWhenTheCallComes()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_SIMULATOR_PATH),
        QStringLiteral(OSTREL_SIMULATOR_INTERFACE), QStringLiteral("WaitForCalls"));
    call.setArguments({QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                       QStringLiteral("UpdateWindowStatus"), 2U});
    const QDBusPendingCall waiting = QDBusConnection::sessionBus().asyncCall(call);
    reportWindow();
    QVERIFY(!waiting.isFinished());
    reportWindow();
    waitUntil([&] { return waiting.isFinished(); });
    QVERIFY(!waiting.isError());
}

void TestSimulatorFaults::dyingEndsTheProcess()
{
    m_simulator->windowStatus().dieInNext();
    QVERIFY(reportWindow().error);
    QCOMPARE(m_simulator->waitForEnd(), 1);
    m_simulator->start();
    QCOMPARE(reportWindow().state, 1U);
}

void TestSimulatorFaults::resetForgetsEverything()
{
    m_simulator->windowStatus().holdNext(1);
    WindowManagement windows;
    Outcomes outcomes;
    const QObject context;
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, &context, outcomes.callback());
    m_simulator->windowStatus().waitForHeld(1);
    m_simulator->windowStatus().delayNext(300);
    windows.updateWindowStatus(QStringLiteral("w"), 1, 2, 3, &context, outcomes.callback());
    m_simulator->windowStatus().waitForCalls(2);
    m_simulator->windowStatus().failNext(QStringLiteral("a.b"), QStringLiteral("forgotten"));
    m_simulator->reset();

    QVERIFY(m_simulator->calls().isEmpty());
    QCOMPARE(busctlDesk(*m_bus, QStringLiteral("Windows")),
             QStringLiteral("{\"type\":\"a(siii)\",\"data\":[[]]}"));
    const QDBusMessage release = m_simulator->desk(
        QStringLiteral("Release"),
        {QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE), QStringLiteral("UpdateWindowStatus"),
         QVariant::fromValue(QList<uint>{0})});
    QCOMPARE(release.errorMessage(),
             QStringLiteral("0 held answers; 0 is out of range or named twice"));
    // On a slow machine the delay has passed before the reset.
    reportWindow();
    const int earlier = outcomes.size();
    // A delay that began later has passed when the forgotten one would have.
    m_simulator->windowStatus().delayNext(400);
    QVERIFY(!reportWindow().error);
    QCOMPARE(outcomes.size(), earlier);
}

void TestSimulatorFaults::refusesWhatItDoesNotKnow_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");

    const QString interface = QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE);
    const QString method = QStringLiteral("UpdateWindowStatus");
    const QString invalid = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
    for (const char *const desk : {"IgnoreNext", "DieInNext"}) {
        QTest::addRow("%s of an unknown method", desk)
            << QString::fromLatin1(desk) << QVariantList{interface, QStringLiteral("Nonsense")}
            << invalid
            << QStringLiteral("The service has no method \"Nonsense\" in an interface \"%1\"")
                   .arg(interface);
    }
    QTest::newRow("unknown interface")
        << QStringLiteral("HoldNext") << QVariantList{QStringLiteral("a.b"), method, 1U} << invalid
        << QStringLiteral("The service has no method \"%1\" in an interface \"a.b\"").arg(method);
    QTest::newRow("the desk itself")
        << QStringLiteral("IgnoreNext")
        << QVariantList{QStringLiteral(OSTREL_SIMULATOR_INTERFACE), QStringLiteral("Calls")}
        << invalid
        << QStringLiteral("The service has no method \"Calls\" in an interface \"%1\"")
               .arg(QStringLiteral(OSTREL_SIMULATOR_INTERFACE));
    for (const char *const name : {"", "one", "a..b", "a.1b", "a.b-c", "a.b\n"}) {
        QTest::addRow("error name \"%s\"", name)
            << QStringLiteral("FailNext")
            << QVariantList{interface, method, QString::fromLatin1(name), QStringLiteral("text")}
            << invalid << QStringLiteral("\"%1\" is no error name").arg(QLatin1String(name));
    }
    QTest::newRow("a delay beyond counting")
        << QStringLiteral("DelayNext") << QVariantList{interface, method, 4294967295U} << invalid
        << QStringLiteral("4294967295 milliseconds are too many");
    QTest::newRow("releasing what is not held")
        << QStringLiteral("Release")
        << QVariantList{interface, method, QVariant::fromValue(QList<uint>{0})} << invalid
        << QStringLiteral("0 held answers; 0 is out of range or named twice");
    QTest::newRow("unknown method") << QStringLiteral("Nonsense") << QVariantList()
                                    << QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")
                                    << QStringLiteral("No method \"Nonsense\" in the interface %1")
                                           .arg(QStringLiteral(OSTREL_SIMULATOR_INTERFACE));
    QTest::newRow("wrong signature")
        << QStringLiteral("HoldNext") << QVariantList{interface, method, 1} << invalid
        << QStringLiteral("HoldNext takes \"ssu\", not \"ssi\"");
}

void TestSimulatorFaults::refusesWhatItDoesNotKnow()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    const QDBusMessage answer = m_simulator->desk(method, arguments);
    QCOMPARE(answer.type(), QDBusMessage::ErrorMessage);
    QTEST(answer.errorName(), "error");
    QTEST(answer.errorMessage(), "message");
    // What was refused has no effect.
    QCOMPARE(reportWindow().state, 1U);
}

// People have other tools, too.
void TestSimulatorFaults::worksWithGdbus()
{
    const auto gdbus = [this](const QStringList &call) {
        return run(
            QStringLiteral("gdbus"),
            QStringList{QStringLiteral("call"), QStringLiteral("--timeout=%1").arg(forever / 1000),
                        QStringLiteral("--address"), m_bus->address(), QStringLiteral("--dest"),
                        QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral("--object-path"),
                        QStringLiteral(OSTREL_SIMULATOR_PATH), QStringLiteral("--method")}
                + call);
    };
    const QString desk = QStringLiteral(OSTREL_SIMULATOR_INTERFACE ".");
    const Result fail = gdbus({desk + QStringLiteral("FailNext"),
                               QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                               QStringLiteral("UpdateWindowStatus"), QStringLiteral("a.b"),
                               QStringLiteral("said gdbus")});
    QCOMPARE(fail.output, QStringLiteral("()\n"));
    QCOMPARE(reportWindow(QStringLiteral("main"), 1, 2, 3).error.message(),
             QStringLiteral("said gdbus"));
    const Result calls = gdbus({desk + QStringLiteral("Calls")});
    QCOMPARE(calls.output,
             QStringLiteral("([('%1', '%2', 'UpdateWindowStatus', 'siii', "
                            "[<'main'>, <1>, <2>, <3>])],)\n")
                 .arg(QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
                      QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE)));
}

OSTREL_TEST_MAIN(TestSimulatorFaults)

#include "tst_simulator_faults.moc"
