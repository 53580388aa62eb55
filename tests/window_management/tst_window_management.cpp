// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "error_names.h"
#include "outcomes.h"
#include "quiet_test.h"
#include "warnings.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtCore/QMetaObject>
#include <QtCore/QPoint>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusVariant>

#include <limits>

using Ostrel::ApplicationState;
using Ostrel::Error;
using Ostrel::WindowManagement;

// A program reports the status of its windows. The service answers from its own process.
class TestWindowManagement : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void classAddsNoSignalsOrProperties();
    void constructionSendsNothing();
    void sendsItsArgumentsUnchanged_data();
    void sendsItsArgumentsUnchanged();
    void returnsBeforeTheCallback();
    void callbackReceivesTheState_data();
    void callbackReceivesTheState();
    void furtherValuesInAReplyAreAccepted();
    void otherRepliesAreFailures_data();
    void otherRepliesAreFailures();
    void serviceErrorsAreMapped_data();
    void serviceErrorsAreMapped();
    void eachCallGetsItsCallbackOnce();
    void callbacksRunInTheOrderOfTheReplies();
    void emptyCallbackThrows_data();
    void emptyCallbackThrows();
};

void TestWindowManagement::classAddsNoSignalsOrProperties()
{
    const QMetaObject &meta = WindowManagement::staticMetaObject;
    QCOMPARE(meta.className(), "Ostrel::WindowManagement");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());

    QObject parent;
    auto *windows = new WindowManagement(&parent);
    QCOMPARE(windows->parent(), &parent);
    QCOMPARE(windows->metaObject(), &meta);
    QVERIFY(windows->qt_metacast("Ostrel::WindowManagement") != nullptr);
    QVERIFY(windows->children().isEmpty());
    QCOMPARE(sizeof(WindowManagement), sizeof(QObject) + sizeof(void *));

    const WindowManagement orphan;
    QVERIFY(orphan.parent() == nullptr);
}

void TestWindowManagement::constructionSendsNothing()
{
    {
        const WindowManagement windows;
    }
    reportWindow();
    QCOMPARE(m_simulator.calls().size(), 1);
}

void TestWindowManagement::sendsItsArgumentsUnchanged_data()
{
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("arg1");
    QTest::addColumn<int>("arg2");

    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    QTest::newRow("plain") << "main" << 1 << 2 << 3;
    QTest::newRow("extremes") << "main" << least << most << -1;
    QTest::newRow("null string") << QString() << 0 << 0 << 0;
    QTest::newRow("blanks") << " a\tb\n" << 0 << 0 << 0;
    QTest::newRow("beyond ASCII") << "Fenster/ü \xf0\x9f\xaa\x9f" << 4 << 5 << 6;
    QTest::newRow("long") << QString(100000, 'x') << 1 << 1 << 1;
}

void TestWindowManagement::sendsItsArgumentsUnchanged()
{
    QFETCH(QString, window);
    QFETCH(int, status);
    QFETCH(int, arg1);
    QFETCH(int, arg2);
    reportWindow(window, status, arg1, arg2);

    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 1);
    const Call &call = calls.constFirst();
    QCOMPARE(call.path, OSTREL_SERVICE_PATH "/WindowManagement1");
    QCOMPARE(call.interface, OSTREL_SERVICE_NAME ".WindowManagement1");
    QCOMPARE(call.member, "UpdateWindowStatus");
    QCOMPARE(call.signature, "siii");
    QCOMPARE(call.arguments.size(), 4);
    QCOMPARE(call.arguments.at(0).toString(), window.isNull() ? "" : window);
    QCOMPARE(call.arguments.at(1), QVariant(status));
    QCOMPARE(call.arguments.at(2), QVariant(arg1));
    QCOMPARE(call.arguments.at(3), QVariant(arg2));
}

void TestWindowManagement::returnsBeforeTheCallback()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    WindowManagement windows;
    int callbacks = 0;
    const auto count = [&callbacks](ApplicationState, const Error &) { ++callbacks; };
    windows.updateWindowStatus("w", 1, 2, 3, this, count);

    // The reply is there, but only the event loop brings it.
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(1);
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    QCOMPARE(callbacks, 0);
    waitUntil([&] { return callbacks == 1; });
}

void TestWindowManagement::callbackReceivesTheState_data()
{
    QTest::addColumn<quint32>("state");
    QTest::newRow("zero") << 0U;
    QTest::newRow("two") << 2U;
    QTest::newRow("the number of a failure") << 255U;
    QTest::newRow("more than a byte") << 256U;
    QTest::newRow("more than an int") << 2147483648U;
    QTest::newRow("all bits") << 4294967295U;
}

void TestWindowManagement::callbackReceivesTheState()
{
    QFETCH(quint32, state);
    m_simulator.faults(Method::UpdateWindowStatus).answerNext({state});
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.state, state);
    QCOMPARE(outcome.error.code(), Error::NoError);
    QVERIFY(!outcome.error.isError());
    QVERIFY(outcome.error.message().isNull());
}

void TestWindowManagement::furtherValuesInAReplyAreAccepted()
{
    m_simulator.faults(Method::UpdateWindowStatus).answerNext({2U, "more", 3U});
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.state, 2U);
    QVERIFY(!outcome.error);
}

void TestWindowManagement::otherRepliesAreFailures_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("message");

    const auto row = [](const char *got, const QVariantList &values) {
        QTest::newRow(got)
            << values << QString("Unexpected reply signature: got \"%1\", expected \"u\"").arg(got);
    };
    row("", {});
    row("s", {"2"});
    row("i", {2});
    row("y", {QVariant::fromValue(uchar(2))});
    row("t", {2ULL});
    row("b", {true});
    row("d", {2.0});
    row("su", {"2", 2U});
    row("v", {QVariant::fromValue(QDBusVariant(2U))});
    row("as", {QStringList{"2"}});
    row("ay", {QByteArray("2")});
    row("au", {QVariant::fromValue(QList<uint>{2})});
    row("a{sv}", {QVariantMap{{"state", 2U}}});
    row("(ii)", {QPoint(2, 2)});
    row("o", {QVariant::fromValue(QDBusObjectPath("/two"))});
}

void TestWindowManagement::otherRepliesAreFailures()
{
    QFETCH(QVariantList, values);
    m_simulator.faults(Method::UpdateWindowStatus).answerNext(values);
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.state, 255U);
    QCOMPARE(outcome.error.code(), Error::Failed);
    QTEST(outcome.error.message(), "message");
}

void TestWindowManagement::serviceErrorsAreMapped_data()
{
    addErrorNames();
    const QString service = OSTREL_ERROR_PREFIX;
    const QString standard = OSTREL_STANDARD_ERROR_PREFIX;
    QTest::newRow("the service's AccessDenied") << service + "AccessDenied" << 1;
    QTest::newRow("the standard's HandlerFailed") << standard + "HandlerFailed" << 1;
    QTest::newRow("UnknownMethod") << standard + "UnknownMethod" << 1;
    QTest::newRow("prefix twice") << service + service + "HandlerFailed" << 3;
}

void TestWindowManagement::serviceErrorsAreMapped()
{
    QFETCH(QString, name);
    m_simulator.faults(Method::UpdateWindowStatus).failNext(name, "the service says so");
    const Outcome outcome = reportWindow();
    QCOMPARE(outcome.state, 255U);
    QTEST(int(outcome.error.code()), "code");
    QCOMPARE(outcome.error.message(), "the service says so");
}

void TestWindowManagement::eachCallGetsItsCallbackOnce()
{
    WindowManagement windows;
    QVector<quint32> states;
    for (int status = 0; status < 100; ++status) {
        windows.updateWindowStatus("w", status, 0, 0, this,
                                   [&states](ApplicationState state, const Error &error) {
                                       QVERIFY(!error);
                                       states.append(state);
                                   });
    }
    waitUntil([&] { return states.size() >= 100; });
    reportWindow("marker");

    QVector<quint32> expected;
    for (quint32 state = 0; state < 100; ++state) {
        expected.append(state);
    }
    QCOMPARE(states, expected);
}

void TestWindowManagement::callbacksRunInTheOrderOfTheReplies()
{
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(3);
    WindowManagement windows;
    QStringList order;
    for (const int status : {10, 11, 12}) {
        windows.updateWindowStatus(
            "w", status, 0, 0, this, [&order, status](ApplicationState state, const Error &error) {
                order.append(QString("%1:%2:%3").arg(status).arg(state).arg(error.code()));
            });
    }
    m_simulator.faults(Method::UpdateWindowStatus).waitForHeld(3);
    m_simulator.faults(Method::UpdateWindowStatus).release({2, 0, 1});
    waitUntil([&] { return order.size() == 3; });
    QCOMPARE(order, (QStringList{"12:12:0", "10:10:0", "11:11:0"}));
}

void TestWindowManagement::emptyCallbackThrows_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("success") << false;
    QTest::newRow("failure") << true;
}

void TestWindowManagement::emptyCallbackThrows()
{
#ifdef __ARM_EABI__
    QSKIP("no exception gets through GLib's event loop on 32-bit ARM");
#endif
    QFETCH(bool, fails);
    if (fails) {
        m_simulator.faults(Method::UpdateWindowStatus)
            .failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
    }
    // Qt warns of exceptions in event handlers; the library logs nothing.
    const Warnings warnings;
    WindowManagement windows;
    windows.updateWindowStatus("w", 1, 2, 3, this, nullptr);
    const auto runLoop = [] { waitUntil([] { return false; }); };
    QVERIFY_EXCEPTION_THROWN(runLoop(), std::bad_function_call);

    // The event loop and the object still work.
    QCOMPARE(reportWindow().state, 1U);
}

OSTREL_TEST_MAIN(TestWindowManagement)

#include "tst_window_management.moc"
