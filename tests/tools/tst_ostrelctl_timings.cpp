// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <csignal>
#include <optional>

namespace
{

const QString times = // clazy:exclude=non-pod-global-static
    "EVENT    MICROSECONDS\n"
    "reply    N\n"
    "started  N\n"
    "state    N\n";

// Each number of microseconds becomes "N".
QString withoutNumbers(const QString &output)
{
    static const QRegularExpression number("(?<=[ :])\\d+(?=[\\n ,}])");
    return QString(output).replace(number, "N");
}

QJsonObject toJson(const Result &result)
{
    return QJsonDocument::fromJson(result.output.toUtf8()).object();
}

} // namespace

// The command that measures starts.
class TestOstrelctlTimings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void timesComeAfterTheInstance();
    void signalsMayComeBeforeTheReply();
    void missingSignalsAreReported_data();
    void missingSignalsAreReported();
    void failedStartHasNoTimes();
    void repeatedStartsAreTerminated();
    void summaryIsThatOfTheRuns_data();
    void summaryIsThatOfTheRuns();
    void failedEndStopsTheMeasurement();
    void earlyEndDoesNotStopTheMeasurement();
    void wrongOptionsAreReported_data();
    void wrongOptionsAreReported();

private:
    Faults next(const char *method) const
    {
        return m_simulator->faults(OSTREL_CONTROL_INTERFACE, method);
    }

    void emitSignal(const QString &member, const QVariantList &arguments) const
    {
        m_simulator->emitSignal(OSTREL_CONTROL_PATH, OSTREL_CONTROL_INTERFACE, member, arguments);
    }

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestOstrelctlTimings::init()
{
    m_simulator.reset();
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestOstrelctlTimings::timesComeAfterTheInstance()
{
    const Result result = run(OSTRELCTL, {"start", "--timings", "demo.Viewer"});
    QCOMPARE(result.errors, QString());
    QCOMPARE(withoutNumbers(result.output), "demo.Viewer.instance_1\n" + times);
    QCOMPARE(result.exitStatus, 0);
    // The instance keeps running.
    QCOMPARE(m_simulator->calls().size(), 1);
}

void TestOstrelctlTimings::signalsMayComeBeforeTheReply()
{
    next("Start").holdNext(1);
    Process process(OSTRELCTL, {"start", "--timings", "--json", "demo.Viewer"});
    process.start();
    next("Start").waitForHeld(1);
    const QString instance = "demo.Viewer.instance_1";
    for (const QString &each : {QString("other"), instance}) {
        emitSignal("StateChanged", {each, QVariantMap{{"State", 4U}}});
        emitSignal("Started", {each, QVariantMap()});
    }
    next("Start").release({0});
    QCOMPARE(process.waitForEnd(), 0);
    const QJsonObject result = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    QCOMPARE(result["appInstanceId"].toString(), instance);
    QCOMPARE(result["details"]["AppId"].toString(), "demo.Viewer");
    const QJsonValue timings = result["timings"];
    for (const char *const name : {"started", "state"}) {
        const int time = timings[QLatin1String(name)].toInt();
        QVERIFY2(time > 0 && time <= timings["reply"].toInt(), name);
    }
}

void TestOstrelctlTimings::missingSignalsAreReported_data()
{
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("timings");
    QTest::addColumn<QString>("error");
    const QString none = R"({"reply":N,"started":null,"state":null})";
    const QString both = "\"Started\" and \"StateChanged\" did not come for x: ";
    QTest::newRow("ended without a state")
        << "Started"
        << "instance"
        << R"({"reply":N,"started":N,"state":null})"
        << "\"StateChanged\" did not come for x: the instance has ended";
    QTest::newRow("ended unannounced") << "StateChanged"
                                       << "instance"
                                       << R"({"reply":N,"started":null,"state":N})"
                                       << "\"Started\" did not come for x: the instance has ended";
    QTest::newRow("no service any more") << "Marker"
                                         << "service" << none << both + "the service has ended";
    QTest::newRow("no bus any more") << "Marker"
                                     << "bus" << none << both + "the message bus has ended";
    QTest::newRow("silence") << "Marker" << QString() << none << both + "waited for N s";
}

void TestOstrelctlTimings::missingSignalsAreReported()
{
    QFETCH(const QString, signal);
    QFETCH(const QString, end);
    QFETCH(const QString, timings);
    QFETCH(const QString, error);
    for (const bool asJson : {false, true}) {
        QStringList arguments{"start", "--timings", "a"};
        if (asJson) {
            arguments.append("--json");
        }
        if (end.isEmpty()) {
            arguments.append({"--timeout", "1"});
        }
        Result result;
        do {
            init();
            next("Start").answerNext({"x", QVariantMap()});
            Process process(OSTRELCTL, arguments);
            process.start();
            next("Start").waitForCalls(1);
            // It is sent after the reply.
            emitSignal(signal, {"x", QVariantMap{{"State", 1U}}});
            if (end == "instance") {
                emitSignal("Terminated", {"x", QVariantMap()});
            } else if (end == "service") {
                m_simulator->process().kill();
            } else if (end == "bus") {
                ::kill(pid_t(m_bus->processId()), SIGKILL);
            }
            QCOMPARE(process.waitForEnd(), 1);
            result.errors = QString::fromUtf8(process.readAllStandardError());
            result.output = QString::fromUtf8(process.readAllStandardOutput());
            // On a busy machine, not even the reply may come in that time.
        } while (result.errors.startsWith("error: Failed: Did not receive a reply"));
        QCOMPARE(result.errors.section('\n', 0, 0),
                 QString("error: Failed: " + error).replace("N s", "1 s"));
        if (asJson) {
            QCOMPARE(
                withoutNumbers(result.output),
                QString(R"({"appInstanceId":"x","details":{},"error":{"code":N,"message":"%1",)"
                        R"("name":"Failed"},"timings":%2})"
                        "\n")
                    .arg(QString(error).replace('"', "\\\""), timings));
        } else {
            const QJsonObject all =
                QJsonDocument::fromJson(QString(timings).replace('N', '1').toUtf8()).object();
            QString expected = "x\n" + times;
            for (const char *name : {"started", "state"}) {
                if (all[QLatin1String(name)].isNull()) {
                    expected.replace(QRegularExpression(QString("(%1 +)N").arg(name)), "\\1-");
                }
            }
            QCOMPARE(withoutNumbers(result.output), expected);
        }
    }
}

void TestOstrelctlTimings::failedStartHasNoTimes()
{
    const Result plain = run(OSTRELCTL, {"start", "--timings", "demo.Nonsense"});
    QCOMPARE(plain.errors, "error: HandlerNotFound: There is no application \"demo.Nonsense\"\n");
    QCOMPARE(plain.output, QString());
    QCOMPARE(plain.exitStatus, 1);
    const Result json = run(OSTRELCTL, {"start", "--timings", "--json", "demo.Nonsense"});
    QCOMPARE(toJson(json).keys(), QStringList("error"));
    const Result repeated =
        run(OSTRELCTL, QString("start --timings --json --repeat 2 demo.Nonsense").split(' '));
    QCOMPARE(toJson(repeated).keys(), (QStringList{"error", "runs"}));
    QCOMPARE(repeated.exitStatus, 1);
}

// Only one instance of this application can run.
void TestOstrelctlTimings::repeatedStartsAreTerminated()
{
    const Result result =
        run(OSTRELCTL, QString("start --timings --repeat 3 demo.Player").split(' '));
    QCOMPARE(result.errors, QString());
    static const QRegularExpression blanks(" +");
    QCOMPARE(withoutNumbers(result.output).replace(blanks, " "),
             "EVENT MINIMUM MEDIAN MAXIMUM\n"
             "reply N N N\n"
             "started N N N\n"
             "state N N N\n");
    QCOMPARE(result.exitStatus, 0);
    QStringList calls;
    for (const Call &call : m_simulator->calls()) {
        calls.append(call.member + ' ' + call.arguments.value(0).toString());
    }
    const QStringList each{"Start demo.Player", "Terminate demo.Player"};
    QCOMPARE(calls, each + each + each);
}

void TestOstrelctlTimings::summaryIsThatOfTheRuns_data()
{
    QTest::addColumn<int>("runs");
    QTest::newRow("odd") << 3;
    QTest::newRow("even") << 4;
}

void TestOstrelctlTimings::summaryIsThatOfTheRuns()
{
    QFETCH(const int, runs);
    const Result result = run(
        OSTRELCTL, QString("start --timings --json --repeat %1 demo.Viewer").arg(runs).split(' '));
    QCOMPARE(result.exitStatus, 0);
    const QJsonObject document = toJson(result);
    const QJsonArray all = document["runs"].toArray();
    QCOMPARE(all.size(), runs);
    QCOMPARE(all.at(runs - 1)["appInstanceId"].toString(),
             QString("demo.Viewer.instance_%1").arg(runs));
    for (const char *const name : {"reply", "started", "state"}) {
        QVector<int> numbers;
        for (const QJsonValue &each : all) {
            numbers.append(each["timings"][QLatin1String(name)].toInt());
        }
        std::sort(numbers.begin(), numbers.end());
        QVERIFY(numbers.constFirst() > 0);
        const int median = runs == 3 ? numbers.at(1) : (numbers.at(1) + numbers.at(2)) / 2;
        const QJsonObject expected{{"minimum", numbers.constFirst()},
                                   {"median", median},
                                   {"maximum", numbers.constLast()}};
        QCOMPARE(document["timings"][QLatin1String(name)].toObject(), expected);
    }
}

void TestOstrelctlTimings::failedEndStopsTheMeasurement()
{
    next("Terminate").failNext(OSTREL_ERROR_PREFIX "HandlerFailed", "no");
    const Result result =
        run(OSTRELCTL, QString("start --timings --json --repeat 3 demo.Viewer").split(' '));
    QCOMPARE(result.errors, "error: HandlerFailed: no\n");
    QCOMPARE(result.exitStatus, 1);
    // The start was complete.
    QCOMPARE(toJson(result)["runs"].toArray().size(), 1);
}

void TestOstrelctlTimings::earlyEndDoesNotStopTheMeasurement()
{
    next("Terminate").failNext(OSTREL_ERROR_PREFIX "ApplicationNotRunning", "gone");
    const Result result =
        run(OSTRELCTL, QString("start --timings --json --repeat 2 demo.Viewer").split(' '));
    QCOMPARE(result.errors, QString());
    QCOMPARE(toJson(result)["runs"].toArray().size(), 2);
}

void TestOstrelctlTimings::wrongOptionsAreReported_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing to repeat") << "--repeat 2"
                                       << "--repeat needs --timings";
    for (const char *number : {"0", "-1", "x", "1.5", "100001"}) {
        QTest::newRow(number)
            << QString("--timings --repeat %1").arg(number)
            << QString("--repeat takes a whole number from 1 to 100000, not \"%1\"").arg(number);
    }
}

void TestOstrelctlTimings::wrongOptionsAreReported()
{
    QFETCH(const QString, options);
    QFETCH(const QString, error);
    const Result result = run(OSTRELCTL, QStringList{"start", "demo.Viewer"} + options.split(' '));
    QCOMPARE(result.errors,
             QString("ostrelctl start: %1\nTry 'ostrelctl start --help'.\n").arg(error));
    QCOMPARE(result.exitStatus, 2);
    QCOMPARE(m_simulator->calls().size(), 0);
}

OSTREL_TEST_MAIN(TestOstrelctlTimings)

#include "tst_ostrelctl_timings.moc"
