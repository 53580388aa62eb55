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

class Row
{
public:
    explicit Row(const AvailableTask &task)
        : m_name(task.name)
        , m_isAvailable(true)
        , m_availableProperties(plainProperties(task.properties))
    {
    }

    explicit Row(const ActiveTask &task)
        : m_name(task.name)
    {
        setActive(task);
    }

    void setActive(const ActiveTask &task)
    {
        m_isActive = true;
        m_pid = task.pid;
        m_activeProperties = plainProperties(task.properties);
    }

    Identity identity() const { return {m_name, QString(), 0}; }

    quint32 update(const Row &newer)
    {
        return takeOver(m_isAvailable, newer.m_isAvailable, TasksModel::AvailableColumn)
            | takeOver(m_isActive, newer.m_isActive, TasksModel::ActiveColumn)
            | takeOver(m_pid, newer.m_pid, TasksModel::PidColumn)
            | takeOver(m_availableProperties, newer.m_availableProperties,
                       TasksModel::AvailablePropertiesColumn)
            | takeOver(m_activeProperties, newer.m_activeProperties,
                       TasksModel::ActivePropertiesColumn);
    }

    QVariant value(int column) const
    {
        switch (column) {
        case TasksModel::NameColumn:
            return m_name;
        case TasksModel::AvailableColumn:
            return m_isAvailable;
        case TasksModel::ActiveColumn:
            return m_isActive;
        case TasksModel::PidColumn:
            return m_pid;
        case TasksModel::AvailablePropertiesColumn:
            return m_availableProperties;
        default:
            return m_activeProperties;
        }
    }

private:
    QString m_name;
    bool m_isAvailable = false;
    bool m_isActive = false;
    qint32 m_pid = 0;
    QVariantMap m_availableProperties;
    QVariantMap m_activeProperties;
};

// The rows of the available tasks, and after them those of tasks that are only active.
std::vector<Row> rowsOf(const QVector<AvailableTask> &available, const QVector<ActiveTask> &active)
{
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(available.size()));
    for (const AvailableTask &task : available) {
        rows.emplace_back(task);
    }
    QMultiHash<QString, std::size_t> inactive;
    inactive.reserve(available.size());
    for (int i = available.size(); i-- > 0;) {
        inactive.insert(available.at(i).name, static_cast<std::size_t>(i));
    }
    for (const ActiveTask &task : active) {
        const auto row = inactive.find(task.name);
        if (row == inactive.end()) {
            rows.emplace_back(task);
        } else {
            rows[row.value()].setActive(task);
            inactive.erase(row);
        }
    }
    return rows;
}

class Rows : public LiveRows<Row>
{
public:
    using LiveRows<Row>::LiveRows;

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
        take();
    }

private:
    void take()
    {
        const TaskInvoker *const invoker = m_source->invoker();
        const bool isKnown = invoker != nullptr && !m_source->isServiceGone();
        show(isKnown ? rowsOf(invoker->availableTasks(), invoker->activeTasks()) : List(),
             m_source->status(), m_source->error());
    }

    std::unique_ptr<TaskSource> m_source;
};

std::unique_ptr<Rows> makeRows()
{
    return std::make_unique<Rows>(std::vector<Column>{
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
    : LiveModel(makeRows(), parent)
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
    return static_cast<const Rows &>(*d).invoker();
}

void TasksModel::setInvoker(TaskInvoker *invoker)
{
    static_cast<Rows &>(*d).follow(invoker);
}

} // namespace Ostrel
