// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_FAULT_H
#define TESTS_FAULTS_FAULT_H

#include "operation.h"

// Something that goes wrong: a row of the matrix.
struct Fault
{
    QString name;

    // Where the fault is tried: on the shared bus, or in a process of its own, because a process
    // whose bus has ended never gets another one.
    enum Place {
        Shared,
        OwnProcess,
        OwnProcessWithoutBus
    };
    Place place = Shared;
    // For a process of its own: how many operations one process can try, and the timeout of its
    // calls in milliseconds.
    int operationsAtOnce = 1;
    std::optional<int> timeout = std::nullopt;

    // Takes hundreds of megabytes, and so seconds.
    bool isLarge = false;

    // Whether the fault can happen to the operation at all.
    std::function<bool(const Operation &)> concerns = {};
    // Run before the client is created, before the operation is tried, and after it.
    std::function<void(Rig &, const Operation &)> before = {};
    std::function<void(Rig &, const Operation &)> arrange = {};
    std::function<void(Rig &, const Operation &)> after = {};
    // Everything that the caller sees.
    std::function<QString(const Operation &)> expected = {};
};

std::vector<Fault> faultsOfLife();
std::vector<Fault> faultsOfErrors();
std::vector<Fault> faultsOfTypes();
std::vector<Fault> faultsInMaps();
std::vector<Fault> faultsOfLengths();
std::vector<Fault> faultsOfParameters();

// Arranges that nothing goes wrong: the call gets a right answer, or the signal is sent.
void arrangeGood(Rig &rig, const Operation &operation);

// What the caller sees when nothing goes wrong, including the marker of a signal.
QString goodOutcome(const Operation &operation);

// What the caller sees when a call fails, or when only the marker of the signals is received.
QString outcomeOf(const Operation &operation, const Failure &failure);

#endif
