// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PRIVATE_BUS_H
#define TESTS_PRIVATE_BUS_H

#include "bus_process.h"

#include <memory>

// A message bus of the test. It is the session bus of the test and of the programs that the test
// starts.
class PrivateBus
{
public:
    // What the bus does with an answer from a peer that was not called. A usual session bus passes
    // it on, a usual system bus does not. dbus-broker never does.
    enum Unrequested {
        PassedOn,
        Refused
    };

    // Who may become a monitor. On a usual bus, that is its user and root. dbus-broker knows no
    // other way.
    enum Monitors {
        OfTheUser,
        Nobody
    };

    explicit PrivateBus(Unrequested unrequested = PassedOn, Monitors monitors = OfTheUser);

    QString address() const { return m_process->address(); }

    qint64 processId() const { return m_process->processId(); }

    // Ends the bus; all connections to it are lost.
    void end() { m_process->end(); }

    // Makes the bus hang: it accepts connections but answers nothing.
    void suspend();
    void resume();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<BusProcess> m_process;
};

#endif
