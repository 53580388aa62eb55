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
    operation.name = QStringLiteral("window");
    operation.kind = Operation::AsynchronousCall;
    operation.path = QStringLiteral(OSTREL_WINDOW_MANAGEMENT_PATH);
    operation.interface = QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE);
    operation.member = QStringLiteral("UpdateWindowStatus");
    operation.signature = QStringLiteral("u");
    operation.values = QStringLiteral("2");
    operation.seen = QStringLiteral("state 2: 0");
    operation.seenFailure = [](const Failure &failure) {
        return QStringLiteral("state 255: ") + textOf(failure);
    };
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
                    rig.add(QStringLiteral("state %1: %2").arg(quint32(state)).arg(textOf(error)));
                });
            rig.noteEarlyCallbacks();
            waitUntil([&rig] { return !rig.events().isEmpty(); });
        };
    };
    return operation;
}

// It asks nobody, so that no fault of the bus reaches it.
Operation lookUp()
{
    Operation operation;
    operation.name = QStringLiteral("lookUp");
    operation.kind = Operation::Local;
    operation.seen = QStringLiteral("<a.b> <a.b.instance_1>");
    operation.prepare = [](Rig &rig) {
        return [&rig, control = std::make_shared<Ostrel::Control>()] {
            const QTemporaryDir root;
            QDir(root.path()).mkpath(QStringLiteral("proc/7"));
            writeFile(root.filePath(QStringLiteral("proc/7/cgroup")),
                      QStringLiteral("4:memory:/ostrel-helper/a.b/instance_1\n"));
            qputenv("OSTREL_ROOTFS", root.path().toUtf8());
            rig.add(QStringLiteral("<%1> <%2>")
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
