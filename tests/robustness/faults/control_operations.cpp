// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "application_texts.h"
#include "operation.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>

using Ostrel::Control;

namespace
{

const QString path = OSTREL_CONTROL_PATH;
const QString interface = OSTREL_CONTROL_INTERFACE;

void add(Rig &rig, const Control::StartResult &result)
{
    rig.setCode(result.error.code());
    rig.add(QString("%1 <%2> {%3}")
                .arg(textOf(result.error), result.appInstanceId, text(result.details)));
}

void add(Rig &rig, const Ostrel::Error &error)
{
    rig.setCode(error.code());
    rig.add(textOf(error));
}

void add(Rig &rig, const QVector<Ostrel::RunningApplication> &applications,
         const QVector<Ostrel::RunningService> &services, const Ostrel::Error &error)
{
    rig.setCode(error.code());
    rig.add(QString("%1 [%2] [%3]").arg(textOf(error), text(applications), text(services)));
}

Ostrel::DebugParams parametersOf(const Rig &rig)
{
    Ostrel::DebugParams params(rig.parameters);
    if (rig.parameters.isEmpty()) {
        params.setCommandLineParams({"-v"});
    }
    return params;
}

Operation call(const char *name, const char *method, const char *signature, const char *values,
               const char *seen)
{
    Operation operation;
    operation.name = name;
    operation.kind = Operation::BlockingCall;
    operation.path = path;
    operation.interface = interface;
    operation.member = method;
    operation.signature = signature;
    operation.values = values;
    operation.seen = seen;
    operation.seenFailure = [](const Failure &failure) { return textOf(failure) + " <> {}"; };
    return operation;
}

struct Client
{
    Control control;
    QObject context;
};

// The same request with a callback. send: makes the call, with a callback that adds to the rig.
Operation withoutWaiting(Operation operation, const std::function<void(Rig &, Client &)> &send)
{
    operation.name.prepend("async:");
    operation.kind = Operation::AsynchronousCall;
    operation.prepare = [send](Rig &rig) {
        return [&rig, send, client = std::make_shared<Client>()] {
            send(rig, *client);
            rig.noteEarlyCallbacks();
            waitUntil([&rig] { return !rig.events().isEmpty(); });
        };
    };
    return operation;
}

// Return callbacks that add what they receive.
std::function<void(const Control::StartResult &)> addingResult(Rig &rig)
{
    return [&rig, token = rig.token()](const Control::StartResult &result) { add(rig, result); };
}

std::function<void(const Ostrel::Error &)> addingError(Rig &rig)
{
    return [&rig, token = rig.token()](const Ostrel::Error &error) { add(rig, error); };
}

Operation start()
{
    Operation operation = call("start", "Start", "sa{sv}", "app:1 1 Pid i 7", "0 <app:1> {Pid=7}");
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Control>()] {
            add(rig, control->start(rig.argument));
        };
    };
    return operation;
}

Operation startDebug()
{
    Operation operation =
        call("startDebug", "StartDebug", "sa{sv}", "app:1 1 Pid i 7", "0 <app:1> {Pid=7}");
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Control>()] {
            add(rig, control->startDebug(rig.argument, parametersOf(rig)));
        };
    };
    return operation;
}

Operation terminate()
{
    Operation operation = call("terminate", "Terminate", "''", "", "0");
    operation.seenFailure = [](const Failure &failure) { return textOf(failure); };
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Control>()] {
            add(rig, control->terminate(rig.argument));
        };
    };
    return operation;
}

Operation list()
{
    Operation operation =
        call("list", "GetRunningApplications", "a(siuua{sv})a(ssiua{sv})",
             "1 a.b 7 1 2 1 k i 3 1 a.b s 8 4 0", "0 [a.b 7 1 2 {k=3}] [a.b s 8 4 {}]");
    operation.seenFailure = [](const Failure &failure) {
        // The code is Failed, whatever the error is named, and the lists stay.
        return textOf(Failure{1, QString(), failure.message})
            + " [before 0 0 0 {}] [ before 0 0 {}]";
    };
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Control>()] {
            QVector<Ostrel::RunningApplication> applications(1, Ostrel::RunningApplication{});
            QVector<Ostrel::RunningService> services(1, Ostrel::RunningService{});
            applications[0].appId = "before";
            services[0].name = "before";
            const Ostrel::Error error = control->getRunningApplications(applications, services);
            add(rig, applications, services, error);
        };
    };
    return operation;
}

Operation startWithoutWaiting()
{
    return withoutWaiting(start(), [](Rig &rig, Client &client) {
        client.control.start(rig.argument, &client.context, addingResult(rig));
    });
}

Operation startDebugWithoutWaiting()
{
    return withoutWaiting(startDebug(), [](Rig &rig, Client &client) {
        client.control.startDebug(rig.argument, parametersOf(rig), &client.context,
                                  addingResult(rig));
    });
}

Operation terminateWithoutWaiting()
{
    return withoutWaiting(terminate(), [](Rig &rig, Client &client) {
        client.control.terminate(rig.argument, &client.context, addingError(rig));
    });
}

Operation listWithoutWaiting()
{
    Operation operation = withoutWaiting(list(), [](Rig &rig, Client &client) {
        client.control.getRunningApplications(
            &client.context,
            [&rig, token = rig.token()](const QVector<Ostrel::RunningApplication> &applications,
                                        const QVector<Ostrel::RunningService> &services,
                                        const Ostrel::Error &error) {
                add(rig, applications, services, error);
            });
    });
    operation.seenFailure = [](const Failure &failure) {
        return textOf(Failure{1, QString(), failure.message}) + " [] []";
    };
    return operation;
}

// listen: connects the Control's signal.
Operation signal(const char *name, const char *member, const char *signature,
                 const std::function<void(Rig &, const Control &)> &listen)
{
    Operation operation;
    operation.name = name;
    operation.kind = Operation::Signal;
    operation.path = path;
    operation.interface = interface;
    operation.member = member;
    operation.signature = signature;
    operation.values = "app:1 1 State i 7";
    operation.markerValues = "marker 1 State i 8";
    operation.seen = operation.name + " app:1 {State=7}";
    operation.markerSeen = operation.name + " marker {State=8}";
    const QString column = operation.name;
    operation.prepare = [listen, column](Rig &rig) {
        auto control = std::make_shared<Control>();
        listen(rig, *control);
        // The bus may handle what the service sends before the subscription.
        rig.settle();
        return [&rig, column, control] { hearMarker(rig, operationNamed(column)); };
    };
    return operation;
}

} // namespace

std::vector<Operation> controlCalls()
{
    return {start(),
            startDebug(),
            terminate(),
            list(),
            startWithoutWaiting(),
            startDebugWithoutWaiting(),
            terminateWithoutWaiting(),
            listWithoutWaiting()};
}

std::vector<Operation> controlSignals()
{
    const auto adding = [](Rig &rig, const QString &name) {
        return [&rig, name, token = rig.token()](const QString &id, const QVariantMap &details) {
            rig.add(QString("%1 %2 {%3}").arg(name, id, text(details)));
        };
    };
    Operation started =
        signal("started", "Started", "sa{sv}", [adding](Rig &rig, const Control &control) {
            QObject::connect(&control, &Control::started, &control, adding(rig, "started"));
        });
    Operation terminated =
        signal("terminated", "Terminated", "sa{sv}", [adding](Rig &rig, const Control &control) {
            QObject::connect(&control, &Control::terminated, &control, adding(rig, "terminated"));
        });
    Operation state =
        signal("stateChanged", "StateChanged", "sa{sv}", [](Rig &rig, const Control &control) {
            QObject::connect(&control, &Control::stateChanged, &control,
                             [&rig, token = rig.token()](const QString &id, quint32 number) {
                                 rig.add(QString("state %1 %2").arg(id).arg(number));
                             });
        });
    state.seen = "state app:1 7";
    state.markerSeen = "state marker 8";
    Operation oom =
        signal("selectedByOom", "SelectedByOom", "s", [](Rig &rig, const Control &control) {
            QObject::connect(&control, &Control::selectedByOom, &control,
                             [&rig, token = rig.token()](const QString &id) {
                                 rig.add(QString("oom %1").arg(id));
                             });
        });
    oom.values = "app:1";
    oom.markerValues = "marker";
    oom.seen = "oom app:1";
    oom.markerSeen = "oom marker";
    return {started, terminated, state, oom};
}
