// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "operation.h"

#include <algorithm>

QString textOf(const Failure &failure)
{
    return textOf(Ostrel::Error(Ostrel::Error::Code(failure.code), failure.message));
}

QString Operation::order(const QString &signatureAndValues) const
{
    return QString("signal '' '' %1 %2 %3 %4").arg(path, interface, member, signatureAndValues);
}

const std::vector<Operation> &operations()
{
    static const std::vector<Operation> all = [] {
        std::vector<Operation> joined;
        for (const auto &some :
             {controlCalls(), taskOperations(), otherOperations(), controlSignals()}) {
            joined.insert(joined.end(), some.cbegin(), some.cend());
        }
        std::stable_partition(joined.begin(), joined.end(),
                              [](const Operation &operation) { return !operation.isSignal(); });
        return joined;
    }();
    return all;
}

const Operation &operationNamed(const QString &name)
{
    const auto &all = operations();
    const auto found = std::find_if(all.cbegin(), all.cend(), [&name](const Operation &operation) {
        return operation.name == name;
    });
    if (found == all.cend()) {
        qFatal("no operation: %s", qPrintable(name));
    }
    return *found;
}

void hearMarker(Rig &rig, const Operation &operation)
{
    if (!rig.connection().isConnected()) {
        // The end of the bus arrives like other messages.
        rig.settle();
        return;
    }
    rig.service().order(operation.order(operation.signature + ' ' + operation.markerValues));
    waitUntil([&] { return rig.events().contains(operation.markerSeen); });
}
