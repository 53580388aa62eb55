// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_INTERFACE_CLIENT_H
#define BENCHMARKS_INTERFACE_CLIENT_H

#include "by_hand_client.h"

#include <QtDBus/QDBusInterface>

// The same on top of QDBusInterface, which asks the service what it offers.

namespace Interface
{

// It cannot tell of signals with maps unless the service names their C++ types, so that all signals
// are connected by hand.
class Control : public ByHand::Control
{
    Q_OBJECT

public:
    Control();

    Started start(const QString &appId);
    Records::Error running(QVector<Records::Application> &applications,
                           QVector<Records::Service> &services);

private:
    QDBusInterface m_interface;
};

// What it does at other objects and interfaces is done by hand.
class Invoker : public ByHand::Invoker
{
    Q_OBJECT

public:
    Invoker(const QString &type, const Ready &ready);

    void start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
               const Done &done);

private:
    QDBusInterface m_interface;
};

class Windows : public QObject
{
    Q_OBJECT

public:
    Windows();

    void updateStatus(const QString &window, int status, int arg1, int arg2,
                      const ByHand::Windows::Done &done);

private:
    QDBusInterface m_interface;
};

} // namespace Interface

#endif
