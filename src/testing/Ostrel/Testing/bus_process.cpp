// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "bus_process_p.h"

#include "end_of_test_p.h"

#include "private_bus_configuration_p.h"

#include <QtCore/QFile>

namespace Ostrel::Testing
{

BusMaker otherBus = nullptr;

BusProcess::BusProcess(const QString &program, const QStringList &arguments)
    : Process(program, arguments)
{
    const bool isDaemon = program == QLatin1String("dbus-daemon");
    if (isDaemon) {
        // It writes a line about each message that it refuses, which nobody reads.
        setStandardErrorFile(QProcess::nullDevice());
    }
    start();
    if (!waitForStarted(-1) && isDaemon) {
        endTest(QStringLiteral("A private message bus needs the program dbus-daemon, which is not "
                               "in PATH. Install the package dbus-daemon."));
    }
    m_address = readLine();
}

std::unique_ptr<BusProcess> BusProcess::daemon(const QString &folder, const QString &elements)
{
    return daemonAt(QStringLiteral("unix:path=%1/bus").arg(folder), folder,
                    QString::fromUtf8(privateBusElements) + elements);
}

std::unique_ptr<BusProcess> BusProcess::daemonAt(const QString &address, const QString &folder,
                                                 const QString &elements)
{
    const QString path = folder + QStringLiteral("/bus.conf");
    QFile configuration(path);
    if (!configuration.open(QIODevice::WriteOnly)) {
        endTest(
            QStringLiteral("The test cannot write %1: %2.").arg(path, configuration.errorString()));
    }
    configuration.write(QStringLiteral("<!DOCTYPE busconfig PUBLIC\n"
                                       "  \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                                       "  \"http://www.freedesktop.org/standards/dbus/1.0/"
                                       "busconfig.dtd\">\n"
                                       "<busconfig>\n%1</busconfig>\n")
                            .arg(elements)
                            .toUtf8());
    configuration.close();
    return std::make_unique<BusProcess>(
        QStringLiteral("dbus-daemon"),
        QStringList{QStringLiteral("--config-file=%1").arg(path),
                    QStringLiteral("--address=%1").arg(address), QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile"), QStringLiteral("--nosyslog"),
                    QStringLiteral("--print-address=1")});
}

} // namespace Ostrel::Testing
