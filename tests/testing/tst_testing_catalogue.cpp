// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/Main>
#include <Ostrel/Testing/SimulatorTest>
#include <Ostrel/Testing/waiting.h>

#include <QtCore/QJsonDocument>

using namespace Ostrel::Testing;

// The simulator runs what a test gives it. Only another source of this program is compiled with a
// catalogue.
class TestTestingCatalogue : public SimulatorTest
{
    Q_OBJECT

public:
    TestTestingCatalogue()
        : SimulatorTest({"--rootfs", QDir::home().filePath("root")})
    {
    }

private Q_SLOTS:
    void optionsAreThoseOfTheTest();
    void valuesAreThoseOfTheFile();
    void applicationOfAValueRuns();
    void taskOfAValueRuns();
    void fileIsRead();
    void nextFunctionHasTheCatalogueOfTheTest();
};

void TestTestingCatalogue::optionsAreThoseOfTheTest()
{
    QCOMPARE(qEnvironmentVariable("OSTREL_ROOTFS"), QDir::home().filePath("root"));
}

void TestTestingCatalogue::valuesAreThoseOfTheFile()
{
    Catalogue catalogue;
    catalogue.addApplication(
        {"a.b", "prog", {"x"}, {{"k", 1}}, 4294967295U, true, {{"s", "sleep", {"5"}}}});
    catalogue.addTask("t", {"one", "true", {"y"}, {{"p", "q"}}});
    catalogue.addTask("t", {"two", "false", {}, {}});
    const char *const expected = R"({
        "applications": [{"id": "a.b", "program": "prog", "arguments": ["x"],
            "properties": {"k": 1}, "kind": 4294967295, "singleInstance": true,
            "services": [{"name": "s", "program": "sleep", "arguments": ["5"]}]}],
        "taskTypes": [{"type": "t", "tasks": [
            {"name": "one", "program": "true", "arguments": ["y"], "properties": {"p": "q"}},
            {"name": "two", "program": "false", "arguments": [], "properties": {}}]}]
    })";
    QCOMPARE(catalogue.toJson(), QJsonDocument::fromJson(expected).object());
}

void TestTestingCatalogue::applicationOfAValueRuns()
{
    Catalogue catalogue;
    catalogue.addApplication({"my.App", "sleep", {"infinity"}, {{"Title", "App"}}, 7, true, {}});
    simulator().setCatalogue(catalogue);
    simulator().restart();
    Ostrel::Control control;
    QCOMPARE(control.start("my.App").appInstanceId, "my.App");
    QVector<Ostrel::RunningApplication> applications;
    QVector<Ostrel::RunningService> services;
    QVERIFY(!control.getRunningApplications(applications, services));
    QCOMPARE(applications.size(), 1);
    QCOMPARE(applications.constFirst().appId, "my.App");
    QCOMPARE(quint32(applications.constFirst().kind), 7U);
    QCOMPARE(applications.constFirst().properties.value("Title"), QVariant("App"));
}

void TestTestingCatalogue::taskOfAValueRuns()
{
    Catalogue catalogue;
    catalogue.addTask("mine", {"one", "sleep", {"infinity"}, {}});
    simulator().setCatalogue(catalogue);
    simulator().restart();
    // The invoker uses the system bus, for which the private bus stands in.
    Ostrel::TaskInvoker invoker(Ostrel::TaskInvoker::SystemBus, "mine");
    bool isRunning = false;
    invoker.start("one", {}, {},
                  [&isRunning](int, const Ostrel::Error &error) { isRunning = !error; });
    QVERIFY(waitUntil([&isRunning] { return isRunning; }, "the task"));
}

void TestTestingCatalogue::fileIsRead()
{
    writeFile(QDir::homePath() + "/catalogue.json",
              R"({"applications": [{"id": "of.File", "program": "true"}]})");
    simulator().setCatalogueFile(QDir::homePath() + "/catalogue.json");
    simulator().restart();
    QCOMPARE(Ostrel::Control().start("of.File").appInstanceId, "of.File.instance_1");
}

void TestTestingCatalogue::nextFunctionHasTheCatalogueOfTheTest()
{
    QCOMPARE(Ostrel::Control().start("my.Clock").appInstanceId, "my.Clock");
}

OSTREL_TEST_MAIN(TestTestingCatalogue)

#include "tst_testing_catalogue.moc"
