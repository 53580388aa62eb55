// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "method_names_p.h"

#include "DBus/names_p.h"

namespace Ostrel::Testing
{

MethodNames namesOf(Method method)
{
    const QString control = QStringLiteral(OSTREL_CONTROL_INTERFACE);
    const QString session = QStringLiteral(OSTREL_TASK_INVOKER_SESSION_INTERFACE);
    switch (method) {
    case Method::Start:
        return {control, QStringLiteral("Start")};
    case Method::StartDebug:
        return {control, QStringLiteral("StartDebug")};
    case Method::Terminate:
        return {control, QStringLiteral("Terminate")};
    case Method::GetRunningApplications:
        return {control, QStringLiteral("GetRunningApplications")};
    case Method::RegisterInvoker:
        return {QStringLiteral(OSTREL_TASK_INVOKER_INTERFACE), QStringLiteral("RegisterInvoker")};
    case Method::StartTask:
        return {session, QStringLiteral("Start")};
    case Method::StopTask:
        return {session, QStringLiteral("Stop")};
    case Method::UpdateWindowStatus:
        break;
    }
    return {QStringLiteral(OSTREL_WINDOW_MANAGEMENT_INTERFACE),
            QStringLiteral("UpdateWindowStatus")};
}

QString textOf(const MethodNames &names)
{
    const QString service = QStringLiteral(OSTREL_SERVICE_NAME ".");
    const bool isOfService = names.interface.startsWith(service);
    return QStringLiteral("%1.%2").arg(
        isOfService ? names.interface.mid(service.size()) : names.interface, names.member);
}

} // namespace Ostrel::Testing
