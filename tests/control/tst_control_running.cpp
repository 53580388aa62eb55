// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "quiet_test.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/Testing/Main>

using Ostrel::Control;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;

// The list of running applications and services.
class TestControlRunning : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void sendsNoArguments_data() { addForms(); }
    void sendsNoArguments();
    void returnsTheRecordsInTheirOrder_data() { addForms(); }
    void returnsTheRecordsInTheirOrder();
    void emptyListsReplaceEarlierRecords();
    void everyErrorNameGivesFailed_data();
    void everyErrorNameGivesFailed();
    void fewerThanTwoArgumentsBreakTheContract_data();
    void fewerThanTwoArgumentsBreakTheContract();
    void valuesOfOtherTypesGiveDefaults_data();
    void valuesOfOtherTypesGiveDefaults();
    void moreThanTwoArgumentsAreIgnored();
    void copiesOfTheVectorsKeepTheirRecords();

private:
    // Makes the service answer the next call with two values in busctl's form.
    void answer(const char *applicationsSignature, const char *applications,
                const char *servicesSignature, const char *services) const;
    static void addForms();
    // Makes the request with vectors that hold records already.
    Error ask(bool blocking = true);

    QVector<RunningApplication> m_applications;
    QVector<RunningService> m_services;
};

void TestControlRunning::answer(const char *applicationsSignature, const char *applications,
                                const char *servicesSignature, const char *services) const
{
    busctlDesk(m_bus, "AnswerNext",
               QStringList{"ssav", OSTREL_CONTROL_INTERFACE, "GetRunningApplications", "2",
                           applicationsSignature}
                   + wordsOf(applications) + QStringList(servicesSignature) + wordsOf(services));
}

void TestControlRunning::addForms()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("with a callback") << false;
}

Error TestControlRunning::ask(bool blocking)
{
    m_applications = QVector<RunningApplication>(
        2, {"old", 1, Ostrel::ApplicationState(2), Ostrel::ApplicationKind(3), {}});
    m_services = QVector<RunningService>(1, {"old", "s", 4, Ostrel::ServiceState(5), {}});
    if (blocking) {
        return Control().getRunningApplications(m_applications, m_services);
    }
    std::optional<Error> result;
    Control().getRunningApplications(
        this, [this, &result](const auto &applications, const auto &services, const Error &error) {
            m_applications = applications;
            m_services = services;
            result = error;
        });
    waitUntil([&result] { return result.has_value(); });
    return *result;
}

void TestControlRunning::sendsNoArguments()
{
    QFETCH(const bool, blocking);
    ask(blocking);
    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.at(0).path, OSTREL_SERVICE_PATH "/Control1");
    QCOMPARE(calls.at(0).interface, OSTREL_SERVICE_NAME ".Control1");
    QCOMPARE(calls.at(0).member, "GetRunningApplications");
    QCOMPARE(calls.at(0).signature, QString());
}

void TestControlRunning::returnsTheRecordsInTheirOrder()
{
    QFETCH(const bool, blocking);
    answer("a(siuua{sv})", "3 b.b 2 3 4294967295 1 k s v a.a -1 255 0 0 b.b 3 0 1 0",
           "a(ssiua{sv})", "2 a.a two -7 4294967295 0 a.a one 8 0 2 x i 1 y b true");
    const Error error = ask(blocking);
    QCOMPARE(error.code(), Error::NoError);
    QVERIFY(error.message().isNull());
    QCOMPARE(text(m_applications), "b.b 2 3 4294967295 {k=v}; a.a -1 255 0 {}; b.b 3 0 1 {}");
    QCOMPARE(text(m_services), "a.a two -7 4294967295 {}; a.a one 8 0 {x=1,y=true}");
}

void TestControlRunning::emptyListsReplaceEarlierRecords()
{
    answer("a(siuua{sv})", "0", "a(ssiua{sv})", "0");
    QCOMPARE(ask().code(), Error::NoError);
    QVERIFY(m_applications.isEmpty());
    QVERIFY(m_services.isEmpty());
}

void TestControlRunning::everyErrorNameGivesFailed_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {OSTREL_ERROR_PREFIX "NoError", OSTREL_ERROR_PREFIX "HandlerFailed",
          OSTREL_ERROR_PREFIX "ApplicationNotRunning", "org.freedesktop.DBus.Error.AccessDenied",
          "org.freedesktop.DBus.Error.Failed", "com.example.Other"}) {
        QTest::newRow(name) << name;
    }
}

void TestControlRunning::everyErrorNameGivesFailed()
{
    QFETCH(QString, name);
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications")
        .failNext(name, "what went wrong");
    const Error error = ask();
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.message(), "what went wrong");
    QCOMPARE(text(m_applications), "old 1 2 3 {}; old 1 2 3 {}");
    QCOMPARE(text(m_services), "old s 4 5 {}");
}

void TestControlRunning::fewerThanTwoArgumentsBreakTheContract_data()
{
    QTest::addColumn<QVariantList>("values");
    QTest::newRow("none") << QVariantList();
    QTest::newRow("one") << QVariantList{"x"};
}

// With assertions the process aborts, so it is another process that makes the request.
void TestControlRunning::fewerThanTwoArgumentsBreakTheContract()
{
    QFETCH(QVariantList, values);
#if !defined(QT_NO_DEBUG)
    if (!qEnvironmentVariableIsSet("BREAK_THE_CONTRACT")) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("BREAK_THE_CONTRACT", "1");
        const Result result =
            run(QCoreApplication::applicationFilePath(),
                {QString("fewerThanTwoArgumentsBreakTheContract:%1").arg(QTest::currentDataTag())},
                environment);
        QCOMPARE(result.exitStatus, -1);
        QVERIFY2(result.output.contains("ASSERT failure in QList<T>::at: \"index out of range\""),
                 qPrintable(result.output));
        return;
    }
#endif
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications").answerNext(values);
    const Error error = ask();
    QCOMPARE(error.code(), Error::Failed);
    QCOMPARE(error.message(), "The reply has fewer than two arguments");
    QCOMPARE(text(m_applications), "old 1 2 3 {}; old 1 2 3 {}");
    QCOMPARE(text(m_services), "old s 4 5 {}");
}

void TestControlRunning::valuesOfOtherTypesGiveDefaults_data()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("applications");
    QTest::addColumn<QString>("services");

    const auto row = [](const char *signature, const char *value, const char *applications,
                        const char *services) {
        QTest::addRow("%s: %s", signature, value) << signature << value << applications << services;
    };
    for (const Row &each : andOthers({}, "")) {
        row(each.signature, each.value, "", "");
    }
    row("ai", "2 1 2", "", "");
    row("(si)", "x 1", "", "");
    row("((siuua{sv}))", "x 1 2 3 0", "", "");
    row("a(ss)", "1 x y", "x 0 0 0 {}", "x y 0 0 {}");
    row("a(s)", "2 x y", "x 0 0 0 {}; y 0 0 0 {}", "x  0 0 {}; y  0 0 {}");
    row("a(siuu)", "1 x 1 2 3", "x 1 2 3 {}", "x  0 3 {}");
    row("a(siuua{ss})", "1 x 1 2 3 1 k v", "x 1 2 3 {}", "x  0 3 {}");
    row("a(siuua{sv}s)", "1 x 1 2 3 0 y", "x 1 2 3 {}", "x  0 3 {}");
    row("aa{sv}", "1 1 k i 1", "", "");
    row("aas", "1 1 x", "", "");
}

void TestControlRunning::valuesOfOtherTypesGiveDefaults()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    const QByteArray type = signature.toLatin1();
    const QByteArray content = value.toLatin1();
    answer(type.constData(), content.constData(), type.constData(), content.constData());
    QCOMPARE(ask().code(), Error::NoError);
    QTEST(text(m_applications), "applications");
    QTEST(text(m_services), "services");
}

void TestControlRunning::moreThanTwoArgumentsAreIgnored()
{
    m_simulator.faults(OSTREL_CONTROL_INTERFACE, "GetRunningApplications")
        .answerNext({1, "x", "y"});
    QCOMPARE(ask().code(), Error::NoError);
    QVERIFY(m_applications.isEmpty());
    QVERIFY(m_services.isEmpty());
}

void TestControlRunning::copiesOfTheVectorsKeepTheirRecords()
{
    QVector<RunningApplication> applications(1, RunningApplication{});
    const QVector<RunningApplication> shared = applications;
    QVector<RunningService> services;
    answer("a(siuua{sv})", "2 a.a 1 1 1 0 b.b 2 2 2 0", "a(ssiua{sv})", "0");
    QCOMPARE(Control().getRunningApplications(applications, services).code(), Error::NoError);
    QCOMPARE(applications.size(), 2);
    QCOMPARE(text(shared), " 0 0 0 {}");
}

OSTREL_TEST_MAIN(TestControlRunning)

#include "tst_control_running.moc"
