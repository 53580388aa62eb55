// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "events.h"
#include "report.h"
#include "task_commands.h"

#include <Ostrel/Control>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtDBus/QDBusServiceWatcher>

#include <cstdio>
#include <memory>

namespace
{

using Ostrel::TaskInvoker;

QString orNone(const QStringList &names)
{
    return names.isEmpty() ? QStringLiteral("-") : names.join(QLatin1Char(' '));
}

void printActive(const TaskInvoker &invoker, bool asJson)
{
    QStringList names;
    for (const Ostrel::ActiveTask &task : invoker.activeTasks()) {
        names.append(QStringLiteral("%1(%2)").arg(task.name).arg(task.pid));
    }
    printEvent(asJson, QStringLiteral("activeTasks"),
               {{QStringLiteral("tasks"), toJson(invoker.activeTasks())}}, orNone(names));
}

void printAvailable(const TaskInvoker &invoker, bool asJson)
{
    QStringList names;
    for (const Ostrel::AvailableTask &task : invoker.availableTasks()) {
        names.append(task.name);
    }
    printEvent(asJson, QStringLiteral("availableTasks"),
               {{QStringLiteral("tasks"), toJson(invoker.availableTasks())}}, orNone(names));
}

// Follows the tasks of a type. An invoker is registered with one run of the service, so each run
// gets an invoker of its own.
class TaskWatch : public QObject
{
    Q_OBJECT

public:
    explicit TaskWatch(const TaskLine &line);

    int run();

private:
    void registerInvoker();
    void onReady(const Ostrel::Error &error);
    void onOwnerChanged(const QString &service, const QString &oldOwner, const QString &newOwner);

    const TaskLine &m_line;
    bool m_asJson;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_service;
    std::unique_ptr<TaskInvoker> m_invoker;
    bool m_isWatching = false;
};

TaskWatch::TaskWatch(const TaskLine &line)
    : m_line(line)
    , m_asJson(line.wantsJson())
    , m_bus(line.bus() == TaskInvoker::SystemBus ? QDBusConnection::systemBus()
                                                 : QDBusConnection::sessionBus())
    , m_service(Ostrel::Control::serviceName(), m_bus)
{
    connect(&m_service, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &TaskWatch::onOwnerChanged);
}

int TaskWatch::run()
{
    if (!m_bus.isConnected()) {
        return m_line.conclude(
            Ostrel::Error(Ostrel::Error::Failed, QStringLiteral("Not connected to D-Bus server")));
    }
    registerInvoker();
    // The end of the bus waits for the event loop.
    const UntilInterrupted untilInterrupted(m_bus, m_asJson);
    return QCoreApplication::exec();
}

void TaskWatch::registerInvoker()
{
    m_invoker = std::make_unique<TaskInvoker>(m_line.bus(), m_line.type());
    connect(m_invoker.get(), &TaskInvoker::activeTasksChanged, this,
            [this] { printActive(*m_invoker, m_asJson); });
    connect(m_invoker.get(), &TaskInvoker::availableTasksChanged, this,
            [this] { printAvailable(*m_invoker, m_asJson); });
    m_invoker->onReady([this](const Ostrel::Error &error) { onReady(error); });
}

void TaskWatch::onReady(const Ostrel::Error &error)
{
    if (!error && !m_isWatching) {
        m_isWatching = true;
        QTextStream(stderr) << "watching the tasks of " << m_line.type() << "; Ctrl-C ends it\n";
    }
    // The end of the bus is reported as such.
    // The end of the bus is reported as such.
    if (error && m_bus.isConnected()) {
        QCoreApplication::exit(m_line.conclude(error));
    }
}

void TaskWatch::onOwnerChanged(const QString & /*service*/, const QString &oldOwner,
                               const QString &newOwner)
{
    if (!m_isWatching) {
        return; // the first registration may start the service, and fails if the service ends
    }
    if (!oldOwner.isEmpty()) {
        m_invoker.reset();
        printService(m_asJson, false);
    }
    if (!newOwner.isEmpty()) {
        printService(m_asJson, true);
        registerInvoker();
    }
}

int runTaskWatch(const QStringList &arguments)
{
    TaskLine line(
        QStringLiteral("watch"),
        QStringLiteral("Prints the lists of a type's tasks whenever the service announces "
                       "one, with the\ntime, until Ctrl-C. It fails when the service does "
                       "not run at the start. Later it says\nwhen the service goes, and "
                       "registers again when it comes back. It fails when the\nmessage "
                       "bus ends."),
        QStringLiteral("each event as a JSON object on a line"));
    return line.run(arguments, [&line]() -> Result<int> { return TaskWatch(line).run(); });
}

} // namespace

Command taskWatchCommand()
{
    return {QStringLiteral("watch"), QStringLiteral("Follow the tasks of a type"), runTaskWatch};
}

#include "task_watch_command.moc"
