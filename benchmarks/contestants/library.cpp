// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The library itself.

#include "contestant.h"
#include "qt_task_maps.h"
#include "qt_wait.h"

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/WindowManagement>

#include <memory>
#include <vector>

using namespace Ostrel;

namespace
{

std::unique_ptr<TaskInvoker> makeInvoker(const QString &type, std::size_t &ready)
{
    auto invoker = std::make_unique<TaskInvoker>(TaskInvoker::SessionBus, type);
    invoker->onReady([&ready](const Error &error) { ready += error ? 0 : 1; });
    return invoker;
}

std::size_t makeInvokers(std::size_t size)
{
    std::size_t ready = 0;
    std::vector<std::unique_ptr<TaskInvoker>> invokers;
    invokers.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        invokers.push_back(makeInvoker(QStringLiteral("type%1").arg(i), ready));
    }
    waitFor(ready, size);
    return size;
}

std::string startApplication()
{
    return Control::instance()
        ->start(QString::fromUtf8(Lookup::applicationId))
        .appInstanceId.toStdString();
}

std::size_t startAsynchronously(std::size_t size)
{
    std::size_t answered = 0;
    std::size_t good = 0;
    Control *const control = Control::instance();
    const QString appId = QString::fromUtf8(Lookup::applicationId);
    for (std::size_t i = 0; i < size; ++i) {
        control->start(appId, control, [&](const Control::StartResult &result) {
            good += result.error ? 0 : 1;
            ++answered;
        });
    }
    waitFor(answered, size);
    return good;
}

std::size_t runningApplications()
{
    QVector<RunningApplication> applications;
    QVector<RunningService> services;
    if (Control::instance()->getRunningApplications(applications, services)) {
        return 0;
    }
    return std::size_t(applications.size()) + std::size_t(services.size());
}

// Counts the signals that it receives. Made when it is first needed.
class States
{
public:
    static States &instance()
    {
        static States states;
        return states;
    }

    unsigned hear(std::size_t expected)
    {
        waitFor(m_count, expected);
        return m_last;
    }

private:
    States()
    {
        QObject::connect(Control::instance(), &Control::stateChanged, Control::instance(),
                         [this](const QString & /*appInstanceId*/, ApplicationState state) {
                             m_last = state;
                             ++m_count;
                         });
    }

    std::size_t m_count = 0;
    unsigned m_last = 0;
};

class Tasks
{
public:
    static Tasks &instance()
    {
        static Tasks tasks;
        return tasks;
    }

    std::size_t start(std::size_t size)
    {
        std::size_t answered = 0;
        std::size_t good = 0;
        const QString name = QString::fromUtf8(TaskMaps::name);
        for (std::size_t i = 0; i < size; ++i) {
            m_invoker->start(name, m_startupInfo, m_hints, [&](int /*number*/, const Error &error) {
                good += error ? 0 : 1;
                ++answered;
            });
        }
        waitFor(answered, size);
        return good;
    }

    std::size_t hear(std::size_t expected)
    {
        waitFor(m_lists, expected);
        return std::size_t(m_invoker->activeTasks().size());
    }

private:
    Tasks()
    {
        m_startupInfo.setParameters(toStrings(TaskMaps::parameters));
        const QStringList environment = toStrings(TaskMaps::environment);
        for (const QString &variable : environment) {
            m_startupInfo.addEnvironmentVariable(variable.section(QLatin1Char('='), 0, 0),
                                                 variable.section(QLatin1Char('='), 1));
        }
        m_hints.setCPULimit(TaskMaps::processorLimit);
        m_hints.setUser(QString::fromUtf8(TaskMaps::user));
        m_hints.setMaximumRunningTime(TaskMaps::runningTime);
        m_hints.setPriority(TaskMaps::priority);
        m_hints.setPermissions(toStrings(TaskMaps::permissions));

        std::size_t ready = 0;
        m_invoker = makeInvoker(QStringLiteral("benchmark"), ready);
        waitFor(ready, 1);
        QObject::connect(m_invoker.get(), &TaskInvoker::activeTasksChanged, m_invoker.get(),
                         [this] { ++m_lists; });
    }

    TaskInvoker::StartupInfo m_startupInfo;
    TaskInvoker::Hints m_hints;
    std::unique_ptr<TaskInvoker> m_invoker;
    std::size_t m_lists = 0;
};

unsigned updateWindowStatus()
{
    static WindowManagement windows;
    std::size_t answered = 0;
    unsigned last = 0;
    windows.updateWindowStatus(QStringLiteral("main"), 1, 640, 480, &windows,
                               [&](ApplicationState state, const Error & /*error*/) {
                                   last = state;
                                   ++answered;
                               });
    waitFor(answered, 1);
    return last;
}

} // namespace

Contestant makeContestant(int &argc, char **argv)
{
    static const QCoreApplication application(argc, argv);
    Contestant contestant;
    contestant.makeControl = [] { const Control control; };
    contestant.makeInvokers = makeInvokers;
    contestant.startApplication = startApplication;
    contestant.startAsynchronously = startAsynchronously;
    contestant.startTasks = [](std::size_t size) { return Tasks::instance().start(size); };
    contestant.runningApplications = runningApplications;
    contestant.hearStates = [](std::size_t size) { return States::instance().hear(size); };
    contestant.hearTasks = [](std::size_t size) { return Tasks::instance().hear(size); };
    contestant.updateWindowStatus = updateWindowStatus;
    contestant.lookUp = [](int process) {
        return Control::instance()->getAppIdByPid(process).toStdString();
    };
    return contestant;
}
