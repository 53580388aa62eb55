// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "fault.h"
#include "test_bus.h"

#include "DBus/names_p.h"

// The bus or the service is not there, goes away, or hangs.

namespace
{

const QString serviceName = OSTREL_SERVICE_NAME;

const Failure disconnected{1, "org.freedesktop.DBus.Error.Disconnected",
                           "Not connected to D-Bus server"};
const Failure absent{1, "org.freedesktop.DBus.Error.ServiceUnknown", absentServiceText()};
const Failure gone{1, "org.freedesktop.DBus.Error.NoReply", endedServiceText()};
const Failure silent{1, "org.freedesktop.DBus.Error.NoReply",
                     "Did not receive a reply. Possible causes include: the remote application did "
                     "not send a reply, the message bus security policy blocked the reply, the "
                     "reply timeout expired, or the network connection was broken."};

bool any(const Operation & /*operation*/)
{
    return true;
}

bool call(const Operation &operation)
{
    return operation.isCall();
}

bool callOrLocal(const Operation &operation)
{
    return !operation.isSignal();
}

bool isRegistration(const Operation &operation)
{
    return operation.name == "register";
}

QString withoutBus(const Operation &operation)
{
    return operation.isSignal() ? QString() : outcomeOf(operation, disconnected);
}

std::function<QString(const Operation &)> failing(const Failure &failure)
{
    return [failure](const Operation &operation) { return outcomeOf(operation, failure); };
}

void endBus(Rig &rig, const Operation & /*operation*/)
{
    rig.endBus();
}

void killService(Rig &rig, const Operation & /*operation*/)
{
    rig.killService();
}

void startService(Rig &rig, const Operation &operation)
{
    rig.startService();
    arrangeGood(rig, operation);
}

// If there were a second registration, its outcome would have come by then.
void settleWithService(Rig &rig, const Operation & /*operation*/)
{
    rig.settleWithService();
}

std::vector<Fault> faultsOfTheBus()
{
    Fault none{"no bus", Fault::OwnProcessWithoutBus, 15};
    none.concerns = any;
    none.expected = withoutBus;

    Fault noPath{"no bus, and a task type that makes no path", Fault::OwnProcessWithoutBus, 15};
    noPath.concerns = isRegistration;
    noPath.before = [](Rig &rig, const Operation & /*operation*/) { rig.taskType = "a-b"; };
    noPath.expected = withoutBus;

    Fault before{"the bus dies before the client is made", Fault::OwnProcess, 15};
    before.concerns = any;
    before.before = endBus;
    before.expected = withoutBus;

    Fault between{"the bus dies before the call", Fault::OwnProcess};
    between.concerns = any;
    between.before = [](Rig &rig, const Operation &operation) {
        rig.invokerIsFirst = true;
        if (isRegistration(operation)) {
            arrangeGood(rig, operation);
        }
    };
    between.arrange = [](Rig &rig, const Operation &operation) {
        if (isRegistration(operation)) {
            waitUntil([&rig] { return rig.events().size() == 2; });
        }
        rig.endBus();
    };
    // The outcome of a registration is kept.
    between.expected = [](const Operation &operation) {
        return isRegistration(operation) ? goodOutcome(operation) : withoutBus(operation);
    };

    Fault within{"the bus dies in the call", Fault::OwnProcess};
    within.concerns = call;
    within.arrange = [](Rig &rig, const Operation &operation) {
        rig.service().on(operation.member, QString("kill %1").arg(rig.bus().processId()));
    };
    within.expected = failing(disconnected);
    return {none, noPath, before, between, within};
}

Fault frozenService()
{
    Fault frozen{"the service hangs", Fault::OwnProcess, 4, 5000};
    frozen.concerns = any;
    frozen.arrange = [](Rig &rig, const Operation &operation) {
        if (operation.isSignal()) {
            rig.service().freeze();
            rig.service().orderLater(operation.order(operation.signature + ' ' + operation.values));
            rig.settle();
            rig.add("so far");
            rig.service().thaw();
            rig.service().waitForOrder();
        } else {
            arrangeGood(rig, operation);
            rig.service().freeze();
        }
    };
    frozen.after = [](Rig &rig, const Operation & /*operation*/) {
        // A late answer is ignored.
        rig.service().thaw();
        rig.service().order("forget");
    };
    frozen.expected = [](const Operation &operation) {
        return operation.isSignal() ? "so far; " + goodOutcome(operation)
                                    : outcomeOf(operation, silent);
    };
    return frozen;
}

// The signals and answers of a service that has lost its name.
Fault handedOver()
{
    Fault handed{"the service loses its name in the call"};
    handed.concerns = any;
    handed.arrange = [](Rig &rig, const Operation &operation) {
        if (operation.isSignal()) {
            rig.waitForOwner(Rig::Nobody,
                             [&rig] { rig.service().order("release " + serviceName); });
            arrangeGood(rig, operation);
            rig.waitForOwner(Rig::Somebody, [&rig] { rig.service().order("own " + serviceName); });
        } else if (operation.isCall()) {
            rig.service().on(operation.member,
                             QString("release %1 answer %2 %3")
                                 .arg(serviceName, operation.signature, operation.values));
        }
    };
    handed.after = [](Rig &rig, const Operation &operation) {
        if (operation.isCall()) {
            rig.waitForOwner(Rig::Somebody, [&rig] { rig.service().order("own " + serviceName); });
        }
    };
    // The call was made to it, so its answer is accepted; its signals are not.
    handed.expected = [](const Operation &operation) {
        return operation.isSignal() ? operation.markerSeen : goodOutcome(operation);
    };
    return handed;
}

std::vector<Fault> faultsOfTheService()
{
    Fault away{"the service is absent"};
    away.concerns = callOrLocal;
    away.before = killService;
    away.expected = failing(absent);

    Fault ended{"the service ends before the call"};
    ended.concerns = call;
    ended.arrange = killService;
    ended.expected = failing(absent);

    Fault late{"the service comes late"};
    late.concerns = any;
    late.before = [](Rig &rig, const Operation & /*operation*/) {
        rig.killService();
        rig.invokerIsFirst = true;
    };
    late.arrange = startService;
    late.after = settleWithService;
    // A registration is not repeated.
    late.expected = [](const Operation &operation) {
        return isRegistration(operation) ? operation.seenFailure(absent) : goodOutcome(operation);
    };

    Fault restarted{"the service is started anew"};
    restarted.concerns = any;
    restarted.before = [](Rig &rig, const Operation &operation) {
        rig.invokerIsFirst = true;
        if (isRegistration(operation)) {
            rig.service().on(operation.member, "ignore");
        }
    };
    restarted.arrange = [](Rig &rig, const Operation &operation) {
        // The registration has been sent by then.
        rig.settle();
        rig.killService();
        startService(rig, operation);
    };
    restarted.after = settleWithService;
    restarted.expected = [](const Operation &operation) {
        return isRegistration(operation) ? operation.seenFailure(gone) : goodOutcome(operation);
    };

    Fault registered{"the service is started anew behind the call"};
    registered.concerns = isRegistration;
    registered.arrange = arrangeGood;
    registered.after = [](Rig &rig, const Operation &operation) {
        rig.killService();
        startService(rig, operation);
        rig.settleWithService();
    };
    registered.expected = goodOutcome;

    Fault dying{"the service dies in the call"};
    dying.concerns = any;
    dying.arrange = [](Rig &rig, const Operation &operation) {
        if (operation.isCall()) {
            rig.service().on(operation.member, "die");
        } else {
            arrangeGood(rig, operation);
            rig.killService();
            rig.startService();
        }
    };
    dying.after = [](Rig &rig, const Operation &operation) {
        if (operation.isCall()) {
            rig.buryService();
        }
    };
    // What it sent before its end is accepted.
    dying.expected = [](const Operation &operation) {
        return operation.isCall() ? operation.seenFailure(gone) : goodOutcome(operation);
    };
    return {away, ended, late, restarted, registered, dying, handedOver()};
}

} // namespace

std::vector<Fault> faultsOfLife()
{
    std::vector<Fault> faults = faultsOfTheBus();
    for (Fault &fault : faultsOfTheService()) {
        faults.push_back(fault);
    }
    faults.push_back(frozenService());
    return faults;
}
