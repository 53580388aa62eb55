// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_READER_H
#define TOOLS_TRACE_READER_H

#include "result.h"
#include "trace_event.h"

#include <QtCore/QString>

#include <functional>

// Reads a trace as TraceWriter writes it, one event after the other: the file may be larger than
// the memory, and may end anywhere. Returns how many lines were no event, and were skipped: for a
// file that ends within an event, that is one.
Result<int> readTrace(const QString &file, const std::function<void(const TraceEvent &)> &receive);

#endif
