// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_PROXY_CLIENT_H
#define BENCHMARKS_PROXY_CLIENT_H

#include "by_hand_client.h"
#include "control_proxy.h"
#include "session_proxy.h"
#include "windows_proxy.h"

// The same with proxies that qdbusxml2cpp generates.

namespace Proxy
{

class Control : public QObject
{
    Q_OBJECT

public:
    Control();

    using Started = ByHand::Control::Started;

    Started start(const QString &appId);
    void startLater(const QString &appId, const ByHand::Control::StartDone &done);
    Records::Error running(QVector<Records::Application> &applications,
                           QVector<Records::Service> &services);

Q_SIGNALS:
    void started(const QString &appInstanceId, const QVariantMap &details);
    void terminated(const QString &appInstanceId, const QVariantMap &details);
    void stateChanged(const QString &appInstanceId, uint state);
    void selectedByOom(const QString &processId);

private:
    ControlProxy m_proxy;
};

// What it does without a proxy: it registers at another object, and receives a signal of a standard
// interface.
class Invoker : public ByHand::Invoker
{
    Q_OBJECT

public:
    Invoker(const QString &type, const Ready &ready);

    void start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
               const Done &done);

private:
    SessionProxy m_proxy;
};

class Windows : public QObject
{
    Q_OBJECT

public:
    Windows();

    void updateStatus(const QString &window, int status, int arg1, int arg2,
                      const ByHand::Windows::Done &done);

private:
    WindowsProxy m_proxy;
};

} // namespace Proxy

#endif
