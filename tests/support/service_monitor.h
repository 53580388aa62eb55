// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_SERVICE_MONITOR_H
#define TESTS_SERVICE_MONITOR_H

#include "bus_monitor.h"
#include "simulator.h"

#include <QtCore/QStringList>

// Watches what the service sends: its signals, and its answers to this process's calls on the
// session bus.
class ServiceMonitor
{
public:
    ServiceMonitor(const PrivateBus &bus, const Simulator &simulator);

    // Everything sent up to and including a signal of this name, each as a text: "reply", or the
    // name of the error or of the signal; the signature; and the values. A map is {key=type:value},
    // and an instance's "Pid", which is another one each time, is PID.
    QStringList textsUntil(const QString &signal);

    // Everything sent up to now.
    QStringList texts();

private:
    BusMonitor m_monitor;
    const Simulator &m_simulator;
    QString m_service;
};

#endif
