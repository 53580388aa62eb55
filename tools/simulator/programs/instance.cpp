// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "programs/instance.h"

#include <algorithm>
#include <utility>

Instance::Instance(const Application &application, uint number, Children &children)
    : m_application(application)
    , m_children(children)
{
    const QString component = QStringLiteral("instance_%1").arg(number);
    m_id =
        application.singleInstance ? application.id : application.id + QLatin1Char('.') + component;
    m_group =
        QStringLiteral("/ostrel-helper/%1/%2")
            .arg(application.id, application.singleInstance ? QStringLiteral("app") : component);
}

void Instance::start(const Launch &launch)
{
    m_launch = launch;
    m_startingServices = m_application.services.size();
    for (const ApplicationService &service : qAsConst(m_application.services)) {
        Child *const child = run(service.launch());
        m_services.append({service, child});
        connect(child, &Child::started, this, &Instance::onServiceStarted);
    }
    if (m_startingServices == 0) {
        runApplication();
    }
}

void Instance::terminate(const std::function<void()> &done)
{
    m_terminations.append(done);
    end();
}

void Instance::kill()
{
    if (m_main != nullptr) {
        m_main->killAll();
    }
}

Child *Instance::run(const Launch &launch)
{
    Child *const child = m_children.run(launch, m_group);
    m_left.append(child);
    connect(child, &Child::failed, this,
            [this, program = launch.program](const QString &reason) { onFailed(program, reason); });
    connect(child, &Child::gone, this, [this, child] { onGone(child); });
    return child;
}

void Instance::runApplication()
{
    m_main = run(m_launch);
    m_launch = {}; // its files are the program's now
    connect(m_main, &Child::started, this, [this] {
        m_running = true;
        m_pid = m_main->pid();
        Q_EMIT running();
    });
}

void Instance::onServiceStarted()
{
    --m_startingServices;
    if (m_startingServices == 0 && !m_isEnding) {
        runApplication();
    }
}

void Instance::onFailed(const QString &program, const QString &reason)
{
    if (m_failure.isEmpty()) {
        m_failure = QStringLiteral("Cannot start \"%1\": %2").arg(program, reason);
    }
    end();
}

void Instance::onGone(Child *child)
{
    m_left.removeOne(child);
    m_services.erase(
        std::remove_if(m_services.begin(), m_services.end(),
                       [child](const RunningChild &running) { return running.child == child; }),
        m_services.end());
    if (child == m_main) {
        m_main = nullptr;
        m_ending = {{child->wasKilled() ? QStringLiteral("Signal") : QStringLiteral("ExitStatus"),
                     child->ending()}};
        end();
    }
    if (!m_isEnding || !m_left.isEmpty()) {
        return;
    }
    if (!m_running) {
        Q_EMIT failed(m_failure);
        return;
    }
    const auto terminations = std::exchange(m_terminations, {});
    for (const auto &done : terminations) {
        done();
    }
    Q_EMIT ended();
}

void Instance::end()
{
    if (m_isEnding) {
        return;
    }
    m_isEnding = true;
    for (Child *const child : qAsConst(m_left)) {
        child->end();
    }
}
