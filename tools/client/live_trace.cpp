// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "live_trace.h"

#include "calls_monitor.h"
#include "instances.h"
#include "json.h"
#include "stamp.h"
#include "trace_words.h"

#include <QtDBus/QDBusConnection>

namespace
{

QJsonObject about(Stamp begin)
{
    return {{TraceWords::clock, TraceWords::monotonic}, {TraceWords::time, begin.toUtc()}};
}

} // namespace

LiveTrace::LiveTrace(Ostrel::Control &control,
                     const std::function<void(const TraceEvent &)> &receive,
                     const std::function<void(const TraceEvent &)> &callBegins)
    : m_control(control)
    , m_recorder(receive, now(), about(Stamp::now()), callBegins)
{
    using Ostrel::Control;

    m_recorder.serviceAvailable(now(), control.isServiceAvailable());
    connect(&control, &Control::started, this,
            [this](const QString &appInstanceId, const QVariantMap &details) {
                catchUp();
                m_recorder.started(now(), appInstanceId, toJson(details));
            });
    connect(&control, &Control::terminated, this,
            [this](const QString &appInstanceId, const QVariantMap &details) {
                catchUp();
                m_recorder.terminated(now(), appInstanceId, toJson(details));
            });
    connect(&control, &Control::stateChanged, this,
            [this](const QString &appInstanceId, quint32 state) {
                catchUp();
                m_recorder.stateChanged(now(), appInstanceId, state);
            });
    connect(&control, &Control::selectedByOom, this, [this](const QString &processId) {
        catchUp();
        m_recorder.selectedByOom(now(), processId);
    });
    connect(&control, &Control::serviceAvailableChanged, this, [this](bool available) {
        catchUp();
        m_recorder.serviceAvailable(now(), available);
        list();
    });
    list();
}

void LiveTrace::list()
{
    using Ostrel::RunningApplication;

    // Who only looks does not start a service.
    if (!m_control.isServiceAvailable()) {
        return;
    }
    m_control.getRunningApplications(this,
                                     [this](const QVector<RunningApplication> &applications,
                                            const QVector<Ostrel::RunningService> & /*services*/,
                                            const Ostrel::Error & /*error*/) {
                                         catchUp();
                                         for (const RunningApplication &each : applications) {
                                             const QString instance =
                                                 instanceOf(m_control, each.pid, each.properties);
                                             if (!instance.isEmpty()) {
                                                 m_recorder.listed(now(), instance, each.state);
                                             }
                                         }
                                     });
}

qint64 LiveTrace::now()
{
    return Stamp::now().monotonic;
}

void LiveTrace::finish()
{
    catchUp();
    m_recorder.finish(now());
}

// Signals come on another connection. A call that has led to one comes before it.
void LiveTrace::catchUp()
{
    if (m_monitor != nullptr) {
        m_monitor->catchUp();
    }
}

void LiveTrace::add(CallsMonitor &monitor)
{
    m_monitor = &monitor;
    connect(&monitor, &CallsMonitor::called, this, [this](qint64 time, const BusMessage &message) {
        const bool isOwnList = message.member == QLatin1String("GetRunningApplications")
            && message.sender == QDBusConnection::sessionBus().baseService();
        if (!isOwnList) {
            m_recorder.call(time, message);
        }
    });
    connect(&monitor, &CallsMonitor::replied, this,
            [this](qint64 time, const BusMessage &message) { m_recorder.reply(time, message); });
    connect(&monitor, &CallsMonitor::left, this,
            [this](qint64 time, const QString &connection) { m_recorder.left(time, connection); });
}
