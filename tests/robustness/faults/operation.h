// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_FAULTS_OPERATION_H
#define TESTS_FAULTS_OPERATION_H

#include "rig.h"

#include <vector>

// The error that a call comes to.
struct Failure
{
    int code = 1;
    QString name;
    QString message;
};

// As the caller sees it: the code, and the message unless it is null.
QString textOf(const Failure &failure);

// Something that the library does for a caller: a column of the matrix. Values are in the form of
// the peer's orders.
struct Operation
{
    enum Kind {
        BlockingCall,
        AsynchronousCall,
        Signal,
        Local
    };

    // The form of a request that does not wait has "async:" in front of the other form's name.
    QString name;
    Kind kind;

    // The method that is called, or the signal that is heard.
    QString path;
    QString interface;
    QString member;
    // What the answer or the signal has to be, one that is right, and what the caller sees of it.
    QString signature;
    QString values;
    QString seen;

    // Of a call: what the caller sees of a failure.
    std::function<QString(const Failure &)> seenFailure;
    // Of a signal: another one, that ends the waiting, and what the caller sees of that.
    QString markerValues;
    QString markerSeen;

    // Makes the client. The result does what is to be done, and returns when its outcome is there;
    // everything that the caller sees is added to the rig's events. It owns the client.
    std::function<std::function<void()>(Rig &)> prepare;

    // The name without what stands in front.
    QString request() const { return name.section(':', -1); }

    bool isCall() const { return kind == BlockingCall || kind == AsynchronousCall; }
    bool isSignal() const { return kind == Signal; }

    // The peer's order that sends the signal with these values.
    QString order(const QString &signatureAndValues) const;
};

const std::vector<Operation> &operations();
const Operation &operationNamed(const QString &name);

std::vector<Operation> controlCalls();
std::vector<Operation> controlSignals();
std::vector<Operation> taskOperations();
std::vector<Operation> otherOperations();

// Of a signal: sends the marker, if there is a bus, and waits for it.
void hearMarker(Rig &rig, const Operation &operation);

#endif
