// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "hostile_values.h"

#include "DBus/names_p.h"

#include <QtCore/QMap>

// Maps of answers and signals hold values of any type. None of them is wrong, except where a number
// or a list belongs.

namespace
{

// An answer or a signal with a value, and what the caller sees of it. %1 is the value with its
// signature, %2 is the value as a string.
struct Place
{
    QString values;
    QString seen;
};

const QMap<QString, Place> &places()
{
    const Place answer{"sa{sv} app:1 1 k %1", "0 <app:1> {k=%2}"};
    const QString started = "sa{sv} app:1 1 k %1";
    static const QMap<QString, Place> all{
        {"start", answer},
        {"startDebug", answer},
        {"list",
         {"a(siuua{sv})a(ssiua{sv}) 1 a.b 7 1 2 1 k %1 1 a.b s 8 4 1 k %1",
          "0 [a.b 7 1 2 {k=%2}] [a.b s 8 4 {k=%2}]"}},
        {"register",
         {"oa{sv} " OSTREL_TASK_INVOKER_SESSIONS_PATH
          "sync 3 ActiveTasks %1 AvailableTasks %1 k %1",
          "active [%3]; available [%4]; ready 0"}},
        {"started", {started, "started app:1 {k=%2}"}},
        {"terminated", {started, "terminated app:1 {k=%2}"}},
        {"stateChanged", {"sa{sv} app:1 1 State %1", "state app:1 %5"}},
        {"activeTasks", {"sa{sv}as x.y 1 ActiveTasks %1 0", "active [%3]"}},
        {"availableTasks", {"sa{sv}as x.y 1 AvailableTasks %1 0", "available [%4]"}},
    };
    return all;
}

// The same in the maps of tasks, and beside the state.
const QMap<QString, Place> &innerPlaces()
{
    static const QMap<QString, Place> all{
        {"register",
         {"oa{sv} " OSTREL_TASK_INVOKER_SESSIONS_PATH "sync 2 ActiveTasks a(sia{sv}) 1 t 5 1 k %1 "
          "AvailableTasks a(sa{sv}) 1 t 1 k %1",
          "active [t 5 {k=%2}]; available [t {k=%2}]; ready 0"}},
        {"stateChanged", {"sa{sv} app:1 2 State i 7 k %1", "state app:1 7"}},
        {"activeTasks",
         {"sa{sv}as x.y 1 ActiveTasks a(sia{sv}) 1 t 5 1 k %1 0", "active [t 5 {k=%2}]"}},
        {"availableTasks",
         {"sa{sv}as x.y 1 AvailableTasks a(sa{sv}) 1 t 1 k %1 0", "available [t {k=%2}]"}},
    };
    return all;
}

QString filled(QString text, const HostileValue &value)
{
    return text.replace("%1", value.typed())
        .replace("%2", value.text)
        .replace("%3", value.activeTasks)
        .replace("%4", value.availableTasks)
        .replace("%5", QString::number(quint32(value.number)));
}

Fault holding(const QString &label, const QMap<QString, Place> &places, const HostileValue &value)
{
    Fault fault{label + value.typed()};
    fault.concerns = [places](const Operation &operation) {
        return places.contains(operation.request());
    };
    fault.arrange = [places, value](Rig &rig, const Operation &operation) {
        const QString values = filled(places.value(operation.request()).values, value);
        if (operation.isCall()) {
            rig.service().on(operation.member, "answer " + values);
        } else {
            rig.service().order(operation.order(values));
        }
    };
    fault.expected = [places, value](const Operation &operation) {
        const QString seen = filled(places.value(operation.request()).seen, value);
        return operation.isSignal() ? seen + "; " + operation.markerSeen : seen;
    };
    return fault;
}

} // namespace

std::vector<Fault> faultsInMaps()
{
    std::vector<Fault> faults;
    for (const HostileValue &value : hostileValues()) {
        faults.push_back(holding("in a map, ", places(), value));
        faults.push_back(holding("in an inner map, ", innerPlaces(), value));
    }
    return faults;
}
