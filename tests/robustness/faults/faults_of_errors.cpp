// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "hostile_values.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Error replies of all names and contents.

namespace
{

struct ErrorName
{
    int code;
    QString name;
    // For the table, where the name does not do.
    QString label = {};
};

const QString service = QStringLiteral(OSTREL_ERROR_PREFIX);
const QString standard = QStringLiteral(OSTREL_STANDARD_ERROR_PREFIX);

std::vector<ErrorName> names()
{
    std::vector<ErrorName> all{
        {0, service + QStringLiteral("NoError")},
        {1, standard + QStringLiteral("Failed")},
        {2, service + QStringLiteral("HandlerNotFound")},
        {3, service + QStringLiteral("HandlerFailed")},
        {4, standard + QStringLiteral("InvalidArgs")},
        {5, standard + QStringLiteral("NotSupported")},
        {6, standard + QStringLiteral("AccessDenied")},
        {7, service + QStringLiteral("ProcessNotHandled")},
        {8, service + QStringLiteral("ApplicationNotRunning")},
        {9, service + QStringLiteral("ApplicationAlreadyRunning")},
        // Under the other prefix, under both, in other letters, and of nobody.
        {1, service + QStringLiteral("Failed")},
        {1, service + QStringLiteral("AccessDenied")},
        {1, standard + QStringLiteral("NoError")},
        {1, standard + QStringLiteral("HandlerFailed")},
        {3, service + service + QStringLiteral("HandlerFailed")},
        {1, service + standard + QStringLiteral("AccessDenied")},
        {1, standard + QStringLiteral("accessDenied")},
        {1, service + QStringLiteral("HandlerFailed.Again")},
        {1, standard + QStringLiteral("ServiceUnknown")},
        {1, standard + QStringLiteral("UnknownMethod")},
        // Another program owns the name.
        {1, standard + QStringLiteral("UnknownObject")},
        {1, standard + QStringLiteral("NoReply")},
        {1, QStringLiteral("org.qtproject.QtDBus.Error.InternalError")},
        {1, QStringLiteral("a.b")},
        {1, QStringLiteral("a.HandlerFailed")},
    };
    const int longest = 255;
    for (const QString &prefix : {service, standard, QStringLiteral("a.")}) {
        all.push_back({1, prefix.leftJustified(longest, QLatin1Char('x')),
                       prefix + QStringLiteral("x..., 255 bytes")});
    }
    return all;
}

// values: what the error carries, with its signature.
Fault failing(const QString &label, const QString &values, const Failure &failure)
{
    Fault fault{label};
    fault.concerns = [](const Operation &operation) { return operation.isCall(); };
    fault.arrange = [values, failure](Rig &rig, const Operation &operation) {
        rig.service().on(operation.member, QStringLiteral("fail %1 %2").arg(failure.name, values));
    };
    Failure seen = failure;
    seen.name = shortened(seen.name);
    seen.message = shortened(seen.message);
    fault.expected = [seen](const Operation &operation) { return operation.seenFailure(seen); };
    return fault;
}

// An error that begins with a value of any type. Of the number of a started task, that is the
// number.
Fault failingWith(const HostileValue &value)
{
    const Failure failure{3, service + QStringLiteral("HandlerFailed"), value.text};
    Fault fault = failing(QStringLiteral("an error with ") + value.typed(), value.typed(), failure);
    fault.expected = [failure, value](const Operation &operation) {
        QString seen = operation.seenFailure(failure);
        return seen.replace(QLatin1String("started 0:"),
                            QStringLiteral("started %1:").arg(value.number));
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsOfErrors()
{
    std::vector<Fault> faults;
    for (const ErrorName &error : names()) {
        faults.push_back(failing(error.label.isEmpty() ? error.name : error.label,
                                 QStringLiteral("s text"),
                                 {error.code, error.name, QStringLiteral("text")}));
    }
    const QString name = service + QStringLiteral("HandlerFailed");
    faults.push_back(failing(QStringLiteral("an error without a message"), QStringLiteral("''"),
                             {3, name, QString()}));
    faults.push_back(failing(QStringLiteral("an error with an empty message"),
                             QStringLiteral("s ''"), {3, name, QLatin1String("")}));
    faults.push_back(failing(QStringLiteral("an error with two messages"),
                             QStringLiteral("ss text other"), {3, name, QStringLiteral("text")}));
    for (const HostileValue &value : hostileValues()) {
        faults.push_back(failingWith(value));
    }
    return faults;
}
