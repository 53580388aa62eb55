// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "private_bus.h"

#include "files.h"

#include <csignal>

namespace
{

void writeConfiguration(const QString &path, std::optional<int> replyTimeout,
                        PrivateBus::Unrequested unrequested)
{
    const QString limit = replyTimeout
        ? QString("  <limit name=\"reply_timeout\">%1</limit>\n").arg(*replyTimeout)
        : QString();
    const QString policy = unrequested == PrivateBus::Refused
        ? "  <policy context=\"mandatory\">\n"
          "    <deny send_type=\"method_return\" send_requested_reply=\"false\"/>\n"
          "    <deny send_type=\"error\" send_requested_reply=\"false\"/>\n"
          "  </policy>\n"
        : QString();
    writeFile(path,
              QString("<!DOCTYPE busconfig PUBLIC\n"
                      "  \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                      "  \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                      "<busconfig>\n"
                      "  <include>" PRIVATE_BUS_CONFIGURATION "</include>\n"
                      "%1%2</busconfig>\n")
                  .arg(limit, policy));
}

} // namespace

PrivateBus::PrivateBus(std::optional<int> replyTimeout, Unrequested unrequested)
{
    const QString configuration = m_folder.filePath("bus.conf");
    writeConfiguration(configuration, replyTimeout, unrequested);
    m_daemon = std::make_unique<Process>(
        "dbus-daemon",
        QStringList{QString("--config-file=%1").arg(configuration),
                    QString("--address=unix:path=%1").arg(m_folder.filePath("bus")), "--nofork",
                    "--nopidfile", "--nosyslog", "--print-address=1"});
    if (unrequested == Refused) {
        // The bus writes a line about each, which nobody reads.
        m_daemon->setStandardErrorFile(QProcess::nullDevice());
    }
    m_daemon->start();
    m_address = m_daemon->readLine();
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
}

void PrivateBus::suspend()
{
    ::kill(pid_t(m_daemon->processId()), SIGSTOP);
}

void PrivateBus::resume()
{
    ::kill(pid_t(m_daemon->processId()), SIGCONT);
}
