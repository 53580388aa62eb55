// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_INSTANCE_H
#define SIMULATOR_INSTANCE_H

#include "programs/catalogue.h"
#include "programs/children.h"

#include <QtCore/QObject>
#include <QtCore/QVector>

#include <functional>

// One run of an application: its process, and those of its services.
class Instance : public QObject
{
    Q_OBJECT

public:
    // number: identifies the instance if the application may have several.
    Instance(const Application &application, uint number, Children &children);

    // Runs the services, and then the application. Emits running() or failed().
    void start(const Launch &launch);

    QString id() const { return m_id; }
    const Application &application() const { return m_application; }
    int pid() const { return m_pid; }
    bool isRunning() const { return m_running; }

    // Ends all processes. The function is called when they are gone, before ended() is emitted.
    void terminate(const std::function<void()> &done);

    // Kills the application's process.
    void kill();

    // A service of the application, and its process.
    struct RunningChild
    {
        ApplicationService service;
        Child *child;
    };
    const QVector<RunningChild> &services() const { return m_services; }

    // How the application ended: its "ExitStatus", or the "Signal" that killed it.
    QVariantMap ending() const { return m_ending; }

Q_SIGNALS:
    void running();

    // It cannot run, and all its processes are gone.
    void failed(const QString &reason);

    // After running(): all its processes are gone.
    void ended();

private:
    Q_DISABLE_COPY(Instance)

    Child *run(const Launch &launch);
    void runApplication();
    void onServiceStarted();
    void onFailed(const QString &program, const QString &reason);
    void onGone(Child *child);
    void end();

    Application m_application;
    Children &m_children;
    QString m_id;
    QString m_group;
    Launch m_launch;
    QVector<Child *> m_left;
    Child *m_main = nullptr;
    QVector<RunningChild> m_services;
    int m_startingServices = 0;
    int m_pid = 0;
    bool m_running = false;
    bool m_isEnding = false;
    QString m_failure;
    QVariantMap m_ending;
    QVector<std::function<void()>> m_terminations;
};

#endif
