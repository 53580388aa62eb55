// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_TRACE_WRITER_H
#define TOOLS_TRACE_WRITER_H

#include "result.h"
#include "trace_event.h"

#include <QtCore/QString>

// Writes a trace in the array form of the Chrome trace event format, an event on a line. In that
// form the closing bracket may be missing: after each event, the file is one that viewers open,
// whatever happens to the process.
class TraceWriter
{
public:
    TraceWriter() = default;
    ~TraceWriter();

    // Creates the file, or empties it.
    Result<> open(const QString &file);

    // Writes to an empty file that is open, through a descriptor of its own. file: its name, for
    // errors.
    Result<> use(int descriptor, const QString &file);

    // Writes the event at once. If that fails, removes what was written of it, and writes nothing
    // later either; only the first failure is returned.
    Result<> write(const TraceEvent &event);

    // Writes the closing bracket.
    Result<> close();

private:
    Q_DISABLE_COPY(TraceWriter)

    void own(int descriptor, const QString &file);
    Result<> append(const QByteArray &bytes);

    QString m_file;
    int m_descriptor = -1;
    // Up to here, the file is complete.
    qint64 m_size = 0;
};

#endif
