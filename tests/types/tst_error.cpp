// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "DBus/names_p.h"
#include "Ostrel/error_p.h"

#include <Ostrel/Testing/Main>

#include <DBus/types.h>

#include <QtCore/QMetaProperty>
#include <QtDBus/QDBusMessage>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

using Ostrel::Error;

namespace
{

QDBusError busError(const QString &name, const QString &message = "text")
{
    return QDBusError(QDBusMessage::createError(name, message));
}

template <typename Left, typename Right, typename = void> constexpr bool areComparable = false;
template <typename Left, typename Right>
constexpr bool areComparable<Left, Right,
                             std::void_t<decltype(std::declval<Left>() == std::declval<Right>()),
                                         decltype(std::declval<Left>() != std::declval<Right>())>> =
    true;

} // namespace

class TestError : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void errorsAreMappedInManyThreads();
    void codesHaveTheirNumbers_data();
    void codesHaveTheirNumbers();
    void errorStoresCodeAndMessage();
    void defaultIsASuccess();
    void errorIsCopiedAsAValue();
    void errorDoesNotCompareWithACode();
    void busErrorNamesAreMapped_data();
    void busErrorNamesAreMapped();
    void invalidBusErrorIsASuccess();
    void noErrorNameKeepsItsMessage();
    void messageIsKept_data();
    void messageIsKept();
    void busErrorNameIsThatOfAFailure();
    void errorIsPrintedWithNameAndMessage_data();
    void errorIsPrintedWithNameAndMessage();
    void errorFitsIntoAVariant();
    void errorHasPropertiesForQml();
    void recordsArePrintedWithTheirMembers();
};

void TestError::codesHaveTheirNumbers_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("number");

    QTest::newRow("NoError") << int(Error::NoError) << 0;
    QTest::newRow("Failed") << int(Error::Failed) << 1;
    QTest::newRow("HandlerNotFound") << int(Error::HandlerNotFound) << 2;
    QTest::newRow("HandlerFailed") << int(Error::HandlerFailed) << 3;
    QTest::newRow("InvalidArgs") << int(Error::InvalidArgs) << 4;
    QTest::newRow("NotSupported") << int(Error::NotSupported) << 5;
    QTest::newRow("AccessDenied") << int(Error::AccessDenied) << 6;
    QTest::newRow("ProcessNotHandled") << int(Error::ProcessNotHandled) << 7;
    QTest::newRow("ApplicationNotRunning") << int(Error::ApplicationNotRunning) << 8;
    QTest::newRow("ApplicationAlreadyRunning") << int(Error::ApplicationAlreadyRunning) << 9;
}

void TestError::codesHaveTheirNumbers()
{
    QFETCH(int, code);
    QTEST(code, "number");
    QCOMPARE(Error(Error::Code(code)).name(), QTest::currentDataTag());
    static_assert(std::is_same_v<std::underlying_type_t<Error::Code>, qint32>);
}

void TestError::errorStoresCodeAndMessage()
{
    const Error error(Error::HandlerFailed, "no such handler");
    QCOMPARE(error.code(), Error::HandlerFailed);
    QCOMPARE(error.message(), "no such handler");
    QVERIFY(error.isError());
    QVERIFY(bool(error));

    const Error success(Error::NoError, "kept");
    QCOMPARE(success.code(), Error::NoError);
    QCOMPARE(success.message(), "kept");
    QVERIFY(!success.isError());
    QVERIFY(!bool(success));
}

void TestError::defaultIsASuccess()
{
    const Error error;
    QCOMPARE(error.code(), Error::NoError);
    QVERIFY(error.message().isNull());
    QVERIFY(!error);

    const Error failed = Error::Failed;
    QVERIFY(failed);
    QVERIFY(failed.message().isNull());
}

void TestError::errorIsCopiedAsAValue()
{
    static_assert(!std::is_polymorphic_v<Error>);
    static_assert(std::is_convertible_v<Error, bool>);

    Error copy;
    {
        const Error original(Error::AccessDenied, "not you");
        copy = original;
    }
    QCOMPARE(copy.code(), Error::AccessDenied);
    QCOMPARE(copy.message(), "not you");
}

// Without the deleted operators it would compile, and compare isError() with the number of the
// code.
void TestError::errorDoesNotCompareWithACode()
{
    static_assert(!areComparable<Error, Error::Code>);
    static_assert(!areComparable<Error::Code, Error>);
    static_assert(!areComparable<Error, Error>);
    static_assert(areComparable<Error::Code, Error::Code>);
}

void TestError::busErrorNamesAreMapped_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");

    const auto service = [](const char *rest, int code) {
        const QString name = OSTREL_SERVICE_NAME + QLatin1String(rest);
        QTest::newRow(qPrintable("service" + QLatin1String(rest))) << name << code;
    };
    service(".Error.NoError", 0);
    service(".Error.HandlerNotFound", 2);
    service(".Error.HandlerFailed", 3);
    service(".Error.ProcessNotHandled", 7);
    service(".Error.ApplicationNotRunning", 8);
    service(".Error.ApplicationAlreadyRunning", 9);
    // Names with the wrong prefix give Failed.
    service(".Error.Failed", 1);
    service(".Error.InvalidArgs", 1);
    service(".Error.NotSupported", 1);
    service(".Error.AccessDenied", 1);
    service(".Error.handlerfailed", 1);
    service(".Error.HandlerFailed.More", 1);
    service(".Error.Unheard", 1);
    service(".error.HandlerFailed", 1);
    service(".HandlerFailed", 1);
    service(".ErrorX.HandlerFailed", 1);

    // Names without a prefix give Failed as well.
    for (const char *name : {"HandlerNotFound", "NotSupported", "AccessDenied"}) {
        QTest::newRow(name) << name << 1;
    }

    const auto standard = [](const char *name, int code) { QTest::newRow(name) << name << code; };
    standard("org.freedesktop.DBus.Error.Failed", 1);
    standard("org.freedesktop.DBus.Error.InvalidArgs", 4);
    standard("org.freedesktop.DBus.Error.NotSupported", 5);
    standard("org.freedesktop.DBus.Error.AccessDenied", 6);
    standard("org.freedesktop.DBus.Error.NoError", 1);
    standard("org.freedesktop.DBus.Error.HandlerNotFound", 1);
    standard("org.freedesktop.DBus.Error.HandlerFailed", 1);
    standard("org.freedesktop.DBus.Error.ProcessNotHandled", 1);
    standard("org.freedesktop.DBus.Error.ApplicationNotRunning", 1);
    standard("org.freedesktop.DBus.Error.ApplicationAlreadyRunning", 1);
    standard("org.freedesktop.DBus.Error.failed", 1);
    standard("org.freedesktop.DBus.Error.accessdenied", 1);
    standard("org.freedesktop.DBus.Error.ServiceUnknown", 1);
    standard("org.freedesktop.DBus.Error.UnknownMethod", 1);
    standard("org.freedesktop.DBus.Error.NoReply", 1);
    standard("org.freedesktop.DBus.Error.Disconnected", 1);
    standard("org.freedesktop.DBus.error.AccessDenied", 1);
    standard("com.example.Error.Failed", 1);
    standard("com.example.AccessDenied", 1);
    standard("x.org.freedesktop.DBus.Error.AccessDenied", 1);

    // The prefix is removed wherever it occurs, not only at the beginning.
    const QString prefix = QString(OSTREL_SERVICE_NAME) + ".Error.";
    const QString freedesktop = "org.freedesktop.DBus.Error.";
    QTest::newRow("service prefix twice at the beginning")
        << prefix + prefix + "HandlerFailed" << 3;
    QTest::newRow("service prefix again within") << prefix + "Handler" + prefix + "Failed" << 3;
    QTest::newRow("service prefix again at the end") << prefix + "HandlerFailed" + prefix << 3;
    QTest::newRow("standard prefix twice") << freedesktop + freedesktop + "AccessDenied" << 6;
    QTest::newRow("standard prefix again within")
        << freedesktop + "Access" + freedesktop + "Denied" << 6;
    QTest::newRow("standard prefix behind the service's")
        << prefix + freedesktop + "AccessDenied" << 1;
    QTest::newRow("service prefix behind the standard one")
        << freedesktop + prefix + "HandlerFailed" << 1;
}

void TestError::busErrorNamesAreMapped()
{
    QFETCH(QString, name);
    const QDBusError error = busError(name);
    QVERIFY(error.isValid());
    QCOMPARE(error.name(), name);

    const Error mapped = Ostrel::fromDBusError(error);
    QTEST(int(mapped.code()), "code");
    QCOMPARE(mapped.message(), "text");
    QCOMPARE(mapped.busErrorName(), mapped ? name : QString());
}

void TestError::invalidBusErrorIsASuccess()
{
    const Error none = Ostrel::fromDBusError(QDBusError());
    QCOMPARE(none.code(), Error::NoError);
    QVERIFY(none.message().isNull());
    QVERIFY(!none.isError());
    QVERIFY(!none);

    // An error without a name is invalid, and its message is ignored.
    const Error nameless = Ostrel::fromDBusError(busError(QString()));
    QCOMPARE(nameless.code(), Error::NoError);
    QVERIFY(nameless.message().isNull());

    // This one is invalid, although it has a name.
    const Error named = Ostrel::fromDBusError(QDBusError(QDBusError::NoError, "text"));
    QCOMPARE(named.code(), Error::NoError);
    QVERIFY(named.message().isNull());
}

void TestError::noErrorNameKeepsItsMessage()
{
    const Error error =
        Ostrel::fromDBusError(busError(OSTREL_SERVICE_NAME ".Error.NoError", "fine"));
    QCOMPARE(error.code(), Error::NoError);
    QVERIFY(!error.isError());
    QCOMPARE(error.message(), "fine");
}

void TestError::messageIsKept_data()
{
    QTest::addColumn<QString>("message");
    QTest::newRow("empty") << QString();
    QTest::newRow("lines") << " two\nlines ";
    QTest::newRow("beyond ASCII") << "läuft nicht — \xf0\x9f\x9a\xab";
    QTest::newRow("percent") << "%1 %s";
}

void TestError::messageIsKept()
{
    QFETCH(QString, message);
    const Error error =
        Ostrel::fromDBusError(busError("org.freedesktop.DBus.Error.NotSupported", message));
    QCOMPARE(error.code(), Error::NotSupported);
    QCOMPARE(error.message(), message);
}

void TestError::busErrorNameIsThatOfAFailure()
{
    QVERIFY(Error().busErrorName().isNull());
    QVERIFY(Error(Error::Failed, "mine").busErrorName().isNull());
    QVERIFY(Ostrel::fromDBusError(QDBusError()).busErrorName().isNull());

    const QString name = "org.freedesktop.DBus.Error.AccessDenied";
    const Error failed = Ostrel::failedWith(busError(name));
    QCOMPARE(failed.code(), Error::Failed);
    QCOMPARE(failed.busErrorName(), name);
    Error copy;
    copy = failed;
    QCOMPARE(copy.busErrorName(), name);
}

void TestError::errorIsPrintedWithNameAndMessage_data()
{
    QTest::addColumn<Error>("error");
    QTest::addColumn<QString>("text");
    QTest::newRow("success") << Error() << "Ostrel::Error(NoError, \"\")";
    QTest::newRow("failure") << Error(Error::HandlerNotFound, "no \"handler\"")
                             << "Ostrel::Error(HandlerNotFound, \"no \\\"handler\\\"\")";
    QTest::newRow("unknown code") << Error(Error::Code(42), "new") << "Ostrel::Error(42, \"new\")";
}

void TestError::errorIsPrintedWithNameAndMessage()
{
    QFETCH(const Error, error);
    QString printed;
    // The settings of the stream stay as they were.
    QDebug(&printed).noquote().nospace() << error << QString("next") << QString("word");
    QFETCH(const QString, text);
    QCOMPARE(printed, text + "nextword");
}

void TestError::errorFitsIntoAVariant()
{
    const QVariant variant = QVariant::fromValue(Error(Error::Failed, "text"));
    QVERIFY(variant.userType() != QMetaType::Bool);
    QCOMPARE(variant.value<Error>().message(), "text");
    QVERIFY(Error(Error::Code(42)).name().isNull());
}

void TestError::errorHasPropertiesForQml()
{
    const Error error = Ostrel::fromDBusError(busError(OSTREL_ERROR_PREFIX "HandlerFailed"));
    const QMetaObject &type = Error::staticMetaObject;
    QCOMPARE(QMetaType::metaObjectForType(qMetaTypeId<Error>()), &type);
    QVariantMap values;
    for (int i = 0; i < type.propertyCount(); ++i) {
        QVERIFY(!type.property(i).isWritable());
        values.insert(type.property(i).name(), type.property(i).readOnGadget(&error).toString());
    }
    QCOMPARE(values,
             (QVariantMap{{"busErrorName", OSTREL_ERROR_PREFIX "HandlerFailed"},
                          {"code", "3"},
                          {"message", "text"},
                          {"name", "HandlerFailed"}}));
    QCOMPARE(QMetaEnum::fromType<Error::Code>().keyCount(), 10);
}

void TestError::recordsArePrintedWithTheirMembers()
{
    const auto printed = [](const auto &record) {
        QString text;
        QDebug(&text) << record;
        return text.trimmed();
    };
    const QVariantMap properties{{"k", 3}};
    const QString map = "QMap((\"k\", QVariant(int, 3)))";
    const QString a = "a";
    const QString b = "b";
    QCOMPARE(printed(Ostrel::RunningApplication{a, 7, Ostrel::ApplicationState(1),
                                                Ostrel::ApplicationKind(2), properties}),
             QString("Ostrel::RunningApplication(\"a\", 7, 1, 2, %1)").arg(map));
    QCOMPARE(printed(Ostrel::RunningService{a, b, 7, Ostrel::ServiceState(1), properties}),
             QString("Ostrel::RunningService(\"a\", \"b\", 7, 1, %1)").arg(map));
    QCOMPARE(printed(Ostrel::TaskState{a, 3, properties}),
             QString("Ostrel::TaskState(\"a\", 3, %1)").arg(map));
    QCOMPARE(printed(Ostrel::AvailableTask{a, properties}),
             QString("Ostrel::AvailableTask(\"a\", %1)").arg(map));
    QCOMPARE(printed(Ostrel::ActiveTask{a, 7, properties}),
             QString("Ostrel::ActiveTask(\"a\", 7, %1)").arg(map));
}

// This test comes first: several threads use the tables for the first time.
void TestError::errorsAreMappedInManyThreads()
{
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&right] {
            for (int round = 0; round < 200; ++round) {
                const Error error =
                    Ostrel::fromDBusError(busError(OSTREL_SERVICE_NAME ".Error.ProcessNotHandled"));
                right += error.code() == Error::ProcessNotHandled ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    QCOMPARE(right.load(), 1600);
}

OSTREL_TEST_MAIN(TestError)

#include "tst_error.moc"
