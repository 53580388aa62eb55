// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_PRIVATE_BUS_H
#define TESTS_PRIVATE_BUS_H

#include "process.h"

#include <QtCore/QTemporaryDir>

#include <memory>
#include <optional>

// A message bus of the test. It is the session bus of the test and of the programs that the test
// starts.
class PrivateBus
{
public:
    // What the bus does with an answer from a peer that was not called. A usual session bus passes
    // it on, a usual system bus does not.
    enum Unrequested {
        PassedOn,
        Refused
    };

    // replyTimeout: after how many milliseconds the bus answers a call that nobody answers.
    explicit PrivateBus(std::optional<int> replyTimeout = std::nullopt,
                        Unrequested unrequested = PassedOn);

    QString address() const { return m_address; }

    qint64 processId() const { return m_daemon->processId(); }

    // Ends the bus; all connections to it are lost.
    void end() { m_daemon->end(); }

    // Makes the bus hang: it accepts connections but answers nothing.
    void suspend();
    void resume();

private:
    QTemporaryDir m_folder;
    std::unique_ptr<Process> m_daemon;
    QString m_address;
};

#endif
