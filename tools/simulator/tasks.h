// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef SIMULATOR_TASKS_H
#define SIMULATOR_TASKS_H

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>
#include <QtDBus/QDBusArgument>

// A task that can be started: "(sa{sv})".
struct OfferedTask
{
    QString name;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(OfferedTask)

QDBusArgument &operator<<(QDBusArgument &argument, const OfferedTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, OfferedTask &task);

// A task that has been started: "(sia{sv})".
struct StartedTask
{
    QString name;
    int number = 0;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(StartedTask)

QDBusArgument &operator<<(QDBusArgument &argument, const StartedTask &task);
const QDBusArgument &operator>>(const QDBusArgument &argument, StartedTask &task);

// The tasks of one type: what can be started, and what has been.
class TaskType
{
public:
    // Has the tasks that are built in for the name; none for most names.
    explicit TaskType(const QString &name);

    QString name() const { return m_name; }
    const QVector<OfferedTask> &offered() const { return m_offered; }
    const QVector<StartedTask> &started() const { return m_started; }

    bool offers(const QString &task) const;
    bool isStarted(const QString &task) const;

    // Starts a task that is offered and not started yet, and returns its number.
    int start(const QString &task, const QVariantMap &hints);

    // Stops a task that is started.
    void stop(const QString &task);

private:
    QString m_name;
    QVector<OfferedTask> m_offered;
    QVector<StartedTask> m_started;
    int m_lastNumber = 0;
};

#endif
