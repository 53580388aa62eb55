// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "task_page.h"

#include "connection.h"
#include "tasks_table.h"

#include <Ostrel/TasksModel>

TaskPage::TaskPage(Connection &connection, const QString &type, const StartTimes &times)
    : TaskPage(connection, new Ostrel::TasksModel, type, times)
{
}

TaskPage::TaskPage(Connection &connection, Ostrel::TasksModel *model, const QString &type,
                   const StartTimes &times)
    : TablePage(new TasksTable(model, type, times), tr("Tasks of the type %1").arg(type),
                tr("The service has no tasks of the type %1").arg(type))
    , m_type(type)
    , m_tasks(model)
{
    // Registering could start the service.
    const auto registerOnce = [this, &connection] {
        if (m_invoker == nullptr && connection.state() == Connection::Ready) {
            registerAgain();
        }
    };
    connect(&connection, &Connection::stateChanged, this, registerOnce);
    // The new service does not know the old invoker.
    connect(m_tasks, &Ostrel::TasksModel::serviceStarted, this, &TaskPage::registerAgain);
    registerOnce();
}

TaskPage::~TaskPage()
{
    // Before the invoker that it follows.
    destroyModel();
}

void TaskPage::registerAgain()
{
    auto invoker = std::make_shared<Ostrel::TaskInvoker>(Ostrel::TaskInvoker::SessionBus, m_type);
    m_tasks->setInvoker(invoker.get());
    m_invoker = std::move(invoker);
}
