// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "Ostrel/tasks_model.h"
#include "Ostrel/live_rows_p.h"
#include "Ostrel/task_source_p.h"

#include <Ostrel/TaskInvoker>

namespace Ostrel
{

namespace
{

// A task of either list, or of both.
struct Task
{
    QString name;
    bool isAvailable = false;
    bool isActive = false;
    qint32 pid = 0;
    QVariantMap availableProperties;
    QVariantMap activeProperties;

    void setActive(const ActiveTask &task)
    {
        isActive = true;
        pid = task.pid;
        activeProperties = plainProperties(task.properties);
    }
};

class TaskRow
{
public:
    using Record = Task;

    TaskRow(Task task, qint64 /*now*/)
        : m_task(std::move(task))
    {
    }

    static Identity identityOf(const Task &task) { return {task.name, QString(), 0}; }
    static Identity identityOf(const TaskRow &row) { return identityOf(row.m_task); }

    bool isRowOf(const Task &task) const { return m_task.name == task.name; }

    quint32 update(const Task &newer, qint64 /*now*/)
    {
        return takeOver(m_task.isAvailable, newer.isAvailable, TasksModel::AvailableColumn)
            | takeOver(m_task.isActive, newer.isActive, TasksModel::ActiveColumn)
            | takeOver(m_task.pid, newer.pid, TasksModel::PidColumn)
            | takeOver(m_task.availableProperties, newer.availableProperties,
                       TasksModel::AvailablePropertiesColumn)
            | takeOver(m_task.activeProperties, newer.activeProperties,
                       TasksModel::ActivePropertiesColumn);
    }

    QVariant value(int column) const
    {
        switch (column) {
        case TasksModel::NameColumn:
            return m_task.name;
        case TasksModel::AvailableColumn:
            return m_task.isAvailable;
        case TasksModel::ActiveColumn:
            return m_task.isActive;
        case TasksModel::PidColumn:
            return m_task.pid;
        case TasksModel::AvailablePropertiesColumn:
            return m_task.availableProperties;
        default:
            return m_task.activeProperties;
        }
    }

private:
    Task m_task;
};

// The available tasks, and after them those that are only active.
QVector<Task> tasksOf(const QVector<AvailableTask> &available, const QVector<ActiveTask> &active)
{
    QVector<Task> tasks;
    tasks.reserve(available.size());
    QMultiHash<QString, int> inactive;
    inactive.reserve(available.size());
    for (const AvailableTask &task : available) {
        tasks.append({task.name, true, false, 0, plainProperties(task.properties), {}});
    }
    for (int i = available.size(); i-- > 0;) {
        inactive.insert(available.at(i).name, i);
    }
    for (const ActiveTask &task : active) {
        const auto found = inactive.find(task.name);
        if (found == inactive.end()) {
            tasks.append({task.name, false, false, 0, {}, {}});
            tasks.last().setActive(task);
        } else {
            tasks[found.value()].setActive(task);
            inactive.erase(found);
        }
    }
    return tasks;
}

class TaskRows : public LiveRows<TaskRow>
{
public:
    using LiveRows<TaskRow>::LiveRows;

    TaskInvoker *invoker() const { return m_source ? m_source->invoker() : nullptr; }

    void follow(TaskInvoker *invoker)
    {
        m_source.reset();
        if (invoker == nullptr) {
            show(List(), LiveModel::Loading);
            return;
        }
        m_source = std::make_unique<TaskSource>(invoker);
        QObject::connect(m_source.get(), &TaskSource::changed, m_source.get(), [this] { take(); });
        QObject::connect(m_source.get(), &TaskSource::serviceStarted,
                         static_cast<TasksModel *>(model()), &TasksModel::serviceStarted);
        take();
    }

private:
    void take()
    {
        const TaskInvoker *const invoker = m_source->invoker();
        const bool isKnown = invoker != nullptr && !m_source->isServiceGone();
        show(isKnown ? tasksOf(invoker->availableTasks(), invoker->activeTasks()) : List(),
             m_source->status(), m_source->error());
    }

    std::unique_ptr<TaskSource> m_source;
};

std::unique_ptr<TaskRows> makeTaskRows()
{
    return std::make_unique<TaskRows>(std::vector<Column>{
        {"name", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Task")},
        {"available", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Available")},
        {"active", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Active")},
        {"pid", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Process")},
        {"availableProperties", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Properties")},
        {"activeProperties", QT_TRANSLATE_NOOP("Ostrel::LiveModel", "Properties when active")},
    });
}

} // namespace

TasksModel::TasksModel(QObject *parent)
    : LiveModel(makeTaskRows(), parent)
{
}

TasksModel::TasksModel(TaskInvoker *invoker, QObject *parent)
    : TasksModel(parent)
{
    setInvoker(invoker);
}

TasksModel::~TasksModel() = default;

TaskInvoker *TasksModel::invoker() const
{
    return static_cast<const TaskRows &>(*d).invoker();
}

void TasksModel::setInvoker(TaskInvoker *invoker)
{
    static_cast<TaskRows &>(*d).follow(invoker);
}

} // namespace Ostrel
