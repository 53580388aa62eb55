// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <optional>

namespace
{

// The first block of the README in this language.
QString block(const QString &language)
{
    const QRegularExpression fence(QStringLiteral("```%1\\n(.*?)```").arg(language),
                                   QRegularExpression::DotMatchesEverythingOption);
    return fence.match(readFile(QStringLiteral(SOURCE_DIR "/README.md"))).captured(1);
}

} // namespace

// The library as another project meets it: installed, moved, and built against in three ways. The
// other project is the program in the README.
class TestInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void installsWhatAProgramNeeds();
    void installsTheSimulatorOnlyWhenAsked();
    void isFoundByCMake();
    void nextVersionIsNotFound();
    void isFoundByPkgConfig();
    void isFoundByQmake();
    void eachHeaderStandsAlone();

private:
    // Runs a program in the project's folder, which has to succeed.
    QString succeed(const QString &program, const QStringList &arguments);
    void runProgram(const QString &path);

    QTemporaryDir m_folder;
    QString m_prefix;
    QString m_project;
    QProcessEnvironment m_environment;
    std::optional<PrivateBus> m_bus;
    std::optional<Simulator> m_simulator;
};

void TestInstallation::initTestCase()
{
    m_bus.emplace();
    m_simulator.emplace(*m_bus);
    m_simulator->start();

    // Installed in one place, used in another.
    const QString first = m_folder.filePath(QStringLiteral("first"));
    m_prefix = m_folder.filePath(QStringLiteral("moved"));
    succeed(QStringLiteral(CMAKE),
            {QStringLiteral("--install"), QStringLiteral(BUILD_DIR), QStringLiteral("--prefix"),
             first});
    QVERIFY(QDir().rename(first, m_prefix));

    m_environment = QProcessEnvironment::systemEnvironment();
    const QString libraries = m_prefix + QStringLiteral("/" LIBDIR);
    m_environment.insert(QStringLiteral("LD_LIBRARY_PATH"), libraries);
    m_environment.insert(QStringLiteral("PKG_CONFIG_PATH"),
                         libraries + QStringLiteral("/pkgconfig"));
}

// A folder for each test, with the program in it.
void TestInstallation::init()
{
    m_project = m_folder.filePath(QString::fromLatin1(QTest::currentTestFunction()));
    QVERIFY(QDir().mkpath(m_project));
    const QString program = block(QStringLiteral("cpp"));
    QVERIFY(program.contains(QStringLiteral("int main(")));
    writeFile(m_project + QStringLiteral("/main.cpp"), program);
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
        qFatal("%s %s failed:\n%s", qPrintable(program),
               qPrintable(arguments.join(QLatin1Char(' '))), qPrintable(output));
    }
    return output.trimmed();
}

void TestInstallation::runProgram(const QString &path)
{
    const Result result = run(path, {}, m_environment);
    QCOMPARE(result.errors, QStringLiteral("state 2 \"\"\n"));
    QCOMPARE(result.exitStatus, 0);
}

void TestInstallation::installsWhatAProgramNeeds()
{
    const QString library = QStringLiteral(LIBDIR "/");
    const QString headers = QStringLiteral("include/ostrel-system-qt5/");
    const QString package = library + QStringLiteral("cmake/OstrelSystemQt5/");
    QStringList expected{
        QStringLiteral("bin/ostrelctl"),
        headers + QStringLiteral("DBus/types.h"),
        headers + QStringLiteral("Ostrel/Control"),
        headers + QStringLiteral("Ostrel/DebugParams"),
        headers + QStringLiteral("Ostrel/Error"),
        headers + QStringLiteral("Ostrel/TaskInvoker"),
        headers + QStringLiteral("Ostrel/WindowManagement"),
        headers + QStringLiteral("Ostrel/control.h"),
        headers + QStringLiteral("Ostrel/debug_params.h"),
        headers + QStringLiteral("Ostrel/error.h"),
        headers + QStringLiteral("Ostrel/export.h"),
        headers + QStringLiteral("Ostrel/task_invoker.h"),
        headers + QStringLiteral("Ostrel/window_management.h"),
        package + QStringLiteral("OstrelSystemQt5Config.cmake"),
        package + QStringLiteral("OstrelSystemQt5ConfigVersion.cmake"),
        package + QStringLiteral("OstrelSystemQt5Targets-" BUILD_TYPE ".cmake"),
        package + QStringLiteral("OstrelSystemQt5Targets.cmake"),
        library + QStringLiteral("libostrel-system-qt5.so"),
        library + QStringLiteral("libostrel-system-qt5.so.1"),
        library + QStringLiteral("libostrel-system-qt5.so.1.0.0"),
        library + QStringLiteral("pkgconfig/ostrel-system-qt5.pc"),
        QStringLiteral("share/bash-completion/completions/ostrelctl"),
        QStringLiteral("share/dbus-1/interfaces/" OSTREL_CONTROL_INTERFACE ".xml"),
        QStringLiteral("share/dbus-1/interfaces/" OSTREL_TASK_INVOKER_INTERFACE ".xml"),
        QStringLiteral("share/dbus-1/interfaces/" OSTREL_TASK_INVOKER_SESSION_INTERFACE ".xml"),
        QStringLiteral("share/dbus-1/interfaces/" OSTREL_WINDOW_MANAGEMENT_INTERFACE ".xml"),
        QStringLiteral("share/man/man1/ostrelctl.1"),
    };
    expected.sort();
    QCOMPARE(filesBelow(m_prefix), expected);
}

void TestInstallation::installsTheSimulatorOnlyWhenAsked()
{
    const QString prefix = m_project + QStringLiteral("/prefix");
    succeed(QStringLiteral(CMAKE),
            {QStringLiteral("--install"), QStringLiteral(BUILD_DIR), QStringLiteral("--prefix"),
             prefix, QStringLiteral("--component"), QStringLiteral("simulator")});
    QCOMPARE(
        filesBelow(prefix),
        (QStringList{QStringLiteral("bin/ostrel-simulator"),
                     QStringLiteral("share/bash-completion/completions/ostrel-simulator"),
                     QStringLiteral("share/dbus-1/interfaces/" OSTREL_SIMULATOR_INTERFACE ".xml"),
                     QStringLiteral("share/man/man1/ostrel-simulator.1")}));
}

void TestInstallation::isFoundByCMake()
{
    writeFile(m_project + QStringLiteral("/CMakeLists.txt"), block(QStringLiteral("cmake")));
    succeed(QStringLiteral(CMAKE),
            {QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-B"),
             QStringLiteral("build"), QStringLiteral("-DCMAKE_PREFIX_PATH=") + m_prefix});
    succeed(QStringLiteral(CMAKE), {QStringLiteral("--build"), QStringLiteral("build")});
    runProgram(m_project + QStringLiteral("/build/program"));
}

void TestInstallation::nextVersionIsNotFound()
{
    writeFile(m_project + QStringLiteral("/CMakeLists.txt"),
              block(QStringLiteral("cmake")).replace(QStringLiteral("1.0"), QStringLiteral("2.0")));
    const Result result =
        run(QStringLiteral(CMAKE),
            {QStringLiteral("-G"), QStringLiteral("Ninja"), QStringLiteral("-S"), m_project,
             QStringLiteral("-B"), m_project + QStringLiteral("/build"),
             QStringLiteral("-DCMAKE_PREFIX_PATH=") + m_prefix},
            m_environment);
    QVERIFY(result.exitStatus != 0);
    QVERIFY2(result.errors.contains(QStringLiteral("version: 1.0.0")), qPrintable(result.errors));
}

void TestInstallation::isFoundByPkgConfig()
{
    const QString module = QStringLiteral("ostrel-system-qt5");
    const auto pkgConfig = [this, &module](const QString &question) {
        return succeed(QStringLiteral("pkg-config"), {question, module});
    };
    QCOMPARE(pkgConfig(QStringLiteral("--modversion")), QStringLiteral("1.0.0"));
    QCOMPARE(pkgConfig(QStringLiteral("--variable=service_name")),
             QStringLiteral(OSTREL_SERVICE_NAME));

    const QStringList flags = (pkgConfig(QStringLiteral("--cflags")) + QLatin1Char(' ')
                               + pkgConfig(QStringLiteral("--libs")))
                                  .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    succeed(QStringLiteral(CXX),
            QStringList{QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"),
                        QStringLiteral("main.cpp"), QStringLiteral("-o"), QStringLiteral("program")}
                + flags);
    runProgram(m_project + QStringLiteral("/program"));
}

void TestInstallation::isFoundByQmake()
{
    QVERIFY(QFile::copy(QStringLiteral(SOURCE_DIR "/tests/product/consumer/consumer.pro"),
                        m_project + QStringLiteral("/consumer.pro")));
    const QString qmake =
        succeed(QStringLiteral("pkg-config"),
                {QStringLiteral("--variable=host_bins"), QStringLiteral("Qt5Core")})
        + QStringLiteral("/qmake");
    succeed(qmake, {});
    succeed(QStringLiteral("make"), {});
    runProgram(m_project + QStringLiteral("/program"));
}

// Whatever settings the other project has.
void TestInstallation::eachHeaderStandsAlone()
{
    const QString headers = m_prefix + QStringLiteral("/include/ostrel-system-qt5/");
    const QStringList flags =
        succeed(QStringLiteral("pkg-config"),
                {QStringLiteral("--cflags"), QStringLiteral("ostrel-system-qt5")})
            .replace(QStringLiteral("-I/usr"), QStringLiteral("-isystem/usr"))
            .split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QStringList all = filesBelow(headers.chopped(1));
    for (const QString &header : all) {
        writeFile(
            m_project + QStringLiteral("/header.cpp"),
            QStringLiteral("#include <%1>\n#include <%1>\nvoid function();\nvoid function() {}\n")
                .arg(header));
        succeed(QStringLiteral(CXX),
                QStringList{QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"),
                            QStringLiteral("-fsyntax-only"), QStringLiteral("-Wall"),
                            QStringLiteral("-Wextra"), QStringLiteral("-Wpedantic"),
                            QStringLiteral("-Wshadow"), QStringLiteral("-Wnon-virtual-dtor"),
                            QStringLiteral("-Werror"), QStringLiteral("-DQT_NO_KEYWORDS"),
                            QStringLiteral("-DQT_NO_CAST_FROM_ASCII"),
                            QStringLiteral("-DQT_NO_CAST_TO_ASCII"),
                            QStringLiteral("-DQT_NO_FOREACH"), QStringLiteral("header.cpp")}
                    + flags);
    }
}

OSTREL_TEST_MAIN(TestInstallation)

#include "tst_installation.moc"
