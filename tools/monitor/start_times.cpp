// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "start_times.h"

#include "calls_monitor.h"

#include "DBus/names_p.h"

#include <QtDBus/QDBusConnection>

namespace
{

// More of them are not kept: a caller may start without an end.
constexpr int mostTimes = 20'000;
constexpr int mostWaiting = 10'000;

} // namespace

std::optional<qint64> StartTimes::get(const Key &key) const
{
    const auto found = m_times.constFind(key);
    return found == m_times.cend() ? std::nullopt : std::optional(*found);
}

void StartTimes::set(const Key &key, qint64 microseconds)
{
    if (m_times.size() >= mostTimes) {
        m_times.clear();
    }
    m_times.insert(key, microseconds);
    Q_EMIT changed(key.first, key.second);
}

std::optional<qint64> StartTimes::ofInstance(const QString &instance) const
{
    return get({QString(), instance});
}

std::optional<qint64> StartTimes::ofTask(const QString &type, const QString &name) const
{
    return get({type, name});
}

void StartTimes::setInstance(const QString &instance, qint64 microseconds)
{
    set({QString(), instance}, microseconds);
}

void StartTimes::setTask(const QString &type, const QString &name, qint64 microseconds)
{
    set({type, name}, microseconds);
}

void StartTimes::add(const CallsMonitor &monitor)
{
    connect(&monitor, &CallsMonitor::called, this,
            [this](qint64 time, const BusMessage &message) { onCall(time, message); });
    connect(&monitor, &CallsMonitor::replied, this,
            [this](qint64 time, const BusMessage &message) { onReply(time, message); });
    connect(&monitor, &CallsMonitor::left, this,
            [this](qint64 /*time*/, const QString &caller) { onLeft(caller); });
}

void StartTimes::clear()
{
    m_times.clear();
    m_waiting.clear();
}

void StartTimes::onCall(qint64 time, const BusMessage &message)
{
    const QString sessions = QStringLiteral(OSTREL_TASK_INVOKER_SESSIONS_PATH);
    const bool isStart = message.member == QLatin1String("Start");
    Start start{time, QString(), message.text};
    if (isStart && message.path.startsWith(sessions)) {
        start.taskType = message.path.mid(sessions.size());
    } else if (message.path != QLatin1String(OSTREL_CONTROL_PATH)
               || (!isStart && message.member != QLatin1String("StartDebug"))) {
        return;
    }
    // The window measures its own starts itself.
    const bool isOwn = message.sender == QDBusConnection::sessionBus().baseService();
    if (message.expectsReply && !isOwn && m_waiting.size() < mostWaiting) {
        m_waiting.insert({message.sender, message.serial}, start);
    }
}

void StartTimes::onReply(qint64 time, const BusMessage &message)
{
    const QPair<QString, quint32> key(message.destination, message.replySerial);
    const bool isOfStart = m_waiting.contains(key);
    const Start begun = m_waiting.take(key);
    if (!isOfStart || message.type != BusMessage::Reply) {
        return;
    }
    const qint64 took = time - begun.time;
    if (begun.taskType.isEmpty()) {
        setInstance(message.text, took);
    } else {
        setTask(begun.taskType, begun.name, took);
    }
}

void StartTimes::onLeft(const QString &caller)
{
    for (auto start = m_waiting.begin(); start != m_waiting.end();) {
        start = start.key().first == caller ? m_waiting.erase(start) : std::next(start);
    }
}
