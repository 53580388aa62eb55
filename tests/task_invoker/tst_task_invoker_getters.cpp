// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <limits>

using Ostrel::TaskInvoker;
using Hints = TaskInvoker::Hints;
using StartupInfo = TaskInvoker::StartupInfo;

// The startup information and the hints return what was set.
class TestTaskInvokerGetters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsSetAtFirst();
    void whatWasSetIsReturned();
    void mapsAreAdoptedUnchanged();
    void otherTypesAreConverted();
    void storedAutostartIsClamped_data();
    void storedAutostartIsClamped();
};

namespace
{

void compareWithNothing(const Hints &hints)
{
    QCOMPARE(hints.cpuLimit(), 0);
    QVERIFY(hints.user().isNull());
    QVERIFY(hints.dBusService().isNull());
    QVERIFY(!hints.isHomeless());
    QCOMPARE(hints.maximumRunningTime(), 0);
    QCOMPARE(hints.oomWeight(), 0);
    QCOMPARE(hints.permissions(), QStringList());
    QCOMPARE(hints.priority(), 0);
    QCOMPARE(hints.conditions(), QStringList());
    QCOMPARE(hints.autostart(), TaskInvoker::AutostartDefault);
    QCOMPARE(hints.cGroupSettings(), QVariantMap());
}

} // namespace

void TestTaskInvokerGetters::nothingIsSetAtFirst()
{
    const Hints hints;
    compareWithNothing(hints);
    const StartupInfo info;
    QCOMPARE(info.parameters(), QStringList());
    QCOMPARE(info.environment(), QStringList());
    // A getter sets nothing.
    QVERIFY(hints.isEmpty());
    QVERIFY(info.isEmpty());
}

void TestTaskInvokerGetters::whatWasSetIsReturned()
{
    Hints hints;
    hints.setCPULimit(-1);
    hints.setUser("u");
    hints.setDBusService("a.b");
    hints.setHomeless(true);
    hints.setMaximumRunningTime(2);
    hints.setOomWeight(3);
    hints.setPermissions({"p", "q"});
    hints.setPriority(4);
    hints.setConditions({"c"});
    hints.setAutostart(TaskInvoker::AutostartDisabled);
    hints.addCGroupSetting("g", QByteArrayLiteral("1"));
    hints.addCGroupSetting("h", QByteArrayLiteral("2"));
    QCOMPARE(hints.cpuLimit(), -1);
    QCOMPARE(hints.user(), "u");
    QCOMPARE(hints.dBusService(), "a.b");
    QVERIFY(hints.isHomeless());
    QCOMPARE(hints.maximumRunningTime(), 2);
    QCOMPARE(hints.oomWeight(), 3);
    QCOMPARE(hints.permissions(), (QStringList{"p", "q"}));
    QCOMPARE(hints.priority(), 4);
    QCOMPARE(hints.conditions(), QStringList{"c"});
    QCOMPARE(hints.autostart(), TaskInvoker::AutostartDisabled);
    QCOMPARE(hints.cGroupSettings(),
             (QVariantMap{{"g", QByteArrayLiteral("1")}, {"h", QByteArrayLiteral("2")}}));

    StartupInfo info;
    info.setParameters({"-v"});
    info.addEnvironmentVariable("A", "1");
    info.addEnvironmentVariable("A", "2=3");
    QCOMPARE(info.parameters(), QStringList{"-v"});
    QCOMPARE(info.environment(), (QStringList{"A=1", "A=2=3"}));
}

void TestTaskInvokerGetters::mapsAreAdoptedUnchanged()
{
    const QVariantMap map{{"User", "u"}, {"Params", QStringList{"-v"}}, {"other", QVariant()}};
    Hints hints(map);
    QCOMPARE(static_cast<const QVariantMap &>(hints), map);
    QCOMPARE(hints.user(), "u");
    StartupInfo info(map);
    QCOMPARE(static_cast<const QVariantMap &>(info), map);
    QCOMPARE(info.parameters(), QStringList{"-v"});

    // The values are copies.
    hints.setUser("other");
    QCOMPARE(map.value("User").toString(), "u");
}

void TestTaskInvokerGetters::otherTypesAreConverted()
{
    // QVariant converts a value of another type.
    QVariantMap map{{"CPULimit", "7"}, {"Homeless", 1}, {"Conditions", "c"}};
    const Hints hints(map);
    QCOMPARE(hints.cpuLimit(), 7);
    QVERIFY(hints.isHomeless());
    QCOMPARE(hints.conditions(), QStringList{"c"});

    for (const char *key : {"CPULimit", "User", "DBusService", "Homeless", "RunningTime", "Weight",
                            "Permissions", "Priority", "Conditions", "Autostart", "CGroups"}) {
        map.insert(key, QVariant::fromValue(QSize()));
    }
    compareWithNothing(Hints(map));
}

void TestTaskInvokerGetters::storedAutostartIsClamped_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("autostart");
    QTest::newRow("default") << QVariant(0) << 0;
    QTest::newRow("enabled") << QVariant(1) << 1;
    QTest::newRow("disabled") << QVariant(2) << 2;
    QTest::newRow("beyond") << QVariant(3) << 0;
    QTest::newRow("negative") << QVariant(-1) << 0;
    QTest::newRow("least") << QVariant(std::numeric_limits<int>::min()) << 0;
    QTest::newRow("string") << QVariant("2") << 2;
}

void TestTaskInvokerGetters::storedAutostartIsClamped()
{
    QFETCH(const QVariant, stored);
    const Hints hints(QVariantMap{{"Autostart", stored}});
    QTEST(int(hints.autostart()), "autostart");
}

OSTREL_TEST_MAIN(TestTaskInvokerGetters)

#include "tst_task_invoker_getters.moc"
