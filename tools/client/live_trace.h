// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_LIVE_TRACE_H
#define TOOLS_LIVE_TRACE_H

#include "trace_recorder.h"

#include <Ostrel/Control>

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <functional>

class CallsMonitor;

// Records what this program hears, from now on, and what runs already.
class LiveTrace : public QObject
{
    Q_OBJECT

public:
    // Asks the service for what runs whenever there is a service. These calls are left out.
    // callBegins: as TraceRecorder has it.
    LiveTrace(Ostrel::Control &control, const std::function<void(const TraceEvent &)> &receive,
              const std::function<void(const TraceEvent &)> &callBegins = {});

    // What the monitor sees, in this trace.
    void add(CallsMonitor &monitor);

    const TraceRecorder &recorder() const { return m_recorder; }

    static qint64 now();

    void finish();

private:
    void list();
    void catchUp();

    Ostrel::Control &m_control;
    QPointer<CallsMonitor> m_monitor;
    TraceRecorder m_recorder;
};

#endif
