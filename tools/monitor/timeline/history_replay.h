// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef MONITOR_HISTORY_REPLAY_H
#define MONITOR_HISTORY_REPLAY_H

#include "result.h"
#include "trace_event.h"

#include <functional>

class History;

// Passes on the history as the events of a trace, to save it with TraceWriter. What goes on ends
// with the trace. The history must be flushed.
void replay(const History &history, const std::function<void(const TraceEvent &)> &receive);

// Writes the same to a file. On failure, the file is as before.
Result<> saveHistory(const History &history, const QString &file);

#endif
