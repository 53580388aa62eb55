// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TESTING_BUS_PROCESS_P_H
#define OSTREL_TESTING_BUS_PROCESS_P_H

#include "process.h"

#include <memory>

namespace Ostrel::Testing
{

// The process of a message bus that programs can connect to.
class BusProcess : public Process
{
    Q_OBJECT

public:
    // dbus-daemon with these elements in its configuration, after those of a private bus or alone.
    static std::unique_ptr<BusProcess> daemon(const QString &folder, const QString &elements);
    static std::unique_ptr<BusProcess> daemonAt(const QString &address, const QString &folder,
                                                const QString &elements);

    // A program that prints the address of its bus.
    BusProcess(const QString &program, const QStringList &arguments);

    QString address() const { return m_address; }

private:
    QString m_address;
};

// The tests of this project also run with another message bus. If this is set, it makes the private
// buses.
using BusMaker = std::unique_ptr<BusProcess> (*)(const QString &folder);
extern BusMaker otherBus;

} // namespace Ostrel::Testing

#endif
