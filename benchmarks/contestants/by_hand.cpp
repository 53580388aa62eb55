// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// QtDBus by hand.

#include "by_hand_client.h"
#include "contestant.h"
#include "look_up_with_qfile.h"
#include "qt_task_maps.h"
#include "qt_wait.h"

#include <memory>
#include <vector>

using namespace ByHand;

namespace
{

std::unique_ptr<Invoker> makeInvoker(const QString &type, std::size_t &ready)
{
    return std::make_unique<Invoker>(
        type, [&ready](const Error &error) { ready += error.name.isEmpty() ? 1 : 0; });
}

std::size_t makeInvokers(std::size_t size)
{
    std::size_t ready = 0;
    std::vector<std::unique_ptr<Invoker>> invokers;
    invokers.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        invokers.push_back(makeInvoker(QStringLiteral("type%1").arg(i), ready));
    }
    waitFor(ready, size);
    return size;
}

Control &control()
{
    static Control control;
    return control;
}

std::size_t runningApplications()
{
    QVector<Application> applications;
    QVector<Service> services;
    if (!control().running(applications, services).name.isEmpty()) {
        return 0;
    }
    return std::size_t(applications.size()) + std::size_t(services.size());
}

// Counts what it hears; made when it is first needed.
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
        QObject::connect(&control(), &Control::stateChanged,
                         [this](const QString & /*appInstanceId*/, uint state) {
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
                good += error.name.isEmpty() ? 1 : 0;
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
        std::size_t ready = 0;
        m_invoker = makeInvoker(QStringLiteral("benchmark"), ready);
        waitFor(ready, 1);
        QObject::connect(m_invoker.get(), &Invoker::activeTasksChanged, [this] { ++m_lists; });
    }

    const QVariantMap m_startupInfo = taskStartupInfo();
    const QVariantMap m_hints = taskHints();
    std::unique_ptr<Invoker> m_invoker;
    std::size_t m_lists = 0;
};

unsigned updateWindowStatus()
{
    static Windows windows;
    std::size_t answered = 0;
    unsigned last = 0;
    windows.updateStatus(QStringLiteral("main"), 1, 640, 480,
                         [&](uint state, const Error & /*error*/) {
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
    contestant.makeControl = [] { const Control client; };
    contestant.makeInvokers = makeInvokers;
    contestant.startApplication = [] {
        return control().start(QString::fromUtf8(Lookup::applicationId)).appInstanceId.toStdString();
    };
    contestant.startTasks = [](std::size_t size) { return Tasks::instance().start(size); };
    contestant.runningApplications = runningApplications;
    contestant.hearStates = [](std::size_t size) { return States::instance().hear(size); };
    contestant.hearTasks = [](std::size_t size) { return Tasks::instance().hear(size); };
    contestant.updateWindowStatus = updateWindowStatus;
    contestant.lookUp = lookUpWithQFile;
    return contestant;
}
