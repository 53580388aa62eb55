// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "hostile_values.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Error replies with all names and contents.

namespace
{

struct ErrorName
{
    int code;
    QString name;
    // For the table, if the name does not suffice.
    QString label = {};
};

const QString service = OSTREL_ERROR_PREFIX;
const QString standard = OSTREL_STANDARD_ERROR_PREFIX;

std::vector<ErrorName> names()
{
    std::vector<ErrorName> all{
        {0, service + "NoError"},
        {1, standard + "Failed"},
        {2, service + "HandlerNotFound"},
        {3, service + "HandlerFailed"},
        {4, standard + "InvalidArgs"},
        {5, standard + "NotSupported"},
        {6, standard + "AccessDenied"},
        {7, service + "ProcessNotHandled"},
        {8, service + "ApplicationNotRunning"},
        {9, service + "ApplicationAlreadyRunning"},
        // With the other prefix, with both, in other case, and without a known prefix.
        {1, service + "Failed"},
        {1, service + "AccessDenied"},
        {1, standard + "NoError"},
        {1, standard + "HandlerFailed"},
        {3, service + service + "HandlerFailed"},
        {1, service + standard + "AccessDenied"},
        {1, standard + "accessDenied"},
        {1, service + "HandlerFailed.Again"},
        {1, standard + "ServiceUnknown"},
        {1, standard + "UnknownMethod"},
        // Another program owns the name.
        {1, standard + "UnknownObject"},
        {1, standard + "NoReply"},
        {1, "org.qtproject.QtDBus.Error.InternalError"},
        {1, "a.b"},
        {1, "a.HandlerFailed"},
    };
    const int longest = 255;
    for (const QString &prefix : {service, standard, QString("a.")}) {
        all.push_back({1, prefix.leftJustified(longest, 'x'), prefix + "x..., 255 bytes"});
    }
    return all;
}

// values: the content of the error, with its signature.
Fault failing(const QString &label, const QString &values, const Failure &failure)
{
    Fault fault{label};
    fault.concerns = [](const Operation &operation) { return operation.isCall(); };
    fault.arrange = [values, failure](Rig &rig, const Operation &operation) {
        rig.service().on(operation.member, QString("fail %1 %2").arg(failure.name, values));
    };
    Failure seen = failure;
    seen.name = shortened(seen.name);
    seen.message = shortened(seen.message);
    fault.expected = [seen](const Operation &operation) { return operation.seenFailure(seen); };
    return fault;
}

// An error whose first argument has any type. For the start of a task, it is also the number.
Fault failingWith(const HostileValue &value)
{
    const Failure failure{3, service + "HandlerFailed", value.text};
    Fault fault = failing("an error with " + value.typed(), value.typed(), failure);
    fault.expected = [failure, value](const Operation &operation) {
        QString seen = operation.seenFailure(failure);
        return seen.replace("started 0:", QString("started %1:").arg(value.number));
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsOfErrors()
{
    std::vector<Fault> faults;
    for (const ErrorName &error : names()) {
        faults.push_back(failing(error.label.isEmpty() ? error.name : error.label, "s text",
                                 {error.code, error.name, "text"}));
    }
    const QString name = service + "HandlerFailed";
    faults.push_back(failing("an error without a message", "''", {3, name, QString()}));
    faults.push_back(failing("an error with an empty message", "s ''", {3, name, ""}));
    faults.push_back(failing("an error with two messages", "ss text other", {3, name, "text"}));
    for (const HostileValue &value : hostileValues()) {
        faults.push_back(failingWith(value));
    }
    return faults;
}
