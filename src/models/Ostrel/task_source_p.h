// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TASK_SOURCE_P_H
#define OSTREL_TASK_SOURCE_P_H

#include "Ostrel/live_model.h"

#include <Ostrel/TaskInvoker>

#include <QtCore/QPointer>

namespace Ostrel
{

// What becomes of a task invoker and of the service that it has registered with.
class TaskSource : public QObject
{
    Q_OBJECT

public:
    explicit TaskSource(TaskInvoker *invoker);

    TaskInvoker *invoker() const { return m_invoker; }
    LiveModel::Status status() const;
    Error error() const;

    // Whether the service that the invoker has registered with has ended. The invoker itself does
    // not notice.
    bool isServiceGone() const { return m_service != Service::Registered; }

Q_SIGNALS:
    void changed();
    // After changed(). A slot of that one may have deleted the source.
    void serviceStarted();

private Q_SLOTS:
    void onServiceEnded();
    void onOwnerChanged(const QString &service, const QString &oldOwner, const QString &newOwner);

private:
    enum class Service {
        Registered,
        Ended,
        Restarted,
    };

    const QPointer<TaskInvoker> m_invoker;
    Service m_service = Service::Registered;
};

} // namespace Ostrel

#endif
