// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "private_bus.h"
#include "test_main.h"

// A device vendor's own prefix: which ones are accepted, and that it reaches every name.
class TestVendorPrefix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badOnesStopTheConfiguration_data();
    void badOnesStopTheConfiguration();
    void goodOnesAreAccepted_data();
    void goodOnesAreAccepted();
    void stopsTheWholeConfiguration();
    void reachesEveryName();
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

void TestVendorPrefix::badOnesStopTheConfiguration_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix :
         {"", "com", "com.", ".com", "com..example", "com.1example", "1com.example", "com.exa-mple",
          "com.exa mple", "com.example.", "com/example", "com.example;x", "com.ex\xc3\xa4mple"}) {
        QTest::newRow(prefix) << QString::fromUtf8(prefix);
    }
}

void TestVendorPrefix::badOnesStopTheConfiguration()
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

void TestVendorPrefix::goodOnesAreAccepted_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix : {"com.example", "com.example.device", "_a._b", "a1.B2"}) {
        QTest::newRow(prefix) << QString::fromUtf8(prefix);
    }
    QTest::newRow("200 characters") << QStringLiteral("a.") + QString(198, QLatin1Char('b'));
}

void TestVendorPrefix::goodOnesAreAccepted()
{
    QFETCH(QString, prefix);
    const Result result = check(prefix);
    QCOMPARE(result.errors, QString());
    QCOMPARE(result.exitStatus, 0);
}

void TestVendorPrefix::stopsTheWholeConfiguration()
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

void TestVendorPrefix::reachesEveryName()
{
    const QTemporaryDir folder;
    const Result configured = configure(folder.path(), QStringLiteral("com.example.device"));
    QVERIFY2(configured.exitStatus == 0, qPrintable(configured.errors));
    const Result built = run(QStringLiteral(CMAKE),
                             {QStringLiteral("--build"), folder.path(), QStringLiteral("--target"),
                              QStringLiteral("ostrelctl"), QStringLiteral("ostrel-simulator")},
                             QProcessEnvironment::systemEnvironment(), 30 * patience);
    QVERIFY2(built.exitStatus == 0, qPrintable(built.output));

    const PrivateBus bus;
    Process simulator(folder.filePath(QStringLiteral("tools/simulator/ostrel-simulator")), {});
    simulator.start();
    QCOMPARE(
        simulator.readLine(),
        QStringLiteral("ostrel-simulator: com.example.device.Ostrel is ready on the session bus"));
    const Result window = run(folder.filePath(QStringLiteral("tools/ostrelctl/ostrelctl")),
                              QStringLiteral("window main 4 5 6").split(QLatin1Char(' ')));
    QCOMPARE(window.errors, QString());
    QCOMPARE(window.output, QStringLiteral("4\n"));

    const auto desk = [&bus](const QStringList &call) {
        return run(QStringLiteral("busctl"),
                   QStringList{QStringLiteral("--address=%1").arg(bus.address()),
                               QStringLiteral("call"), QStringLiteral("com.example.device.Ostrel"),
                               QStringLiteral("/com/example/device/Ostrel/Simulator1"),
                               QStringLiteral("com.example.device.Ostrel.Simulator1")}
                       + call);
    };
    QCOMPARE(desk({QStringLiteral("Calls")}).output,
             QStringLiteral("a(ssssav) 1 \"/com/example/device/Ostrel/WindowManagement1\" "
                            "\"com.example.device.Ostrel.WindowManagement1\" "
                            "\"UpdateWindowStatus\" \"siii\" 4 s \"main\" i 4 i 5 i 6\n"));

    const Result fail = desk({QStringLiteral("FailNext"), QStringLiteral("ssss"),
                              QStringLiteral("com.example.device.Ostrel.WindowManagement1"),
                              QStringLiteral("UpdateWindowStatus"),
                              QStringLiteral("com.example.device.Ostrel.Error.HandlerFailed"),
                              QStringLiteral("text")});
    QCOMPARE(fail.exitStatus, 0);
    const Result failed = run(folder.filePath(QStringLiteral("tools/ostrelctl/ostrelctl")),
                              QStringLiteral("window main 4 5 6").split(QLatin1Char(' ')));
    QCOMPARE(failed.errors, QStringLiteral("error: HandlerFailed: text\n"));

    // The files that other programs read.
    QVERIFY(readFile(folder.filePath(QStringLiteral(
                         "interfaces/com.example.device.Ostrel.WindowManagement1.xml")))
                .contains(QStringLiteral("\"com.example.device.Ostrel.WindowManagement1\"")));
    QVERIFY(readFile(folder.filePath(QStringLiteral("ostrel-system-qt5.pc")))
                .contains(QStringLiteral("service_name=com.example.device.Ostrel\n")));
}

OSTREL_TEST_MAIN(TestVendorPrefix)

#include "tst_vendor_prefix.moc"
