// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "error_names.h"
#include "quiet_test.h"
#include "record_rows.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

#include <memory>
#include <optional>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;

namespace
{

// Makes requests of a Control in one of their two forms, and waits for the result.
class Requests
{
public:
    explicit Requests(bool blocking)
        : m_blocking(blocking)
    {
    }

    Control::StartResult start(const QString &id)
    {
        return m_blocking ? m_control.start(id)
                          : awaited<Control::StartResult>([this, id](const auto &callback) {
                                m_control.start(id, &m_context, callback);
                            });
    }

    Control::StartResult startDebug(const QString &id, const DebugParams &params)
    {
        return m_blocking ? m_control.startDebug(id, params)
                          : awaited<Control::StartResult>([this, id, params](const auto &callback) {
                                m_control.startDebug(id, params, &m_context, callback);
                            });
    }

    Error terminate(const QString &id)
    {
        return m_blocking ? m_control.terminate(id)
                          : awaited<Error>([this, id](const auto &callback) {
                                m_control.terminate(id, &m_context, callback);
                            });
    }

private:
    template <typename Result, typename Request> static Result awaited(const Request &request)
    {
        std::optional<Result> result;
        request([&result](const Result &received) { result = received; });
        waitUntil([&result] { return result.has_value(); });
        return *result;
    }

    bool m_blocking;
    Control m_control;
    QObject m_context;
};

QString text(const Error &error)
{
    return QString("%1 %2").arg(error.code()).arg(error.message());
}

QString text(const Control::StartResult &result)
{
    return text(result.error) + result.appInstanceId + text(result.details);
}

} // namespace

// What the requests send and return, whether they block or call back. tst_control_running does the
// same for the list of applications.
class TestControlRequests : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void startSendsTheIdentifierAndReturnsTheReply_data() { addForms(); }
    void startSendsTheIdentifierAndReturnsTheReply();
    void startDebugSendsTheParametersAndReturnsTheReply_data() { addForms(); }
    void startDebugSendsTheParametersAndReturnsTheReply();
    void debugParametersArriveUnchanged_data();
    void debugParametersArriveUnchanged();
    void unsendableDebugParametersAreNotSent_data() { addForms(); }
    void unsendableDebugParametersAreNotSent();
    void terminateSendsTheIdentifier_data() { addForms(); }
    void terminateSendsTheIdentifier();
    void terminateAcceptsAnyReply_data() { addForms(); }
    void terminateAcceptsAnyReply();
    void errorNamesAreMappedToCodes_data();
    void errorNamesAreMappedToCodes();
    void repliesOfOtherTypesAreErrors_data();
    void repliesOfOtherTypesAreErrors();
    void furtherValuesInAReplyAreIgnored_data() { addForms(); }
    void furtherValuesInAReplyAreIgnored();
    void anyThreadMayHaveItsOwnControl();
    void noEventLoopRunsDuringABlockingCall();

private:
    static void addForms();

    Faults next(const char *method) const
    {
        return m_simulator.faults(OSTREL_CONTROL_INTERFACE, method);
    }

    // The only call that the service received: "object interface member signature".
    QString sent() const;
    QVariantList sentArguments() const { return m_simulator.calls().value(0).arguments; }
};

void TestControlRequests::addForms()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("with a callback") << false;
}

QString TestControlRequests::sent() const
{
    const QVector<Call> calls = m_simulator.calls();
    const Call call = calls.value(0);
    return calls.size() == 1
        ? QStringList{call.path, call.interface, call.member, call.signature}.join(' ')
        : QString("%1 calls").arg(calls.size());
}

void TestControlRequests::startSendsTheIdentifierAndReturnsTheReply()
{
    QFETCH(const bool, blocking);
    next("Start").answerNext({"demo.Viewer.instance_1", QVariantMap{{"Pid", 17}, {"Name", "n"}}});
    const Control::StartResult result = Requests(blocking).start("demo.Viewer \u00e9");
    QCOMPARE(sent(), OSTREL_SERVICE_PATH "/Control1 " OSTREL_SERVICE_NAME ".Control1 Start s");
    QCOMPARE(sentArguments(), QVariantList{"demo.Viewer \u00e9"});
    QCOMPARE(result.error.code(), Error::NoError);
    QVERIFY(result.error.message().isNull());
    QCOMPARE(result.appInstanceId, "demo.Viewer.instance_1");
    QCOMPARE(result.details, (QVariantMap{{"Pid", 17}, {"Name", "n"}}));
}

void TestControlRequests::startDebugSendsTheParametersAndReturnsTheReply()
{
    QFETCH(const bool, blocking);
    next("StartDebug").answerNext({"one", QVariantMap{{"Pid", 17}}});
    DebugParams params;
    params.setEnvironment({"A=1"});
    const Control::StartResult result = Requests(blocking).startDebug("demo.Viewer", params);
    QCOMPARE(sent(),
             OSTREL_SERVICE_PATH "/Control1 " OSTREL_SERVICE_NAME ".Control1 StartDebug sa{sv}");
    QCOMPARE(sentArguments().value(0), QVariant("demo.Viewer"));
    QCOMPARE(qdbus_cast<QVariantMap>(sentArguments().value(1)),
             (QVariantMap{{"environment", QStringList{"A=1"}}}));
    QCOMPARE(result.error.code(), Error::NoError);
    QVERIFY(result.error.message().isNull());
    QCOMPARE(result.appInstanceId, "one");
    QCOMPARE(text(result.details), "Pid=17");
}

void TestControlRequests::debugParametersArriveUnchanged_data()
{
    QTest::addColumn<QVariantMap>("given");
    QTest::addColumn<QVariantMap>("sent");

    QTest::newRow("nothing") << QVariantMap() << QVariantMap();
    const QVariantMap everything{
        {"applicationWrapper", QStringList{"w", "x y"}},
        {"commandLineParams", QStringList{"c"}},
        {"environment", QStringList{"A=1"}},
        {"firejailParams", QStringList()},
        {"sandbox", false},
        {"stdoutFile", "/o"},
        {"stderrFile", "/e"},
    };
    QTest::newRow("everything") << everything << everything;
    QTest::newRow("unknown key") << QVariantMap{{"other", 1}} << QVariantMap{{"other", 1}};
    // Other tests show what each kind of JSON becomes on the bus.
    QTest::newRow("JSON") << QVariantMap{{"list", QJsonArray{"a", "b"}},
                                         {"value", QJsonValue(true)}}
                          << QVariantMap{{"list", QStringList{"a", "b"}}, {"value", true}};
}

void TestControlRequests::debugParametersArriveUnchanged()
{
    QFETCH(const QVariantMap, given);
    next("StartDebug").answerNext({"i", QVariantMap()});
    QVERIFY(!Control().startDebug("demo.Viewer", DebugParams(given)).error);
    QTEST(qdbus_cast<QVariantMap>(sentArguments().value(1)), "sent");
}

void TestControlRequests::unsendableDebugParametersAreNotSent()
{
    QFETCH(const bool, blocking);
    const DebugParams params(QVariantMap{{"a", 1}, {"u", QUrl()}});
    const Control::StartResult result = Requests(blocking).startDebug("a.b", params);
    QCOMPARE(text(result), "1 Marshalling failed: \"u\" holds a value of type QUrl");
    QCOMPARE(m_simulator.calls().size(), 0);
}

void TestControlRequests::terminateSendsTheIdentifier()
{
    QFETCH(const bool, blocking);
    next("Terminate").answerNext({});
    const Error error = Requests(blocking).terminate("demo.Viewer.instance_1");
    QCOMPARE(error.code(), Error::NoError);
    QVERIFY(error.message().isNull());
    QCOMPARE(sent(), OSTREL_SERVICE_PATH "/Control1 " OSTREL_SERVICE_NAME ".Control1 Terminate s");
    QCOMPARE(sentArguments(), QVariantList{"demo.Viewer.instance_1"});
}

void TestControlRequests::terminateAcceptsAnyReply()
{
    QFETCH(const bool, blocking);
    next("Terminate").answerNext({QVariantList{1}, "x"});
    QCOMPARE(Requests(blocking).terminate("a").code(), Error::NoError);
}

void TestControlRequests::errorNamesAreMappedToCodes_data()
{
    addErrorNames();
}

void TestControlRequests::errorNamesAreMappedToCodes()
{
    QFETCH(const QString, name);
    QFETCH(const int, code);
    const QString message = "what went wrong \u00e9";
    const QString failure = QString("%1 %2").arg(code).arg(message);
    for (const bool blocking : {true, false}) {
        Requests requests(blocking);
        next("Start").failNext(name, message);
        QCOMPARE(text(requests.start("a")), failure);
        next("StartDebug").failNext(name, message);
        QCOMPARE(text(requests.startDebug("a", DebugParams())), failure);
        next("Terminate").failNext(name, message);
        QCOMPARE(text(requests.terminate("a")), failure);
    }
}

void TestControlRequests::repliesOfOtherTypesAreErrors_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("signature");

    const QString id = "id";
    QTest::newRow("nothing") << QVariantList() << QString();
    QTest::newRow("identifier alone") << QVariantList{id} << "s";
    QTest::newRow("array for details")
        << QVariantList{id, QVariant::fromValue(QList<int>{1})} << "sai";
    QTest::newRow("strings for details") << QVariantList{id, QStringList{id}} << "sas";
    QTest::newRow("number for identifier") << QVariantList{1, QVariantMap()} << "ia{sv}";
    QTest::newRow("other order") << QVariantList{QVariantMap(), id} << "a{sv}s";
}

void TestControlRequests::repliesOfOtherTypesAreErrors()
{
    QFETCH(const QVariantList, values);
    QFETCH(const QString, signature);
    const QString failure =
        QString("1 Unexpected reply signature: got \"%1\", expected \"sa{sv}\"").arg(signature);
    for (const bool blocking : {true, false}) {
        Requests requests(blocking);
        next("Start").answerNext(values);
        QCOMPARE(text(requests.start("a")), failure);
        next("StartDebug").answerNext(values);
        QCOMPARE(text(requests.startDebug("a", DebugParams())), failure);
    }
}

void TestControlRequests::furtherValuesInAReplyAreIgnored()
{
    QFETCH(const bool, blocking);
    next("Start").answerNext({"id", QVariantMap(), 1});
    QCOMPARE(Requests(blocking).start("a").appInstanceId, "id");
}

void TestControlRequests::anyThreadMayHaveItsOwnControl()
{
    next("Start").answerNext({"id", QVariantMap()});
    QString instance;
    const std::unique_ptr<QThread> thread(
        QThread::create([&instance] { instance = Control().start("a").appInstanceId; }));
    thread->start();
    thread->wait();
    QCOMPARE(instance, "id");
}

void TestControlRequests::noEventLoopRunsDuringABlockingCall()
{
    for (const char *method : {"Start", "StartDebug", "Terminate", "GetRunningApplications"}) {
        next(method).delayNext(50);
    }
    bool ran = false;
    QTimer::singleShot(0, this, [&ran] { ran = true; });
    Control control;
    const QString unknown = "no.such";
    QCOMPARE(control.start(unknown).error.code(), Error::HandlerNotFound);
    QCOMPARE(control.startDebug(unknown, DebugParams()).error.code(), Error::HandlerNotFound);
    QCOMPARE(control.terminate(unknown).code(), Error::ApplicationNotRunning);
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    QCOMPARE(control.getRunningApplications(applications, services).code(), Error::NoError);
    QVERIFY(!ran);
    waitUntil([&ran] { return ran; });
}

OSTREL_TEST_MAIN(TestControlRequests)

#include "tst_control_requests.moc"
