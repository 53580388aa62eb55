// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "task_invoker_session1.h"

#include "properties.h"

#include "DBus/names_p.h"

TaskInvokerSession1::TaskInvokerSession1(Service &service, const QString &type)
    : Interface(QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH) + type,
                QStringLiteral("TaskInvokerSession1"))
    , m_service(service)
    , m_tasks(type)
{
}

QVariantMap TaskInvokerSession1::properties() const
{
    return {{QStringLiteral("ActiveTasks"), QVariant::fromValue(m_tasks.started())},
            {QStringLiteral("AvailableTasks"), QVariant::fromValue(m_tasks.offered())}};
}

void TaskInvokerSession1::handle(const QDBusMessage &call, const Answer &answer)
{
    const QString task = call.arguments().at(0).toString();
    if (!m_tasks.offers(task)) {
        answer(call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "HandlerNotFound"),
                                     QStringLiteral("There is no task \"%1\" of the type \"%2\"")
                                         .arg(task, m_tasks.name())));
    } else if (call.member() == QLatin1String("Start")) {
        start(call, answer);
    } else {
        stop(call, answer);
    }
}

void TaskInvokerSession1::start(const QDBusMessage &call, const Answer &answer)
{
    const QString task = call.arguments().at(0).toString();
    if (m_tasks.isStarted(task)) {
        answer(
            call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationAlreadyRunning"),
                                  QStringLiteral("The task \"%1\" is running already").arg(task)));
        return;
    }
    const auto hints = qdbus_cast<QVariantMap>(call.arguments().at(2));
    answer(call.createReply(m_tasks.start(task, hints)));
    announceStarted();
}

void TaskInvokerSession1::stop(const QDBusMessage &call, const Answer &answer)
{
    const QString task = call.arguments().at(0).toString();
    if (!m_tasks.isStarted(task)) {
        answer(call.createErrorReply(QStringLiteral(OSTREL_ERROR_PREFIX "ApplicationNotRunning"),
                                     QStringLiteral("The task \"%1\" is not running").arg(task)));
        return;
    }
    m_tasks.stop(task);
    answer(call.createReply());
    announceStarted();
}

void TaskInvokerSession1::announceStarted()
{
    m_service.sendSignal(propertiesChanged(*this, {QStringLiteral("ActiveTasks")}));
}
