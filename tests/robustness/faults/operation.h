// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_OPERATION_H
#define TESTS_FAULTS_OPERATION_H

#include "rig.h"

#include <vector>

// The error of a failed call.
struct Failure
{
    int code = 1;
    QString name;
    QString message;
};

// As the caller sees it: the code, and the message unless it is null.
QString textOf(const Failure &failure);

// Something that the library does for a caller: a column of the matrix. Values have the form of the
// peer's orders.
struct Operation
{
    enum Kind {
        BlockingCall,
        AsynchronousCall,
        Signal,
        Local
    };

    // A request with a callback is named "async:" and the name of the blocking one.
    QString name;
    Kind kind;

    // The method that is called, or the signal that is received.
    QString path;
    QString interface;
    QString member;
    // The signature of the answer or the signal, a right value, and what the caller sees of it.
    QString signature;
    QString values;
    QString seen;

    // For a call: what the caller sees of a failure.
    std::function<QString(const Failure &)> seenFailure;
    // For a signal: another one, which ends the waiting, and what the caller sees of it.
    QString markerValues;
    QString markerSeen;

    // Creates the client. Returns a function that owns the client, runs the operation and returns
    // when its outcome is there. Everything that the caller sees becomes an event of the rig.
    std::function<std::function<void()>(Rig &)> prepare;

    // The name without "async:".
    QString request() const { return name.section(':', -1); }

    bool isCall() const { return kind == BlockingCall || kind == AsynchronousCall; }
    bool isSignal() const { return kind == Signal; }

    // Returns the peer's order that sends the signal with these values.
    QString order(const QString &signatureAndValues) const;
};

const std::vector<Operation> &operations();
const Operation &operationNamed(const QString &name);

std::vector<Operation> controlCalls();
std::vector<Operation> controlSignals();
std::vector<Operation> taskOperations();
std::vector<Operation> otherOperations();

// For a signal: sends the marker, if there is a bus, and waits for it.
void hearMarker(Rig &rig, const Operation &operation);

#endif
