// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "private_bus.h"
#include "test_main.h"

// A device vendor's own prefix: which ones are accepted, and that it reaches every name.
class TestVendorPrefix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badPrefixesStopTheConfiguration_data();
    void badPrefixesStopTheConfiguration();
    void goodPrefixesAreAccepted_data();
    void goodPrefixesAreAccepted();
    void badPrefixStopsTheWholeConfiguration();
    void prefixReachesEveryName();
};

namespace
{

// The script that every configuration includes, run alone.
Result check(const QString &prefix)
{
    return run(QStringLiteral(CMAKE),
               {QStringLiteral("-DOSTREL_VENDOR_PREFIX=") + prefix, QStringLiteral("-P"),
                QStringLiteral(SOURCE_DIR "/cmake/OstrelNames.cmake")});
}

Result configure(const QString &folder, const QString &prefix)
{
    return run(QStringLiteral(CMAKE),
               {QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-S"),
                QStringLiteral(SOURCE_DIR), QStringLiteral("-B"), folder,
                QStringLiteral("-DBUILD_TESTING=OFF"), QStringLiteral("-DCMAKE_BUILD_TYPE=Debug"),
                QStringLiteral("-DCMAKE_CXX_FLAGS_DEBUG=-O0"),
                QStringLiteral("-DOSTREL_VENDOR_PREFIX=") + prefix});
}

} // namespace

void TestVendorPrefix::badPrefixesStopTheConfiguration_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix :
         {"", "com", "com.", ".com", "com..example", "com.1example", "1com.example", "com.exa-mple",
          "com.exa mple", "com.example.", "com/example", "com.example;x", "com.ex\xc3\xa4mple"}) {
        QTest::newRow(prefix) << QString::fromUtf8(prefix);
    }
}

void TestVendorPrefix::badPrefixesStopTheConfiguration()
{
    QFETCH(QString, prefix);
    const Result result = check(prefix);
    QVERIFY(result.exitStatus != 0);
    // CMake breaks its messages into lines.
    QVERIFY2(result.errors.simplified().contains(
                 QStringLiteral("OSTREL_VENDOR_PREFIX is \"%1\", which is no D-Bus name prefix: it "
                                "takes two or more elements joined by dots")
                     .arg(prefix)),
             qPrintable(result.errors));
}

void TestVendorPrefix::goodPrefixesAreAccepted_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix : {"com.example", "com.example.device", "_a._b", "a1.B2"}) {
        QTest::newRow(prefix) << QString::fromUtf8(prefix);
    }
    QTest::newRow("200 characters") << QStringLiteral("a.") + QString(198, QLatin1Char('b'));
}

void TestVendorPrefix::goodPrefixesAreAccepted()
{
    QFETCH(QString, prefix);
    const Result result = check(prefix);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

void TestVendorPrefix::badPrefixStopsTheWholeConfiguration()
{
    const QTemporaryDir folder;
    QVERIFY(configure(folder.path(), QStringLiteral("example")).exitStatus != 0);
    const Result tooLong =
        configure(folder.path(), QStringLiteral("a.") + QString(199, QLatin1Char('b')));
    QVERIFY(tooLong.exitStatus != 0);
    QVERIFY2(tooLong.errors.simplified().contains(
                 QStringLiteral("OSTREL_VENDOR_PREFIX has 201 characters")),
             qPrintable(tooLong.errors));
}

// Where the tests run with the sanitizers, it is not the default one.
void TestVendorPrefix::prefixReachesEveryName()
{
    const QString name = QStringLiteral(VENDOR_PREFIX ".Ostrel");
    const QString path =
        QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/'));
    const PrivateBus bus;
    Process simulator(QStringLiteral(SIMULATOR), {});
    simulator.start();
    QCOMPARE(simulator.readLine(),
             QStringLiteral("ostrel-simulator: %1 is ready on the session bus").arg(name));
    const Result window =
        run(QStringLiteral(OSTRELCTL), QStringLiteral("window main 4 5 6").split(QLatin1Char(' ')));
    QCOMPARE(window.errors, QString());
    QCOMPARE(window.output, QStringLiteral("4\n"));

    const auto desk = [&](const QStringList &call) {
        return busctl(bus,
                      QStringList{QStringLiteral("call"), name,
                                  path + QStringLiteral("/Simulator1"),
                                  name + QStringLiteral(".Simulator1")}
                          + call);
    };
    QCOMPARE(desk({QStringLiteral("Calls")}).output,
             QStringLiteral("a(ssssav) 1 \"%1/WindowManagement1\" \"%2.WindowManagement1\" "
                            "\"UpdateWindowStatus\" \"siii\" 4 s \"main\" i 4 i 5 i 6\n")
                 .arg(path, name));

    const Result fail =
        desk({QStringLiteral("FailNext"), QStringLiteral("ssss"),
              name + QStringLiteral(".WindowManagement1"), QStringLiteral("UpdateWindowStatus"),
              name + QStringLiteral(".Error.HandlerFailed"), QStringLiteral("text")});
    QCOMPARE(fail.exitStatus, 0);
    const Result failed =
        run(QStringLiteral(OSTRELCTL), QStringLiteral("window main 4 5 6").split(QLatin1Char(' ')));
    QCOMPARE(failed.errors, QStringLiteral("error: HandlerFailed: text\n"));

    // The files that other programs read.
    const QString windowManagement = name + QStringLiteral(".WindowManagement1");
    QVERIFY(readFile(QStringLiteral(INTERFACES_DIR "/%1.xml").arg(windowManagement))
                .contains(QStringLiteral("\"%1\"").arg(windowManagement)));
    QVERIFY(readFile(QStringLiteral(BUILD_DIR "/ostrel-system-qt5.pc"))
                .contains(QStringLiteral("service_name=%1\n").arg(name)));
}

OSTREL_TEST_MAIN(TestVendorPrefix)

#include "tst_vendor_prefix.moc"
