// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "simulator.h"
#include "test_main.h"
#include "warnings.h"

#include "DBus/names_p.h"
#include "DBus/types_p.h"

#include <QtDBus/QDBusMetaType>

#include <optional>
#include <utility>
#include <vector>

using Ostrel::ApplicationKind;
using Ostrel::ApplicationState;
using Ostrel::RunningApplication;
using Ostrel::RunningService;
using Ostrel::ServiceState;

namespace
{

// What a record holds, as text: members in their order, with the properties as "key=value".
QString text(const QVariantMap &properties)
{
    QStringList entries;
    for (auto entry = properties.cbegin(); entry != properties.cend(); ++entry) {
        entries.append(entry.key() + QLatin1Char('=') + entry.value().toString());
    }
    return entries.join(QLatin1Char(','));
}

QString text(const RunningApplication &application)
{
    return QStringLiteral("%1 %2 %3 %4 {%5}")
        .arg(application.appId)
        .arg(application.pid)
        .arg(quint32(application.state))
        .arg(quint32(application.kind))
        .arg(text(application.properties));
}

QString text(const RunningService &service)
{
    return QStringLiteral("%1 %2 %3 %4 {%5}")
        .arg(service.appId, service.name)
        .arg(service.pid)
        .arg(quint32(service.state))
        .arg(text(service.properties));
}

template <typename Record> QString text(const QVector<Record> &records)
{
    QStringList texts;
    for (const Record &record : records) {
        texts.append(text(record));
    }
    return texts.join(QStringLiteral("; "));
}

// A record that holds something in every member, so that a reader that leaves one out is seen.
template <typename Record> Record filled();

template <> RunningApplication filled()
{
    return {QStringLiteral("old"), 99, ApplicationState(98), ApplicationKind(97),
            QVariantMap{{QStringLiteral("old"), 96}}};
}

template <> RunningService filled()
{
    return {QStringLiteral("old"), QStringLiteral("old"), 99, ServiceState(98),
            QVariantMap{{QStringLiteral("old"), 96}}};
}

} // namespace

// The records as another process sends and receives them. The values are made and seen by busctl,
// which shares no code with Qt.
class TestApplicationRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void haveTheirSignatures();
    void applicationStateHoldsAnyNumber();
    void goOutMemberByMember();
    void emptyOnesGoOutWithTheirSignatures();
    void comeBackEqual();
    void emptyVectorsComeBackEmpty();
    void readOneApplication_data();
    void readOneApplication();
    void readOneService_data();
    void readOneService();
    void readManyApplications_data();
    void readManyApplications();
    void readManyServices_data();
    void readManyServices();
    void qtsOwnListsEndOnAMap();

private:
    // Has the value sent by busctl in a structure with a marker behind it.
    QDBusArgument received(const QString &signature, const QString &value);

    template <typename Target> void readAndCompare(Target target);

    // Sends a call that the simulator refuses, but logs.
    void send(const QVariant &argument);
    QString loggedByBusctl();

    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestApplicationRecords::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();
    qDBusRegisterMetaType<RunningApplication>();
    qDBusRegisterMetaType<QVector<RunningApplication>>();
    qDBusRegisterMetaType<RunningService>();
    qDBusRegisterMetaType<QVector<RunningService>>();
}

void TestApplicationRecords::cleanup()
{
    m_simulator->reset();
}

QDBusArgument TestApplicationRecords::received(const QString &signature, const QString &value)
{
    QStringList words = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    words.replaceInStrings(QStringLiteral("''"), QString());
    busctlAnswerNext(*m_bus, QLatin1Char('(') + signature + QStringLiteral("s)"),
                     words + QStringList(QStringLiteral("marker")));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME),
                                       QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH),
                                       QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
                                       QStringLiteral("UpdateWindowStatus"))
        << QString() << 0 << 0 << 0);
    return reply.arguments().value(0).value<QDBusArgument>();
}

template <typename Target> void TestApplicationRecords::readAndCompare(Target target)
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    const QDBusArgument argument = received(signature, value);
    QCOMPARE(argument.currentSignature(), QLatin1Char('(') + signature + QStringLiteral("s)"));

    const Warnings warnings;
    QString marker;
    argument.beginStructure();
    const QDBusArgument &returned = argument >> target;
    QCOMPARE(&returned, &argument);
    // The reader has stepped over exactly one value, whatever it was.
    QCOMPARE(argument.currentSignature(), QStringLiteral("s"));
    argument >> marker;
    argument.endStructure();
    QCOMPARE(marker, QStringLiteral("marker"));
    QTEST(text(target), "content");
    QCOMPARE(warnings.texts(), QStringList());
}

void TestApplicationRecords::send(const QVariant &argument)
{
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(QStringLiteral(OSTREL_SERVICE_NAME),
                                       QStringLiteral(OSTREL_SERVICE_PATH), QStringLiteral("a.b"),
                                       QStringLiteral("Take"))
        << argument);
}

QString TestApplicationRecords::loggedByBusctl()
{
    return busctlDesk(*m_bus, QStringLiteral("Calls"));
}

void TestApplicationRecords::haveTheirSignatures()
{
    const auto signature = [](int type) {
        return QString::fromLatin1(QDBusMetaType::typeToSignature(type));
    };
    QCOMPARE(signature(qMetaTypeId<RunningApplication>()), QStringLiteral("(siuua{sv})"));
    QCOMPARE(signature(qMetaTypeId<RunningService>()), QStringLiteral("(ssiua{sv})"));
    QCOMPARE(signature(qMetaTypeId<QVector<RunningApplication>>()), QStringLiteral("a(siuua{sv})"));
    QCOMPARE(signature(qMetaTypeId<QVector<RunningService>>()), QStringLiteral("a(ssiua{sv})"));
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

void TestApplicationRecords::goOutMemberByMember()
{
    const QVariantMap properties{{QStringLiteral("b"), QStringLiteral("two")},
                                 {QStringLiteral("a"), 1}};
    send(QVariant::fromValue(RunningApplication{QStringLiteral("demo.Viewer"), -5,
                                                ApplicationState(3000000000U), ApplicationKind(7),
                                                properties}));
    send(
        QVariant::fromValue(RunningService{QStringLiteral("demo.Viewer"), QStringLiteral("indexer"),
                                           -6, ServiceState(4294967295U), properties}));
    const char *const expected =
        R"~({"type":"a(ssssav)","data":[[)~"
        R"~(["%1","a.b","Take","(siuua{sv})",[{"type":"(siuua{sv})",)~"
        R"~("data":["demo.Viewer",-5,3000000000,7,)~"
        R"~({"a":{"type":"i","data":1},"b":{"type":"s","data":"two"}}]}]],)~"
        R"~(["%1","a.b","Take","(ssiua{sv})",[{"type":"(ssiua{sv})",)~"
        R"~("data":["demo.Viewer","indexer",-6,4294967295,)~"
        R"~({"a":{"type":"i","data":1},"b":{"type":"s","data":"two"}}]}]]]]})~";
    QCOMPARE(loggedByBusctl(),
             QString::fromUtf8(expected).arg(QStringLiteral(OSTREL_SERVICE_PATH)));
}

void TestApplicationRecords::emptyOnesGoOutWithTheirSignatures()
{
    send(QVariant::fromValue(RunningApplication{}));
    send(QVariant::fromValue(RunningService{}));
    send(QVariant::fromValue(QVector<RunningApplication>{}));
    send(QVariant::fromValue(QVector<RunningService>{}));
    QStringList signatures;
    const QVector<Call> calls = m_simulator->calls();
    for (const Call &call : calls) {
        signatures.append(call.signature);
    }
    QCOMPARE(signatures,
             (QStringList{QStringLiteral("(siuua{sv})"), QStringLiteral("(ssiua{sv})"),
                          QStringLiteral("a(siuua{sv})"), QStringLiteral("a(ssiua{sv})")}));

    const QString logged = loggedByBusctl();
    const char *const application = R"~([{"type":"(siuua{sv})","data":["",0,0,0,{}]}])~";
    const char *const service = R"~([{"type":"(ssiua{sv})","data":["","",0,0,{}]}])~";
    QVERIFY2(logged.contains(QLatin1String(application)), qPrintable(logged));
    QVERIFY2(logged.contains(QLatin1String(service)), qPrintable(logged));
}

void TestApplicationRecords::comeBackEqual()
{
    const QVariantMap properties{{QStringLiteral("title"), QStringLiteral("x")},
                                 {QStringLiteral("list"), QStringList{QStringLiteral("y")}}};
    const QVector<RunningApplication> applications{
        {QStringLiteral("a"), -1, ApplicationState(255), ApplicationKind(4294967295U), properties},
        {QString(), 2147483647, ApplicationState(256), ApplicationKind(0), {}},
    };
    const QVector<RunningService> services{
        {QStringLiteral("a"), QStringLiteral("b"), -2147483647 - 1, ServiceState(9), properties},
        {QStringLiteral("c"), QString::fromUtf8("ü"), 0, ServiceState(0), {}},
    };
    send(QVariant::fromValue(applications));
    send(QVariant::fromValue(services));
    send(QVariant::fromValue(applications.at(0)));
    send(QVariant::fromValue(services.at(0)));
    const QString logged = loggedByBusctl();
    const char *const application =
        R"~(["a",-1,255,4294967295,{"list":{"type":"as","data":["y"]},)~"
        R"~("title":{"type":"s","data":"x"}}],["",2147483647,256,0,{}]])~";
    QVERIFY2(logged.contains(QLatin1String(application)), qPrintable(logged));
    const QVector<Call> calls = m_simulator->calls();
    QCOMPARE(calls.at(0).signature, QStringLiteral("a(siuua{sv})"));
    QCOMPARE(calls.at(1).signature, QStringLiteral("a(ssiua{sv})"));

    QVector<RunningApplication> readApplications{filled<RunningApplication>()};
    calls.at(0).arguments.at(0).value<QDBusArgument>() >> readApplications;
    QCOMPARE(text(readApplications), text(applications));
    QCOMPARE(readApplications.at(0).properties, properties);

    QVector<RunningService> readServices{filled<RunningService>()};
    calls.at(1).arguments.at(0).value<QDBusArgument>() >> readServices;
    QCOMPARE(text(readServices), text(services));
    QCOMPARE(readServices.at(0).properties, properties);

    // By way of the registration, as qdbus_cast() and typed replies go.
    QCOMPARE(text(qdbus_cast<RunningApplication>(calls.at(2).arguments.at(0))),
             text(applications.at(0)));
    QCOMPARE(text(qdbus_cast<RunningService>(calls.at(3).arguments.at(0))), text(services.at(0)));
}

void TestApplicationRecords::emptyVectorsComeBackEmpty()
{
    send(QVariant::fromValue(QVector<RunningApplication>{}));
    send(QVariant::fromValue(QVector<RunningService>{}));
    const QVector<Call> calls = m_simulator->calls();

    QVector<RunningApplication> applications(3, filled<RunningApplication>());
    calls.at(0).arguments.at(0).value<QDBusArgument>() >> applications;
    QVERIFY(applications.isEmpty());
    QVector<RunningService> services(3, filled<RunningService>());
    calls.at(1).arguments.at(0).value<QDBusArgument>() >> services;
    QVERIFY(services.isEmpty());
}

namespace
{

struct Row
{
    const char *signature;
    const char *value; // in busctl's form; '' is an empty string
    const char *content;
};

void addRows(const std::vector<Row> &rows)
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("content");
    for (const Row &row : rows) {
        QTest::addRow("%s: %s", row.signature, row.value)
            << QString::fromLatin1(row.signature) << QString::fromLatin1(row.value)
            << QString::fromLatin1(row.content);
    }
}

// Values that are no structure at all, and what a reader makes of them.
std::vector<Row> andOthers(std::vector<Row> rows, const char *content)
{
    const std::vector<std::pair<const char *, const char *>> others{
        {"s", "x"},         {"i", "3"},  {"y", "3"},      {"b", "true"},        {"n", "-3"},
        {"q", "3"},         {"u", "3"},  {"x", "-3"},     {"t", "3"},           {"d", "1.5"},
        {"o", "/a"},        {"g", "as"}, {"v", "s x"},    {"v", "(si) x 3"},    {"v", "v v i 3"},
        {"as", "2 x y"},    {"as", "0"}, {"ay", "2 1 2"}, {"a{sv}", "1 k i 3"}, {"a{sv}", "0"},
        {"a{is}", "1 3 x"},
    };
    for (const auto &[signature, value] : others) {
        rows.push_back({signature, value, content});
    }
    return rows;
}

} // namespace

void TestApplicationRecords::readOneApplication_data()
{
    addRows(andOthers(
        {
            {"(siuua{sv})", "a -1 2 3 1 k s v", "a -1 2 3 {k=v}"},
            {"(siuua{sv})", "a 1 4294967295 4294967294 0", "a 1 4294967295 4294967294 {}"},
            {"(siuua{sv}s)", "a 1 2 3 0 more", "a 1 2 3 {}"},
            {"(s)", "a", "a 0 0 0 {}"},
            {"(si)", "a 1", "a 1 0 0 {}"},
            {"(siuu)", "a 1 2 3", "a 1 2 3 {}"},
            {"(ss)", "a b", "a 0 0 0 {}"},
            {"(is)", "1 a", " 0 0 0 {}"},
            {"(iiuua{sv})", "9 1 2 3 1 k s v", " 1 2 3 {k=v}"},
            {"(oiuua{sv})", "/a 1 2 3 1 k s v", " 1 2 3 {k=v}"},
            {"(suuua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(sxuua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(saiuua{sv})", "a 2 8 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(s(i)uua{sv})", "a 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(svuua{sv})", "a i 9 2 3 1 k s v", "a 0 2 3 {k=v}"},
            {"(siiua{sv})", "a 1 9 3 1 k s v", "a 1 0 3 {k=v}"},
            {"(siuia{sv})", "a 1 2 9 1 k s v", "a 1 2 0 {k=v}"},
            {"(siusa{sv})", "a 1 2 x 1 k s v", "a 1 2 0 {k=v}"},
            {"(siuua{ss})", "a 1 2 3 1 k v", "a 1 2 3 {}"},
            {"(siuua{iv})", "a 1 2 3 1 7 s v", "a 1 2 3 {}"},
            {"(siuuas)", "a 1 2 3 1 k", "a 1 2 3 {}"},
            {"(siuuv)", "a 1 2 3 a{sv} 1 k s v", "a 1 2 3 {}"},
            {"(siuu(sv))", "a 1 2 3 k s v", "a 1 2 3 {}"},
            {"((siuua{sv}))", "a 1 2 3 0", " 0 0 0 {}"},
            {"(v)", "(siuua{sv}) a 1 2 3 0", " 0 0 0 {}"},
            {"ai", "2 1 2", " 0 0 0 {}"},
            {"ai", "0", " 0 0 0 {}"},
            {"a(siuua{sv})", "1 a 1 2 3 0", " 0 0 0 {}"},
        },
        " 0 0 0 {}"));
}

void TestApplicationRecords::readOneApplication()
{
    readAndCompare(filled<RunningApplication>());
}

void TestApplicationRecords::readOneService_data()
{
    addRows(andOthers(
        {
            {"(ssiua{sv})", "a b -1 2 1 k s v", "a b -1 2 {k=v}"},
            {"(ssiua{sv})", "a b 1 4294967295 0", "a b 1 4294967295 {}"},
            {"(ssiua{sv}i)", "a b 1 2 0 3", "a b 1 2 {}"},
            {"(s)", "a", "a  0 0 {}"},
            {"(ss)", "a b", "a b 0 0 {}"},
            {"(siuua{sv})", "a 1 2 3 1 k s v", "a  0 3 {k=v}"},
            {"(isiua{sv})", "9 b 1 2 0", " b 1 2 {}"},
            {"(soiua{sv})", "a /b 1 2 0", "a  1 2 {}"},
            {"(ssuua{sv})", "a b 9 2 0", "a b 0 2 {}"},
            {"(ssiia{sv})", "a b 1 9 0", "a b 1 0 {}"},
            {"(ssiua{ss})", "a b 1 2 1 k v", "a b 1 2 {}"},
            {"(ss(iu)a{sv})", "a b 1 2 1 k s v", "a b 0 0 {}"},
            {"a(ssiua{sv})", "1 a b 1 2 0", "  0 0 {}"},
        },
        "  0 0 {}"));
}

void TestApplicationRecords::readOneService()
{
    readAndCompare(filled<RunningService>());
}

void TestApplicationRecords::readManyApplications_data()
{
    addRows(andOthers(
        {
            {"a(siuua{sv})", "0", ""},
            {"a(siuua{sv})", "2 b 1 2 3 0 a 4 5 6 1 k s v", "b 1 2 3 {}; a 4 5 6 {k=v}"},
            {"a(siuua{sv}s)", "1 a 1 2 3 0 more", "a 1 2 3 {}"},
            {"a(si)", "2 a 1 b 2", "a 1 0 0 {}; b 2 0 0 {}"},
            {"a(ss)", "2 a x b y", "a 0 0 0 {}; b 0 0 0 {}"},
            {"a(si)", "0", ""},
            {"ai", "3 1 2 3", ""},
            {"av", "2 s x (siuua{sv}) a 1 2 3 0", ""},
            {"aa{sv}", "1 1 k s v", ""},
            {"aas", "1 1 x", ""},
            {"(siuua{sv})", "a 1 2 3 0", ""},
        },
        ""));
}

void TestApplicationRecords::readManyApplications()
{
    readAndCompare(QVector<RunningApplication>(2, filled<RunningApplication>()));
}

void TestApplicationRecords::readManyServices_data()
{
    addRows(andOthers(
        {
            {"a(ssiua{sv})", "0", ""},
            {"a(ssiua{sv})", "2 b x 1 2 0 a y 4 5 1 k s v", "b x 1 2 {}; a y 4 5 {k=v}"},
            {"a(siuua{sv})", "1 a 1 2 3 1 k s v", "a  0 3 {k=v}"},
            {"ai", "3 1 2 3", ""},
            {"(ssiua{sv})", "a b 1 2 0", ""},
        },
        ""));
}

void TestApplicationRecords::readManyServices()
{
    readAndCompare(QVector<RunningService>(2, filled<RunningService>()));
}

// Qt's own reader of a list begins an array even where there is a map, and goes on until its end:
// the record's reader has to step over each entry.
void TestApplicationRecords::qtsOwnListsEndOnAMap()
{
    QList<RunningApplication> applications;
    const QDBusArgument argument =
        received(QStringLiteral("a{sv}"), QStringLiteral("2 k i 3 l s x"));
    argument.beginStructure();
    argument >> applications;
    argument.endStructure();
    QCOMPARE(applications.size(), 2);
    QCOMPARE(text(applications.at(0)), QStringLiteral(" 0 0 0 {}"));
}

OSTREL_TEST_MAIN(TestApplicationRecords)

#include "tst_application_records.moc"
