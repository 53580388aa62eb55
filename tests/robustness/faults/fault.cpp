// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"

void arrangeGood(Rig &rig, const Operation &operation)
{
    const QString values = operation.signature + ' ' + operation.values;
    if (operation.isCall()) {
        rig.service().on(operation.member, "answer " + values);
    } else if (operation.isSignal()) {
        rig.service().order(operation.order(values));
    }
}

QString goodOutcome(const Operation &operation)
{
    return operation.isSignal() ? operation.seen + "; " + operation.markerSeen : operation.seen;
}

QString outcomeOf(const Operation &operation, const Failure &failure)
{
    return operation.isCall()  ? operation.seenFailure(failure)
        : operation.isSignal() ? operation.markerSeen
                               : operation.seen;
}
