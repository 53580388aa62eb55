// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "quiet_test.h"
#include "task_invokers.h"
#include "warnings.h"

#include <Ostrel/Testing/Main>

using Ostrel::TaskInvoker;

namespace
{

// This type has tasks, which each value must replace.
const QString type = "sync";

void addValues()
{
    QTest::addColumn<QString>("signature");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("active");
    QTest::addColumn<QString>("available");
    const auto row = [](const Row &value, const char *active, const char *available) {
        QTest::addRow("%s: %s", value.signature, value.value)
            << value.signature << value.value << active << available;
    };
    // Anything but a list of structures reads as an empty list.
    const std::vector<Row> noLists = andOthers({}, "");
    for (const Row &value : noLists) {
        row(value, "", "");
    }
    for (const Row &value : std::vector<Row>{{"ai", "2 1 2", ""},
                                             {"ai", "0", ""},
                                             {"ad", "1 1.5", ""},
                                             {"av", "2 s x i 3", ""},
                                             {"aas", "1 1 x", ""},
                                             {"aai", "1 2 1 2", ""},
                                             {"aa{sv}", "1 1 k i 3", ""},
                                             {"aa(sa{sv})", "1 1 x 0", ""},
                                             {"(sa{sv})", "x 0", ""},
                                             {"(sia{sv})", "x 3 0", ""},
                                             {"(a(sia{sv}))", "1 x 3 0", ""},
                                             {"v", "a(sia{sv}) 1 x 3 0", ""},
                                             {"v", "v a(sa{sv}) 1 x 0", ""},
                                             {"a{s(sa{sv})}", "1 k x 0", ""},
                                             {"a{sa(sa{sv})}", "1 k 1 x 0", ""},
                                             {"ao", "1 /a", ""},
                                             {"ab", "1 true", ""}}) {
        row(value, "", "");
    }
    // A structure with other members keeps the members that match.
    row({"a(sia{sv})", "2 x 3 1 k i 4 y 5 0", ""}, "x 3 {k=4}; y 5 {}", "x {}; y {}");
    row({"a(sa{sv})", "2 x 1 k i 4 y 0", ""}, "x 0 {}; y 0 {}", "x {k=4}; y {}");
    row({"a(s)", "2 x y", ""}, "x 0 {}; y 0 {}", "x {}; y {}");
    row({"a(ss)", "1 x y", ""}, "x 0 {}", "x {}");
    row({"a(si)", "1 x 3", ""}, "x 3 {}", "x {}");
    row({"a(sx)", "1 x 3", ""}, "x 0 {}", "x {}");
    row({"a(su)", "1 x 3", ""}, "x 0 {}", "x {}");
    row({"a(is)", "1 3 x", ""}, " 0 {}", " {}");
    row({"a(ii)", "1 3 4", ""}, " 4 {}", " {}");
    row({"a(s(i))", "1 x 3", ""}, "x 0 {}", "x {}");
    row({"a(sis)", "1 x 3 y", ""}, "x 3 {}", "x {}");
    row({"a(siai)", "1 x 3 2 1 2", ""}, "x 3 {}", "x {}");
    row({"a(sia{ss})", "1 x 3 1 k v", ""}, "x 3 {}", "x {}");
    row({"a(sa{ss})", "1 x 1 k v", ""}, "x 0 {}", "x {}");
    row({"a(sa{iv})", "1 x 1 3 i 4", ""}, "x 0 {}", "x {}");
    row({"a(sia{sv}s)", "1 x 3 1 k i 4 more", ""}, "x 3 {k=4}", "x {}");
    row({"a(sa{sv}as)", "1 x 1 k i 4 1 more", ""}, "x 0 {}", "x {k=4}");
    row({"a(v)", "1 s x", ""}, " 0 {}", " {}");
    row({"a(vv)", "1 s x i 3", ""}, " 0 {}", " {}");
    row({"a(ov)", "1 /x i 3", ""}, " 0 {}", " {}");
    row({"a((sia{sv}))", "1 x 3 0", ""}, " 0 {}", " {}");
    row({"a(a(sia{sv}))", "1 1 x 3 0", ""}, " 0 {}", " {}");
    row({"a(a{sv})", "1 1 k i 3", ""}, " 0 {}", " {}");
    row({"a(ss)", "0", ""}, "", "");
    row({"a(a(i))", "0", ""}, "", "");
}

} // namespace

// Properties hold values of any type. Nothing crashes, hangs or is logged.
class TestTaskInvokerMalformed : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void valuesOfAChangeMayHaveAnyType_data() { addValues(); }
    void valuesOfAChangeMayHaveAnyType();
    void valuesOfTheReplyMayHaveAnyType_data() { addValues(); }
    void valuesOfTheReplyMayHaveAnyType();
    void deeplyNestedValuesAreRead();
};

void TestTaskInvokerMalformed::valuesOfAChangeMayHaveAnyType()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    QFETCH(QString, active);
    QFETCH(QString, available);
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    emitPropertiesChanged(
        m_bus, type, QString("2 ActiveTasks %1 %2 AvailableTasks %1 %2").arg(signature, value));
    events.waitFor(2);
    roundTrip(invoker);
    QCOMPARE(events.all(),
             (QStringList{QString("active [%1]").arg(active),
                          QString("available [%1]").arg(available)}));
    QCOMPARE(warnings.texts(), QStringList());
}

void TestTaskInvokerMalformed::valuesOfTheReplyMayHaveAnyType()
{
    QFETCH(QString, signature);
    QFETCH(QString, value);
    QFETCH(QString, active);
    QFETCH(QString, available);
    answerRegistration(m_bus, type,
                       QString("2 ActiveTasks %1 %2 AvailableTasks %1 %2").arg(signature, value));
    const Warnings warnings;
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    Events events;
    events.watch(invoker);
    invoker.onReady(events.ready());
    events.waitFor(3);
    QCOMPARE(events.all(),
             (QStringList{QString("active [%1]").arg(active),
                          QString("available [%1]").arg(available), "ready 0"}));
    QCOMPARE(warnings.texts(), QStringList());
}

// As deep as the bus allows.
void TestTaskInvokerMalformed::deeplyNestedValuesAreRead()
{
    TaskInvoker invoker(TaskInvoker::SessionBus, type);
    waitUntilReady(invoker);
    Events events;
    events.watch(invoker);
    QString deep = "i 3";
    for (int i = 0; i < 50; ++i) {
        deep.prepend("v ");
    }
    const QString arrays = QString(28, 'a') + "i 0";
    emitPropertiesChanged(m_bus, type,
                          QString("2 ActiveTasks a(sia{sv}) 1 x 1 1 deep %1 "
                                  "AvailableTasks %2")
                              .arg(deep, arrays));
    events.waitFor(2);
    QCOMPARE(events.all(), (QStringList{"active [x 1 {deep=}]", "available []"}));
}

OSTREL_TEST_MAIN(TestTaskInvokerMalformed)

#include "tst_task_invoker_malformed.moc"
