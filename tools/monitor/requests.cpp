// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "requests.h"

#include "live_trace.h"
#include "start_times.h"

using Ostrel::Error;
using Ostrel::TaskInvoker;

Requests::Requests(Ostrel::Control &control, StartTimes &times)
    : m_control(control)
    , m_times(times)
{
}

std::function<void(const Ostrel::Control::StartResult &)> Requests::started(
    const QString &application)
{
    return
        [this, application, begin = LiveTrace::now()](const Ostrel::Control::StartResult &result) {
            if (result.error) {
                Q_EMIT failed(tr("Cannot start %1").arg(application), result.error);
            } else {
                m_times.setInstance(result.appInstanceId, LiveTrace::now() - begin);
                Q_EMIT done(tr("%1 has been started").arg(result.appInstanceId));
            }
        };
}

void Requests::start(const QString &application)
{
    m_control.start(application, this, started(application));
}

void Requests::startDebug(const QString &application, const Ostrel::DebugParams &params)
{
    m_control.startDebug(application, params, this, started(application));
}

void Requests::terminate(const QString &application, const QString &instance)
{
    if (instance.isEmpty()) {
        Q_EMIT failed(tr("Cannot terminate %1").arg(application),
                      Error(Error::Failed,
                            tr("the service does not say which instance this is, and the process "
                               "cannot be looked up from here")));
        return;
    }
    m_control.terminate(instance, this, [this, instance](const Error &error) {
        if (error) {
            Q_EMIT failed(tr("Cannot terminate %1").arg(instance), error);
        } else {
            Q_EMIT done(tr("%1 has been terminated").arg(instance));
        }
    });
}

std::function<void(const Error &)> Requests::keeping(
    const std::shared_ptr<TaskInvoker> &invoker, const std::function<void(const Error &)> &answer)
{
    const int request = ++m_lastRequest;
    m_invokers.insert(request, invoker);
    return [this, request, answer](const Error &error) {
        const auto kept = m_invokers.take(request);
        answer(error);
    };
}

void Requests::startTask(const std::shared_ptr<TaskInvoker> &invoker, const QString &name)
{
    const auto answer = [this, type = invoker->taskType(), name,
                         begin = LiveTrace::now()](const Error &error) {
        if (error) {
            Q_EMIT failed(tr("Cannot start the task %1").arg(name), error);
        } else {
            m_times.setTask(type, name, LiveTrace::now() - begin);
            Q_EMIT done(tr("The task %1 has been started").arg(name));
        }
    };
    invoker->start(
        name, {}, {}, this,
        [kept = keeping(invoker, answer)](int /*number*/, const Error &error) { kept(error); });
}

void Requests::stopTask(const std::shared_ptr<TaskInvoker> &invoker, const QString &name)
{
    const auto answer = [this, name](const Error &error) {
        if (error) {
            Q_EMIT failed(tr("Cannot stop the task %1").arg(name), error);
        } else {
            Q_EMIT done(tr("The task %1 has been stopped").arg(name));
        }
    };
    invoker->stop(name, this, keeping(invoker, answer));
}
