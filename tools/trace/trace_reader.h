// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_READER_H
#define TOOLS_TRACE_READER_H

#include "line_reader.h"
#include "result.h"
#include "trace_event.h"

#include <QtCore/QFile>
#include <QtCore/QString>

#include <functional>
#include <optional>

// Reads a trace as TraceWriter writes it, one event after the other: the file may be larger than
// the memory, and may end anywhere.
class TraceReader
{
public:
    // Opens the file. Nothing else may have been opened before.
    Result<> open(const QString &file);

    // Reads one line, and passes on the event in it. Returns whether there may be more. A line of
    // any length does not hold up the caller: what is too long is skipped in several calls.
    Result<bool> next(const std::function<void(const TraceEvent &)> &receive);

    // How many lines were no event: for a file that ends within an event, that is one.
    int skipped() const;

    // How much of the file has been read.
    int percent() const;

private:
    std::optional<QByteArray> nextLine();

    QFile m_file;
    std::optional<LineReader> m_lines;
    int m_skipped = 0;
};

// Reads a whole trace. Returns how many lines were no event, and were skipped.
Result<int> readTrace(const QString &file, const std::function<void(const TraceEvent &)> &receive);

#endif
