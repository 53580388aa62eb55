// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SERVICE_MONITOR_H
#define TESTS_SERVICE_MONITOR_H

#include "bus_monitor.h"
#include "kit.h"

#include <QtCore/QStringList>

// Watches what the service sends from now on: its signals, and its replies to this process on the
// session bus.
class ServiceMonitor
{
public:
    ServiceMonitor(const PrivateBus &bus, const Simulator &simulator);

    // Returns everything sent up to and including a signal of this name. Each string is "reply" or
    // the name of the error or of the signal, then the signature and the values. A map is
    // {key=type:value}. The "Pid" of an instance, which differs each time, is PID.
    QStringList textsUntil(const QString &signal);

    // Returns everything sent until now.
    QStringList texts();

private:
    BusMonitor m_monitor;
    const Simulator &m_simulator;
    QString m_service;
};

#endif
