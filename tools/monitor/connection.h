// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_CONNECTION_H
#define MONITOR_CONNECTION_H

#include "bus_choice.h"

#include <Ostrel/Control>

#include <QtCore/QObject>

// The service on the bus, and whether the bus and the service are there.
class Connection : public QObject
{
    Q_OBJECT

public:
    enum State {
        // The bus could not be reached when the program started.
        NoBus,
        // The bus has ended. A process gets no second connection to it.
        BusEnded,
        NoService,
        Ready,
    };
    Q_ENUM(State)

    // The event loop has run once since the process connected to its session bus.
    explicit Connection(const BusChoice &bus);

    State state() const;
    const BusChoice &bus() const { return m_bus; }
    Ostrel::Control &control() { return m_control; }

    // The state for the user, and what the user can do about it.
    QString text() const;
    QString advice() const;

Q_SIGNALS:
    void stateChanged();

private Q_SLOTS:
    void onBusEnded();

private:
    BusChoice m_bus;
    Ostrel::Control m_control;
    bool m_hadBus;
};

#endif
