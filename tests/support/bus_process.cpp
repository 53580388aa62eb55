// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_process.h"

#include "files.h"

#include "DBus/names_p.h"

BusProcess::Kind BusProcess::kind()
{
    const QByteArray program = qgetenv("OSTREL_TEST_BUS");
    if (program == "dbus-broker") {
        return DBusBroker;
    }
    if (!program.isEmpty() && program != "dbus-daemon") {
        qFatal("OSTREL_TEST_BUS is neither dbus-daemon nor dbus-broker");
    }
    return DBusDaemon;
}

BusProcess::BusProcess(const QString &program, const QStringList &arguments)
    : Process(program, arguments)
{
    if (program == "dbus-daemon") {
        // It writes a line about each message that it refuses, which nobody reads.
        setStandardErrorFile(QProcess::nullDevice());
    }
    start();
    m_address = readLine();
}

std::unique_ptr<BusProcess> BusProcess::daemon(const QTemporaryDir &folder, const QString &elements)
{
    return daemonAt("unix:path=" + folder.filePath("bus"), folder,
                    "<include>" PRIVATE_BUS_CONFIGURATION "</include>" + elements);
}

std::unique_ptr<BusProcess> BusProcess::daemonAt(const QString &address,
                                                 const QTemporaryDir &folder,
                                                 const QString &elements)
{
    const QString configuration = folder.filePath("bus.conf");
    writeFile(configuration,
              "<!DOCTYPE busconfig PUBLIC\n"
              "  \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
              "  \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
              "<busconfig>\n"
                  + elements + "</busconfig>\n");
    return std::unique_ptr<BusProcess>(
        new BusProcess("dbus-daemon",
                       {"--config-file=" + configuration, "--address=" + address, "--nofork",
                        "--nopidfile", "--nosyslog", "--print-address=1"}));
}

std::unique_ptr<BusProcess> BusProcess::broker(const QTemporaryDir &folder,
                                               const QStringList &options, const QString &service)
{
    return std::unique_ptr<BusProcess>(
        new BusProcess(BROKER, QStringList{folder.filePath("bus"), service} + options));
}

QStringList quotasOfSessionBus()
{
    return {"--max-bytes=100000000000000", "--max-fds=25000000000000", "--max-matches=5000000000"};
}

QStringList quotasOfSystemBus()
{
    return {"--max-bytes=536870912", "--max-fds=4096", "--max-matches=16384"};
}

int deepestMessage()
{
    return BusProcess::kind() == BusProcess::DBusBroker ? 63 : 64;
}

QString absentServiceText()
{
    return BusProcess::kind() == BusProcess::DBusBroker ? "The name is not activatable"
                                                        : "The name " OSTREL_SERVICE_NAME
                                                          " was not provided by any .service files";
}

QString endedServiceText()
{
    return BusProcess::kind() == BusProcess::DBusBroker
        ? "Remote peer disconnected"
        : "Message recipient disconnected from message bus without replying";
}
