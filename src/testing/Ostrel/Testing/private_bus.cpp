// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "private_bus.h"

#include "bus_process_p.h"
#include "process_folder_p.h"

#include <QtCore/QFile>

#include <csignal>

namespace Ostrel::Testing
{

PrivateBus::PrivateBus(Buses buses, const QString &elements)
    : m_folder(QFile::decodeName(processFolder() + "/bus-XXXXXX"))
    , m_process(otherBus != nullptr ? otherBus(m_folder.path())
                                    : BusProcess::daemon(m_folder.path(), elements))
{
    const QByteArray address = m_process->address().toUtf8();
    if (buses != SystemBus) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    }
    if (buses != SessionBus) {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    }
}

PrivateBus::~PrivateBus() = default;

QString PrivateBus::address() const
{
    return m_process->address();
}

qint64 PrivateBus::processId() const
{
    return m_process->processId();
}

void PrivateBus::end()
{
    m_process->end();
}

void PrivateBus::suspend()
{
    send(SIGSTOP);
}

void PrivateBus::resume()
{
    send(SIGCONT);
}

void PrivateBus::send(int signal)
{
    // Of a process that has ended, the number is 0, which stands for this process and its
    // relatives.
    if (m_process->state() == QProcess::Running) {
        ::kill(static_cast<pid_t>(m_process->processId()), signal);
    }
}

} // namespace Ostrel::Testing
