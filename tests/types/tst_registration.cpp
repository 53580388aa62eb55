// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"
#include "warnings.h"

#include "DBus/types_p.h"
#include "Ostrel/control_p.h"
#include "Ostrel/task_invoker_p.h"

#include <Ostrel/Testing/Main>
#include <Ostrel/WindowManagement>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QMetaMethod>
#include <QtCore/QSequentialIterable>
#include <QtCore/QThread>
#include <QtDBus/QDBusMetaType>
#include <QtTest/QSignalSpy>

#include <atomic>
#include <thread>
#include <vector>

using Ostrel::ApplicationState;

// Signals that are declared inside the namespace spell the types without it, and string-based
// connections look them up by that name.
// clazy:excludeall=fully-qualified-moc-types,old-style-connect
namespace Ostrel
{

class Sender : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void stateChanged(const QString &appInstanceId, ApplicationState state);
    void applicationsListed(const QVector<RunningApplication> &applications);
    void tasksListed(const QVector<AvailableTask> &tasks);
};

} // namespace Ostrel

namespace
{

// This source makes a program for each way in which the types can be registered first.
void registerFirst()
{
#if defined(FIRST_IS_CONTROL)
    const Ostrel::Control control;
#elif defined(FIRST_IS_TASK_INVOKER)
    const Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SessionBus, "sync");
#else
    // Threads that make their first objects at once.
    std::atomic<int> waiting{4};
    std::vector<std::thread> threads;
    for (int i = waiting; i > 0; --i) {
        threads.emplace_back([&waiting] {
            for (--waiting; waiting > 0;) {
                std::this_thread::yield();
            }
            Ostrel::registerDBusTypes();
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
#endif
}

// These replace the library's operators in Qt's registry.
void writeNothing(QDBusArgument & /*argument*/, const void * /*record*/)
{
}
void readNothing(const QDBusArgument & /*argument*/, void * /*record*/)
{
}

} // namespace

// The types are registered with Qt, in a process where nothing else has registered any.
class TestRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noTypeIsRegisteredBeforeTheFirstClient();
    void typesHaveTheirNames_data();
    void typesHaveTheirNames();
    void taskRecordsHaveNoShortName();
    void applicationStateIsABareEnumeration();
    void typesHaveTheirSignatures_data();
    void typesHaveTheirSignatures();
    void registeredWritersWriteTheirSignatures_data();
    void registeredWritersWriteTheirSignatures();
    void jsonValuesWriteTheirOwnType();
    void writersReturnTheirArgument();
    void secondRegistrationChangesNothing();
    void laterClientsRegisterNothing();
    void queuedSignalsCarryTheTypes();
    void slotForStateChangesHasThisSignature();
    void slotForListChangesHasThisSignature();
};

void TestRegistration::noTypeIsRegisteredBeforeTheFirstClient()
{
    // A client that only reports windows exchanges numbers and strings.
    bool reported = false;
    Ostrel::WindowManagement windows;
    windows.updateWindowStatus(
        "w", 1, 2, 3, this,
        [&](Ostrel::ApplicationState, const Ostrel::Error &) { reported = true; });
    waitUntil([&] { return reported; });
    QCOMPARE(QMetaType::type("RunningApplication"), 0);
    QCOMPARE(QMetaType::type("ApplicationState"), 0);
    const Warnings warnings;
    registerFirst();
    QCOMPARE(warnings.texts(), QStringList());
}

void TestRegistration::typesHaveTheirNames_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("alias");

    using namespace Ostrel;
    const auto row = [](int type, const char *name, const char *alias) {
        QTest::newRow(alias) << type << QByteArray(name) << QByteArray(alias);
    };
    row(qMetaTypeId<RunningApplication>(), "Ostrel::RunningApplication", "RunningApplication");
    row(qMetaTypeId<QVector<RunningApplication>>(), "QVector<Ostrel::RunningApplication>",
        "QVector<RunningApplication>");
    row(qMetaTypeId<RunningService>(), "Ostrel::RunningService", "RunningService");
    row(qMetaTypeId<QVector<RunningService>>(), "QVector<Ostrel::RunningService>",
        "QVector<RunningService>");
    row(qMetaTypeId<TaskState>(), "Ostrel::TaskState", "TaskState");
    row(qMetaTypeId<QVector<TaskState>>(), "QVector<Ostrel::TaskState>", "QVector<TaskState>");
    row(qMetaTypeId<QVector<AvailableTask>>(), "QVector<Ostrel::AvailableTask>",
        "QVector<AvailableTask>");
    row(qMetaTypeId<QVector<ActiveTask>>(), "QVector<Ostrel::ActiveTask>", "QVector<ActiveTask>");
}

void TestRegistration::typesHaveTheirNames()
{
    QFETCH(int, type);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, alias);
    QCOMPARE(QByteArray(QMetaType::typeName(type)), name);
    QCOMPARE(QMetaType::type(name), type);
    QCOMPARE(QMetaType::type(alias), type);
    if (name.startsWith("QVector<")) {
        QVERIFY(QMetaType::hasRegisteredConverterFunction(
            type, qMetaTypeId<QtMetaTypePrivate::QSequentialIterableImpl>()));
    }
}

void TestRegistration::taskRecordsHaveNoShortName()
{
    QCOMPARE(QMetaType::type("AvailableTask"), 0);
    QCOMPARE(QMetaType::type("ActiveTask"), 0);
    QCOMPARE(QMetaType::type("Ostrel::AvailableTask"), qMetaTypeId<Ostrel::AvailableTask>());
    QCOMPARE(QMetaType::type("Ostrel::ActiveTask"), qMetaTypeId<Ostrel::ActiveTask>());
}

void TestRegistration::applicationStateIsABareEnumeration()
{
    const int type = QMetaType::type("ApplicationState");
    QVERIFY(type >= QMetaType::User);
    QCOMPARE(QMetaType::sizeOf(type), 4);
    QCOMPARE(int(QMetaType::typeFlags(type)),
             int(QMetaType::MovableType | QMetaType::IsEnumeration));
    QVERIFY(QMetaType::metaObjectForType(type) == nullptr);
    QVERIFY(QDBusMetaType::typeToSignature(type) == nullptr);
    QCOMPARE(QMetaType::type("Ostrel::ApplicationState"), 0);
}

void TestRegistration::typesHaveTheirSignatures_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("signature");
    const auto row = [](const char *name, const char *signature) {
        QTest::newRow(name) << QByteArray(name) << QByteArray(signature);
    };
    row("Ostrel::RunningApplication", "(siuua{sv})");
    row("QVector<Ostrel::RunningApplication>", "a(siuua{sv})");
    row("Ostrel::RunningService", "(ssiua{sv})");
    row("QVector<Ostrel::RunningService>", "a(ssiua{sv})");
    row("Ostrel::TaskState", "(sua{sv})");
    row("QVector<Ostrel::TaskState>", "a(sua{sv})");
    row("Ostrel::AvailableTask", "(sa{sv})");
    row("QVector<Ostrel::AvailableTask>", "a(sa{sv})");
    row("Ostrel::ActiveTask", "(sia{sv})");
    row("QVector<Ostrel::ActiveTask>", "a(sia{sv})");
    row("QJsonArray", "av");
    row("QJsonObject", "a{sv}");
}

void TestRegistration::typesHaveTheirSignatures()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, signature);
    QCOMPARE(QByteArray(QDBusMetaType::typeToSignature(QMetaType::type(name))), signature);
}

void TestRegistration::registeredWritersWriteTheirSignatures_data()
{
    typesHaveTheirSignatures_data();
}

void TestRegistration::registeredWritersWriteTheirSignatures()
{
    QFETCH(QByteArray, name);
    const int type = QMetaType::type(name);
    const QVariant value(type, nullptr);
    QDBusArgument argument;
    QVERIFY(QDBusMetaType::marshall(argument, type, value.constData()));
    QTEST(argument.currentSignature().toLatin1(), "signature");
}

// Whatever its type is registered as.
void TestRegistration::jsonValuesWriteTheirOwnType()
{
    const auto signatureOf = [](const QJsonValue &value) {
        QDBusArgument argument;
        QDBusMetaType::marshall(argument, QMetaType::QJsonValue, &value);
        return argument.currentSignature();
    };
    QCOMPARE(signatureOf(true), "b");
    QCOMPARE(signatureOf(3), "d");
    QCOMPARE(signatureOf("x"), "s");
    QCOMPARE(signatureOf(QJsonObject()), "a{sv}");
    QCOMPARE(signatureOf(QJsonArray()), "av");
    QCOMPARE(signatureOf(QJsonArray{true}), "ab");
}

void TestRegistration::writersReturnTheirArgument()
{
    using namespace Ostrel;
    QDBusArgument argument;
    QCOMPARE(&(argument << RunningApplication{}), &argument);
    QCOMPARE(&(argument << RunningService{}), &argument);
    QCOMPARE(&(argument << TaskState{}), &argument);
    QCOMPARE(&(argument << AvailableTask{}), &argument);
    QCOMPARE(&(argument << ActiveTask{}), &argument);
}

void TestRegistration::secondRegistrationChangesNothing()
{
    const int state = QMetaType::type("ApplicationState");
    const int application = QMetaType::type("RunningApplication");
    const Warnings warnings;
    Ostrel::registerDBusTypes();
    Ostrel::registerDBusTypes();
    QCOMPARE(QMetaType::type("ApplicationState"), state);
    QCOMPARE(QMetaType::type("RunningApplication"), application);
    QCOMPARE(warnings.texts(), QStringList());
}

// Qt's registry keeps what others have put into it meanwhile.
void TestRegistration::laterClientsRegisterNothing()
{
    const int type = qMetaTypeId<Ostrel::TaskState>();
    const auto signature = [type] {
        const Ostrel::TaskState task{};
        QDBusArgument argument;
        QDBusMetaType::marshall(argument, type, &task);
        return argument.currentSignature();
    };
    QCOMPARE(signature(), "(sua{sv})");
    QDBusMetaType::registerMarshallOperators(type, &writeNothing, &readNothing);
    QCOMPARE(signature(), QString());

    const Warnings warnings;
    const Ostrel::Control control;
    const Ostrel::Control otherControl;
    const Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SessionBus, "a");
    const Ostrel::TaskInvoker otherInvoker(Ostrel::TaskInvoker::SystemBus, "b");
    QCOMPARE(signature(), QString());
    QCOMPARE(warnings.texts(), QStringList());
}

void TestRegistration::queuedSignalsCarryTheTypes()
{
    const Warnings warnings;
    Ostrel::Sender sender;
    QThread thread;
    QObject receiver;
    receiver.moveToThread(&thread);
    thread.start();

    quint32 received = 0;
    QString task;
    bool done = false;
    connect(&sender, &Ostrel::Sender::stateChanged, &receiver,
            [&received](const QString &, ApplicationState state) { received = state; });
    connect(&sender, &Ostrel::Sender::tasksListed, &receiver,
            [&](const QVector<Ostrel::AvailableTask> &tasks) {
                task = tasks.constFirst().name;
                QMetaObject::invokeMethod(this, [&done] { done = true; });
            });
    QSignalSpy spy(&sender, SIGNAL(stateChanged(QString, ApplicationState)));
    QVERIFY(spy.isValid());
    Q_EMIT sender.stateChanged("a", ApplicationState(4294967295U));
    Q_EMIT sender.tasksListed({{"sync", {}}});
    waitUntil([&] { return done; });
    QCOMPARE(received, 4294967295U);
    QCOMPARE(task, "sync");
    QCOMPARE(spy.at(0).at(1).toUInt(), 4294967295U);

    thread.quit();
    thread.wait();
    QCOMPARE(warnings.texts(), QStringList());
}

// The parameter names belong to the meta-object, and so to the interface.
void TestRegistration::slotForStateChangesHasThisSignature()
{
    const QMetaObject &proxy = Ostrel::ControlPrivate::staticMetaObject;
    QCOMPARE(proxy.superClass(), &QDBusAbstractInterface::staticMetaObject);
    QCOMPARE(proxy.methodCount() - proxy.methodOffset(), 1);
    const QMetaMethod slot = proxy.method(proxy.methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.access(), QMetaMethod::Private);
    QCOMPARE(slot.methodSignature(), QByteArrayLiteral("onStateChanged(QString,QVariantMap)"));
    QCOMPARE(
        slot.parameterNames(),
        (QList<QByteArray>{QByteArrayLiteral("appInstanceId"), QByteArrayLiteral("debugParams")}));
}

void TestRegistration::slotForListChangesHasThisSignature()
{
    const QMetaObject &proxy = Ostrel::TaskInvokerPrivate::staticMetaObject;
    QCOMPARE(proxy.superClass(), &QDBusAbstractInterface::staticMetaObject);
    QCOMPARE(proxy.methodCount() - proxy.methodOffset(), 1);
    const QMetaMethod slot = proxy.method(proxy.methodOffset());
    QCOMPARE(slot.methodType(), QMetaMethod::Slot);
    QCOMPARE(slot.access(), QMetaMethod::Private);
    QCOMPARE(slot.methodSignature(),
             QByteArrayLiteral("onPropertiesChanged(QString,QVariantMap,QStringList)"));
    QCOMPARE(slot.parameterNames(),
             (QList<QByteArray>{QByteArrayLiteral("interface"), QByteArrayLiteral("changed"),
                                QByteArrayLiteral("invalidated")}));
}

OSTREL_TEST_MAIN(TestRegistration)

#include "tst_registration.moc"
