// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "run.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>

#include <QtCore/QFileInfo>

#include <type_traits>

using Ostrel::Control;
using Ostrel::DebugParams;
using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

// The baseline leaves out Qt's types, and symbols do not hold the types that functions return. So
// neither shows a function that begins to return another Qt type.
template <typename Expected, typename Actual> constexpr bool returns(Actual /*function*/)
{
    return std::is_same_v<Expected, Actual>;
}

template <typename Class> using String = QString (Class::*)() const;
template <typename Class> using List = QStringList (Class::*)() const;
template <typename Class> using Map = QVariantMap (Class::*)() const;
using Hints = TaskInvoker::Hints;
using StartupInfo = TaskInvoker::StartupInfo;
using Id = QString (Control::*)(int) const;

static_assert(returns<String<Error>>(&Error::message));
static_assert(returns<String<Error>>(&Error::name));
static_assert(returns<String<Error>>(&Error::busErrorName));
static_assert(returns<List<DebugParams>>(&DebugParams::applicationWrapper));
static_assert(returns<List<DebugParams>>(&DebugParams::commandLineParams));
static_assert(returns<List<DebugParams>>(&DebugParams::environment));
static_assert(returns<List<DebugParams>>(&DebugParams::firejailParams));
static_assert(returns<String<DebugParams>>(&DebugParams::stdoutFile));
static_assert(returns<String<DebugParams>>(&DebugParams::stderrFile));
static_assert(returns<Map<DebugParams>>(&DebugParams::toMap));
static_assert(returns<Id>(&Control::getAppIdByPid));
static_assert(returns<Id>(&Control::getAppInstanceIdByPid));
static_assert(returns<QString (*)()>(&Control::serviceName));
static_assert(returns<QVariant (*)(const QVariant &)>(&Control::toPlainValue));
static_assert(returns<String<TaskInvoker>>(&TaskInvoker::taskType));
static_assert(returns<const QVector<Ostrel::AvailableTask> &(TaskInvoker::*)() const>(
    &TaskInvoker::availableTasks));
static_assert(returns<const QVector<Ostrel::ActiveTask> &(TaskInvoker::*)() const>(
    &TaskInvoker::activeTasks));
static_assert(returns<List<StartupInfo>>(&StartupInfo::parameters));
static_assert(returns<List<StartupInfo>>(&StartupInfo::environment));
static_assert(returns<String<Hints>>(&Hints::user));
static_assert(returns<String<Hints>>(&Hints::dBusService));
static_assert(returns<List<Hints>>(&Hints::permissions));
static_assert(returns<List<Hints>>(&Hints::conditions));
static_assert(returns<Map<Hints>>(&Hints::cGroupSettings));

} // namespace

// A program that was built with the library runs with every later one of the same major version.
class TestAbi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interfaceIsThatOfTheBaseline_data();
    void interfaceIsThatOfTheBaseline();
};

void TestAbi::interfaceIsThatOfTheBaseline_data()
{
    QTest::addColumn<QString>("library");
    const QStringList libraries = QString(LIBRARIES).split(':');
    for (const QString &library : libraries) {
        QTest::newRow(qPrintable(QFileInfo(library).baseName())) << library;
    }
}

// abidiff compares functions, sizes, members, virtual tables and enumerations.
void TestAbi::interfaceIsThatOfTheBaseline()
{
#ifdef __clang__
    QSKIP("the baselines are made from the debug information of GCC", );
#endif
    QFETCH(QString, library);
    const QString baseline = SOURCE_DIR "/abi/" + QFileInfo(library).baseName() + BASELINE_SUFFIX;
    if (!QFile::exists(baseline)) {
        QSKIP("there is no baseline for this kind of machine", );
    }
    const Result sections = run("readelf", {"--wide", "--sections", library});
    QCOMPARE(sections.exitStatus, 0);
    if (!sections.output.contains(".debug_info")) {
        QSKIP("the library has no debug information, from which the interface is read", );
    }
    const Result result = run(SOURCE_DIR "/scripts/abi", {"compare", library, baseline});
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

OSTREL_TEST_MAIN(TestAbi)

#include "tst_abi.moc"
