// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_RECORDER_H
#define TOOLS_TRACE_RECORDER_H

#include "bus_message.h"
#include "call_lanes.h"
#include "trace_event.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <functional>

// Turns what happens on the bus into the events of a trace: a lane for the service, lanes for the
// calls, and a lane for each instance. All times are microseconds of one clock. A time before that
// of the last event counts as that.
class TraceRecorder
{
public:
    // about: what the trace says about itself.
    // callBegins: gets a call when it is made, as the stretch that comes with the reply, without
    // a duration. For what shows the trace at the same time; every other stretch begins with a
    // moment, which is an event of the trace.
    TraceRecorder(std::function<void(const TraceEvent &)> receive, qint64 begin,
                  const QJsonObject &about,
                  std::function<void(const TraceEvent &)> callBegins = {});

    void serviceAvailable(qint64 time, bool available);
    // An instance in the list of what runs. No effect after a signal of the same service about it.
    void listed(qint64 time, const QString &instance, quint32 state);
    void started(qint64 time, const QString &instance, const QJsonObject &details);
    void stateChanged(qint64 time, const QString &instance, quint32 state);
    void terminated(qint64 time, const QString &instance, const QJsonObject &details);
    void selectedByOom(qint64 time, const QString &processId);

    // A call to the service, and a reply to any call.
    void call(qint64 time, const BusMessage &message);
    void reply(qint64 time, const BusMessage &message);
    // A connection has left the bus.
    void left(qint64 time, const QString &sender);

    // Ends all that has begun. Nothing may come after this.
    void finish(qint64 time);

private:
    struct Instance
    {
        int lane = 0;
        // The stretch that has begun; null after the end.
        QString state;
        // When that was.
        qint64 since = 0;
    };

    qint64 at(qint64 time);
    int addLane(int group, const QString &name);
    int callLane(int index);
    Instance *instance(const QString &name);
    void setState(qint64 time, const QString &instance, quint32 state,
                  const QJsonObject &arguments = {});
    void begin(Instance &instance, qint64 time, const QString &state);
    void end(Instance &instance, qint64 time, const QJsonObject &arguments = {});
    void count(qint64 time, int change);
    void stretch(int group, int lane, const QString &name, qint64 from, qint64 to,
                 const QJsonObject &arguments);
    void instant(int group, int lane, const QString &name, qint64 time,
                 const QJsonObject &arguments = {});
    void metadata(int group, int lane, const QString &name, const QJsonObject &arguments);
    void endCall(qint64 time, const CallLanes::Call &call, const QString &outcome);

    std::function<void(const TraceEvent &)> m_receive;
    std::function<void(const TraceEvent &)> m_callBegins;
    qint64 m_last;
    int m_lanes = 0;
    QVector<int> m_groups;
    int m_serviceLane;
    QVector<int> m_callLanes;
    CallLanes m_calls;
    QMap<QString, Instance> m_instances;
    int m_running = 0;
    bool m_isAvailable = false;
    qint64 m_availableSince = 0;
    bool m_isFull = false;
};

#endif
