// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_FAULT_H
#define TESTS_FAULTS_FAULT_H

#include "operation.h"

// Something that goes wrong: a row of the matrix.
struct Fault
{
    QString name;

    // Where it is tried: on the bus that all share, or in a process of its own, because the bus
    // of a process does not come back.
    enum Place {
        Shared,
        OwnProcess,
        OwnProcessWithoutBus
    };
    Place place = Shared;
    // For a process of its own: how many operations one can try, and the time limit of the bus in
    // milliseconds.
    int operationsAtOnce = 1;
    std::optional<int> replyTimeout = std::nullopt;

    // Takes hundreds of megabytes, and seconds with them.
    bool isLarge = false;

    // Whether it can happen to the operation at all.
    std::function<bool(const Operation &)> concerns = {};
    // Happens before the client is made, before the operation is tried, and behind it.
    std::function<void(Rig &, const Operation &)> before = {};
    std::function<void(Rig &, const Operation &)> arrange = {};
    std::function<void(Rig &, const Operation &)> after = {};
    // What the caller sees, all told.
    std::function<QString(const Operation &)> expected = {};
};

std::vector<Fault> faultsOfLife();
std::vector<Fault> faultsOfErrors();
std::vector<Fault> faultsOfTypes();
std::vector<Fault> faultsInMaps();
std::vector<Fault> faultsOfLengths();
std::vector<Fault> faultsOfParameters();

// Arranges that all is well: a call is answered as it should be, or a signal sent.
void arrangeGood(Rig &rig, const Operation &operation);

// What the caller sees when all is well, with the marker of a signal.
QString goodOutcome(const Operation &operation);

// What the caller sees when a call fails, and when of all signals only the marker is taken.
QString outcomeOf(const Operation &operation, const Failure &failure);

#endif
