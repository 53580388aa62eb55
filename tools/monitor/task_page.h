// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_TASK_PAGE_H
#define MONITOR_TASK_PAGE_H

#include "table_page.h"

#include <Ostrel/TaskInvoker>

#include <memory>

namespace Ostrel
{
class TasksModel;
}
class Connection;
class StartTimes;

// The tasks of a type that the user has added.
class TaskPage : public TablePage
{
    Q_OBJECT

public:
    TaskPage(Connection &connection, const QString &type, const StartTimes &times);
    ~TaskPage() override;

    QString type() const { return m_type; }

    // Null before the service has been there.
    std::shared_ptr<Ostrel::TaskInvoker> invoker() const { return m_invoker; }

private:
    TaskPage(Connection &connection, Ostrel::TasksModel *model, const QString &type,
             const StartTimes &times);

    void registerAgain();

    QString m_type;
    Ostrel::TasksModel *m_tasks;
    std::shared_ptr<Ostrel::TaskInvoker> m_invoker;
};

#endif
