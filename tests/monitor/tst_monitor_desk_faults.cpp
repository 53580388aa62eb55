// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "desk_test.h"

// What the user arranges for the next calls, seen by the calls that come.
class TestMonitorDeskFaults : public DeskTest
{
    Q_OBJECT

private Q_SLOTS:
    void offersEveryMethodOfTheService();
    void nextCallFailsWithTheChosenError();
    void nextCallFailsWithAnErrorOfAnyName();
    void nextCallFailsWithValues();
    void nextCallIsDelayed();
    void callsAreHeldAndReleasedInTheEnteredOrder();
    void nextCallIsNeverAnswered();
    void nextCallReturnsOtherValues();
    void nextCallEndsTheService();
    void saysAtTheFieldWhatIsWrong_data();
    void saysAtTheFieldWhatIsWrong();
    void showsWhatTheDeskRefuses();
};

void TestMonitorDeskFaults::offersEveryMethodOfTheService()
{
    openDesk();
    QStringList methods;
    auto *box = child<QComboBox>("Method");
    for (int i = 0; i < box->count(); ++i) {
        methods.append(box->itemText(i));
    }
    QCOMPARE(methods,
             QStringList({"Control1.GetRunningApplications", "Control1.Start",
                          "Control1.StartDebug", "Control1.Terminate",
                          "TaskInvoker1.RegisterInvoker", "TaskInvokerSession1.Start",
                          "TaskInvokerSession1.Stop", "WindowManagement1.UpdateWindowStatus"}));
}

void TestMonitorDeskFaults::nextCallFailsWithTheChosenError()
{
    openDesk();
    choose("Method", "Control1.Start");
    choose("Error", "NotSupported");
    fill("Message", "not today");
    click("Arrange", "The next call of Control1.Start fails");
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    start("demo.Viewer", outcomes);
    waitUntil([&] { return outcomes.size() == 2; });
    QCOMPARE(outcomes,
             QStringList(
                 {"org.freedesktop.DBus.Error.NotSupported not today", "demo.Viewer.instance_1"}));
}

void TestMonitorDeskFaults::nextCallFailsWithAnErrorOfAnyName()
{
    openDesk();
    QStringList outcomes;
    fill("Error", "com.example.Odd");
    fill("Message", "odd");
    // By the keyboard alone.
    QTest::keyClick(child<QLineEdit>("Message"), Qt::Key_Return);
    waitUntil([this] {
        return window().statusBar()->currentMessage() == "The next call of Control1.Start fails";
    });
    start("demo.Viewer", outcomes);
    // Without a dot it is one of the service's errors.
    fill("Error", "Unheard");
    click("Arrange", "The next call of Control1.Start fails");
    start("demo.Viewer", outcomes);
    waitUntil([&] { return outcomes.size() == 2; });
    QCOMPARE(outcomes, QStringList({"com.example.Odd odd", OSTREL_ERROR_PREFIX "Unheard odd"}));
}

void TestMonitorDeskFaults::nextCallFailsWithValues()
{
    openDesk();
    choose("Next call", "fails with values");
    fill("Error", "HandlerNotFound");
    fill("Values", "\"first\", {\"type\": \"u\", \"data\": 2}");
    click("Arrange", "The next call of Control1.Start fails");
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH,
                                       OSTREL_CONTROL_INTERFACE, "Start")
        << "demo.Viewer");
    QCOMPARE(reply.errorName(), QString(OSTREL_ERROR_PREFIX "HandlerNotFound"));
    QCOMPARE(reply.signature(), QString("su"));
    QCOMPARE(reply.arguments(), QVariantList({"first", 2U}));
}

void TestMonitorDeskFaults::nextCallIsDelayed()
{
    openDesk();
    choose("Next call", "is delayed");
    set("Delay", 1000000000);
    click("Arrange", "The next call of Control1.Start is delayed");
    set("Delay", 1);
    click("Arrange", "The next call of Control1.Start is delayed");
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    start("demo.Clock", outcomes);
    waitUntil([&] { return outcomes.size() == 1; });
    QCOMPARE(outcomes, QStringList({"demo.Clock.instance_1"}));
    // The first was carried out, too.
    waitForRows({0}, {"demo.Clock", "demo.Viewer"});
}

void TestMonitorDeskFaults::callsAreHeldAndReleasedInTheEnteredOrder()
{
    openDesk();
    choose("Next call", "is held");
    set("How many", 2);
    click("Arrange", "The next calls of Control1.Start are held: 2");
    choose("Kind", "held replies");
    set("Count", 2);
    QTest::mouseClick(button("Wait"), Qt::LeftButton);
    QVERIFY(texts().contains("Waiting for 2 held replies of Control1.Start"));
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    // The other program might run first.
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "Start").waitForHeld(1);
    start("demo.Clock", outcomes);
    waitUntil([this] { return texts().contains("There are 2 held replies of Control1.Start"); });
    QCOMPARE(outcomes, QStringList());

    fill("Indexes", "1, 0");
    click("Release", "Replies of Control1.Start have been sent");
    waitUntil([&] { return outcomes.size() == 2; });
    QCOMPARE(outcomes, QStringList({"demo.Clock.instance_1", "demo.Viewer.instance_1"}));
    // The log counts the calls.
    choose("Kind", "calls");
    click("Wait", "There are 2 calls of Control1.Start");
}

void TestMonitorDeskFaults::nextCallIsNeverAnswered()
{
    openDesk();
    arrange("Control1.Start", "is never answered",
            "The next call of Control1.Start is never answered");
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    start("demo.Clock", outcomes);
    waitUntil([&] { return !outcomes.isEmpty(); });
    QCOMPARE(outcomes, QStringList({"demo.Clock.instance_1"}));
    QCOMPARE(calls("Start"), QStringList({"demo.Viewer", "demo.Clock"}));
}

void TestMonitorDeskFaults::nextCallReturnsOtherValues()
{
    openDesk();
    choose("Next call", "returns other values");
    // The types that the method has are there.
    QCOMPARE(child<QLineEdit>("Types")->text(), QString("sa{sv}"));
    fill("Values", "\"made.Up\", {\"Number\": 1}");
    click("Arrange", "The next call of Control1.Start returns other values");
    fill("Values", "7");
    fill("Types", "u");
    click("Arrange", "The next call of Control1.Start returns other values");
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    start("demo.Viewer", outcomes);
    waitUntil([&] { return outcomes.size() == 2; });
    QCOMPARE(outcomes.at(0), QString("made.Up"));
    QVERIFY2(outcomes.at(1).contains("InvalidSignature"), qPrintable(outcomes.at(1)));
    choose("Method", "Control1.Terminate");
    QCOMPARE(child<QLineEdit>("Types")->text(), QString());
}

void TestMonitorDeskFaults::nextCallEndsTheService()
{
    openDesk();
    arrange("Control1.Start", "ends the service",
            "The next call of Control1.Start ends the service");
    QStringList outcomes;
    start("demo.Viewer", outcomes);
    QCOMPARE(m_simulator.waitForEnd(), 1);
    waitUntil([&] { return !outcomes.isEmpty() && !pages().isEnabled(); });
    QVERIFY2(outcomes.at(0).contains("NoReply"), qPrintable(outcomes.at(0)));
}

void TestMonitorDeskFaults::saysAtTheFieldWhatIsWrong_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("problem");
    QTest::newRow("error") << "fails"
                           << "Error"
                           << "no error"
                           << "This is no name of an error";
    QTest::newRow("JSON")
        << "returns other values"
        << "Values"
        << "demo.Viewer"
        << "This is no JSON: illegal number. Separate values by commas; strings are in "
           "quotation marks";
    QTest::newRow("end of the JSON") << "fails with values"
                                     << "Values"
                                     << "1], [2"
                                     << "This is no JSON: garbage at the end of the document. "
                                        "Separate values by commas; strings "
                                        "are in quotation marks";
    QTest::newRow("type") << "returns other values"
                          << "Values"
                          << "1, {}"
                          << "Value 1: takes a string, not a number";
    QTest::newRow("number of values") << "returns other values"
                                      << "Values"
                                      << "\"a\""
                                      << "What is entered takes the values of \"sa{sv}\", not 1";
    QTest::newRow("name twice") << "fails with values"
                                << "Values"
                                << "{\"a\": 1, \"a\": 2}"
                                << "\"a\" is there already";
    QTest::newRow("nested") << "fails with values"
                            << "Values"
                            << "1, {\"a\": [null]}"
                            << "Value 2, .a[0]: is null, which no message holds";
    QTest::newRow("signature") << "fails with values"
                               << "Types"
                               << "a{"
                               << "\"a{\" is no signature";
    QTest::newRow("indexes") << "is held"
                             << "Indexes"
                             << "0, -1"
                             << "\"-1\" is no index; the oldest held reply has 0";
    QTest::newRow("no index") << "is held"
                              << "Indexes"
                              << " "
                              << "Enter the indexes of held replies; the oldest has 0";
}

void TestMonitorDeskFaults::saysAtTheFieldWhatIsWrong()
{
    QFETCH(QString, fault);
    QFETCH(QString, field);
    QFETCH(QString, text);
    QFETCH(QString, problem);
    openDesk();
    choose("Next call", fault);
    fill(field, text);
    QTest::mouseClick(button(field == "Indexes" ? "Release" : "Arrange"), Qt::LeftButton);
    QVERIFY2(texts().contains(problem), qPrintable(texts().join('\n')));
    const QString shownAt = field == "Types" ? QString("Values") : field;
    auto *line = child<QLineEdit>(shownAt);
    QVERIFY(line->hasFocus());
    QCOMPARE(line->accessibleDescription(), problem);
    QCOMPARE(messages(), QStringList());
    // Until it is changed.
    QTest::keyClicks(line, "1");
    QVERIFY(!texts().contains(problem));
    QCOMPARE(line->accessibleDescription(), QString());
}

void TestMonitorDeskFaults::showsWhatTheDeskRefuses()
{
    openDesk();
    fill("Indexes", "5");
    QTest::mouseClick(button("Release"), Qt::LeftButton);
    waitUntil([this] { return !messages().isEmpty(); });
    QCOMPARE(messages(),
             QStringList({"Cannot release replies of Control1.Start: InvalidArgs: 0 held answers; "
                          "5 is out of range or named twice"}));
    QCOMPARE(QApplication::activeModalWidget(), nullptr);
}

OSTREL_MONITOR_TEST_MAIN(TestMonitorDeskFaults)

#include "tst_monitor_desk_faults.moc"
