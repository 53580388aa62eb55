// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "private_bus.h"

#include <csignal>

PrivateBus::PrivateBus(Unrequested unrequested, Monitors monitors)
{
    const QString policy = unrequested == Refused
        ? "  <policy context=\"mandatory\">\n"
          "    <deny send_type=\"method_return\" send_requested_reply=\"false\"/>\n"
          "    <deny send_type=\"error\" send_requested_reply=\"false\"/>\n"
          "  </policy>\n"
        : "";
    const QString monitoring = monitors == Nobody
        ? "  <policy context=\"mandatory\">\n"
          "    <deny send_interface=\"org.freedesktop.DBus.Monitoring\"/>\n"
          "  </policy>\n"
        : "";
    m_process = BusProcess::kind() == BusProcess::DBusBroker
        ? BusProcess::broker(m_folder, quotasOfSessionBus())
        : BusProcess::daemon(m_folder, policy + monitoring);
    qputenv("DBUS_SESSION_BUS_ADDRESS", address().toUtf8());
}

void PrivateBus::suspend()
{
    ::kill(pid_t(m_process->processId()), SIGSTOP);
}

void PrivateBus::resume()
{
    ::kill(pid_t(m_process->processId()), SIGCONT);
}
