// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef BENCHMARKS_BY_HAND_CLIENT_H
#define BENCHMARKS_BY_HAND_CLIENT_H

#include "qt_records.h"

#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusPendingCallWatcher>

#include <functional>

// The same results with plain QtDBus messages, as a practised engineer writes them: neither what
// comes from the bus nor what the caller gives is checked.

namespace ByHand
{

using Records::Application;
using Records::Error;
using Records::Service;
using Records::Task;

class Control : public QObject
{
    Q_OBJECT

public:
    struct Started
    {
        Error error;
        QString appInstanceId;
        QVariantMap details;
    };

    Control();

    using StartDone = std::function<void(const Started &started)>;

    Started start(const QString &appId);
    void startLater(const QString &appId, const StartDone &done);
    Error running(QVector<Application> &applications, QVector<Service> &services);

Q_SIGNALS:
    void started(const QString &appInstanceId, const QVariantMap &details);
    void terminated(const QString &appInstanceId, const QVariantMap &details);
    void stateChanged(const QString &appInstanceId, uint state);
    void selectedByOom(const QString &processId);

private Q_SLOTS:
    void onStateChanged(const QString &appInstanceId, const QVariantMap &properties);

private:
    QDBusConnection m_bus = QDBusConnection::sessionBus();
};

class Invoker : public QObject
{
    Q_OBJECT

public:
    using Ready = std::function<void(const Error &error)>;
    using Done = std::function<void(int number, const Error &error)>;

    Invoker(const QString &type, const Ready &ready);

    void start(const QString &name, const QVariantMap &startupInfo, const QVariantMap &hints,
               const Done &done);
    const QVector<Task> &activeTasks() const { return m_activeTasks; }

Q_SIGNALS:
    void activeTasksChanged();

private Q_SLOTS:
    void onPropertiesChanged(const QString &interface, const QVariantMap &changed,
                             const QStringList &invalidated);

private:
    QDBusConnection m_bus = QDBusConnection::sessionBus();
    const QString m_path;
    QVector<Task> m_activeTasks;
};

class Windows : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(uint state, const Error &error)>;

    void updateStatus(const QString &window, int status, int arg1, int arg2, const Done &done);

private:
    QDBusConnection m_bus = QDBusConnection::sessionBus();
};

} // namespace ByHand

#endif
