// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "busctl.h"
#include "files.h"
#include "kit.h"

#include <Ostrel/Testing/Main>

// A device vendor's own prefix is checked, and reaches every name.
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

// Runs only the script that every configuration includes.
Result check(const QString &prefix)
{
    return run(CMAKE,
               {"-DOSTREL_VENDOR_PREFIX=" + prefix, "-P", SOURCE_DIR "/cmake/OstrelNames.cmake"});
}

Result configure(const QString &folder, const QString &prefix)
{
    return run(CMAKE,
               {"-G", "Ninja", "-S", SOURCE_DIR, "-B", folder, "-DBUILD_TESTING=OFF",
                "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                "-DOSTREL_VENDOR_PREFIX=" + prefix});
}

} // namespace

void TestVendorPrefix::badPrefixesStopTheConfiguration_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix :
         {"", "com", "com.", ".com", "com..example", "com.1example", "1com.example", "com.exa-mple",
          "com.exa mple", "com.example.", "com/example", "com.example;x", "com.ex\xc3\xa4mple"}) {
        QTest::newRow(prefix) << prefix;
    }
}

void TestVendorPrefix::badPrefixesStopTheConfiguration()
{
    QFETCH(QString, prefix);
    const Result result = check(prefix);
    QVERIFY(result.exitStatus != 0);
    // CMake wraps its messages.
    QVERIFY2(result.errors.simplified().contains(
                 QString("OSTREL_VENDOR_PREFIX is \"%1\", which is no D-Bus name prefix: it "
                         "takes two or more elements joined by dots")
                     .arg(prefix)),
             qPrintable(result.errors));
}

void TestVendorPrefix::goodPrefixesAreAccepted_data()
{
    QTest::addColumn<QString>("prefix");
    for (const char *const prefix : {"com.example", "com.example.device", "_a._b", "a1.B2"}) {
        QTest::newRow(prefix) << prefix;
    }
    QTest::newRow("200 characters") << "a." + QString(198, 'b');
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
    QVERIFY(configure(folder.path(), "example").exitStatus != 0);
    const Result tooLong = configure(folder.path(), "a." + QString(199, 'b'));
    QVERIFY(tooLong.exitStatus != 0);
    QVERIFY2(tooLong.errors.simplified().contains("OSTREL_VENDOR_PREFIX has 201 characters"),
             qPrintable(tooLong.errors));
}

// In the sanitizers' build, the prefix is not the default one.
void TestVendorPrefix::prefixReachesEveryName()
{
    const QString name = VENDOR_PREFIX ".Ostrel";
    const QString path = '/' + QString(name).replace('.', '/');
    const PrivateBus bus;
    Process simulator(SIMULATOR, {});
    simulator.start();
    QCOMPARE(simulator.readLine().section(';', 0, 0),
             QString("ostrel-simulator: %1 is ready on the session bus").arg(name));
    const Result window = run(OSTRELCTL, QString("window main 4 5 6").split(' '));
    QCOMPARE(window.errors, QString());
    QCOMPARE(window.output, "4\n");

    const auto desk = [&](const QStringList &call) {
        return busctl(bus,
                      QStringList{"call", name, path + "/Simulator1", name + ".Simulator1"} + call);
    };
    QCOMPARE(desk({"Calls"}).output,
             QString("a(ssssav) 1 \"%1/WindowManagement1\" \"%2.WindowManagement1\" "
                     "\"UpdateWindowStatus\" \"siii\" 4 s \"main\" i 4 i 5 i 6\n")
                 .arg(path, name));

    const Result fail = desk({"FailNext", "ssss", name + ".WindowManagement1", "UpdateWindowStatus",
                              name + ".Error.HandlerFailed", "text"});
    QCOMPARE(fail.exitStatus, 0);
    const Result failed = run(OSTRELCTL, QString("window main 4 5 6").split(' '));
    QCOMPARE(failed.errors, "error: HandlerFailed: text\n");

    // The files that other programs read.
    const QString windowManagement = name + ".WindowManagement1";
    QVERIFY(readFile(QString(INTERFACES_DIR "/%1.xml").arg(windowManagement))
                .contains(QString("\"%1\"").arg(windowManagement)));
    QVERIFY(readFile(BUILD_DIR "/ostrel-system-qt5.pc")
                .contains(QString("service_name=%1\n").arg(name)));
}

OSTREL_TEST_MAIN(TestVendorPrefix)

#include "tst_vendor_prefix.moc"
