// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_WORDS_H
#define TOOLS_TRACE_WORDS_H

#include <QtCore/QString>

// What a trace calls things: TraceRecorder writes these, and what shows a trace knows by them what
// an event is.
namespace TraceWords
{

// Viewers show the groups in this order.
enum Group {
    Service = 1,
    Calls,
    Instances
};

// Moments of the service. The last two begin and end the stretch "available".
inline const QLatin1String traceBegins{"trace begins"};
inline const QLatin1String traceEnds{"trace ends"};
inline const QLatin1String selectedByOom{"SelectedByOom"};
inline const QLatin1String serviceCame{"service available"};
inline const QLatin1String serviceLeft{"service not available"};
inline const QLatin1String available{"available"};

// Moments of an instance. The first begins the stretch "started", unless the instance has a state;
// a state, as "state 3", begins the stretch of the same name.
inline const QLatin1String startedSignal{"Started"};
inline const QLatin1String terminatedSignal{"Terminated"};
inline const QLatin1String started{"started"};
inline const QLatin1String state{"state "};

// Arguments: of "trace begins"; of a call; of a state that no signal has announced; of a stretch
// that something else than the next has ended.
inline const QLatin1String clock{"clock"};
inline const QLatin1String monotonic{"monotonic"};
inline const QLatin1String timeOfDay{"time of day"};
inline const QLatin1String time{"time"};
inline const QLatin1String arguments{"arguments"};
inline const QLatin1String reply{"reply"};
inline const QLatin1String signature{"signature"};
inline const QLatin1String values{"values"};
inline const QLatin1String success{"success"};
inline const QLatin1String seen{"seen"};
inline const QLatin1String inTheList{"in the list of what runs"};
inline const QLatin1String end{"end"};

// Instead of values that are too large for a trace.
inline const QLatin1String leftOut{"leftOut"};

// Values of "reply" and "end", for what goes on when the trace ends.
inline const QLatin1String tooManyCalls{"not recorded: too many calls"};
inline const QLatin1String noReply{"none until the trace ended"};
inline const QLatin1String traceEnded{"the trace has ended"};

// How many instances run.
inline const QLatin1String runningInstances{"running instances"};
inline const QLatin1String instances{"instances"};

// A group's name for people.
inline QString nameOf(int group)
{
    return group == Service ? QStringLiteral("Service")
        : group == Calls    ? QStringLiteral("Calls")
                            : QStringLiteral("Instances");
}

} // namespace TraceWords

#endif
