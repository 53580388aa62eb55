// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_START_TIMES_H
#define MONITOR_START_TIMES_H

#include "bus_message.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPair>

#include <optional>

class CallsMonitor;

// How long the starts took that this window has seen: from the call to the reply.
class StartTimes : public QObject
{
    Q_OBJECT

public:
    // Microseconds; nothing if the window has not seen the start.
    std::optional<qint64> ofInstance(const QString &instance) const;
    std::optional<qint64> ofTask(const QString &type, const QString &name) const;

    void setInstance(const QString &instance, qint64 microseconds);
    void setTask(const QString &type, const QString &name, qint64 microseconds);

    // The starts that the monitor sees, whoever calls.
    void add(const CallsMonitor &monitor);

    // Another service has other instances.
    void clear();

Q_SIGNALS:
    // About an instance (the type is empty), or about a task.
    void changed(const QString &taskType, const QString &name);

private:
    using Key = QPair<QString, QString>;

    struct Start
    {
        qint64 time = 0;
        // Empty for an application.
        QString taskType;
        QString name;
    };

    void onCall(qint64 time, const BusMessage &message);
    void onReply(qint64 time, const BusMessage &message);
    void onLeft(const QString &caller);
    void set(const Key &key, qint64 microseconds);
    std::optional<qint64> get(const Key &key) const;

    QHash<Key, qint64> m_times;
    QHash<QPair<QString, quint32>, Start> m_waiting;
};

#endif
