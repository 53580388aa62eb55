// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "hostile_values.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Answers and signals with wrong types and with wrong numbers of values.

namespace
{

const QString applicationsType = "a(siuua{sv})";
const QString servicesType = "a(ssiua{sv})";
const QString session = OSTREL_TASK_INVOKER_SESSIONS_PATH "sync";

// Values one after the other, each with its signature and words.
struct Values
{
    QString signature;
    QString words;
    int count = 1;

    Values with(const Values &more) const
    {
        return {signature + more.signature, words + ' ' + more.words, count + more.count};
    }

    Values with(const HostileValue &value) const
    {
        return with(Values{value.signature, value.words});
    }

    QString typed() const
    {
        return QString("%1 %2").arg(signature.isEmpty() ? "''" : signature, words);
    }
};

using Making = std::function<Values(const Operation &)>;

// '' is an empty signature.
QString typesOf(const Operation &operation)
{
    return operation.signature == "''" ? QString() : operation.signature;
}

// Returns the right values one by one, if there are several.
std::vector<Values> severalRight(const Operation &operation)
{
    const Values details{"a{sv}", "1 State i 7"};
    const Values lists{"a{sv}", "2 ActiveTasks a(sia{sv}) 1 t 5 0 AvailableTasks a(sa{sv}) 1 t 0"};
    static const QMap<QString, std::vector<Values>> all{
        {"sa{sv}", {{"s", "app:1"}, details}},
        {"oa{sv}", {{"o", session}, lists}},
        {"sa{sv}as", {{"s", "x.y"}, lists, {"as", "0"}}},
        {applicationsType + servicesType,
         {{applicationsType, "1 a.b 7 1 2 0"}, {servicesType, "1 a.b s 8 4 0"}}},
    };
    return all.value(operation.signature);
}

bool hasSeveral(const Operation &operation)
{
    return !severalRight(operation).empty();
}

Values right(const Operation &operation)
{
    return {typesOf(operation), operation.values,
            hasSeveral(operation) ? int(severalRight(operation).size()) : 1};
}

Values firstRight(const Operation &operation)
{
    return hasSeveral(operation) ? severalRight(operation).front() : Values{};
}

bool isList(const Operation &operation)
{
    return operation.request() == "list";
}

// With assertions, fewer than two values abort the program, as documented.
bool canTake(const Operation &operation, const Values &values)
{
#ifdef QT_NO_DEBUG
    Q_UNUSED(operation)
    Q_UNUSED(values)
    return true;
#else
    return !isList(operation) || values.count > 1;
#endif
}

Failure wrongSignature(const Operation &operation, const Values &values)
{
    return {1, "org.freedesktop.DBus.Error.InvalidSignature",
            QString("Unexpected reply signature: got \"%1\", expected \"%2\"")
                .arg(values.signature, operation.signature)};
}

// What the caller sees of values with wrong types.
QString outcomeOfWrong(const Operation &operation, const Values &values)
{
    if (operation.isSignal()) {
        return operation.markerSeen;
    }
    if (typesOf(operation).isEmpty()) {
        // The content of the answer is ignored.
        return operation.seen;
    }
    if (isList(operation)) {
        return operation.seenFailure({1, QString(), "The reply has fewer than two arguments"});
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
            rig.service().on(operation.member, "answer " + typed);
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
    // Any two values are accepted for the list.
    Fault fault = sending(value.typed(), [value](const Operation &operation) {
        const Values one{value.signature, value.words};
        return isList(operation) ? one.with(value) : one;
    });
    fault.expected = [value, other = fault.expected](const Operation &operation) {
        return isList(operation) ? QString("0 [%1] [%2]").arg(value.applications, value.services)
                                 : other(operation);
    };
    return fault;
}

Fault second(const HostileValue &value)
{
    Fault fault = sending("right, then " + value.typed(), [value](const Operation &operation) {
        return firstRight(operation).with(value);
    });
    fault.concerns = [concerned = fault.concerns](const Operation &operation) {
        return hasSeveral(operation) && concerned(operation);
    };
    fault.expected = [value, other = fault.expected](const Operation &operation) {
        return isList(operation) ? QString("0 [a.b 7 1 2 {}] [%1]").arg(value.services)
                                 : other(operation);
    };
    return fault;
}

// One of several values is wrong; the others are right.
Fault between(const QString &label, std::size_t place, const HostileValue &value)
{
    Fault fault = sending(label.arg(value.typed()), [place, value](const Operation &operation) {
        Values values{{}, {}, 0};
        std::vector<Values> all = severalRight(operation);
        if (place < all.size()) {
            all[place] = {value.signature, value.words};
        }
        for (const Values &one : all) {
            values = values.with(one);
        }
        return values;
    });
    fault.concerns = [place, concerned = fault.concerns](const Operation &operation) {
        // The second of two is already wrong above.
        return severalRight(operation).size() > (place == 0 ? 1 : 2) && concerned(operation);
    };
    fault.expected = [value, other = fault.expected](const Operation &operation) {
        return isList(operation) ? QString("0 [%1] [a.b s 8 4 {}]").arg(value.applications)
                                 : other(operation);
    };
    return fault;
}

Fault additional(const HostileValue &value)
{
    Fault fault = sending("all right, then " + value.typed(), [value](const Operation &operation) {
        return right(operation).with(value);
    });
    fault.expected = [](const Operation &operation) {
        return operation.isSignal() ? operation.markerSeen : operation.seen;
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsOfCounts()
{
    Fault none = sending("no values", [](const Operation &) { return Values{{}, {}, 0}; });
    Fault few = sending("too few values", firstRight);
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
        faults.push_back(between("%1, then right", 0, value));
        faults.push_back(between("right, then %1, then right", 1, value));
        faults.push_back(between("right but the third, %1", 2, value));
        faults.push_back(additional(value));
    }
    return faults;
}
