// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "interfaces/task_invoker1.h"

#include "interfaces/task_invoker_session1.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusError>
#include <QtDBus/QDBusObjectPath>

#include <memory>

TaskInvoker1::TaskInvoker1(Service &service, const Catalogue &catalogue, Children &children)
    : Interface(QStringLiteral(OSTREL_TASK_INVOKER_PATH), QStringLiteral("TaskInvoker1"))
    , m_service(service)
    , m_catalogue(catalogue)
    , m_children(children)
{
    service.expect(InterfaceDescription(QStringLiteral("TaskInvokerSession1")));
}

void TaskInvoker1::handle(const QDBusMessage &call, const Answer &answer)
{
    const QString type = call.arguments().at(0).toString();
    if (!makesAPath(type)) {
        answer(call.createErrorReply(QDBusError::InvalidArgs,
                                     QStringLiteral("\"%1\" makes no object path").arg(type)));
        return;
    }
    const Interface *&session = m_sessions[type];
    if (session == nullptr) {
        auto made = std::make_unique<TaskInvokerSession1>(m_service, m_catalogue.taskType(type),
                                                          m_children);
        session = made.get();
        m_service.add(std::move(made));
    }
    answer(call.createReply({QVariant::fromValue(QDBusObjectPath(session->path())),
                             QVariant::fromValue(session->properties())}));
}

void TaskInvoker1::reset()
{
    m_sessions.clear();
}
