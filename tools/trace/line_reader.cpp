// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "line_reader.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

std::optional<QByteArray> LineReader::next(const std::function<bool()> &isStopped)
{
    while (true) {
        const int newline = m_buffer.indexOf('\n', m_searched);
        if (newline >= 0) {
            const QByteArray line = m_buffer.mid(m_begin, newline - m_begin);
            m_begin = m_searched = newline + 1;
            if (!m_isSkipping) {
                return line;
            }
            m_isSkipping = false;
            continue;
        }
        m_buffer.remove(0, m_begin);
        m_begin = 0;
        if (m_buffer.size() > longestLine || m_isSkipping) {
            m_skipped += m_isSkipping ? 0 : 1;
            m_isSkipping = true;
            m_buffer.clear();
        }
        m_searched = m_buffer.size();
        if (!fill(isStopped)) {
            if (m_buffer.isEmpty()) {
                return std::nullopt;
            }
            // The last line has no newline.
            m_searched = 0;
            m_begin = 0;
            QByteArray line;
            line.swap(m_buffer);
            return line;
        }
    }
}

bool LineReader::fill(const std::function<bool()> &isStopped)
{
    constexpr int chunk = 64 * 1024;
    std::array<char, chunk> bytes;
    while (!m_isAtEnd && !isStopped()) {
        // Not for ever, since a signal may come right before it waits.
        constexpr int milliseconds = 250;
        pollfd input{m_descriptor, POLLIN, 0};
        if (::poll(&input, 1, milliseconds) <= 0) {
            continue;
        }
        const ssize_t count = ::read(m_descriptor, bytes.data(), bytes.size());
        const int error = errno;
        if (count > 0) {
            m_buffer.append(bytes.data(), int(count));
            return true;
        }
        if (count == 0 || error != EINTR) {
            m_error = count < 0 ? error : 0;
            m_isAtEnd = true;
        }
    }
    return false;
}
