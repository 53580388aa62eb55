// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#ifndef TOOLS_LINE_READER_H
#define TOOLS_LINE_READER_H

#include <QtCore/QByteArray>

#include <functional>
#include <optional>

// Reads lines from a file descriptor, with bounded memory: longer lines are skipped.
class LineReader
{
public:
    static constexpr int longestLine = 16 * 1024 * 1024;

    explicit LineReader(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    // Waits for the next line, and returns it without its newline; nothing at the end, after a
    // failure, and soon after isStopped returns true.
    std::optional<QByteArray> next(const std::function<bool()> &isStopped);

    // The error number, if reading has failed; otherwise 0.
    int error() const { return m_error; }

    int skippedLines() const { return m_skipped; }

    // Whether it has stopped within a line that is too long. The next call goes on with that.
    bool isSkipping() const { return m_isSkipping; }
    bool isAtEnd() const { return m_isAtEnd; }

private:
    // Returns whether there may be more.
    bool fill(const std::function<bool()> &isStopped);

    int m_descriptor;
    int m_error = 0;
    int m_skipped = 0;
    bool m_isSkipping = false;
    bool m_isAtEnd = false;
    QByteArray m_buffer;
    // Where the next line begins, and up to where no newline was found.
    int m_begin = 0;
    int m_searched = 0;
};

#endif
