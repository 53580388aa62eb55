// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "quiet_test.h"
#include "run.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace
{

// Returns the first block of a document in this language.
QString block(const QString &document, const QString &language)
{
    const QRegularExpression fence(QString("```%1\\n(.*?)```").arg(language),
                                   QRegularExpression::DotMatchesEverythingOption);
    return fence.match(readFile(SOURCE_DIR "/" + document)).captured(1);
}

const char *const printServiceName =
    "message(STATUS \"service: ${OstrelSystemQt5_SERVICE_NAME}.\")\n";
const char *const serviceName = "service: " OSTREL_SERVICE_NAME ".";

} // namespace

// Another project uses an installed library, which has been moved, in three ways. The project is
// the program in the library's document.
class TestInstallation : public QuietTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void installsWhatAProgramNeeds();
    void installsTheSimulatorOnlyWhenAsked();
    void isFoundByCMake_data();
    void isFoundByCMake();
    void nextVersionIsNotFound_data();
    void nextVersionIsNotFound();
    void isFoundByPkgConfig_data();
    void isFoundByPkgConfig();
    void testIsBuiltWithPkgConfig();
    void isFoundByQmake_data();
    void isFoundByQmake();
    void eachHeaderStandsAlone_data();
    void eachHeaderStandsAlone();
    void projectAroundItDecidesOnBuildTypeTestsAndInstallation();

private:
    // Adds a row for each library: its pkg-config module, the document with a program that uses it,
    // and what that program prints.
    static void addLibraries();
    void writeProgram(const QString &document) const;
    // Runs a program in the project's folder. The test fails if the program does.
    QString succeed(const QString &program, const QStringList &arguments);
    void runProgram(const QString &path);

    QTemporaryDir m_folder;
    QString m_prefix;
    QString m_project;
    QProcessEnvironment m_environment;
};

void TestInstallation::initTestCase()
{
    // Installed in one place, used in another.
    const QString first = m_folder.filePath("first");
    m_prefix = m_folder.filePath("moved");
    succeed(CMAKE, {"--install", BUILD_DIR, "--prefix", first});
    QVERIFY(QDir().rename(first, m_prefix));

    m_environment = QProcessEnvironment::systemEnvironment();
    const QString libraries = m_prefix + "/" LIBDIR;
    m_environment.insert("LD_LIBRARY_PATH", libraries);
    m_environment.insert("PKG_CONFIG_PATH", libraries + "/pkgconfig");
}

// A folder for each test.
void TestInstallation::init()
{
    QuietTest::init();
    m_project = m_folder.filePath(QString(QTest::currentTestFunction()) + QTest::currentDataTag());
    QVERIFY(QDir().mkpath(m_project));
}

void TestInstallation::addLibraries()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("output");
    QTest::newRow("core") << "ostrel-system-qt5"
                          << "README.md"
                          << "state 2 \"\"\n";
    if (HAS_MODELS) {
        QTest::newRow("models") << "ostrel-models-qt5"
                                << "docs/models.md"
                                << "Ostrel::LiveModel::Ready 0 applications\n";
    }
}

void TestInstallation::writeProgram(const QString &document) const
{
    const QString program = block(document, "cpp");
    QVERIFY(program.contains("int main("));
    writeFile(m_project + "/main.cpp", program);
}

QString TestInstallation::succeed(const QString &program, const QStringList &arguments)
{
    Process process(program, arguments);
    if (!m_project.isEmpty()) {
        process.setWorkingDirectory(m_project);
        process.setProcessEnvironment(m_environment);
    }
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start();
    const int exitStatus = process.waitForEnd();
    const QString output = QString::fromUtf8(process.readAll());
    if (exitStatus != 0) {
        qFatal("%s %s failed:\n%s", qPrintable(program), qPrintable(arguments.join(' ')),
               qPrintable(output));
    }
    return output.trimmed();
}

void TestInstallation::runProgram(const QString &path)
{
    QFETCH(QString, output);
    const Result result = run(path, {}, m_environment);
    QCOMPARE(result.errors, output);
    QCOMPARE(result.exitStatus, 0);
}

void TestInstallation::installsWhatAProgramNeeds()
{
    const QString library = LIBDIR "/";
    const QString headers = "include/ostrel-system-qt5/";
    const QString package = library + "cmake/OstrelSystemQt5/";
    const QString testingHeaders = "include/ostrel-testing-qt5/Ostrel/Testing/";
    const QString testingPackage = library + "cmake/OstrelTestingQt5/";
    QStringList expected{
        "bin/ostrelctl",
        headers + "DBus/types.h",
        headers + "Ostrel/Control",
        headers + "Ostrel/DebugParams",
        headers + "Ostrel/Error",
        headers + "Ostrel/TaskInvoker",
        headers + "Ostrel/WindowManagement",
        headers + "Ostrel/control.h",
        headers + "Ostrel/debug_params.h",
        headers + "Ostrel/error.h",
        headers + "Ostrel/export.h",
        headers + "Ostrel/task_invoker.h",
        headers + "Ostrel/window_management.h",
        package + "OstrelSystemQt5Config.cmake",
        package + "OstrelSystemQt5ConfigVersion.cmake",
        package + "OstrelSystemQt5Targets-" BUILD_TYPE ".cmake",
        package + "OstrelSystemQt5Targets.cmake",
        library + "libostrel-system-qt5.so",
        library + "libostrel-system-qt5.so.1",
        library + "libostrel-system-qt5.so.1.0.0",
        library + "pkgconfig/ostrel-system-qt5.pc",
        testingHeaders + "Catalogue",
        testingHeaders + "Faults",
        testingHeaders + "Main",
        testingHeaders + "PrivateBus",
        testingHeaders + "Process",
        testingHeaders + "Simulator",
        testingHeaders + "SimulatorTest",
        testingHeaders + "call.h",
        testingHeaders + "catalogue.h",
        testingHeaders + "faults.h",
        testingHeaders + "main.h",
        testingHeaders + "method.h",
        testingHeaders + "private_bus.h",
        testingHeaders + "process.h",
        testingHeaders + "simulator.h",
        testingHeaders + "simulator_test.h",
        testingHeaders + "waiting.h",
        testingPackage + "OstrelAddTest.cmake",
        testingPackage + "OstrelTestingQt5Config.cmake",
        testingPackage + "OstrelTestingQt5ConfigVersion.cmake",
        testingPackage + "OstrelTestingQt5Targets-" BUILD_TYPE ".cmake",
        testingPackage + "OstrelTestingQt5Targets.cmake",
        library + "libostrel-testing-qt5.a",
        library + "pkgconfig/ostrel-testing-qt5.pc",
        "share/bash-completion/completions/ostrelctl",
        "share/dbus-1/interfaces/" OSTREL_CONTROL_INTERFACE ".xml",
        "share/dbus-1/interfaces/" OSTREL_TASK_INVOKER_INTERFACE ".xml",
        "share/dbus-1/interfaces/" OSTREL_TASK_INVOKER_SESSION_INTERFACE ".xml",
        "share/dbus-1/interfaces/" OSTREL_WINDOW_MANAGEMENT_INTERFACE ".xml",
        "share/man/man1/ostrelctl.1",
    };
    if (HAS_MODELS) {
        const QString modelHeaders = "include/ostrel-models-qt5/Ostrel/";
        const QString modelPackage = library + "cmake/OstrelModelsQt5/OstrelModelsQt5";
        expected += QStringList{
            modelHeaders + "ApplicationsModel",
            modelHeaders + "LiveModel",
            modelHeaders + "ServicesModel",
            modelHeaders + "TasksModel",
            modelHeaders + "applications_model.h",
            modelHeaders + "live_model.h",
            modelHeaders + "services_model.h",
            modelHeaders + "tasks_model.h",
            modelPackage + "Config.cmake",
            modelPackage + "ConfigVersion.cmake",
            modelPackage + "Targets-" BUILD_TYPE ".cmake",
            modelPackage + "Targets.cmake",
            library + "libostrel-models-qt5.so",
            library + "libostrel-models-qt5.so.1",
            library + "libostrel-models-qt5.so.1.0.0",
            library + "pkgconfig/ostrel-models-qt5.pc",
        };
    }
    if (HAS_MONITOR) {
        expected += QStringList{
            "bin/ostrel-monitor",
            "share/applications/ostrel-monitor.desktop",
            "share/bash-completion/completions/ostrel-monitor",
            "share/icons/hicolor/scalable/apps/ostrel-monitor.svg",
            "share/man/man1/ostrel-monitor.1",
            "share/metainfo/" OSTREL_VENDOR_PREFIX ".monitor.metainfo.xml",
        };
    }
    if (HAS_QML) {
        const QString module = library + "qt5/qml/Ostrel/";
        expected += QStringList{module + "libostrelplugin.so", module + "plugins.qmltypes",
                                module + "qmldir"};
    }
    expected.sort();
    QCOMPARE(filesBelow(m_prefix), expected);
}

void TestInstallation::installsTheSimulatorOnlyWhenAsked()
{
    const QString prefix = m_project + "/prefix";
    succeed(CMAKE, {"--install", BUILD_DIR, "--prefix", prefix, "--component", "simulator"});
    QCOMPARE(
        filesBelow(prefix),
        (QStringList{"bin/ostrel-simulator", "share/bash-completion/completions/ostrel-simulator",
                     "share/dbus-1/interfaces/" OSTREL_SIMULATOR_INTERFACE ".xml",
                     "share/doc/ostrel-simulator/catalogue.json",
                     "share/doc/ostrel-simulator/catalogue.md", "share/man/man1/ostrel-simulator.1",
                     "share/ostrel-simulator/" OSTREL_SERVICE_NAME ".conf"}));
    // The manual page names them there.
    const QString page = readFile(prefix + "/share/man/man1/ostrel-simulator.1");
    QVERIFY(page.contains("/share/doc/ostrel-simulator/catalogue.md\n"));
}

void TestInstallation::isFoundByCMake_data()
{
    addLibraries();
}

void TestInstallation::isFoundByCMake()
{
    QFETCH(QString, document);
    writeProgram(document);
    writeFile(m_project + "/CMakeLists.txt", block(document, "cmake") + printServiceName);
    QVERIFY(succeed(CMAKE, {"-G", "Ninja", "-B", "build", "-DCMAKE_PREFIX_PATH=" + m_prefix})
                .contains(serviceName));
    succeed(CMAKE, {"--build", "build"});
    runProgram(m_project + "/build/program");
}

void TestInstallation::nextVersionIsNotFound_data()
{
    addLibraries();
}

void TestInstallation::nextVersionIsNotFound()
{
    QFETCH(QString, document);
    writeProgram(document);
    writeFile(m_project + "/CMakeLists.txt", block(document, "cmake").replace("1.0", "2.0"));
    const Result result = run(CMAKE,
                              {"-G", "Ninja", "-S", m_project, "-B", m_project + "/build",
                               "-DCMAKE_PREFIX_PATH=" + m_prefix},
                              m_environment);
    QVERIFY(result.exitStatus != 0);
    QVERIFY2(result.errors.contains("version: 1.0.0"), qPrintable(result.errors));
}

void TestInstallation::isFoundByPkgConfig_data()
{
    addLibraries();
}

void TestInstallation::isFoundByPkgConfig()
{
    QFETCH(QString, module);
    QFETCH(QString, document);
    writeProgram(document);
    const auto pkgConfig = [this, &module](const QString &question) {
        return succeed("pkg-config", {question, module});
    };
    QCOMPARE(pkgConfig("--modversion"), "1.0.0");
    QCOMPARE(pkgConfig("--variable=service_name"), OSTREL_SERVICE_NAME);

    const QRegularExpression command("^c\\+\\+ .*$", QRegularExpression::MultilineOption);
    succeed("sh", {"-c", command.match(readFile(SOURCE_DIR "/" + document)).captured()});
    runProgram(m_project + "/program");
}

// As its page says. The test finds the simulator in PATH.
void TestInstallation::testIsBuiltWithPkgConfig()
{
    const QString example = SOURCE_DIR "/examples/tested-program/";
    for (const char *file : {"keeper.cpp", "keeper.h", "tst_first.cpp"}) {
        QVERIFY(QFile::copy(example + file, m_project + '/' + file));
    }
    const QString commands = block("docs/testing.md", "sh");
    QVERIFY(commands.contains("pkg-config --cflags --libs ostrel-testing-qt5"));
    succeed("sh", {"-e", "-c", commands});
    QProcessEnvironment environment = m_environment;
    environment.insert("PATH", QFileInfo(SIMULATOR).path() + ':' + environment.value("PATH"));
    const Result result = run(m_project + "/tst_first", {}, environment);
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
}

void TestInstallation::isFoundByQmake_data()
{
    addLibraries();
}

void TestInstallation::isFoundByQmake()
{
    QFETCH(QString, module);
    QFETCH(QString, document);
    writeProgram(document);
    writeFile(m_project + "/consumer.pro",
              readFile(SOURCE_DIR "/tests/product/consumer/consumer.pro")
                  .replace("ostrel-system-qt5", module));
    succeed(QMAKE, {});
    succeed("make", {});
    runProgram(m_project + "/program");
}

void TestInstallation::eachHeaderStandsAlone_data()
{
    addLibraries();
    QTest::newRow("testing") << "ostrel-testing-qt5" << QString() << QString();
}

// Whatever settings the other project has.
void TestInstallation::eachHeaderStandsAlone()
{
    QFETCH(QString, module);
    const QString headers = m_prefix + "/include/" + module + '/';
    const QStringList flags =
        (STRICT_FLAGS " "
         + succeed("pkg-config", {"--cflags", module}).replace("-I/usr", "-isystem/usr"))
            .split(' ', Qt::SkipEmptyParts);
    const QStringList all = filesBelow(headers.chopped(1));
    for (const QString &header : all) {
        writeFile(m_project + "/header.cpp",
                  QString("#include <%1>\n#include <%1>\nvoid function();\nvoid function() {}\n")
                      .arg(header));
        succeed(CXX, QStringList{"-std=c++17", "-fPIC", "-fsyntax-only", "header.cpp"} + flags);
    }
}

void TestInstallation::projectAroundItDecidesOnBuildTypeTestsAndInstallation()
{
    writeProgram("README.md");
    writeFile(m_project + "/CMakeLists.txt",
              QString("cmake_minimum_required(VERSION 3.16)\n"
                      "project(parent LANGUAGES CXX)\n"
                      "include(CTest)\n"
                      "find_package(Qt5 REQUIRED COMPONENTS Core)\n"
                      "add_subdirectory(" SOURCE_DIR " library)\n"
                      "add_executable(program main.cpp)\n"
                      "target_link_libraries(program PRIVATE Ostrel::SystemQt5)\n"
                      "install(FILES main.cpp DESTINATION .)\n"
                      "add_test(NAME own COMMAND program)\n")
                  + printServiceName);
    QVERIFY(succeed(CMAKE,
                    {"-G", "Ninja", "-B", "build", "-DOSTREL_VENDOR_PREFIX=" OSTREL_VENDOR_PREFIX})
                .contains(serviceName));
    QVERIFY(readFile(m_project + "/build/CMakeCache.txt").contains("\nCMAKE_BUILD_TYPE:STRING=\n"));
    // Without the library itself, which takes long to build.
    succeed(CMAKE, {"--build", "build", "--target", "CMakeFiles/program.dir/main.cpp.o"});
    QVERIFY(succeed("ctest", {"--test-dir", "build", "--show-only"}).endsWith("Total Tests: 1"));
    succeed(CMAKE, {"--install", "build", "--prefix", "prefix"});
    QCOMPARE(filesBelow(m_project + "/prefix"), QStringList("main.cpp"));
}

OSTREL_TEST_MAIN(TestInstallation)

#include "tst_installation.moc"
