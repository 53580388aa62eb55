// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "files.h"
#include "operation.h"

#include "DBus/names_p.h"

#include <Ostrel/Control>
#include <Ostrel/WindowManagement>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace
{

Operation windowStatus()
{
    Operation operation;
    operation.name = "window";
    operation.kind = Operation::AsynchronousCall;
    operation.path = OSTREL_WINDOW_MANAGEMENT_PATH;
    operation.interface = OSTREL_WINDOW_MANAGEMENT_INTERFACE;
    operation.member = "UpdateWindowStatus";
    operation.signature = "u";
    operation.values = "2";
    operation.seen = "state 2: 0";
    operation.seenFailure = [](const Failure &failure) { return "state 255: " + textOf(failure); };
    operation.prepare = [](Rig &rig) {
        struct Client
        {
            Ostrel::WindowManagement windows;
            QObject context;
        };
        return [&rig, client = std::make_shared<Client>()] {
            client->windows.updateWindowStatus(
                rig.argument, 1, 2, 3, &client->context,
                [&rig, token = rig.token()](Ostrel::ApplicationState state,
                                            const Ostrel::Error &error) {
                    rig.setCode(error.code());
                    rig.add(QString("state %1: %2").arg(quint32(state)).arg(textOf(error)));
                });
            rig.noteEarlyCallbacks();
            waitUntil([&rig] { return !rig.events().isEmpty(); });
        };
    };
    return operation;
}

// It sends nothing, so no fault of the bus reaches it.
Operation lookUp()
{
    Operation operation;
    operation.name = "lookUp";
    operation.kind = Operation::Local;
    operation.seen = "<a.b> <a.b.instance_1>";
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Ostrel::Control>()] {
            const QTemporaryDir root;
            QDir(root.path()).mkpath("proc/7");
            writeFile(root.filePath("proc/7/cgroup"), "4:memory:/ostrel-helper/a.b/instance_1\n");
            qputenv("OSTREL_ROOTFS", root.path().toUtf8());
            rig.add(QString("<%1> <%2>")
                        .arg(control->getAppIdByPid(7), control->getAppInstanceIdByPid(7)));
            qunsetenv("OSTREL_ROOTFS");
        };
    };
    return operation;
}

} // namespace

std::vector<Operation> otherOperations()
{
    return {windowStatus(), lookUp()};
}
