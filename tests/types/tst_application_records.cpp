// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "busctl.h"
#include "quiet_test.h"

#include "DBus/names_p.h"
#include "DBus/types_p.h"

#include <Ostrel/Testing/Main>

#include <QtDBus/QDBusMetaType>

using Ostrel::ApplicationKind;
using Ostrel::ApplicationState;
using Ostrel::RunningApplication;
using Ostrel::RunningService;
using Ostrel::ServiceState;

// Another process sends and receives the records. busctl writes and reads them, and shares no code
// with Qt.
class TestApplicationRecords : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void recordsHaveTheirSignatures();
    void applicationStateHoldsAnyNumber();
    void membersAreWrittenInOrder();
    void emptyVectorsKeepTheirSignatures();
    void recordsComeBackEqual();
    void emptyVectorsComeBackEmpty();

private:
    // Sends a call that the simulator refuses, but logs.
    void send(const QVariant &argument);
    QString loggedByBusctl();
};

void TestApplicationRecords::initTestCase()
{
    qDBusRegisterMetaType<RunningApplication>();
    qDBusRegisterMetaType<QVector<RunningApplication>>();
    qDBusRegisterMetaType<RunningService>();
    qDBusRegisterMetaType<QVector<RunningService>>();
}

void TestApplicationRecords::send(const QVariant &argument)
{
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(OSTREL_SERVICE_NAME, OSTREL_SERVICE_PATH, "a.b", "Take")
        << argument);
}

QString TestApplicationRecords::loggedByBusctl()
{
    return busctlDesk(m_bus, "Calls");
}

void TestApplicationRecords::recordsHaveTheirSignatures()
{
    const auto signature = [](int type) { return QDBusMetaType::typeToSignature(type); };
    QCOMPARE(signature(qMetaTypeId<RunningApplication>()), "(siuua{sv})");
    QCOMPARE(signature(qMetaTypeId<RunningService>()), "(ssiua{sv})");
    QCOMPARE(signature(qMetaTypeId<QVector<RunningApplication>>()), "a(siuua{sv})");
    QCOMPARE(signature(qMetaTypeId<QVector<RunningService>>()), "a(ssiua{sv})");
}

void TestApplicationRecords::applicationStateHoldsAnyNumber()
{
    static_assert(sizeof(ApplicationState) == 4);
    static_assert(std::is_aggregate_v<RunningApplication> && std::is_aggregate_v<RunningService>);
    static_assert(sizeof(RunningApplication::state) == 4 && sizeof(RunningApplication::kind) == 4);
    static_assert(sizeof(RunningService::state) == 4);
    static_assert(std::is_same_v<std::underlying_type_t<ApplicationState>, quint32>);
    static_assert(std::is_same_v<std::underlying_type_t<ApplicationKind>, quint32>);
    static_assert(std::is_same_v<std::underlying_type_t<ServiceState>, quint32>);
    static_assert(std::is_convertible_v<ApplicationState, quint32>);

    QCOMPARE(quint32(Ostrel::ApplicationStateUnknown), 255U);
    QCOMPARE(quint32(ApplicationState(4294967295U)), 4294967295U);
    QCOMPARE(quint32(ApplicationState(0)), 0U);
}

void TestApplicationRecords::membersAreWrittenInOrder()
{
    const QVariantMap properties{{"b", "two"}, {"a", 1}};
    send(QVariant::fromValue(RunningApplication{"demo.Viewer", -5, ApplicationState(3000000000U),
                                                ApplicationKind(7), properties}));
    send(QVariant::fromValue(
        RunningService{"demo.Viewer", "indexer", -6, ServiceState(4294967295U), properties}));
    const char *const expected =
        R"~({"type":"a(ssssav)","data":[[)~"
        R"~(["%1","a.b","Take","(siuua{sv})",[{"type":"(siuua{sv})",)~"
        R"~("data":["demo.Viewer",-5,3000000000,7,)~"
        R"~({"a":{"type":"i","data":1},"b":{"type":"s","data":"two"}}]}]],)~"
        R"~(["%1","a.b","Take","(ssiua{sv})",[{"type":"(ssiua{sv})",)~"
        R"~("data":["demo.Viewer","indexer",-6,4294967295,)~"
        R"~({"a":{"type":"i","data":1},"b":{"type":"s","data":"two"}}]}]]]]})~";
    QCOMPARE(loggedByBusctl(), QString::fromUtf8(expected).arg(OSTREL_SERVICE_PATH));
}

void TestApplicationRecords::emptyVectorsKeepTheirSignatures()
{
    send(QVariant::fromValue(RunningApplication{}));
    send(QVariant::fromValue(RunningService{}));
    send(QVariant::fromValue(QVector<RunningApplication>{}));
    send(QVariant::fromValue(QVector<RunningService>{}));
    QStringList signatures;
    const QVector<Call> calls = m_simulator.calls();
    for (const Call &call : calls) {
        signatures.append(call.signature);
    }
    QCOMPARE(signatures,
             (QStringList{"(siuua{sv})", "(ssiua{sv})", "a(siuua{sv})", "a(ssiua{sv})"}));

    const QString logged = loggedByBusctl();
    const char *const application = R"~([{"type":"(siuua{sv})","data":["",0,0,0,{}]}])~";
    const char *const service = R"~([{"type":"(ssiua{sv})","data":["","",0,0,{}]}])~";
    QVERIFY2(logged.contains(application), qPrintable(logged));
    QVERIFY2(logged.contains(service), qPrintable(logged));
}

void TestApplicationRecords::recordsComeBackEqual()
{
    const QVariantMap properties{{"title", "x"}, {"list", QStringList{"y"}}};
    const QVector<RunningApplication> applications{
        {"a", -1, ApplicationState(255), ApplicationKind(4294967295U), properties},
        {QString(), 2147483647, ApplicationState(256), ApplicationKind(0), {}},
    };
    const QVector<RunningService> services{
        {"a", "b", -2147483647 - 1, ServiceState(9), properties},
        {"c", "ü", 0, ServiceState(0), {}},
    };
    send(QVariant::fromValue(applications));
    send(QVariant::fromValue(services));
    send(QVariant::fromValue(applications.at(0)));
    send(QVariant::fromValue(services.at(0)));
    const QString logged = loggedByBusctl();
    const char *const application =
        R"~(["a",-1,255,4294967295,{"list":{"type":"as","data":["y"]},)~"
        R"~("title":{"type":"s","data":"x"}}],["",2147483647,256,0,{}]])~";
    QVERIFY2(logged.contains(application), qPrintable(logged));
    const QVector<Call> calls = m_simulator.calls();
    QCOMPARE(calls.at(0).signature, "a(siuua{sv})");
    QCOMPARE(calls.at(1).signature, "a(ssiua{sv})");

    QVector<RunningApplication> readApplications{RunningApplication{}};
    calls.at(0).arguments.at(0).value<QDBusArgument>() >> readApplications;
    QCOMPARE(text(readApplications), text(applications));
    QCOMPARE(readApplications.at(0).properties, properties);

    QVector<RunningService> readServices{RunningService{}};
    calls.at(1).arguments.at(0).value<QDBusArgument>() >> readServices;
    QCOMPARE(text(readServices), text(services));
    QCOMPARE(readServices.at(0).properties, properties);

    // Through the registration, as qdbus_cast() and typed replies read.
    QCOMPARE(text(qdbus_cast<RunningApplication>(calls.at(2).arguments.at(0))),
             text(applications.at(0)));
    QCOMPARE(text(qdbus_cast<RunningService>(calls.at(3).arguments.at(0))), text(services.at(0)));
}

void TestApplicationRecords::emptyVectorsComeBackEmpty()
{
    send(QVariant::fromValue(QVector<RunningApplication>{}));
    send(QVariant::fromValue(QVector<RunningService>{}));
    const QVector<Call> calls = m_simulator.calls();

    QVector<RunningApplication> applications(3, RunningApplication{});
    calls.at(0).arguments.at(0).value<QDBusArgument>() >> applications;
    QVERIFY(applications.isEmpty());
    QVector<RunningService> services(3, RunningService{});
    calls.at(1).arguments.at(0).value<QDBusArgument>() >> services;
    QVERIFY(services.isEmpty());
}

OSTREL_TEST_MAIN(TestApplicationRecords)

#include "tst_application_records.moc"
