// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "busctl.h"
#include "quiet_test.h"
#include "test_bus.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>

namespace
{

const QString properties = "org.freedesktop.DBus.Properties";
const QString session = OSTREL_TASK_INVOKER_SESSION_INTERFACE;

QString pathOf(const QString &type)
{
    return OSTREL_TASK_INVOKER_SESSIONS_PATH + type;
}

} // namespace

// The simulator's tasks. busctl calls them, which shares no code with the simulator.
class TestSimulatorTasks : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void registrationMakesASession();
    void unknownTypesHaveNoTasks();
    void hintsTooDeepToBeListedAreRefused();
    void typesThatMakeNoPathAreRefused_data();
    void typesThatMakeNoPathAreRefused();
    void sessionsAreFoundByIntrospection();
    void startedTasksAreListed();
    void changesAreSentAfterTheReply();
    void wrongCallsAreRefused_data();
    void wrongCallsAreRefused();
    void propertiesCanOnlyBeRead_data();
    void propertiesCanOnlyBeRead();
    void faultsCanBeArrangedBeforeThereIsASession();
    void errorsMayCarryAnyValues();
    void resetForgetsTheSessions();

private:
    // Returns what busctl prints: the answer or the error.
    QString busctl(const QString &words) const;
    QString registered(const QString &type) const;
    QString start(const QString &arguments) const;
};

QString TestSimulatorTasks::busctl(const QString &words) const
{
    QStringList arguments = words.split(' ');
    arguments.replaceInStrings("''", QString());
    arguments.insert(1, OSTREL_SERVICE_NAME);
    const Result result = ::busctl(m_bus, arguments);
    return (result.output + result.errors).trimmed();
}

QString TestSimulatorTasks::registered(const QString &type) const
{
    return busctl(QString("call %1 %2 RegisterInvoker s %3")
                      .arg(OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, type));
}

QString TestSimulatorTasks::start(const QString &arguments) const
{
    return busctl(
        QString("call %1 %2 Start sa{sv}a{sv} %3").arg(pathOf("maintenance"), session, arguments));
}

void TestSimulatorTasks::registrationMakesASession()
{
    const QString answer =
        QString("oa{sv} \"%1\" 2 \"ActiveTasks\" a(sia{sv}) 0 \"AvailableTasks\" a(sa{sv}) 1 "
                "\"cleanup\" 1 \"Description\" s \"Removes old files\"")
            .arg(pathOf("maintenance"));
    QCOMPARE(registered("maintenance"), answer);
    QCOMPARE(registered("maintenance"), answer);
}

void TestSimulatorTasks::unknownTypesHaveNoTasks()
{
    QCOMPARE(registered("a/b_1"),
             QString("oa{sv} \"%1\" 2 \"ActiveTasks\" a(sia{sv}) 0 \"AvailableTasks\" "
                     "a(sa{sv}) 0")
                 .arg(pathOf("a/b_1")));
}

// The list of active tasks adds containers around the hints.
void TestSimulatorTasks::hintsTooDeepToBeListedAreRefused()
{
    const auto call = [](const QString &objectPath, const char *interface, const char *member,
                         const QVariantList &arguments) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, objectPath, interface, member);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    };
    call(OSTREL_TASK_INVOKER_PATH, OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker", {"sync"});
    const auto start = [&call](int lists) {
        QVariant value = 1;
        for (int i = 0; i < lists; ++i) {
            value = QVariantList{value}; // an array and a variant
        }
        return call(pathOf("sync"), OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start",
                    {"contacts", QVariantMap(), QVariantMap{{"Hint", value}}});
    };
    const QDBusMessage tooDeep = start(29);
    QCOMPARE(tooDeep.errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    QCOMPARE(tooDeep.errorMessage(), "A value is nested 66 deep, more than the 64 of a message");
    // What lists the hint adds eight containers.
    QCOMPARE(start((deepestMessage() - 8) / 2).errorName(), QString());
}

void TestSimulatorTasks::typesThatMakeNoPathAreRefused_data()
{
    QTest::addColumn<QString>("type");
    for (const char *const type : {"''", "a-b", "/", "a/", "/a", "a//b", "\xc3\xa9"}) {
        QTest::newRow(type) << type;
    }
}

void TestSimulatorTasks::typesThatMakeNoPathAreRefused()
{
    QFETCH(QString, type);
    QCOMPARE(
        registered(type),
        QString("Call failed: \"%1\" makes no object path").arg(type == "''" ? QString() : type));
}

void TestSimulatorTasks::sessionsAreFoundByIntrospection()
{
    registered("maintenance");
    registered("a/b");
    const QString tree = busctl("tree --list");
    for (const char *type : {"maintenance", "a", "a/b"}) {
        QVERIFY2(tree.split('\n').contains(pathOf(type)), qPrintable(tree));
    }
}

void TestSimulatorTasks::startedTasksAreListed()
{
    registered("maintenance");
    const QString activeTasks =
        QString("get-property %1 %2 ActiveTasks").arg(pathOf("maintenance"), session);
    QCOMPARE(busctl(activeTasks), "a(sia{sv}) 0");
    QCOMPARE(start("cleanup 1 Params as 1 x 2 User s me CGroups a{sv} 1 a ay 2 0 1"), "i 1");
    const QString listed = busctl(activeTasks);
    static const QRegularExpression record(
        "\\Aa\\(sia\\{sv\\}\\) 1 \"cleanup\" (\\d+) 2 \"CGroups\" a\\{sv\\} 1 \"a\" ay "
        "2 0 1 \"User\" s \"me\"\\z");
    const QRegularExpressionMatch match = record.match(listed);
    QVERIFY2(match.hasMatch(), qPrintable(listed));
    QVERIFY(QFile::exists("/proc/" + match.captured(1)));
    QCOMPARE(
        busctl(QString("call %1 %2 GetAll s %3").arg(pathOf("maintenance"), properties, session)),
        QString("a{sv} 2 \"ActiveTasks\" %1 \"AvailableTasks\" a(sa{sv}) 1 \"cleanup\" 1 "
                "\"Description\" s \"Removes old files\"")
            .arg(listed));
    // Another invoker of the type receives the change, too.
    QVERIFY(registered("maintenance").contains(listed));

    const QString stop = QString("call %1 %2 Stop s cleanup").arg(pathOf("maintenance"), session);
    QCOMPARE(busctl(stop), QString());
    QCOMPARE(busctl(activeTasks), "a(sia{sv}) 0");
    QCOMPARE(start("cleanup 0 0"), "i 2");
}

void TestSimulatorTasks::changesAreSentAfterTheReply()
{
    registered("maintenance");
    BusMonitor monitor(m_bus);
    const auto messagesUntil = [&monitor](const QString &member) {
        return monitor.messagesUntil(
            [&member](const QJsonObject &message) { return message.value("member") == member; });
    };
    start("cleanup 0 0");
    QVector<QJsonObject> messages = messagesUntil("PropertiesChanged");
    // The start fails, and changes nothing.
    start("cleanup 0 0");
    busctl(QString("call %1 %2 Stop s cleanup").arg(pathOf("maintenance"), session));
    messages += messagesUntil("PropertiesChanged");
    busctl("call /end a.b End");
    messages += messagesUntil("End");

    QStringList order;
    for (const QJsonObject &message : qAsConst(messages)) {
        const QJsonValue payload = message.value("payload");
        const QString member = message.value("member").toString();
        if (member == "Start" || member == "Stop") {
            order.append(member);
        } else if (member == "PropertiesChanged") {
            QCOMPARE(message.value("path").toString(), pathOf("maintenance"));
            QCOMPARE(message.value("interface").toString(), properties);
            QCOMPARE(payload["type"].toString(), "sa{sv}as");
            QCOMPARE(payload["data"][0].toString(), session);
            QCOMPARE(payload["data"][1].toObject().keys(), QStringList("ActiveTasks"));
            QCOMPARE(payload["data"][2].toArray(), QJsonArray());
            order.append(QString("changed to %1")
                             .arg(payload["data"][1]["ActiveTasks"]["data"].toArray().size()));
        } else if (message.value("sender") == messages.constLast().value("destination")
                   || message.value("type") == "error"
                   || (message.value("type") == "method_return"
                       && message.value("sender") != "org.freedesktop.DBus")) {
            order.append(message.value("type").toString());
        }
    }
    QCOMPARE(order,
             (QStringList{"Start", "method_return", "changed to 1", "Start", "error", "Stop",
                          "method_return", "changed to 0"}));
}

void TestSimulatorTasks::wrongCallsAreRefused_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");
    const QString service = OSTREL_ERROR_PREFIX;
    QTest::newRow("start of an unknown task")
        << "Start sa{sv}a{sv} none 0 0" << service + "HandlerNotFound"
        << "There is no task \"none\" of the type \"maintenance\"";
    QTest::newRow("stop of an unknown task")
        << "Stop s none" << service + "HandlerNotFound"
        << "There is no task \"none\" of the type \"maintenance\"";
    QTest::newRow("start of a running task")
        << "Start sa{sv}a{sv} cleanup 0 0" << service + "ApplicationAlreadyRunning"
        << "The task \"cleanup\" is running already";
    QTest::newRow("stop of a task that is not running")
        << "Stop s cleanup" << service + "ApplicationNotRunning"
        << "The task \"cleanup\" is not running";
    QTest::newRow("wrong signature") << "Start s cleanup"
                                     << "org.freedesktop.DBus.Error.InvalidArgs"
                                     << "Start takes \"sa{sv}a{sv}\", not \"s\"";
}

void TestSimulatorTasks::wrongCallsAreRefused()
{
    QFETCH(QString, call);
    QFETCH(QString, error);
    registered("maintenance");
    if (error.endsWith("AlreadyRunning")) {
        start("cleanup 0 0");
    }
    BusMonitor monitor(m_bus);
    QTEST(busctl(QString("call %1 %2 %3").arg(pathOf("maintenance"), session, call))
              .remove("Call failed: "),
          "message");
    const QVector<QJsonObject> messages = monitor.messagesUntil(
        [](const QJsonObject &message) { return message.value("type") == "error"; });
    QCOMPARE(messages.constLast().value("error_name").toString(), error);
}

void TestSimulatorTasks::propertiesCanOnlyBeRead_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("answer");
    const QString path = pathOf("maintenance");
    const auto row = [](const char *name, const QString &at, const QString &call,
                        const QString &answer) { QTest::newRow(name) << at << call << answer; };
    row("set", path, QString("Set ssv %1 ActiveTasks i 3").arg(session),
        "Call failed: The property \"ActiveTasks\" can only be read");
    row("unknown property", path, QString("Get ss %1 Nonsense").arg(session),
        "Call failed: No property \"Nonsense\"");
    row("unknown interface", path, "Get ss a.b ActiveTasks",
        QString("Call failed: No interface \"a.b\" at the path %1").arg(path));
    row("any interface", path, "Get ss '' ActiveTasks", "v a(sia{sv}) 0");
    row("unknown method", path, "Nonsense",
        "Call failed: No method \"Nonsense\" in the interface " + properties);
    row("wrong signature", path, "Get s x", "Call failed: Get takes \"ss\", not \"s\"");
    row("an object without properties", OSTREL_WINDOW_MANAGEMENT_PATH,
        "GetAll s " OSTREL_WINDOW_MANAGEMENT_INTERFACE, "a{sv} 0");
    row("no object", path + "/x", "GetAll s ''",
        QString("Call failed: No object at the path %1/x").arg(path));
}

void TestSimulatorTasks::propertiesCanOnlyBeRead()
{
    QFETCH(QString, path);
    QFETCH(QString, call);
    registered("maintenance");
    QTEST(busctl(QString("call %1 %2 %3").arg(path, properties, call)), "answer");
}

void TestSimulatorTasks::faultsCanBeArrangedBeforeThereIsASession()
{
    const Faults starts = m_simulator.faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    starts.failNext("a.b", "arranged");
    starts.answerNext({42});
    registered("maintenance");
    QCOMPARE(start("cleanup 0 0"), "Call failed: arranged");
    QCOMPARE(start("cleanup 0 0"), "i 42");
    QCOMPARE(start("cleanup 0 0"), "i 1");
}

void TestSimulatorTasks::errorsMayCarryAnyValues()
{
    registered("maintenance");
    const QDBusMessage arranged =
        m_simulator.desk("FailNextWith", {session, "Start", "a.b", QVariantList{7, true}});
    QCOMPARE(arranged.type(), QDBusMessage::ReplyMessage);
    BusMonitor monitor(m_bus);
    start("cleanup 0 0");
    const QJsonObject error = monitor
                                  .messagesUntil([](const QJsonObject &message) {
                                      return message.value("type") == "error";
                                  })
                                  .constLast();
    QCOMPARE(error.value("error_name").toString(), "a.b");
    QCOMPARE(error.value("payload")["type"].toString(), "ib");
    QCOMPARE(error.value("payload")["data"].toArray(), (QJsonArray{7, true}));

    const QDBusMessage refused =
        m_simulator.desk("FailNextWith", {session, "Start", "ab", QVariantList()});
    QCOMPARE(refused.errorMessage(), "\"ab\" is no error name");
}

void TestSimulatorTasks::resetForgetsTheSessions()
{
    registered("maintenance");
    start("cleanup 0 0");
    m_simulator.reset();
    QCOMPARE(start("cleanup 0 0"),
             QString("Call failed: No object at the path %1").arg(pathOf("maintenance")));
    QVERIFY(registered("maintenance").contains("a(sia{sv}) 0"));
    QCOMPARE(start("cleanup 0 0"), "i 1");
}

OSTREL_TEST_MAIN(TestSimulatorTasks)

#include "tst_simulator_tasks.moc"
