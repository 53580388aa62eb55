// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "test_bus.h"

#include "DBus/names_p.h"

BusKind busKind()
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

std::unique_ptr<BusProcess> brokerIn(const QString &folder, const QStringList &options,
                                     const QString &service)
{
    return std::make_unique<BusProcess>(BROKER, QStringList{folder + "/bus", service} + options);
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
    return busKind() == DBusBroker ? 63 : 64;
}

QString absentServiceText()
{
    return busKind() == DBusBroker ? "The name is not activatable"
                                   : "The name " OSTREL_SERVICE_NAME
                                     " was not provided by any .service files";
}

QString endedServiceText()
{
    return busKind() == DBusBroker
        ? "Remote peer disconnected"
        : "Message recipient disconnected from message bus without replying";
}

QString unrequestedRefused()
{
    return "  <policy context=\"mandatory\">\n"
           "    <deny send_type=\"method_return\" send_requested_reply=\"false\"/>\n"
           "    <deny send_type=\"error\" send_requested_reply=\"false\"/>\n"
           "  </policy>\n";
}

QString monitorsRefused()
{
    return "  <policy context=\"mandatory\">\n"
           "    <deny send_interface=\"org.freedesktop.DBus.Monitoring\"/>\n"
           "  </policy>\n";
}
