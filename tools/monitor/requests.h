// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_REQUESTS_H
#define MONITOR_REQUESTS_H

#include <Ostrel/Control>
#include <Ostrel/TaskInvoker>

#include <QtCore/QHash>
#include <QtCore/QObject>

#include <functional>
#include <memory>

class StartTimes;

// What the user asks the service for. Nothing here waits.
class Requests : public QObject
{
    Q_OBJECT

public:
    Requests(Ostrel::Control &control, StartTimes &times);

    void start(const QString &application);
    void startDebug(const QString &application, const Ostrel::DebugParams &params);
    // application: for the messages. The instance may be unknown.
    void terminate(const QString &application, const QString &instance);
    // The invoker lives until the service has replied.
    void startTask(const std::shared_ptr<Ostrel::TaskInvoker> &invoker, const QString &name);
    void stopTask(const std::shared_ptr<Ostrel::TaskInvoker> &invoker, const QString &name);

Q_SIGNALS:
    // What has happened, for the user.
    void done(const QString &text);
    void failed(const QString &text, const Ostrel::Error &error);

private:
    std::function<void(const Ostrel::Control::StartResult &)> started(const QString &application);
    // Calls the function with the reply, and lets go of the invoker.
    std::function<void(const Ostrel::Error &)> keeping(
        const std::shared_ptr<Ostrel::TaskInvoker> &invoker,
        const std::function<void(const Ostrel::Error &)> &answer);

    Ostrel::Control &m_control;
    StartTimes &m_times;
    // Their tab may be closed, or the service be replaced, while a request is under way.
    QHash<int, std::shared_ptr<Ostrel::TaskInvoker>> m_invokers;
    int m_lastRequest = 0;
};

#endif
