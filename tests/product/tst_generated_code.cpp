// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "simulator.h"
#include "test_main.h"

#include "DBus/names_p.h"

#include <QtCore/QDir>

namespace
{

QString descriptionOf(const QString &interface)
{
    return QStringLiteral(INTERFACES_DIR "/" OSTREL_SERVICE_NAME ".%1.xml").arg(interface);
}

// The short names of all interfaces.
QStringList interfacesInFolder()
{
    QStringList names;
    const QStringList files = QDir(QStringLiteral(INTERFACES_DIR))
                                  .entryList({QStringLiteral(OSTREL_SERVICE_NAME "*.xml")});
    for (const QString &file : files) {
        names.append(file.section(QLatin1Char('.'), -2, -2));
    }
    return names;
}

const QStringList interfaces = interfacesInFolder();

// The records of the fault desk, which its user declares.
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

// The code generators that other clients use, fed with the installed descriptions.
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
    // Runs a program in the test's folder. It has to succeed.
    QString succeed(const QString &program, const QStringList &arguments) const;
    QStringList flagsOf(const QString &module) const;

    QTemporaryDir m_folder;
};

void TestGeneratedCode::initTestCase()
{
    QVERIFY(interfaces.contains(QStringLiteral("Control1")));
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
        qFatal("%s %s failed:\n%s", qPrintable(program),
               qPrintable(arguments.join(QLatin1Char(' '))), qPrintable(output));
    }
    return output.trimmed();
}

QStringList TestGeneratedCode::flagsOf(const QString &module) const
{
    return succeed(QStringLiteral("pkg-config"), {QStringLiteral("--cflags"), module})
        .split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void TestGeneratedCode::codeOfQdbusxml2cppCompiles()
{
    writeFile(m_folder.filePath(QStringLiteral("desk_records.h")), QLatin1String(deskRecords));
    QString all;
    for (const QString &interface : interfaces) {
        const QString proxy = interface + QStringLiteral("Proxy");
        const QString adaptor = interface + QStringLiteral("Adaptor");
        const QString records = interface == QLatin1String("Simulator1")
            ? QStringLiteral("desk_records.h")
            : QStringLiteral("DBus/types.h");
        for (const QString &name : {proxy, adaptor}) {
            succeed(QStringLiteral("qdbusxml2cpp"),
                    {QStringLiteral("-c"), name, QStringLiteral("-i"), records,
                     name == proxy ? QStringLiteral("-p") : QStringLiteral("-a"), name,
                     descriptionOf(interface)});
            all += QStringLiteral("#include \"%1.cpp\"\n").arg(name);
        }
    }
    writeFile(m_folder.filePath(QStringLiteral("all_qt.cpp")), all);
    succeed(QStringLiteral(CXX),
            QStringList{QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"),
                        QStringLiteral("-fsyntax-only"), QStringLiteral("-w"),
                        QStringLiteral("-I" SOURCE_DIR "/src/common"), QStringLiteral("all_qt.cpp")}
                + flagsOf(QStringLiteral("Qt5DBus")));
}

// The types in the descriptions are those that the library registers for these signatures.
void TestGeneratedCode::proxyOfQdbusxml2cppReadsTheRecords()
{
    const PrivateBus bus;
    Simulator simulator(bus);
    simulator.start();
    simulator.desk(QStringLiteral("ListNext"), {3U, 1U});
    simulator.desk(QStringLiteral("ListNext"), {2U, 0U});

    const QString proxy = QStringLiteral("Control1Proxy");
    succeed(QStringLiteral("qdbusxml2cpp"),
            {QStringLiteral("-c"), proxy, QStringLiteral("-i"), QStringLiteral("DBus/types.h"),
             QStringLiteral("-p"), proxy, descriptionOf(QStringLiteral("Control1"))});
    const QString moc = succeed(QStringLiteral("pkg-config"),
                                {QStringLiteral("--variable=host_bins"), QStringLiteral("Qt5Core")})
        + QStringLiteral("/moc");
    succeed(moc,
            {QStringLiteral("Control1Proxy.h"), QStringLiteral("-o"), QStringLiteral("moc.cpp")});
    writeFile(m_folder.filePath(QStringLiteral("client.cpp")), QLatin1String(client));
    succeed(QStringLiteral(CXX),
            QStringList{QStringLiteral("-std=c++17"), QStringLiteral("-fPIC"),
                        QStringLiteral("-I" SOURCE_DIR "/src/common"),
                        QStringLiteral("-I" SOURCE_DIR "/src/lib"), QStringLiteral("-I."),
                        QStringLiteral("-o"), QStringLiteral("client"),
                        QStringLiteral("client.cpp"), QStringLiteral("Control1Proxy.cpp"),
                        QStringLiteral("moc.cpp"), QStringLiteral(LIBRARY),
                        QStringLiteral("-Wl,-rpath," LIBRARY_DIR), QStringLiteral("-lQt5DBus"),
                        QStringLiteral("-lQt5Core")}
                + flagsOf(QStringLiteral("Qt5DBus")));
    QCOMPARE(succeed(m_folder.filePath(QStringLiteral("client")),
                     {QStringLiteral(OSTREL_SERVICE_NAME), QStringLiteral(OSTREL_CONTROL_PATH)}),
             QStringLiteral("3 1\nmade.Up0 service0 0\n[] 0\n[] 0"));
}

void TestGeneratedCode::codeOfGdbusCodegenCompiles()
{
    const QStringList flags = flagsOf(QStringLiteral("gio-unix-2.0"));
    for (const QString &interface : interfaces) {
        succeed(QStringLiteral("gdbus-codegen"),
                {QStringLiteral("--generate-c-code"), interface, descriptionOf(interface)});
        succeed(QStringLiteral("cc"),
                QStringList{QStringLiteral("-fsyntax-only"), interface + QStringLiteral(".c")}
                    + flags);
    }
}

void TestGeneratedCode::codeOfSdbusXml2cppCompiles()
{
    QString all;
    for (const QString &interface : interfaces) {
        const QString proxy = interface + QStringLiteral("SdbusProxy.h");
        const QString adaptor = interface + QStringLiteral("SdbusAdaptor.h");
        succeed(QStringLiteral("sdbus-c++-xml2cpp"),
                {descriptionOf(interface), QStringLiteral("--proxy=") + proxy,
                 QStringLiteral("--adaptor=") + adaptor});
        all += QStringLiteral("#include \"%1\"\n#include \"%2\"\n").arg(proxy, adaptor);
    }
    writeFile(m_folder.filePath(QStringLiteral("all_sdbus.cpp")), all);
    succeed(QStringLiteral(CXX),
            QStringList{QStringLiteral("-std=c++17"), QStringLiteral("-fsyntax-only"),
                        QStringLiteral("all_sdbus.cpp")}
                + flagsOf(QStringLiteral("sdbus-c++")));
}

OSTREL_TEST_MAIN(TestGeneratedCode)

#include "tst_generated_code.moc"
