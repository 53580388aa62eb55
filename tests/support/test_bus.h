// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_TEST_BUS_H
#define TESTS_TEST_BUS_H

#include "Ostrel/Testing/bus_process_p.h"

#include <memory>

using Ostrel::Testing::BusProcess;

// The program that the tests run against. OSTREL_TEST_BUS in the environment names it.
enum BusKind {
    DBusDaemon,
    DBusBroker
};
BusKind busKind();

// dbus-broker with these options. It can start the service, which never comes up.
std::unique_ptr<BusProcess> brokerIn(const QString &folder, const QStringList &options,
                                     const QString &service = QString());

// What usual session and system buses of dbus-broker have.
QStringList quotasOfSessionBus();
QStringList quotasOfSystemBus();

// How many nested containers it delivers.
int deepestMessage();

// What the bus says about a service that does not run, and about one that ended before it replied.
// Each program has its own words.
QString absentServiceText();
QString endedServiceText();

// Elements of the configuration of a private bus. dbus-broker takes none.
//
// What the bus does with an answer from a peer that was not called: it refuses it, as a usual
// system bus does. A usual session bus passes it on; dbus-broker never does.
QString unrequestedRefused();
// Nobody may become a monitor. On a usual bus, its user and root may.
QString monitorsRefused();

#endif
