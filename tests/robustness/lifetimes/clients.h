// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TESTS_LIFETIMES_CLIENTS_H
#define TESTS_LIFETIMES_CLIENTS_H

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>
#include <Ostrel/Testing/waiting.h>
#include <Ostrel/WindowManagement>

#include <QtCore/QCoreApplication>
#include <QtCore/QStringList>

#include <iostream>

// Writes a line at once: the process may end in any way.
inline void say(const QString &line)
{
    std::cout << qPrintable(line) << std::endl;
}

// One client of each class, and what it reports.
class Clients
{
public:
    Clients()
    {
        QObject::connect(&m_control, &Ostrel::Control::started, &m_context,
                         [this](const QString &instance) {
                             if (m_started.contains(instance)) {
                                 m_events.append("started");
                             }
                         });
        m_invoker.onReady([this](const Ostrel::Error &error) { note("ready", error); });
    }

    Ostrel::Control &control() { return m_control; }

    // Makes calls that are answered in the event loop, if at all.
    void call()
    {
        m_invoker.stop("none", [this](const Ostrel::Error &error) { note("stopped", error); });
        m_windows.updateWindowStatus("w", 1, 2, 3, &m_context,
                                     [this](Ostrel::ApplicationState, const Ostrel::Error &error) {
                                         note("reported", error);
                                     });
    }

    // Makes a call that blocks; a signal follows the answer.
    void start()
    {
        const auto result = m_control.start("demo.Viewer");
        m_started.append(result.appInstanceId);
        const Ostrel::Error &error = result.error;
        say(QString("start %1 %2").arg(error.code()).arg(error.message()).trimmed());
    }

    void sayOtherRequests()
    {
        QVector<Ostrel::RunningApplication> applications;
        QVector<Ostrel::RunningService> services;
        for (const Ostrel::Error &error :
             {m_control.startDebug("demo.Viewer", {}).error, m_control.terminate("none"),
              m_control.getRunningApplications(applications, services)}) {
            say(QString("%1 %2").arg(error.code()).arg(error.message()).trimmed());
        }
    }

    // Writes so many events, sorted, because their order on the bus is not fixed.
    void sayEvents(int count)
    {
        Ostrel::Testing::waitUntil([this, count] { return m_events.size() >= count; });
        m_events.sort();
        say(m_events.join(", "));
        m_events.clear();
    }

    const QStringList &events() const { return m_events; }

private:
    void note(const char *event, const Ostrel::Error &error)
    {
        m_events.append(QString("%1 %2").arg(event).arg(error.code()));
    }

    QStringList m_events;
    QStringList m_started;
    Ostrel::Control m_control;
    Ostrel::TaskInvoker m_invoker{Ostrel::TaskInvoker::SessionBus, "sync"};
    Ostrel::WindowManagement m_windows;
    QObject m_context;
};

#endif
