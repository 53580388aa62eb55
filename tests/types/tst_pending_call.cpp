// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"

#include "DBus/names_p.h"
#include "DBus/pending_call_p.h"

#include <Ostrel/Testing/Main>

#include <optional>

using Ostrel::watchPendingCall;

namespace
{

// What a handler received: the name of the error, its message and the values.
QStringList outcomeOf(const QDBusPendingCall &call)
{
    const QObject context;
    std::optional<QStringList> outcome;
    using Reply = QDBusPendingReply<uint>;
    watchPendingCall<Reply>(call, &context, [&outcome](const Reply &reply) {
        QStringList values{reply.error().name(), reply.error().message()};
        const QVariantList arguments = reply.reply().arguments();
        for (const QVariant &argument : arguments) {
            values.append(argument.toString());
        }
        outcome = values;
    });
    if (outcome) {
        qFatal("the handler runs at once");
    }
    waitUntil([&outcome] { return outcome.has_value(); });
    return *outcome;
}

} // namespace

// Calls that have finished before anyone watches them.
class TestPendingCall : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void finishedRepliesAreHandled();
    void finishedErrorsKeepTheirValues_data();
    void finishedErrorsKeepTheirValues();
    void localErrorsAreHandled();
    void localErrorsReachOtherThreads();
    void deletedContextIsNotCalled();
    void callsOnNoConnectionAreHandled();
    void repliesAreHandledInTheirOrder();

private:
    static QDBusPendingCall failedCall();
    static QDBusPendingCall sentCall(int status);
    static QDBusPendingCall finishedCall();
};

// Returns a call that failed before it was sent.
QDBusPendingCall TestPendingCall::failedCall()
{
    return QDBusPendingCall::fromError(QDBusError(QDBusError::Failed, "text"));
}

QDBusPendingCall TestPendingCall::sentCall(int status)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_WINDOW_MANAGEMENT_PATH,
                                       OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus");
    message << "w" << status << 2 << 3;
    return QDBusConnection::sessionBus().asyncCall(message);
}

QDBusPendingCall TestPendingCall::finishedCall()
{
    QDBusPendingCall call = sentCall(1);
    call.waitForFinished();
    return call;
}

void TestPendingCall::finishedRepliesAreHandled()
{
    QCOMPARE(outcomeOf(finishedCall()), (QStringList{QString(), QString(), "1"}));
}

void TestPendingCall::finishedErrorsKeepTheirValues_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QStringList>("outcome");
    const QString other = "a.b";
    const QString disconnected = OSTREL_STANDARD_ERROR_PREFIX "Disconnected";
    QTest::newRow("text") << other << QVariantList{"42"} << QStringList{other, "42", "42"};
    QTest::newRow("numbers") << other << QVariantList{42U, 7}
                             << QStringList{other, "42", "42", "7"};
    QTest::newRow("none") << other << QVariantList() << QStringList{other, QString()};
    QTest::newRow("the bus library's own name")
        << disconnected << QVariantList{42} << QStringList{disconnected, "42", "42"};
}

void TestPendingCall::finishedErrorsKeepTheirValues()
{
    QFETCH(QString, name);
    QFETCH(QVariantList, values);
    const QDBusMessage arranged = m_simulator.desk(
        "FailNextWith",
        {OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus", name, QVariant(values)});
    QCOMPARE(arranged.type(), QDBusMessage::ReplyMessage);
    QTEST(outcomeOf(finishedCall()), "outcome");
}

void TestPendingCall::localErrorsAreHandled()
{
    QCOMPARE(outcomeOf(failedCall()), (QStringList{OSTREL_STANDARD_ERROR_PREFIX "Failed", "text"}));
}

void TestPendingCall::localErrorsReachOtherThreads()
{
    QThread thread;
    auto *context = new QObject;
    connect(&thread, &QThread::finished, context, &QObject::deleteLater);
    context->moveToThread(&thread);
    QThread *ranIn = nullptr;
    QString message;
    using Reply = QDBusPendingReply<uint>;
    watchPendingCall<Reply>(failedCall(), context, [&](const Reply &reply) {
        ranIn = QThread::currentThread();
        message = reply.error().message();
        thread.quit();
    });
    thread.start();
    thread.wait();
    QCOMPARE(ranIn, &thread);
    QCOMPARE(message, "text");
}

void TestPendingCall::deletedContextIsNotCalled()
{
    using Reply = QDBusPendingReply<uint>;
    int calls = 0;
    {
        const QObject context;
        watchPendingCall<Reply>(failedCall(), &context, [&calls](const Reply &) { ++calls; });
    }
    outcomeOf(failedCall());
    QCOMPARE(calls, 0);
}

void TestPendingCall::callsOnNoConnectionAreHandled()
{
    QDBusConnection none("none");
    QCOMPARE(outcomeOf(none.asyncCall(QDBusMessage::createMethodCall("a.b", "/", QString(), "C"))),
             (QStringList{OSTREL_STANDARD_ERROR_PREFIX "Disconnected",
                          "Not connected to D-Bus server"}));
}

// The first reply is there before its call is watched. The second one comes later.
void TestPendingCall::repliesAreHandledInTheirOrder()
{
    using Reply = QDBusPendingReply<uint>;
    const QObject context;
    QStringList order;
    const auto handler = [&order](const Reply &reply) {
        order.append(QString::number(reply.value()));
    };
    watchPendingCall<Reply>(finishedCall(), &context, handler);
    m_simulator.faults(Method::UpdateWindowStatus).holdNext(1);
    QDBusPendingCall second = sentCall(2);
    watchPendingCall<Reply>(second, &context, handler);
    // No event loop runs here.
    m_simulator.desk("WaitForHeld", {OSTREL_WINDOW_MANAGEMENT_INTERFACE, "UpdateWindowStatus", 1U});
    m_simulator.faults(Method::UpdateWindowStatus).release({0});
    second.waitForFinished();
    QCOMPARE(order, QStringList());
    waitUntil([&] { return order.size() == 2; });
    QCOMPARE(order, (QStringList{"1", "2"}));
}

OSTREL_TEST_MAIN(TestPendingCall)

#include "tst_pending_call.moc"
