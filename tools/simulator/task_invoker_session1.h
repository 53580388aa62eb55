// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASK_INVOKER_SESSION1_H
#define SIMULATOR_TASK_INVOKER_SESSION1_H

#include "interface.h"
#include "service.h"
#include "tasks.h"

// ".TaskInvokerSession1": starts and stops the tasks of one type, and announces the running ones.
class TaskInvokerSession1 : public Interface
{
public:
    TaskInvokerSession1(Service &service, const QString &type);

    void handle(const QDBusMessage &call, const Answer &answer) override;
    QVariantMap properties() const override;
    bool outlastsReset() const override { return false; }

private:
    void start(const QDBusMessage &call, const Answer &answer);
    void stop(const QDBusMessage &call, const Answer &answer);
    void announceStarted();

    Service &m_service;
    TaskType m_tasks;
};

#endif
