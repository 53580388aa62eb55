// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "hostile_values.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Answers and signals of wrong types and of wrong numbers of values.

namespace
{

const QString applicationsType = QStringLiteral("a(siuua{sv})");
const QString servicesType = QStringLiteral("a(ssiua{sv})");
const QString session = QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH "sync");

// Values, given by their signatures and words, one behind the other.
struct Values
{
    QString signature;
    QString words;

    Values with(const HostileValue &value) const
    {
        return {signature + value.signature, words + QLatin1Char(' ') + value.words};
    }

    QString typed() const
    {
        return QStringLiteral("%1 %2").arg(signature.isEmpty() ? QStringLiteral("''") : signature,
                                           words);
    }
};

using Making = std::function<Values(const Operation &)>;

// A signature without values is '' where there are none.
QString typesOf(const Operation &operation)
{
    return operation.signature == QLatin1String("''") ? QString() : operation.signature;
}

Values right(const Operation &operation)
{
    return {typesOf(operation), operation.values};
}

// The first of the right values, where there are several.
Values firstRight(const Operation &operation)
{
    static const QMap<QString, Values> firsts{
        {QStringLiteral("sa{sv}"), {QStringLiteral("s"), QStringLiteral("app:1")}},
        {QStringLiteral("oa{sv}"), {QStringLiteral("o"), session}},
        {QStringLiteral("sa{sv}as"), {QStringLiteral("s"), QStringLiteral("x.y")}},
        {applicationsType + servicesType, {applicationsType, QStringLiteral("1 a.b 7 1 2 0")}},
    };
    return firsts.value(operation.signature);
}

bool hasSeveral(const Operation &operation)
{
    return !firstRight(operation).signature.isEmpty();
}

bool isList(const Operation &operation)
{
    return operation.name == QLatin1String("list");
}

// Where assertions are on, fewer than two values end the program, as those who call it are told.
bool canTake(const Operation &operation, const Values &values)
{
#ifdef QT_NO_DEBUG
    Q_UNUSED(operation)
    Q_UNUSED(values)
    return true;
#else
    return !isList(operation) || values.signature.count(QLatin1Char('a')) > 2;
#endif
}

Failure wrongSignature(const Operation &operation, const Values &values)
{
    return {1, QStringLiteral("org.freedesktop.DBus.Error.InvalidSignature"),
            QStringLiteral("Unexpected reply signature: got \"%1\", expected \"%2\"")
                .arg(values.signature, operation.signature)};
}

// What becomes of values that are not the right ones.
QString outcomeOfWrong(const Operation &operation, const Values &values)
{
    if (operation.isSignal()) {
        return operation.markerSeen;
    }
    if (typesOf(operation).isEmpty()) {
        // Nothing is read of the answer.
        return operation.seen;
    }
    if (isList(operation)) {
        return operation.seenFailure(
            {1, QString(), QStringLiteral("The reply has fewer than two arguments")});
    }
    return operation.seenFailure(wrongSignature(operation, values));
}

Fault sending(const QString &name, const Making &making)
{
    Fault fault{name};
    fault.concerns = [making](const Operation &operation) {
        if (operation.kind == Operation::Local) {
            return false;
        }
        const Values values = making(operation);
        return canTake(operation, values) && values.signature != typesOf(operation);
    };
    fault.arrange = [making](Rig &rig, const Operation &operation) {
        const QString typed = making(operation).typed();
        if (operation.isCall()) {
            rig.service().on(operation.member, QStringLiteral("answer ") + typed);
        } else {
            rig.service().order(operation.order(typed));
        }
    };
    fault.expected = [making](const Operation &operation) {
        return outcomeOfWrong(operation, making(operation));
    };
    return fault;
}

Fault alone(const HostileValue &value)
{
    // The list takes any two values.
    Fault fault = sending(value.typed(), [value](const Operation &operation) {
        const Values one = Values{}.with(value);
        return isList(operation) ? one.with(value) : one;
    });
    fault.expected = [value, other = fault.expected](const Operation &operation) {
        return isList(operation)
            ? QStringLiteral("0 [%1] [%2]").arg(value.applications, value.services)
            : other(operation);
    };
    return fault;
}

Fault second(const HostileValue &value)
{
    Fault fault =
        sending(QStringLiteral("right, then ") + value.typed(),
                [value](const Operation &operation) { return firstRight(operation).with(value); });
    fault.concerns = [concerned = fault.concerns](const Operation &operation) {
        return hasSeveral(operation) && concerned(operation);
    };
    fault.expected = [value, other = fault.expected](const Operation &operation) {
        return isList(operation) ? QStringLiteral("0 [a.b 7 1 2 {}] [%1]").arg(value.services)
                                 : other(operation);
    };
    return fault;
}

Fault additional(const HostileValue &value)
{
    Fault fault =
        sending(QStringLiteral("all right, then ") + value.typed(),
                [value](const Operation &operation) { return right(operation).with(value); });
    fault.expected = [](const Operation &operation) {
        return operation.isSignal() ? operation.markerSeen : operation.seen;
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsOfCounts()
{
    Fault none = sending(QStringLiteral("no values"), [](const Operation &) { return Values{}; });
    Fault few = sending(QStringLiteral("too few values"), firstRight);
    few.concerns = [concerned = few.concerns](const Operation &operation) {
        return hasSeveral(operation) && concerned(operation);
    };
    return {none, few};
}

std::vector<Fault> faultsOfTypes()
{
    std::vector<Fault> faults = faultsOfCounts();
    for (const HostileValue &value : hostileValues()) {
        faults.push_back(alone(value));
        faults.push_back(second(value));
        faults.push_back(additional(value));
    }
    return faults;
}
