// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// Runs one task: registers its type, lists what there is, starts the task, and stops it again.

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using Ostrel::Error;
using Ostrel::TaskInvoker;

namespace
{

class TaskRunner : public QObject
{
public:
    TaskRunner(const QString &type, const QString &task);

private:
    void printAvailable();
    void printActive();
    void start();
    void stop();
    void quitWhenGone();
    void fail(const QString &what, const Error &error);

    QString m_task;
    bool m_stopped = false;
    Ostrel::Control m_control;
    TaskInvoker m_invoker;
    QTextStream m_out{stdout};
    QTextStream m_err{stderr};
};

TaskRunner::TaskRunner(const QString &type, const QString &task)
    : m_task(task)
    , m_invoker(TaskInvoker::SessionBus, type)
{
    // A request fails when the service goes. A list just does not come.
    connect(&m_control, &Ostrel::Control::serviceAvailableChanged, this, [this](bool available) {
        if (!available && m_stopped) {
            m_err << "lost the service, cannot follow " << m_task << Qt::endl;
            QCoreApplication::exit(EXIT_FAILURE);
        }
    });
    m_control.isServiceAvailable(); // from here on the end of the message bus is noticed as well
    connect(&m_invoker, &TaskInvoker::availableTasksChanged, this, &TaskRunner::printAvailable);
    connect(&m_invoker, &TaskInvoker::activeTasksChanged, this, &TaskRunner::printActive);
    m_invoker.onReady([this](const Error &error) {
        if (error) {
            fail(QStringLiteral("cannot register"), error);
        } else {
            start();
        }
    });
}

void TaskRunner::printAvailable()
{
    m_out << "available:";
    for (const Ostrel::AvailableTask &task : m_invoker.availableTasks()) {
        m_out << ' ' << task.name;
    }
    m_out << Qt::endl;
}

void TaskRunner::printActive()
{
    m_out << "active:";
    for (const Ostrel::ActiveTask &task : m_invoker.activeTasks()) {
        m_out << ' ' << task.name << " (" << task.pid << ')';
    }
    m_out << Qt::endl;
    quitWhenGone();
}

void TaskRunner::start()
{
    TaskInvoker::StartupInfo info;
    info.setParameters({QStringLiteral("--all")});
    info.addEnvironmentVariable(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    TaskInvoker::Hints hints;
    hints.setMaximumRunningTime(60);
    hints.setPriority(10);

    m_invoker.start(m_task, info, hints, [this](int number, const Error &error) {
        if (error) {
            fail(QStringLiteral("cannot start"), error);
        } else {
            m_out << "started " << m_task << " as number " << number << Qt::endl;
            stop();
        }
    });
}

void TaskRunner::stop()
{
    m_invoker.stop(m_task, [this](const Error &error) {
        if (error) {
            fail(QStringLiteral("cannot stop"), error);
        } else {
            m_out << "stopped " << m_task << Qt::endl;
            m_stopped = true;
            quitWhenGone();
        }
    });
}

// The reply to the stop and the new list come in either order.
void TaskRunner::quitWhenGone()
{
    const auto &active = m_invoker.activeTasks();
    const bool runs =
        std::any_of(active.cbegin(), active.cend(),
                    [this](const Ostrel::ActiveTask &task) { return task.name == m_task; });
    if (m_stopped && !runs) {
        m_control.disconnect(this);
        QCoreApplication::quit();
    }
}

void TaskRunner::fail(const QString &what, const Error &error)
{
    m_err << what << ' ' << m_task << ": " << error.message() << Qt::endl;
    QCoreApplication::exit(EXIT_FAILURE);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        QTextStream(stderr) << "Usage: task-runner TYPE TASK\n";
        return EXIT_FAILURE;
    }
    const TaskRunner runner(arguments.at(1), arguments.at(2));
    return QCoreApplication::exec();
}
