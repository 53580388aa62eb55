// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "operation.h"
#include "task_texts.h"

#include "DBus/names_p.h"

#include <Ostrel/TaskInvoker>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

// With a longer type, the bus passes on no changes, so something else must end the waiting.
constexpr int longestHeardType = 800;

// Adds the signals of an invoker, with its lists.
void listen(Rig &rig, const TaskInvoker *invoker)
{
    QObject::connect(invoker, &TaskInvoker::activeTasksChanged, invoker,
                     [&rig, invoker, token = rig.token()] {
                         rig.add(QString("active [%1]").arg(text(invoker->activeTasks())));
                     });
    QObject::connect(invoker, &TaskInvoker::availableTasksChanged, invoker,
                     [&rig, invoker, token = rig.token()] {
                         rig.add(QString("available [%1]").arg(text(invoker->availableTasks())));
                     });
}

std::shared_ptr<TaskInvoker> makeInvoker(Rig &rig)
{
    return std::make_shared<TaskInvoker>(
        rig.isOnSystemBus() ? TaskInvoker::SystemBus : TaskInvoker::SessionBus, rig.taskType);
}

// The path of the session, for an order.
QString session(const Rig &rig)
{
    const QString path = OSTREL_TASK_INVOKER_SESSIONS_PATH;
    // A long type consists of one letter.
    return rig.taskType.size() > 255 ? path + QString("@%1").arg(rig.taskType.size())
                                     : path + rig.taskType;
}

// Returns an invoker whose registration has an outcome.
std::shared_ptr<TaskInvoker> makeReadyInvoker(Rig &rig)
{
    if (rig.hasService()) {
        rig.service().on("RegisterInvoker", QString("answer oa{sv} %1 0").arg(session(rig)));
    }
    auto invoker = makeInvoker(rig);
    const auto ready = std::make_shared<bool>(false);
    invoker->onReady([ready](const Error & /*error*/) { *ready = true; });
    waitUntil([&ready] { return *ready; });
    rig.takeWarnings();
    return invoker;
}

Operation call(const char *name, const char *method, const char *signature, const char *values,
               const char *seen)
{
    Operation operation;
    operation.name = name;
    operation.kind = Operation::AsynchronousCall;
    operation.path = OSTREL_TASK_INVOKER_SESSIONS_PATH "sync";
    operation.interface = OSTREL_TASK_INVOKER_SESSION_INTERFACE;
    operation.member = method;
    operation.signature = signature;
    operation.values = values;
    operation.seen = seen;
    return operation;
}

// The callback runs exactly once, so the number of events is known.
void waitForReport(Rig &rig, const QString &label)
{
    waitUntil([&rig, &label] {
        return !rig.events().isEmpty() && rig.events().constLast().startsWith(label);
    });
}

Operation registration()
{
    Operation operation =
        call("register", "RegisterInvoker", "oa{sv}",
             OSTREL_TASK_INVOKER_SESSIONS_PATH "sync 2 ActiveTasks a(sia{sv}) 1 t 5 0 "
                                               "AvailableTasks a(sa{sv}) 1 t 1 k i 3",
             "active [t 5 {}]; available [t {k=3}]; ready 0");
    operation.path = OSTREL_TASK_INVOKER_PATH;
    operation.interface = OSTREL_TASK_INVOKER_INTERFACE;
    operation.seenFailure = [](const Failure &failure) {
        // QDebug escapes quotation marks.
        QString message = failure.message;
        message.replace("\"", "\\\"");
        return QString("ready %1; warning: TaskInvoker registration failed: "
                       "QDBusError(\"%2\", \"%3\")")
            .arg(textOf(failure), failure.name, message);
    };
    operation.prepare = [](Rig &rig) {
        const auto slot = std::make_shared<std::shared_ptr<TaskInvoker>>();
        const auto make = [&rig, slot] {
            *slot = makeInvoker(rig);
            listen(rig, slot->get());
        };
        if (rig.invokerIsFirst) {
            make();
        }
        return [&rig, slot, make] {
            if (!*slot) {
                make();
            }
            (*slot)->onReady([&rig, token = rig.token()](const Error &error) {
                rig.setCode(error.code());
                rig.add("ready " + textOf(error));
            });
            waitForReport(rig, "ready");
        };
    };
    return operation;
}

Operation taskStart()
{
    Operation operation = call("taskStart", "Start", "i", "42", "started 42: 0");
    operation.seenFailure = [](const Failure &failure) { return "started 0: " + textOf(failure); };
    operation.prepare = [](Rig &rig) {
        return [&rig, invoker = makeReadyInvoker(rig)] {
            TaskInvoker::StartupInfo info;
            info.setParameters({"-v"});
            if (!rig.parameters.isEmpty()) {
                info.swap(rig.parameters);
            }
            invoker->start(rig.argument, info, {},
                           [&rig, token = rig.token()](int number, const Error &error) {
                               rig.setCode(error.code());
                               rig.add(QString("started %1: %2").arg(number).arg(textOf(error)));
                           });
            rig.noteEarlyCallbacks();
            waitForReport(rig, "started");
        };
    };
    return operation;
}

void stop(Rig &rig, TaskInvoker &invoker)
{
    invoker.stop(rig.argument, [&rig, token = rig.token()](const Error &error) {
        rig.setCode(error.code());
        rig.add("stopped " + textOf(error));
    });
    rig.noteEarlyCallbacks();
    waitForReport(rig, "stopped");
}

Operation taskStop()
{
    Operation operation = call("taskStop", "Stop", "''", "", "stopped 0");
    operation.seenFailure = [](const Failure &failure) { return "stopped " + textOf(failure); };
    operation.prepare = [](Rig &rig) {
        return [&rig, invoker = makeReadyInvoker(rig)] { stop(rig, *invoker); };
    };
    return operation;
}

Operation listSignal(const char *name, const char *values, const char *seen, const char *marker,
                     const char *markerSeen)
{
    Operation operation = call(name, "PropertiesChanged", "sa{sv}as", values, seen);
    operation.kind = Operation::Signal;
    operation.interface = "org.freedesktop.DBus.Properties";
    operation.markerValues = marker;
    operation.markerSeen = markerSeen;
    const QString column = operation.name;
    operation.prepare = [column](Rig &rig) {
        auto invoker = makeReadyInvoker(rig);
        listen(rig, invoker.get());
        // The bus may handle what the service sends before the subscription.
        rig.settle();
        return [&rig, column, invoker] {
            if (rig.taskType.size() <= longestHeardType) {
                Operation operation = operationNamed(column);
                operation.path = session(rig);
                hearMarker(rig, operation);
            } else {
                stop(rig, *invoker);
            }
        };
    };
    return operation;
}

} // namespace

std::vector<Operation> taskOperations()
{
    return {
        registration(),
        taskStart(),
        taskStop(),
        listSignal("activeTasks", "x.y 1 ActiveTasks a(sia{sv}) 1 t 5 0 0", "active [t 5 {}]",
                   "x.y 1 ActiveTasks a(sia{sv}) 1 marker 8 0 0", "active [marker 8 {}]"),
        listSignal("availableTasks", "x.y 1 AvailableTasks a(sa{sv}) 1 t 0 0", "available [t {}]",
                   "x.y 1 AvailableTasks a(sa{sv}) 1 marker 0 0", "available [marker {}]"),
    };
}
