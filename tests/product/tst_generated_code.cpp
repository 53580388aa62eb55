// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "kit.h"

#include "DBus/names_p.h"

#include <Ostrel/Testing/Main>

#include <QtCore/QDir>

namespace
{

QString descriptionOf(const QString &interface)
{
    return QString(INTERFACES_DIR "/" OSTREL_SERVICE_NAME ".%1.xml").arg(interface);
}

// Returns the short names of all interfaces.
QStringList interfacesInFolder()
{
    QStringList names;
    const QStringList files = QDir(INTERFACES_DIR).entryList({OSTREL_SERVICE_NAME "*.xml"});
    for (const QString &file : files) {
        names.append(file.section('.', -2, -2));
    }
    return names;
}

const QStringList interfaces = interfacesInFolder();

// The records of the fault desk, which users of generated code declare themselves.
const char *const deskRecords = "#pragma once\n"
                                "#include <QtCore/QMetaType>\n"
                                "struct LoggedCall {};\n"
                                "struct ReportedWindow {};\n"
                                "Q_DECLARE_METATYPE(LoggedCall)\n"
                                "Q_DECLARE_METATYPE(ReportedWindow)\n";

const char *const client = R"(
#include "Control1Proxy.h"
#include "Ostrel/control.h"
#include <QtCore/QCoreApplication>
#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const Ostrel::Control control; // registers the records with QtDBus
    Control1Proxy proxy(argv[1], argv[2], QDBusConnection::sessionBus());
    auto reply = proxy.GetRunningApplications();
    reply.waitForFinished();
    std::printf("%s %d %d\n", qPrintable(reply.error().message()), reply.argumentAt<0>().size(),
                reply.argumentAt<1>().size());
    for (const auto &service : reply.argumentAt<1>()) {
        std::printf("%s %s %d\n", qPrintable(service.appId), qPrintable(service.name), service.pid);
    }
    // The applications, read as what they are not.
    const QVariant applications = proxy.call("GetRunningApplications").arguments().at(0);
    for (const auto &service : qdbus_cast<QVector<Ostrel::RunningService>>(applications)) {
        std::printf("[%s] %d\n", qPrintable(service.appId), service.pid);
    }
}
)";

} // namespace

// Other clients generate code from the installed descriptions.
class TestGeneratedCode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void codeOfQdbusxml2cppCompiles();
    void proxyOfQdbusxml2cppReadsTheRecords();
    void codeOfGdbusCodegenCompiles();
    void codeOfSdbusXml2cppCompiles();

private:
    // Runs a program in the test's folder. The test fails if the program does.
    QString succeed(const QString &program, const QStringList &arguments) const;
    QStringList flagsOf(const QString &module) const;

    QTemporaryDir m_folder;
};

void TestGeneratedCode::initTestCase()
{
    QVERIFY(interfaces.contains("Control1"));
}

QString TestGeneratedCode::succeed(const QString &program, const QStringList &arguments) const
{
    Process process(program, arguments);
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start();
    process.waitForFinished(-1);
    const QString output = QString::fromUtf8(process.readAll());
    if (process.end() != 0) {
        qFatal("%s %s failed:\n%s", qPrintable(program), qPrintable(arguments.join(' ')),
               qPrintable(output));
    }
    return output.trimmed();
}

QStringList TestGeneratedCode::flagsOf(const QString &module) const
{
    return succeed("pkg-config", {"--cflags", module}).split(' ', Qt::SkipEmptyParts);
}

void TestGeneratedCode::codeOfQdbusxml2cppCompiles()
{
    writeFile(m_folder.filePath("desk_records.h"), deskRecords);
    QString all;
    for (const QString &interface : interfaces) {
        const QString proxy = interface + "Proxy";
        const QString adaptor = interface + "Adaptor";
        const QString records = interface == "Simulator1" ? "desk_records.h" : "DBus/types.h";
        for (const QString &name : {proxy, adaptor}) {
            succeed("qdbusxml2cpp",
                    {"-c", name, "-i", records, name == proxy ? "-p" : "-a", name,
                     descriptionOf(interface)});
            all += QString("#include \"%1.cpp\"\n").arg(name);
        }
    }
    writeFile(m_folder.filePath("all_qt.cpp"), all);
    succeed(CXX,
            QStringList{"-std=c++17", "-fPIC", "-fsyntax-only", "-w", "-I" SOURCE_DIR "/src/common",
                        "all_qt.cpp"}
                + flagsOf("Qt5DBus"));
}

// The description names the types that the library registers for these signatures.
void TestGeneratedCode::proxyOfQdbusxml2cppReadsTheRecords()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    simulator.desk("ListNext", {3U, 1U});
    simulator.desk("ListNext", {2U, 0U});

    const QString proxy = "Control1Proxy";
    succeed("qdbusxml2cpp",
            {"-c", proxy, "-i", "DBus/types.h", "-p", proxy, descriptionOf("Control1")});
    const QString moc = succeed("pkg-config", {"--variable=host_bins", "Qt5Core"}) + "/moc";
    succeed(moc, {"Control1Proxy.h", "-o", "moc.cpp"});
    writeFile(m_folder.filePath("client.cpp"), client);
    succeed(CXX,
            QStringList{"-std=c++17", "-fPIC", "-I" SOURCE_DIR "/src/common",
                        "-I" SOURCE_DIR "/src/lib", "-I.", "-o", "client", "client.cpp",
                        "Control1Proxy.cpp", "moc.cpp", LIBRARY, "-Wl,-rpath," LIBRARY_DIR,
                        "-lQt5DBus", "-lQt5Core"}
                + flagsOf("Qt5DBus"));
    QCOMPARE(succeed(m_folder.filePath("client"), {OSTREL_SERVICE_NAME, OSTREL_CONTROL_PATH}),
             "3 1\nmade.Up0 service0 0\n[] 0\n[] 0");
}

void TestGeneratedCode::codeOfGdbusCodegenCompiles()
{
    const QStringList flags = flagsOf("gio-unix-2.0");
    for (const QString &interface : interfaces) {
        succeed("gdbus-codegen", {"--generate-c-code", interface, descriptionOf(interface)});
        succeed("cc", QStringList{"-fsyntax-only", interface + ".c"} + flags);
    }
}

void TestGeneratedCode::codeOfSdbusXml2cppCompiles()
{
    QString all;
    for (const QString &interface : interfaces) {
        const QString proxy = interface + "SdbusProxy.h";
        const QString adaptor = interface + "SdbusAdaptor.h";
        succeed("sdbus-c++-xml2cpp",
                {descriptionOf(interface), "--proxy=" + proxy, "--adaptor=" + adaptor});
        all += QString("#include \"%1\"\n#include \"%2\"\n").arg(proxy, adaptor);
    }
    writeFile(m_folder.filePath("all_sdbus.cpp"), all);
    succeed(CXX,
            QStringList{"-std=c++17", "-fsyntax-only", "all_sdbus.cpp"} + flagsOf("sdbus-c++"));
}

OSTREL_TEST_MAIN(TestGeneratedCode)

#include "tst_generated_code.moc"
