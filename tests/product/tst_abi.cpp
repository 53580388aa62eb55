// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "process.h"
#include "test_main.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/WindowManagement>

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>

#include <cstddef>
#include <type_traits>

using Ostrel::ActiveTask;
using Ostrel::ApplicationKind;
using Ostrel::ApplicationState;
using Ostrel::AvailableTask;
using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;
using Ostrel::RunningApplication;
using Ostrel::RunningService;
using Ostrel::ServiceState;
using Ostrel::TaskInvoker;
using Ostrel::TaskState;
using Ostrel::WindowManagement;

namespace
{

// What the compiler puts into programs. The name of a symbol tells a function's arguments; what it
// returns stands here.
template <typename Expected, typename Actual> constexpr bool returns(Actual /*function*/)
{
    return std::is_same_v<Expected, Actual>;
}
static_assert(returns<bool (Error::*)() const>(&Error::isError));
static_assert(returns<bool (Error::*)() const>(&Error::operator bool));
static_assert(returns<Error::Code (Error::*)() const>(&Error::code));
static_assert(returns<QString (Error::*)() const>(&Error::message));

using List = QStringList (DebugParams::*)() const;
using Text = QString (DebugParams::*)() const;
static_assert(returns<List>(&DebugParams::applicationWrapper));
static_assert(returns<List>(&DebugParams::commandLineParams));
static_assert(returns<List>(&DebugParams::environment));
static_assert(returns<List>(&DebugParams::firejailParams));
static_assert(returns<bool (DebugParams::*)() const>(&DebugParams::sandboxEnabled));
static_assert(returns<Text>(&DebugParams::stdoutFile));
static_assert(returns<Text>(&DebugParams::stderrFile));

using Id = QString (Control::*)(int) const;
static_assert(returns<Control *(*)()>(&Control::instance));
static_assert(returns<Control::StartResult (Control::*)(const QString &)>(&Control::start));
static_assert(returns<Control::StartResult (Control::*)(const QString &, const DebugParams &)>(
    &Control::startDebug));
static_assert(returns<Error (Control::*)(const QString &)>(&Control::terminate));
static_assert(returns<Error (Control::*)(QVector<RunningApplication> &, QVector<RunningService> &)>(
    &Control::getRunningApplications));
static_assert(returns<Id>(&Control::getAppIdByPid));
static_assert(returns<Id>(&Control::getAppInstanceIdByPid));

static_assert(returns<QString (TaskInvoker::*)() const>(&TaskInvoker::taskType));
static_assert(
    returns<const QVector<AvailableTask> &(TaskInvoker::*)() const>(&TaskInvoker::availableTasks));
static_assert(
    returns<const QVector<ActiveTask> &(TaskInvoker::*)() const>(&TaskInvoker::activeTasks));

static_assert(std::is_same_v<std::underlying_type_t<Error::Code>, qint32>);
static_assert(std::is_same_v<std::underlying_type_t<ApplicationState>, quint32>);
static_assert(std::is_same_v<std::underlying_type_t<ApplicationKind>, quint32>);
static_assert(std::is_same_v<std::underlying_type_t<ServiceState>, quint32>);
static_assert(std::is_same_v<std::underlying_type_t<TaskInvoker::BusType>, quint32>);
static_assert(std::is_same_v<std::underlying_type_t<TaskInvoker::Autostart>, quint32>);

constexpr std::size_t word = sizeof(void *);

// The size of a class, in words of the machine, and that it has virtual functions or none.
template <typename Class> void addClass(const char *name, std::size_t words, bool isPolymorphic)
{
    QTest::newRow(name) << sizeof(Class) << words * word << alignof(Class)
                        << std::is_polymorphic_v<Class> << isPolymorphic;
}

// Puts the members of a record behind one another, as the compiler does.
class Layout
{
public:
    template <typename Member> std::size_t next()
    {
        const std::size_t offset =
            (m_end + alignof(Member) - 1) / alignof(Member) * alignof(Member);
        m_end = offset + sizeof(Member);
        return offset;
    }

private:
    std::size_t m_end = 0;
};

QString readTable(const QString &program, const QStringList &options)
{
    const Result result = run(program, options + QStringList(QStringLiteral(LIBRARY)));
    if (result.exitStatus != 0) {
        qFatal("%s failed: %s", qPrintable(program), qPrintable(result.errors));
    }
    return result.output;
}

// What stands in a class's virtual table, in its order.
QStringList virtualTable(const QString &name)
{
    const QRegularExpression table(
        QStringLiteral("^([0-9a-f]+) ([0-9a-f]+) \\w vtable for %1$").arg(name),
        QRegularExpression::MultilineOption);
    const auto found = table.match(readTable(
        QStringLiteral("nm"), {QStringLiteral("--print-size"), QStringLiteral("--demangle")}));
    const qulonglong begin = found.captured(1).toULongLong(nullptr, 16);
    const qulonglong end = begin + found.captured(2).toULongLong(nullptr, 16);

    // The dynamic linker fills the table in. What a program can neither call nor override has no
    // name here.
    QMap<qulonglong, QString> entries;
    const QRegularExpression relocation(
        QStringLiteral("^([0-9a-f]+) +[0-9a-f]+ R_\\w+ +[0-9a-f]+(?: +(.+?)(?:@\\S+)?"
                       "(?: \\+ [0-9a-f]+)?)?$"),
        QRegularExpression::MultilineOption);
    auto each = relocation.globalMatch(readTable(
        QStringLiteral("readelf"),
        {QStringLiteral("--wide"), QStringLiteral("--relocs"), QStringLiteral("--demangle")}));
    while (each.hasNext()) {
        const auto match = each.next();
        const qulonglong place = match.captured(1).toULongLong(nullptr, 16);
        if (place >= begin && place < end) {
            entries.insert(place, match.captured(2));
        }
    }
    return entries.values();
}

} // namespace

// The binary interface: a program that was built against the library goes on with its successors of
// the same major version, without being built again.
class TestAbi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classesKeepTheirSize_data();
    void classesKeepTheirSize();
    void recordsKeepTheirMembers();
    void virtualFunctionsKeepTheirOrder_data();
    void virtualFunctionsKeepTheirOrder();
    void isThatOfTheBaseline();
};

void TestAbi::classesKeepTheirSize_data()
{
    QTest::addColumn<std::size_t>("size");
    QTest::addColumn<std::size_t>("expected");
    QTest::addColumn<std::size_t>("alignment");
    QTest::addColumn<bool>("isPolymorphic");
    QTest::addColumn<bool>("expectedPolymorphic");

    // A QObject is two words; behind it, there is one to the private part.
    addClass<Control>("Control", 3, true);
    addClass<TaskInvoker>("TaskInvoker", 3, true);
    addClass<WindowManagement>("WindowManagement", 3, true);
    addClass<DebugParams>("DebugParams", 1, false);
    addClass<TaskInvoker::Hints>("TaskInvoker::Hints", 1, false);
    addClass<TaskInvoker::StartupInfo>("TaskInvoker::StartupInfo", 1, false);
    addClass<Error>("Error", 2, false);
    addClass<Control::StartResult>("Control::StartResult", 4, false);
}

void TestAbi::classesKeepTheirSize()
{
    QFETCH(std::size_t, size);
    QTEST(size, "expected");
    QFETCH(std::size_t, alignment);
    QCOMPARE(alignment, word);
    QFETCH(bool, isPolymorphic);
    QTEST(isPolymorphic, "expectedPolymorphic");
}

// The members of records stand in the order of their description, with nothing between them.
void TestAbi::recordsKeepTheirMembers()
{
    Layout started;
    QCOMPARE(offsetof(Control::StartResult, error), started.next<Error>());
    QCOMPARE(offsetof(Control::StartResult, details), started.next<QVariantMap>());
    QCOMPARE(offsetof(Control::StartResult, appInstanceId), started.next<QString>());
    QCOMPARE(sizeof(Control::StartResult), started.next<void *>());

    Layout application;
    QCOMPARE(offsetof(RunningApplication, appId), application.next<QString>());
    QCOMPARE(offsetof(RunningApplication, pid), application.next<qint32>());
    QCOMPARE(offsetof(RunningApplication, state), application.next<quint32>());
    QCOMPARE(offsetof(RunningApplication, kind), application.next<quint32>());
    QCOMPARE(offsetof(RunningApplication, properties), application.next<QVariantMap>());
    QCOMPARE(sizeof(RunningApplication), application.next<void *>());

    Layout service;
    QCOMPARE(offsetof(RunningService, appId), service.next<QString>());
    QCOMPARE(offsetof(RunningService, name), service.next<QString>());
    QCOMPARE(offsetof(RunningService, pid), service.next<qint32>());
    QCOMPARE(offsetof(RunningService, state), service.next<quint32>());
    QCOMPARE(offsetof(RunningService, properties), service.next<QVariantMap>());
    QCOMPARE(sizeof(RunningService), service.next<void *>());

    Layout state;
    QCOMPARE(offsetof(TaskState, name), state.next<QString>());
    QCOMPARE(offsetof(TaskState, state), state.next<uint>());
    QCOMPARE(offsetof(TaskState, properties), state.next<QVariantMap>());
    QCOMPARE(sizeof(TaskState), state.next<void *>());

    Layout available;
    QCOMPARE(offsetof(AvailableTask, name), available.next<QString>());
    QCOMPARE(offsetof(AvailableTask, properties), available.next<QVariantMap>());
    QCOMPARE(sizeof(AvailableTask), available.next<void *>());

    Layout active;
    QCOMPARE(offsetof(ActiveTask, name), active.next<QString>());
    QCOMPARE(offsetof(ActiveTask, pid), active.next<qint32>());
    QCOMPARE(offsetof(ActiveTask, properties), active.next<QVariantMap>());
    QCOMPARE(sizeof(ActiveTask), active.next<void *>());
}

void TestAbi::virtualFunctionsKeepTheirOrder_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("Control") << QStringLiteral("Ostrel::Control");
    QTest::newRow("TaskInvoker") << QStringLiteral("Ostrel::TaskInvoker");
    QTest::newRow("WindowManagement") << QStringLiteral("Ostrel::WindowManagement");
}

// No class has virtual functions beyond those of every QObject.
void TestAbi::virtualFunctionsKeepTheirOrder()
{
    QFETCH(QString, name);
    const QString destructor =
        QStringLiteral("%1::~%2()").arg(name, name.section(QLatin1Char(':'), -1));
    QCOMPARE(virtualTable(name),
             (QStringList{
                 QStringLiteral("typeinfo for ") + name,
                 name + QStringLiteral("::metaObject() const"),
                 name + QStringLiteral("::qt_metacast(char const*)"),
                 name + QStringLiteral("::qt_metacall(QMetaObject::Call, int, void**)"),
                 destructor,
                 destructor,
                 QStringLiteral("QObject::event(QEvent*)"),
                 QStringLiteral("QObject::eventFilter(QObject*, QEvent*)"),
                 QStringLiteral("QObject::timerEvent(QTimerEvent*)"),
                 QStringLiteral("QObject::childEvent(QChildEvent*)"),
                 QStringLiteral("QObject::customEvent(QEvent*)"),
                 QStringLiteral("QObject::connectNotify(QMetaMethod const&)"),
                 QStringLiteral("QObject::disconnectNotify(QMetaMethod const&)"),
             }));
}

void TestAbi::isThatOfTheBaseline()
{
    if (!QFile::exists(QStringLiteral(ABI_BASELINE))) {
        QSKIP("there is no baseline for this kind of machine", );
    }
    if (!readTable(QStringLiteral("readelf"),
                   {QStringLiteral("--wide"), QStringLiteral("--sections")})
             .contains(QStringLiteral(".debug_info"))) {
        QSKIP("the library has no debug information, from which the interface is read", );
    }
    const Result result =
        run(QStringLiteral(SOURCE_DIR "/scripts/abi"),
            {QStringLiteral("compare"), QStringLiteral(LIBRARY), QStringLiteral(ABI_BASELINE)});
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

OSTREL_TEST_MAIN(TestAbi)

#include "tst_abi.moc"
