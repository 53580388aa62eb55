// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_QT_CONTESTANT_H
#define BENCHMARKS_QT_CONTESTANT_H

#include "contestant.h"
#include "qt_records.h"
#include "qt_task_maps.h"
#include "qt_wait.h"

#include <QtCore/QVector>

#include <memory>
#include <vector>

// A contestant on QtDBus, made of three classes with the same members: Control, Invoker and
// Windows. Each is made when it is first needed.
template <typename Control, typename Invoker, typename Windows> class QtContestant
{
public:
    static Contestant make()
    {
        Contestant contestant;
        contestant.makeControl = [] { const Control client; };
        contestant.makeInvokers = makeInvokers;
        contestant.startApplication = [] {
            return control()
                .start(QString::fromUtf8(Lookup::applicationId))
                .appInstanceId.toStdString();
        };
        contestant.startAsynchronously = startAsynchronously;
        contestant.startTasks = [](std::size_t size) { return Tasks::instance().start(size); };
        contestant.runningApplications = runningApplications;
        contestant.hearStates = [](std::size_t size) { return States::instance().hear(size); };
        contestant.hearTasks = [](std::size_t size) { return Tasks::instance().hear(size); };
        contestant.updateWindowStatus = updateWindowStatus;
        return contestant;
    }

private:
    static std::unique_ptr<Invoker> makeInvoker(const QString &type, std::size_t &ready)
    {
        return std::make_unique<Invoker>(
            type, [&ready](const Records::Error &error) { ready += error.name.isEmpty() ? 1 : 0; });
    }

    static std::size_t makeInvokers(std::size_t size)
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

    static Control &control()
    {
        static Control control;
        return control;
    }

    static std::size_t startAsynchronously(std::size_t size)
    {
        std::size_t answered = 0;
        std::size_t good = 0;
        const QString appId = QString::fromUtf8(Lookup::applicationId);
        for (std::size_t i = 0; i < size; ++i) {
            control().startLater(appId, [&](const typename Control::Started &started) {
                good += started.error.name.isEmpty() ? 1 : 0;
                ++answered;
            });
        }
        waitFor(answered, size);
        return good;
    }

    static std::size_t runningApplications()
    {
        QVector<Records::Application> applications;
        QVector<Records::Service> services;
        if (!control().running(applications, services).name.isEmpty()) {
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
                m_invoker->start(name, m_startupInfo, m_hints,
                                 [&](int /*number*/, const Records::Error &error) {
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

    static unsigned updateWindowStatus()
    {
        static Windows windows;
        std::size_t answered = 0;
        unsigned last = 0;
        windows.updateStatus(QStringLiteral("main"), 1, 640, 480,
                             [&](uint state, const Records::Error & /*error*/) {
                                 last = state;
                                 ++answered;
                             });
        waitFor(answered, 1);
        return last;
    }
};

#endif
