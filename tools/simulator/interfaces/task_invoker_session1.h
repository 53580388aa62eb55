// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASK_INVOKER_SESSION1_H
#define SIMULATOR_TASK_INVOKER_SESSION1_H

#include "bus/interface.h"
#include "bus/service.h"
#include "interfaces/task_records.h"
#include "programs/catalogue.h"
#include "programs/children.h"

#include <QtCore/QObject>
#include <QtCore/QVector>

// ".TaskInvokerSession1": starts and stops the tasks of one type, and announces the running ones.
class TaskInvokerSession1 : public QObject, public Interface
{
    Q_OBJECT

public:
    TaskInvokerSession1(Service &service, const TaskType &type, Children &children);

    void handle(const QDBusMessage &call, const Answer &answer) override;
    QVariantMap properties() const override;
    bool outlastsReset() const override { return false; }

private:
    // A task with a process.
    struct StartedChild
    {
        StartedTask task;
        Child *child = nullptr;
        // Before that, the task is not in the list.
        bool isRunning = false;
        // The callers that wait for its end.
        QVector<std::function<void()>> stops;
    };

    void start(const QDBusMessage &call, const Answer &answer);
    void stop(const QDBusMessage &call, const Answer &answer);
    void onStarted(Child *child);
    void onEnded(Child *child);
    StartedChild *find(const QString &task);
    QVector<StartedChild>::iterator find(const Child *child);
    StartedChild take(const Child *child);
    void announceStarted();

    Service &m_service;
    TaskType m_type;
    Children &m_children;
    QVector<StartedChild> m_started; // in the order in which they were started
    int m_lastNumber = 0;
};

#endif
