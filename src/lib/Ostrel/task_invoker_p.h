// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef OSTREL_TASK_INVOKER_P_H
#define OSTREL_TASK_INVOKER_P_H

#include "Ostrel/task_invoker.h"

#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusObjectPath>
#include <QtDBus/QDBusPendingReply>

namespace Ostrel
{

// A list of tasks as the service last announced it.
template <typename Record> class AnnouncedTasks
{
public:
    const QVector<Record> &tasks() const { return m_tasks; }

    // Reads the list from a property of an announcement. Announcements are numbered in order; one
    // that is older than the list is ignored.
    void replace(const QVariant &value, quint64 announcement);

private:
    QVector<Record> m_tasks;
    quint64 m_announcement = 0;
};

// The proxy of the session of one task type, and what the service has announced there.
class TaskInvokerPrivate : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    TaskInvokerPrivate(TaskInvoker::BusType bus, const QString &taskType, TaskInvoker *invoker);
    ~TaskInvokerPrivate() override;

    QString taskType() const { return m_taskType; }
    TaskInvoker::BusType busType() const { return m_bus; }
    bool isReady() const { return m_ready; }
    Error result() const { return m_result; }
    const QVector<AvailableTask> &availableTasks() const { return m_availableTasks.tasks(); }
    const QVector<ActiveTask> &activeTasks() const { return m_activeTasks.tasks(); }

    void onReady(const std::function<void(const Error &)> &callback);
    void start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
               const std::function<void(int, const Error &)> &callback);
    void stop(const QString &name, const std::function<void(const Error &)> &callback);

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                             const QStringList &invalidated);

private:
    using Registration = QDBusPendingReply<QDBusObjectPath, QVariantMap>;

    void registerTaskInvoker(const QDBusError &refusal);
    void onRegistered(const Registration &reply);
    void applyProperties(const QVariantMap &properties);
    void markReady(const Error &result);

    const QString m_taskType;
    bool m_ready = false;
    Error m_result{Error::NoError, QString()};
    QVector<std::function<void(const Error &)>> m_readyCallbacks;
    AnnouncedTasks<AvailableTask> m_availableTasks;
    AnnouncedTasks<ActiveTask> m_activeTasks;
    quint64 m_announcements = 0;
    TaskInvoker *const m_invoker;
    const TaskInvoker::BusType m_bus;
};

} // namespace Ostrel

#endif
