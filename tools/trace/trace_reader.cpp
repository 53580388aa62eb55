// SPDX-FileCopyrightText: 2026 The libostrel authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "trace_reader.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cstring>
#include <unistd.h>

Result<> TraceReader::open(const QString &file)
{
    m_file.setFileName(file);
    if (!m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return Failure(QStringLiteral("cannot read %1: %2").arg(file, m_file.errorString()));
    }
    m_lines.emplace(m_file.handle());
    const auto first = nextLine();
    if (m_lines->error() == 0 && (!first || first->trimmed() != "[")) {
        return Failure(QStringLiteral("%1 is no trace").arg(file));
    }
    return {};
}

Result<bool> TraceReader::next(const std::function<void(const TraceEvent &)> &receive)
{
    const auto line = nextLine();
    if (m_lines->error() != 0) {
        return Failure(
            QStringLiteral("cannot read %1: %2")
                .arg(m_file.fileName(), QString::fromLocal8Bit(std::strerror(m_lines->error()))));
    }
    if (!line) {
        return !m_lines->isAtEnd();
    }
    QByteArray text = line->trimmed();
    if (text.isEmpty() || text == "]") {
        return true;
    }
    if (text.endsWith(',')) {
        text.chop(1);
    }
    if (const auto event = traceEvent(QJsonDocument::fromJson(text).object())) {
        receive(*event);
    } else {
        ++m_skipped;
    }
    return true;
}

// Nothing at the end, and within a line that is far too long.
std::optional<QByteArray> TraceReader::nextLine()
{
    int pieces = 0;
    return m_lines->next([this, &pieces] {
        constexpr int mostPieces = 100;
        return m_lines->isSkipping() && ++pieces > mostPieces;
    });
}

int TraceReader::skipped() const
{
    return m_skipped + (m_lines ? m_lines->skippedLines() : 0);
}

int TraceReader::percent() const
{
    constexpr qint64 all = 100;
    const qint64 position = ::lseek(m_file.handle(), 0, SEEK_CUR);
    const qint64 size = m_file.size();
    return size > 0 ? int(std::clamp<qint64>(all * position / size, 0, all)) : 0;
}

Result<int> readTrace(const QString &file, const std::function<void(const TraceEvent &)> &receive)
{
    TraceReader reader;
    if (const Result<> opened = reader.open(file); !opened) {
        return Failure(opened.error());
    }
    while (true) {
        const Result<bool> read = reader.next(receive);
        if (!read) {
            return Failure(read.error());
        }
        if (!*read) {
            return reader.skipped();
        }
    }
}
