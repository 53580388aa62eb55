// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_monitor.h"
#include "busctl.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>

#include <optional>

namespace
{

const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString session = QStringLiteral(OSTREL_TASK_INVOKER_SESSION_INTERFACE);

QString pathOf(const QString &type)
{
    return QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type;
}

} // namespace

// The simulator's tasks, as busctl sees them, which shares no code with it.
class TestSimulatorTasks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void registrationMakesASession();
    void unknownTypesHaveNoTasks();
    void hintsTooDeepToBeListedAreRefused();
    void typesThatMakeNoPathAreRefused_data();
    void typesThatMakeNoPathAreRefused();
    void sessionsAreFoundFromTheServiceOn();
    void startedTasksAreListed();
    void changesAreSentAfterTheReply();
    void wrongCallsAreRefused_data();
    void wrongCallsAreRefused();
    void propertiesCanOnlyBeRead_data();
    void propertiesCanOnlyBeRead();
    void faultsCanBeArrangedBeforeThereIsASession();
    void errorsCarryWhateverValues();
    void resetForgetsTheSessions();

private:
    // What busctl prints: the answer, or the error.
    QString busctl(const QString &words) const;
    QString registered(const QString &type) const;
    QString start(const QString &arguments) const;

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestSimulatorTasks::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
}

void TestSimulatorTasks::cleanup()
{
    m_simulator->reset();
}

QString TestSimulatorTasks::busctl(const QString &words) const
{
    QStringList arguments = words.split(QLatin1Char(' '));
    arguments.replaceInStrings(QStringLiteral("''"), QString());
    arguments.insert(1, QStringLiteral(OSTREL_SERVICE_NAME));
    const Result result = ::busctl(*m_bus, arguments);
    return (result.output + result.errors).trimmed();
}

QString TestSimulatorTasks::registered(const QString &type) const
{
    return busctl(QStringLiteral("call %1 %2 RegisterInvoker s %3")
                      .arg(QStringLiteral(OSTREL_TASK_INVOKER_PATH),
                           QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE), type));
}

QString TestSimulatorTasks::start(const QString &arguments) const
{
    return busctl(QStringLiteral("call %1 %2 Start sa{sv}a{sv} %3")
                      .arg(pathOf(QStringLiteral("maintenance")), session, arguments));
}

void TestSimulatorTasks::registrationMakesASession()
{
    const QString answer =
        QStringLiteral(
            "oa{sv} \"%1\" 2 \"ActiveTasks\" a(sia{sv}) 0 \"AvailableTasks\" a(sa{sv}) 1 "
            "\"cleanup\" 1 \"Description\" s \"Removes old files\"")
            .arg(pathOf(QStringLiteral("maintenance")));
    QCOMPARE(registered(QStringLiteral("maintenance")), answer);
    QCOMPARE(registered(QStringLiteral("maintenance")), answer);
}

void TestSimulatorTasks::unknownTypesHaveNoTasks()
{
    QCOMPARE(registered(QStringLiteral("a/b_1")),
             QStringLiteral("oa{sv} \"%1\" 2 \"ActiveTasks\" a(sia{sv}) 0 \"AvailableTasks\" "
                            "a(sa{sv}) 0")
                 .arg(pathOf(QStringLiteral("a/b_1"))));
}

// They come back in the list of active tasks, which adds containers around them.
void TestSimulatorTasks::hintsTooDeepToBeListedAreRefused()
{
    const auto call = [](const QString &objectPath, const char *interface, const char *member,
                         const QVariantList &arguments) {
        QDBusMessage message =
            QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME), objectPath,
                                           QLatin1String(interface), QLatin1String(member));
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    };
    call(QStringLiteral(OSTREL_TASK_INVOKER_PATH), OSTREL_TASK_INVOKER_INTERFACE, "RegisterInvoker",
         {QStringLiteral("sync")});
    const auto start = [&call](int lists) {
        QVariant value = 1;
        for (int i = 0; i < lists; ++i) {
            value = QVariantList{value}; // an array and a variant
        }
        return call(pathOf(QStringLiteral("sync")), OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start",
                    {QStringLiteral("contacts"), QVariantMap(),
                     QVariantMap{{QStringLiteral("Hint"), value}}});
    };
    const QDBusMessage tooDeep = start(29);
    QCOMPARE(tooDeep.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
    QCOMPARE(tooDeep.errorMessage(),
             QStringLiteral("A value is nested 66 deep, more than the 64 of a message"));
    QCOMPARE(start(28).errorName(), QString());
}

void TestSimulatorTasks::typesThatMakeNoPathAreRefused_data()
{
    QTest::addColumn<QString>("type");
    for (const char *const type : {"''", "a-b", "/", "a/", "/a", "a//b", "\xc3\xa9"}) {
        QTest::newRow(type) << QString::fromUtf8(type);
    }
}

void TestSimulatorTasks::typesThatMakeNoPathAreRefused()
{
    QFETCH(QString, type);
    QCOMPARE(registered(type),
             QStringLiteral("Call failed: \"%1\" makes no object path")
                 .arg(type == QLatin1String("''") ? QString() : type));
}

void TestSimulatorTasks::sessionsAreFoundFromTheServiceOn()
{
    registered(QStringLiteral("maintenance"));
    registered(QStringLiteral("a/b"));
    const QString tree = busctl(QStringLiteral("tree --list"));
    for (const QString &type :
         {QStringLiteral("maintenance"), QStringLiteral("a"), QStringLiteral("a/b")}) {
        QVERIFY2(tree.split(QLatin1Char('\n')).contains(pathOf(type)), qPrintable(tree));
    }
}

void TestSimulatorTasks::startedTasksAreListed()
{
    registered(QStringLiteral("maintenance"));
    const QString activeTasks = QStringLiteral("get-property %1 %2 ActiveTasks")
                                    .arg(pathOf(QStringLiteral("maintenance")), session);
    QCOMPARE(busctl(activeTasks), QStringLiteral("a(sia{sv}) 0"));
    QCOMPARE(
        start(QStringLiteral("cleanup 1 Params as 1 x 2 User s me CGroups a{sv} 1 a ay 2 0 1")),
        QStringLiteral("i 1"));
    const QString listed = busctl(activeTasks);
    static const QRegularExpression record(QStringLiteral(
        "\\Aa\\(sia\\{sv\\}\\) 1 \"cleanup\" (\\d+) 2 \"CGroups\" a\\{sv\\} 1 \"a\" ay "
        "2 0 1 \"User\" s \"me\"\\z"));
    const QRegularExpressionMatch match = record.match(listed);
    QVERIFY2(match.hasMatch(), qPrintable(listed));
    QVERIFY(QFile::exists(QStringLiteral("/proc/") + match.captured(1)));
    QCOMPARE(
        busctl(QStringLiteral("call %1 %2 GetAll s %3")
                   .arg(pathOf(QStringLiteral("maintenance")), properties, session)),
        QStringLiteral("a{sv} 2 \"ActiveTasks\" %1 \"AvailableTasks\" a(sa{sv}) 1 \"cleanup\" 1 "
                       "\"Description\" s \"Removes old files\"")
            .arg(listed));
    // Another invoker of the type learns of it, too.
    QVERIFY(registered(QStringLiteral("maintenance")).contains(listed));

    const QString stop = QStringLiteral("call %1 %2 Stop s cleanup")
                             .arg(pathOf(QStringLiteral("maintenance")), session);
    QCOMPARE(busctl(stop), QString());
    QCOMPARE(busctl(activeTasks), QStringLiteral("a(sia{sv}) 0"));
    QCOMPARE(start(QStringLiteral("cleanup 0 0")), QStringLiteral("i 2"));
}

void TestSimulatorTasks::changesAreSentAfterTheReply()
{
    registered(QStringLiteral("maintenance"));
    BusMonitor monitor(*m_bus);
    start(QStringLiteral("cleanup 0 0"));
    // It fails, and changes nothing.
    start(QStringLiteral("cleanup 0 0"));
    busctl(QStringLiteral("call %1 %2 Stop s cleanup")
               .arg(pathOf(QStringLiteral("maintenance")), session));
    busctl(QStringLiteral("call /end a.b End"));

    QStringList order;
    const QVector<QJsonObject> messages = monitor.messagesUntil([](const QJsonObject &message) {
        return message.value(QLatin1String("member")) == QLatin1String("End");
    });
    for (const QJsonObject &message : messages) {
        const QJsonValue payload = message.value(QLatin1String("payload"));
        const QString member = message.value(QLatin1String("member")).toString();
        if (member == QLatin1String("Start") || member == QLatin1String("Stop")) {
            order.append(member);
        } else if (member == QLatin1String("PropertiesChanged")) {
            QCOMPARE(message.value(QLatin1String("path")).toString(),
                     pathOf(QStringLiteral("maintenance")));
            QCOMPARE(message.value(QLatin1String("interface")).toString(), properties);
            QCOMPARE(payload[QLatin1String("type")].toString(), QStringLiteral("sa{sv}as"));
            QCOMPARE(payload[QLatin1String("data")][0].toString(), session);
            QCOMPARE(payload[QLatin1String("data")][1].toObject().keys(),
                     QStringList(QStringLiteral("ActiveTasks")));
            QCOMPARE(payload[QLatin1String("data")][2].toArray(), QJsonArray());
            order.append(QStringLiteral("changed to %1")
                             .arg(payload[QLatin1String("data")][1][QLatin1String("ActiveTasks")]
                                         [QLatin1String("data")]
                                             .toArray()
                                             .size()));
        } else if (message.value(QLatin1String("sender"))
                       == messages.constLast().value(QLatin1String("destination"))
                   || message.value(QLatin1String("type")) == QLatin1String("error")
                   || (message.value(QLatin1String("type")) == QLatin1String("method_return")
                       && message.value(QLatin1String("sender"))
                           != QLatin1String("org.freedesktop.DBus"))) {
            order.append(message.value(QLatin1String("type")).toString());
        }
    }
    QCOMPARE(order,
             (QStringList{QStringLiteral("Start"), QStringLiteral("method_return"),
                          QStringLiteral("changed to 1"), QStringLiteral("Start"),
                          QStringLiteral("error"), QStringLiteral("Stop"),
                          QStringLiteral("method_return"), QStringLiteral("changed to 0")}));
}

void TestSimulatorTasks::wrongCallsAreRefused_data()
{
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("message");
    const QString service = QStringLiteral(OSTREL_ERROR_PREFIX);
    QTest::newRow("start of an unknown task")
        << QStringLiteral("Start sa{sv}a{sv} none 0 0")
        << service + QStringLiteral("HandlerNotFound")
        << QStringLiteral("There is no task \"none\" of the type \"maintenance\"");
    QTest::newRow("stop of an unknown task")
        << QStringLiteral("Stop s none") << service + QStringLiteral("HandlerNotFound")
        << QStringLiteral("There is no task \"none\" of the type \"maintenance\"");
    QTest::newRow("start of a running task")
        << QStringLiteral("Start sa{sv}a{sv} cleanup 0 0")
        << service + QStringLiteral("ApplicationAlreadyRunning")
        << QStringLiteral("The task \"cleanup\" is running already");
    QTest::newRow("stop of a task that is not running")
        << QStringLiteral("Stop s cleanup") << service + QStringLiteral("ApplicationNotRunning")
        << QStringLiteral("The task \"cleanup\" is not running");
    QTest::newRow("wrong signature") << QStringLiteral("Start s cleanup")
                                     << QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs")
                                     << QStringLiteral("Start takes \"sa{sv}a{sv}\", not \"s\"");
}

void TestSimulatorTasks::wrongCallsAreRefused()
{
    QFETCH(QString, call);
    QFETCH(QString, error);
    registered(QStringLiteral("maintenance"));
    if (error.endsWith(QLatin1String("AlreadyRunning"))) {
        start(QStringLiteral("cleanup 0 0"));
    }
    BusMonitor monitor(*m_bus);
    QTEST(busctl(QStringLiteral("call %1 %2 %3")
                     .arg(pathOf(QStringLiteral("maintenance")), session, call))
              .remove(QStringLiteral("Call failed: ")),
          "message");
    const QVector<QJsonObject> messages = monitor.messagesUntil([](const QJsonObject &message) {
        return message.value(QLatin1String("type")) == QLatin1String("error");
    });
    QCOMPARE(messages.constLast().value(QLatin1String("error_name")).toString(), error);
}

void TestSimulatorTasks::propertiesCanOnlyBeRead_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("answer");
    const QString path = pathOf(QStringLiteral("maintenance"));
    const auto row = [](const char *name, const QString &at, const QString &call,
                        const QString &answer) { QTest::newRow(name) << at << call << answer; };
    row("set", path, QStringLiteral("Set ssv %1 ActiveTasks i 3").arg(session),
        QStringLiteral("Call failed: The property \"ActiveTasks\" can only be read"));
    row("unknown property", path, QStringLiteral("Get ss %1 Nonsense").arg(session),
        QStringLiteral("Call failed: No property \"Nonsense\""));
    row("unknown interface", path, QStringLiteral("Get ss a.b ActiveTasks"),
        QStringLiteral("Call failed: No interface \"a.b\" at the path %1").arg(path));
    row("any interface", path, QStringLiteral("Get ss '' ActiveTasks"),
        QStringLiteral("v a(sia{sv}) 0"));
    row("unknown method", path, QStringLiteral("Nonsense"),
        QStringLiteral("Call failed: No method \"Nonsense\" in the interface ") + properties);
    row("wrong signature", path, QStringLiteral("Get s x"),
        QStringLiteral("Call failed: Get takes \"ss\", not \"s\""));
    row("an object without properties", QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
        QStringLiteral("GetAll s " OSTREL_WINDOW_MANAGEMENT_INTERFACE), QStringLiteral("a{sv} 0"));
    row("no object", path + QStringLiteral("/x"), QStringLiteral("GetAll s ''"),
        QStringLiteral("Call failed: No object at the path %1/x").arg(path));
}

void TestSimulatorTasks::propertiesCanOnlyBeRead()
{
    QFETCH(QString, path);
    QFETCH(QString, call);
    registered(QStringLiteral("maintenance"));
    QTEST(busctl(QStringLiteral("call %1 %2 %3").arg(path, properties, call)), "answer");
}

void TestSimulatorTasks::faultsCanBeArrangedBeforeThereIsASession()
{
    const MethodFaults starts = m_simulator->faults(OSTREL_TASK_INVOKER_SESSION_INTERFACE, "Start");
    starts.failNext(QStringLiteral("a.b"), QStringLiteral("arranged"));
    starts.answerNext({42});
    registered(QStringLiteral("maintenance"));
    QCOMPARE(start(QStringLiteral("cleanup 0 0")), QStringLiteral("Call failed: arranged"));
    QCOMPARE(start(QStringLiteral("cleanup 0 0")), QStringLiteral("i 42"));
    QCOMPARE(start(QStringLiteral("cleanup 0 0")), QStringLiteral("i 1"));
}

void TestSimulatorTasks::errorsCarryWhateverValues()
{
    registered(QStringLiteral("maintenance"));
    const QDBusMessage arranged = m_simulator->desk(
        QStringLiteral("FailNextWith"),
        {session, QStringLiteral("Start"), QStringLiteral("a.b"), QVariantList{7, true}});
    QCOMPARE(arranged.type(), QDBusMessage::ReplyMessage);
    BusMonitor monitor(*m_bus);
    start(QStringLiteral("cleanup 0 0"));
    const QJsonObject error =
        monitor
            .messagesUntil([](const QJsonObject &message) {
                return message.value(QLatin1String("type")) == QLatin1String("error");
            })
            .constLast();
    QCOMPARE(error.value(QLatin1String("error_name")).toString(), QStringLiteral("a.b"));
    QCOMPARE(error.value(QLatin1String("payload"))[QLatin1String("type")].toString(),
             QStringLiteral("ib"));
    QCOMPARE(error.value(QLatin1String("payload"))[QLatin1String("data")].toArray(),
             (QJsonArray{7, true}));

    const QDBusMessage refused =
        m_simulator->desk(QStringLiteral("FailNextWith"),
                          {session, QStringLiteral("Start"), QStringLiteral("ab"), QVariantList()});
    QCOMPARE(refused.errorMessage(), QStringLiteral("\"ab\" is no error name"));
}

void TestSimulatorTasks::resetForgetsTheSessions()
{
    registered(QStringLiteral("maintenance"));
    start(QStringLiteral("cleanup 0 0"));
    m_simulator->reset();
    QCOMPARE(start(QStringLiteral("cleanup 0 0")),
             QStringLiteral("Call failed: No object at the path %1")
                 .arg(pathOf(QStringLiteral("maintenance"))));
    QVERIFY(registered(QStringLiteral("maintenance")).contains(QStringLiteral("a(sia{sv}) 0")));
    QCOMPARE(start(QStringLiteral("cleanup 0 0")), QStringLiteral("i 1"));
}

OSTREL_TEST_MAIN(TestSimulatorTasks)

#include "tst_simulator_tasks.moc"
