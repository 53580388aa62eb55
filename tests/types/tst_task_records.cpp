// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "quiet_test.h"
#include "task_texts.h"

#include "DBus/names_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusMetaType>

#include <type_traits>

using Ostrel::ActiveTask;
using Ostrel::AvailableTask;
using Ostrel::TaskState;

namespace
{

// All members hold something: a member that a reader leaves out is seen.
const QVariantMap &oldProperties()
{
    static const QVariantMap properties{{"old", 96}};
    return properties;
}

TaskState oldTaskState()
{
    return {"old", 99, oldProperties()};
}

AvailableTask oldAvailableTask()
{
    return {"old", oldProperties()};
}

ActiveTask oldActiveTask()
{
    return {"old", 99, oldProperties()};
}

} // namespace

// Another process sends and receives the task records. busctl writes and reads them, and shares no
// code with Qt.
class TestTaskRecords : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void recordsHaveTheirSignatures();
    void recordsArePlainStructures();
    void membersAreWrittenInOrder();
    void emptyVectorsKeepTheirSignatures();
    void recordsComeBackEqual();
    void oneTaskStateIsRead_data();
    void oneTaskStateIsRead();
    void oneAvailableTaskIsRead_data();
    void oneAvailableTaskIsRead();
    void oneActiveTaskIsRead_data();
    void oneActiveTaskIsRead();
    void manyTaskStatesAreRead_data();
    void manyTaskStatesAreRead();
    void manyAvailableTasksAreRead_data();
    void manyAvailableTasksAreRead();
    void manyActiveTasksAreRead_data();
    void manyActiveTasksAreRead();

private:
    // Sends a call that the simulator refuses, but logs.
    template <typename Value> void send(const Value &value);
};

void TestTaskRecords::initTestCase()
{
    qDBusRegisterMetaType<TaskState>();
    qDBusRegisterMetaType<QVector<TaskState>>();
    qDBusRegisterMetaType<AvailableTask>();
    qDBusRegisterMetaType<QVector<AvailableTask>>();
    qDBusRegisterMetaType<ActiveTask>();
    qDBusRegisterMetaType<QVector<ActiveTask>>();
}

template <typename Value> void TestTaskRecords::send(const Value &value)
{
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
        << QVariant::fromValue(value));
}

void TestTaskRecords::recordsHaveTheirSignatures()
{
    const auto signature = [](int type) { return QDBusMetaType::typeToSignature(type); };
    QCOMPARE(signature(qMetaTypeId<TaskState>()), "(sua{sv})");
    QCOMPARE(signature(qMetaTypeId<AvailableTask>()), "(sa{sv})");
    QCOMPARE(signature(qMetaTypeId<ActiveTask>()), "(sia{sv})");
    QCOMPARE(signature(qMetaTypeId<QVector<TaskState>>()), "a(sua{sv})");
    QCOMPARE(signature(qMetaTypeId<QVector<AvailableTask>>()), "a(sa{sv})");
    QCOMPARE(signature(qMetaTypeId<QVector<ActiveTask>>()), "a(sia{sv})");
}

void TestTaskRecords::recordsArePlainStructures()
{
    static_assert(
        std::is_aggregate_v<
            TaskState> && std::is_aggregate_v<AvailableTask> && std::is_aggregate_v<ActiveTask>);
    static_assert(std::is_same_v<decltype(TaskState::state), uint>);
    static_assert(std::is_same_v<decltype(ActiveTask::pid), qint32>);
    QVERIFY(AvailableTask{}.name.isNull());
    QVERIFY(AvailableTask{}.properties.isEmpty());
}

void TestTaskRecords::membersAreWrittenInOrder()
{
    const QVariantMap properties{{"b", "two"}, {"a", 1}};
    send(TaskState{"sync", 4294967295U, properties});
    send(AvailableTask{"sync", properties});
    send(ActiveTask{"sync", -7, properties});
    const QString entries = "{'a':{'type':'i','data':1},'b':{'type':'s','data':'two'}}";
    const auto call = [](const QString &signature, const QString &data) {
        return QString("['%1','a.b','Take','%2',[{'type':'%2','data':[%3]}]]")
            .arg(OSTREL_SERVICE_PATH, signature, data);
    };
    QCOMPARE(busctlDesk(m_bus, "Calls"),
             QString("{'type':'a(ssssav)','data':[[%1,%2,%3]]}")
                 .arg(call("(sua{sv})", "'sync',4294967295," + entries),
                      call("(sa{sv})", "'sync'," + entries),
                      call("(sia{sv})", "'sync',-7," + entries))
                 .replace('\'', '"'));
}

void TestTaskRecords::emptyVectorsKeepTheirSignatures()
{
    send(TaskState{});
    send(AvailableTask{});
    send(ActiveTask{});
    send(QVector<TaskState>{});
    send(QVector<AvailableTask>{});
    send(QVector<ActiveTask>{});
    QStringList signatures;
    const QVector<Call> calls = m_simulator.calls();
    for (const Call &call : calls) {
        signatures.append(call.signature);
    }
    QCOMPARE(signatures,
             (QStringList{"(sua{sv})", "(sa{sv})", "(sia{sv})", "a(sua{sv})", "a(sa{sv})",
                          "a(sia{sv})"}));
}

void TestTaskRecords::recordsComeBackEqual()
{
    const QVariantMap properties{{"list", QStringList{"y"}}, {"number", -3}};
    const QVector<TaskState> states{{"b", 4294967295U, properties}, {"a", 0, {}}};
    const QVector<AvailableTask> available{{"b", properties}, {QString(), {}}};
    const QVector<ActiveTask> active{{"b", -1, properties}, {"a", -2147483647 - 1, {}}};
    send(states);
    send(available);
    send(active);
    send(states.at(0));
    send(available.at(0));
    send(active.at(0));
    const QVector<Call> calls = m_simulator.calls();
    const auto argument = [&calls](int call) { return calls.at(call).arguments.at(0); };

    QCOMPARE(text(qdbus_cast<QVector<TaskState>>(argument(0))), text(states));
    QCOMPARE(text(qdbus_cast<QVector<AvailableTask>>(argument(1))), text(available));
    QCOMPARE(text(qdbus_cast<QVector<ActiveTask>>(argument(2))), text(active));
    QCOMPARE(text(qdbus_cast<TaskState>(argument(3))), text(states.at(0)));
    QCOMPARE(text(qdbus_cast<AvailableTask>(argument(4))), text(available.at(0)));
    const auto task = qdbus_cast<ActiveTask>(argument(5));
    QCOMPARE(text(task), text(active.at(0)));
    QCOMPARE(task.properties, properties);
}

void TestTaskRecords::oneTaskStateIsRead_data()
{
    addRows(andOthers(
        {
            {"(sua{sv})", "a 4294967295 1 k s v", "a 4294967295 {k=v}"},
            {"(sua{sv}i)", "a 1 0 9", "a 1 {}"},
            {"(su)", "a 1", "a 1 {}"},
            {"(sia{sv})", "a 1 1 k s v", "a 0 {k=v}"},
            {"(sa{sv})", "a 1 k s v", "a 0 {}"},
            {"(iua{sv})", "9 1 1 k s v", " 1 {k=v}"},
            {"(s(u)a{sv})", "a 1 1 k s v", "a 0 {k=v}"},
            {"a(sua{sv})", "1 a 1 0", " 0 {}"},
        },
        " 0 {}"));
}

void TestTaskRecords::oneTaskStateIsRead()
{
    readRow(m_bus, oldTaskState());
}

void TestTaskRecords::oneAvailableTaskIsRead_data()
{
    addRows(andOthers(
        {
            {"(sa{sv})", "a 1 k s v", "a {k=v}"},
            {"(sa{sv}i)", "a 0 9", "a {}"},
            {"(s)", "a", "a {}"},
            {"(ss)", "a b", "a {}"},
            {"(sia{sv})", "a 1 1 k s v", "a {}"},
            {"(oa{sv})", "/a 1 k s v", " {k=v}"},
            {"(sa{ss})", "a 1 k v", "a {}"},
            {"a(sa{sv})", "1 a 0", " {}"},
        },
        " {}"));
}

void TestTaskRecords::oneAvailableTaskIsRead()
{
    readRow(m_bus, oldAvailableTask());
}

void TestTaskRecords::oneActiveTaskIsRead_data()
{
    addRows(andOthers(
        {
            {"(sia{sv})", "a -1 1 k s v", "a -1 {k=v}"},
            {"(sia{sv}i)", "a 1 0 9", "a 1 {}"},
            {"(si)", "a 1", "a 1 {}"},
            {"(sx)", "a 1", "a 0 {}"},
            {"(s(i))", "a 1", "a 0 {}"},
            {"(ssa{sv})", "a b 1 k s v", "a 0 {k=v}"},
            {"(siai)", "a 1 1 9", "a 1 {}"},
            {"(sia{ss})", "a 1 1 k v", "a 1 {}"},
            {"(sis)", "a 1 b", "a 1 {}"},
            {"(is)", "1 a", " 0 {}"},
            {"ai", "0", " 0 {}"},
            {"ai", "1 3", " 0 {}"},
        },
        " 0 {}"));
}

void TestTaskRecords::oneActiveTaskIsRead()
{
    readRow(m_bus, oldActiveTask());
}

void TestTaskRecords::manyTaskStatesAreRead_data()
{
    addRows(andOthers(
        {
            {"a(sua{sv})", "0", ""},
            {"a(sua{sv})", "2 b 1 0 a 2 1 k s v", "b 1 {}; a 2 {k=v}"},
            {"a(sia{sv})", "1 a 1 1 k s v", "a 0 {k=v}"},
            {"ai", "2 1 2", ""},
        },
        ""));
}

void TestTaskRecords::manyTaskStatesAreRead()
{
    readRow(m_bus, QVector<TaskState>(2, oldTaskState()));
}

void TestTaskRecords::manyAvailableTasksAreRead_data()
{
    addRows(andOthers(
        {
            {"a(sa{sv})", "0", ""},
            {"a(sa{sv})", "2 b 0 a 1 k s v", "b {}; a {k=v}"},
            {"a(ss)", "2 a x b y", "a {}; b {}"},
            {"ai", "2 1 2", ""},
        },
        ""));
}

void TestTaskRecords::manyAvailableTasksAreRead()
{
    readRow(m_bus, QVector<AvailableTask>(2, oldAvailableTask()));
}

void TestTaskRecords::manyActiveTasksAreRead_data()
{
    addRows(andOthers(
        {
            {"a(sia{sv})", "0", ""},
            {"a(sia{sv})", "2 b 1 0 a -2 1 k s v", "b 1 {}; a -2 {k=v}"},
            {"a(ss)", "2 a x b y", "a 0 {}; b 0 {}"},
            {"aa{sv}", "1 1 k s v", ""},
            {"av", "1 (sia{sv}) a 1 0", ""},
        },
        ""));
}

void TestTaskRecords::manyActiveTasksAreRead()
{
    readRow(m_bus, QVector<ActiveTask>(2, oldActiveTask()));
}

OSTREL_TEST_MAIN(TestTaskRecords)

#include "tst_task_records.moc"
